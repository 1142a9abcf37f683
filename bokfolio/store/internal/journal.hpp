// Journal: the one way in which a stored value, a record's existence or a relationship changes.
// Every change passes here once; tracking, undo, indexes, the far sides of relationships and
// observers follow it, so that none of them can be forgotten. Rollback, undo and redo are replays
// through the same way.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <utility>
#include <vector>

#include "bokfolio/store/internal/change_tracking.hpp"
#include "bokfolio/store/internal/slots.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {
struct StoreParts;
}

namespace bokfolio::internal {

enum class WriteMode : std::uint8_t {
  Announced,  // observers are told, undo can take it back
  Primitive,  // neither, unless the key stands in an open bracket
  Replay,     // observers are told; undo is what is happening
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
  explicit Journal(StoreParts& store) : store_(&store) {}

  // Writes a slot that is not a relationship. `assign` gets a SlotWriter and must not throw.
  template <class Assign>
  void write(Record& record, const Property& property, WriteMode mode, Assign&& assign) {
    begin(record, property, mode);
    std::forward<Assign>(assign)(SlotWriter(record.entity(), RecordAccess::slots(record)));
    finish(record, property, mode);
  }
  void writeValue(Record& record, const Property& property, const Value& value, WriteMode mode);
  // Sets a to-one and its other side, whatever that is. ValueKindError for a record of another
  // entity, RecordGoneError for one that is not live, StoreError for one of another context.
  void setReference(Record& record, const Property& property, Record* target, WriteMode mode);
  // Makes exactly these records the members of a to-many.
  void setMembers(Record& owner, const Property& toMany, const std::vector<Record*>& members);

  void insert(Record& record);
  // As if it had never been inserted: for an insertion that failed.
  void discard(Record& record);
  void remove(Record& record);

  // Explicit brackets: primitive writes of the key inside them are undone like announced ones.
  void openBracket(Record& record, const Key& key);
  void closeBracket(Record& record, const Key& key);

  // --- Undo
  // ---------------------------------------------------------------------------------------
  bool canUndo() const { return !open_.empty() || !undo_.empty(); }
  bool canRedo() const { return open_.empty() && !redo_.empty(); }
  bool undo();
  bool redo();
  void closeGroup();
  void setUndoEnabled(bool enabled);
  // Runs `work` while changes of `record` count as part of its insertion.
  template <class Work>
  void asPartOfInsertion(Record& record, Work&& work) {
    Record* outer = std::exchange(exempt_, &record);
    struct Restore {
      Record*& exempt;
      Record* outer;
      ~Restore() { exempt = outer; }
    } restore{exempt_, outer};
    std::forward<Work>(work)();
  }

  // --- Saving and rolling back
  // --------------------------------------------------------------------
  ChangeTracking& tracking() { return tracking_; }
  // Records every change from here on, so that takeBack can undo exactly those.
  void beginTrial();
  void keepTrial();
  void takeBackTrial();
  // Forgets all tracking and undo; deleted records become shells.
  void saved();
  void rollback();

 private:
  void begin(Record& record, const Property& property, WriteMode mode);
  void finish(Record& record, const Property& property, WriteMode mode);
  // Slot, far set, tracking and indexes, without announcing.
  void beginQuietly(Record& record, const Property& property, WriteMode mode);
  void finishQuietly(Record& record, const Property& property);
  void writeReference(Record& record, const Property& property, Record* target, WriteMode mode);

  void keepSavedValues(Record& record);
  bool recordsUndo(const Record& record, const Property& property, WriteMode mode) const;
  void push(UndoStep step);
  void dropRedo();

  void applyDeleteRule(Record& record, const Property& property,
                       const std::vector<Record*>& partners);
  bool keepsSet(Record& owner, const Property& toMany) const;
  void link(Record& owner, const Property& toMany, Record& member);
  void unlink(Record& owner, const Property& toMany, Record& member);
  void linkAll(Record& record);
  void unlinkAll(Record& record);

  // Out of and back into sight, values kept.
  void hide(Record& record, std::uint16_t state);
  void show(Record& record, std::uint16_t state);
  void makeShell(Record& record);

  UndoGroup replay(const UndoGroup& group);
  void replayStep(const UndoStep& step, UndoGroup& inverse);
  void replayWrite(Record& record, const Property& property, const Value& value);
  void clearUndo();
  void restoreSavedValues(Record& record);
  void buryStillborn();
  void forgetSavedValues();

  StoreParts* store_;
  ChangeTracking tracking_;
  UndoGroup open_;
  std::vector<UndoGroup> undo_;
  std::vector<UndoGroup> redo_;
  std::unordered_set<const Record*> insertedInGroup_;
  std::vector<std::pair<const Record*, std::uint16_t>> brackets_;
  std::vector<Record*> beingDeleted_;
  std::vector<Record*> stillborn_;
  UndoGroup trial_;
  Record* exempt_ = nullptr;
  bool inTrial_ = false;
  bool undoEnabled_ = true;
  bool replaying_ = false;
};

}  // namespace bokfolio::internal
