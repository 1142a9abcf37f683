// Journal: the one way in which a stored value, a record's existence or a relationship changes.
// Every change passes here once; tracking, undo, indexes, the far sides of relationships and
// observers follow it, so that none of them can be forgotten. Rollback, undo and redo go the same
// way, each as one change that observers hear of before it begins and after all of it is done:
// while the journal itself is at work, no foreign code runs.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "bokfolio/store/internal/change_tracking.hpp"
#include "bokfolio/store/internal/observers.hpp"
#include "bokfolio/store/internal/slots.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {
struct StoreParts;
}

namespace bokfolio::internal {

enum class WriteMode : std::uint8_t {
  Announced,  // observers are told, undo can take it back
  Bracketed,  // the key's own observers are told by its bracket
  Primitive,  // neither; in an open bracket of the key it becomes Bracketed
};

struct UndoStep {
  enum class Kind : std::uint8_t { Insert, Delete, Write };
  Kind kind;
  Record* record;
  const Property* property;  // Write
  Value value;               // Write: what the slot held before
};
using UndoGroup = std::vector<UndoStep>;

class Journal {
 public:
  explicit Journal(StoreParts& store);

  // Writes a slot that is not a relationship. `assign` gets a SlotWriter and must not throw.
  template <class Assign>
  void write(Record& record, const Property& property, WriteMode mode, Assign&& assign) {
    requireLive(record);
    mode = inBracket(record, property, mode);
    Announcement announcement(*observers_);
    if (mode == WriteMode::Announced) announcement.add(record, property.key());
    if (!announcement.empty()) {
      announcement.will();
      requireLive(record);
    }
    prepare(record, property, isRecorded(record, property, mode));
    std::forward<Assign>(assign)(SlotWriter(record.entity(), RecordAccess::slots(record)));
    announcement.did();
  }
  // Writing what is there already changes nothing and is only announced.
  void announceOnly(Record& record, const Property& property, WriteMode mode);
  void writeValue(Record& record, const Property& property, const Value& value, WriteMode mode);
  // Sets a to-one and its other side, whatever that is. ValueKindError for a record of another
  // entity, RecordGoneError for one that is not live, StoreError for one of another context.
  void setReference(Record& record, const Property& property, Record* target, WriteMode mode);
  // Makes exactly these records, in ascending id, the members of a to-many. Throws like
  // setReference, and then nothing is changed.
  void setMembers(Record& owner, const Property& toMany, const std::vector<Record*>& members);

  void insert(Record& record);
  // As if it had never been inserted: for an insertion that failed.
  void discard(Record& record);
  void remove(Record& record);

  // Explicit brackets: primitive writes of the key inside them are undone like announced ones, and
  // the far side of a relationship is told.
  void openBracket(Record& record, const Key& key);
  void closeBracket(Record& record, const Key& key);

  // --- Undo
  bool canUndo() const { return !open_.empty() || !undo_.empty(); }
  bool canRedo() const { return open_.empty() && !redo_.empty(); }
  bool undo();
  bool redo();
  void closeGroup();
  void setUndoEnabled(bool enabled);
  // Runs `work`, which completes the insertion of `record`. Right after the group of that insertion
  // all that it changes joins the group; later only what it changes of the record itself is left to
  // the insertion, and the rest is a change like any other.
  template <class Work>
  void asPartOfInsertion(Record& record, Work&& work) {
    struct Restore {
      Journal& journal;
      Record* outer;
      bool reopened;
      ~Restore() {
        journal.exempt_ = outer;
        if (reopened) journal.closeGroup();
      }
    } restore{*this, std::exchange(exempt_, &record), reopenGroupOf(record)};
    std::forward<Work>(work)();
  }

  // --- Saving and rolling back
  ChangeTracking& tracking() { return tracking_; }
  // Records every change from here on, so that takeBack can undo exactly those. Until the trial
  // ends, saving, undo, redo and rollback are refused with StoreError.
  void beginTrial();
  const UndoGroup& trial() const { return trial_; }
  void keepTrial();
  void takeBackTrial();
  // Forgets all tracking and undo; deleted records become shells.
  void saved();
  void rollback();

 private:
  // --- journal.cpp: one record
  // Throws RecordGoneError for a record that cannot be changed.
  void requireLive(Record& record) const {
    if (RecordAccess::slots(record) == nullptr || !RecordAccess::isLive(record)) makeLive(record);
  }
  void makeLive(Record& record) const;
  WriteMode inBracket(const Record& record, const Property& property, WriteMode mode) const {
    return brackets_.empty() ? mode : findBracket(record, property, mode);
  }
  WriteMode findBracket(const Record& record, const Property& property, WriteMode mode) const;
  // Whether a write is a step of the open undo group, or of the trial.
  bool isRecorded(const Record& record, const Property& property, WriteMode mode) const;
  // All that precedes a change of a slot.
  void prepare(Record& record, const Property& property, bool recorded);
  void detachFromSum(Record& record, const Property& property);
  void keepSavedValues(Record& record);
  void push(UndoStep step);
  void applyDeleteRule(Record& record, const Property& property,
                       const std::vector<Record*>& partners);
  // Out of and back into sight, values kept.
  void hide(Record& record, std::uint16_t state);
  void show(Record& record, std::uint16_t state);
  void makeShell(Record& record);

  // --- relationships.cpp: both sides of a link
  void requireTarget(const Record& record, const Property& property, Record& target) const;
  // false, and nothing changed, when an observer deleted either record before the change.
  bool tryReference(Record& record, const Property& property, Record* target, WriteMode mode);
  void addEnds(Announcement& announcement, const Record& record, const Property& property,
               Record* target) const;
  // The keys of others that lead to this record.
  void addPartners(Announcement& announcement, Record& record) const;
  void connect(Record& record, const Property& property, Record* target, WriteMode mode);
  // All that no Deny rule keeps.
  void disconnect(Record& record);
  // One side, with the far set when that is the other side.
  void putReference(Record& record, const Property& property, Record* target, bool recorded);
  std::vector<Record*> partnersOf(Record& record, const Property& property) const;
  bool keepsSet(const Record& owner, const Property& toMany) const;
  void link(Record& owner, const Property& toMany, Record& member);
  void unlink(Record& owner, const Property& toMany, Record& member);
  void linkAll(Record& record);
  void unlinkAll(Record& record);

  // --- replay.cpp: undo, trials, rollback
  void refuseInTrial() const;
  bool reopenGroupOf(const Record& record);
  void forgetNew(const UndoGroup& group);
  bool replayLatest(std::vector<UndoGroup>& from, std::vector<UndoGroup>& to);
  void addChanges(Announcement& announcement, const UndoGroup& group) const;
  UndoGroup replay(const UndoGroup& group);
  void replayStep(const UndoStep& step, UndoGroup& inverse);
  void replayWrite(Record& record, const Property& property, const Value& value,
                   UndoGroup& inverse);
  void putValue(Record& record, const Property& property, const Value& value);
  void freePartners(Record& record, std::uint16_t reason, UndoGroup& inverse);
  void clearUndo();
  void dropRedo();
  void addChangesSinceSave(Announcement& announcement) const;
  void restore(const SavedValues& saved);
  void forgetSavedValues();

  StoreParts* store_;
  Observers* observers_;
  ChangeTracking tracking_;
  // Records inserted in the open group, or in the latest while none is open, are kNew: what happens
  // to them needs no steps of its own, they go and come as a whole.
  UndoGroup open_;
  std::vector<UndoGroup> undo_;
  std::vector<UndoGroup> redo_;
  std::vector<std::pair<const Record*, std::uint16_t>> brackets_;
  UndoGroup trial_;
  Record* exempt_ = nullptr;
  bool inTrial_ = false;
  bool undoEnabled_ = true;
};

// The to-one of a record whose values are in memory.
inline Record* referenceOf(const Record& record, const Property& property) {
  const SlotView values = RecordAccess::view(record);
  return values.isNil(property.ordinal()) ? nullptr : values.reference(property.ordinal());
}

}  // namespace bokfolio::internal
