// StoreParts: the rooms behind Context. Records by entity, the journal through which every change
// goes, the observers, the engine. Context is the face; what the rooms share passes through here.
//
// Of most entities all records are in memory once one of them was wanted. Entities by lookup
// (EntityTable::byLookup) come record by record: what the engine answers about saved records, with
// unsaved changes laid over it, stands for the whole, until something asks for all of them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/internal/index.hpp"
#include "bokfolio/store/internal/journal.hpp"
#include "bokfolio/store/internal/kept_sums.hpp"
#include "bokfolio/store/internal/observers.hpp"
#include "bokfolio/store/internal/record_access.hpp"
#include "bokfolio/store/internal/record_table.hpp"
#include "bokfolio/store/internal/relation_set.hpp"
#include "bokfolio/store/internal/saved_records.hpp"
#include "bokfolio/store/internal/slots.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio {

class Context;

// What is wanted in ascending order of id is read in ever longer stretches.
struct ReadAhead {
  RecordId next = 0;  // behind what was read last
  std::size_t length = 1;

  // The stretch of `length` that begins with this id.
  void reach(RecordId id) {
    constexpr std::size_t kLongest = 1024;
    const bool follows = id >= next && id - next <= length;
    length = follows ? std::min(length * 2, kLongest) : 1;
    next = id + length;
  }
};

// What is in memory of one entity.
struct EntityRecords {
  EntityRecords(StoreParts& store, const Entity& described);
  EntityRecords(const EntityRecords&) = delete;
  EntityRecords& operator=(const EntityRecords&) = delete;
  ~EntityRecords();

  const Entity* entity;
  internal::RecordTable table;
  internal::SlotPool pool;
  std::byte* defaults;                     // the values of a record that was just inserted
  std::vector<internal::Index> indexes;    // by IndexLayout::ordinal
  std::vector<bool> inverseBuilt;          // by ordinal of a to-one: all its far sets are complete
  std::optional<std::size_t> saved;        // how many the document has; unknown until asked for
  std::ptrdiff_t sinceSave = 0;            // live records more than that
  RecordId nextId = 0;                     // 0: the engine has not been asked yet
  bool loaded = false;                     // every saved record is in memory
  std::optional<internal::KeptSums> sums;  // entities with a kept sum only
  ReadAhead readAhead;                     // of records...
  std::vector<ReadAhead> membersAhead;     // ...and of far sets, by ordinal of a to-many

  // Saved records are looked up, not all in memory.
  bool byLookup() const { return entity->byLookup() && !loaded; }
  // A record that came into sight waits to be counted by what is kept of all; one that goes is not
  // counted any more.
  void await(Record& record);
  void drop(Record& record);
  // A saved record is about to be changed for the first time since.
  void awaitChanged(Record& record);
};

struct StoreParts {
  StoreParts(Context& face, std::shared_ptr<const Schema> frozen,
             std::unique_ptr<Persistence> engine, Environment services);
  ~StoreParts();

  Context& context;
  std::shared_ptr<const Schema> schema;
  std::unique_ptr<Persistence> persistence;
  Environment environment;
  std::deque<EntityRecords> entities;  // by Entity::ordinal
  internal::SavedRecords savedRecords;
  internal::Observers observers;
  internal::Journal journal;
  // Why a fetch since the last save or rollback has failed. Whoever asked took it for an answer of
  // none: a number given twice, a record made anew. So nothing is saved until a rollback.
  std::string fetchFailure;
  std::shared_ptr<int> life;  // expires with the context; deferred calls hold it weakly

  EntityRecords& of(const Entity& entity) { return entities[entity.ordinal()]; }

  // Reads the entity from the engine unless that has happened. Throws LoadError.
  void load(const Entity& entity);
  // Brings a record's values into memory; throws RecordGoneError for a shell.
  void fault(const Record& record);
  SlotView slots(const Record& record) {
    if (RecordAccess::slots(record) == nullptr) fault(record);
    return RecordAccess::view(record);
  }

  // A new record with the model's defaults, inserted; awakeFromInsert is the caller's.
  Record* make(const Entity& entity);
  // The record with that id in memory, a place for it when it is not read yet, nullptr for id 0.
  Record* place(const Entity& entity, RecordId id);

  // Asks the engine whether it keeps the sums that entities declare.
  bool findSums(ErrorOut error);

  // --- All records, unsaved changes included
  // The live record with that id, or nullptr.
  Record* find(const Entity& entity, RecordId id);
  // Every live record of the entity, ascending id. Reads all that is saved.
  std::vector<Record*> all(const Entity& entity);
  std::size_t count(const Entity& entity);
  // About as many, without asking the document more than once.
  double roughCount(const Entity& entity);
  // What the engine answers, without the records that have changed since.
  std::vector<Record*> unchanged(const SavedQuestion& question);
  // Over all records when the entity is in memory, else over those that changed. Up to date.
  const internal::Index& index(const Entity& entity, std::uint16_t ordinal);
  internal::KeptSums& sums(const Entity& entity);

  // --- The far side of a to-many relationship
  // Complete; reads the members that are not in memory.
  const internal::RelationSet& members(const Record& owner, const Property& toMany);
  // As far as it is known.
  internal::RelationSet& setOf(const Record& owner, const Property& toMany);
  // Whether members() reads nothing.
  bool hasMembers(const Record& owner, const Property& toMany);
  std::size_t memberCount(const Record& owner, const Property& toMany);
  // The lowest id; nullptr when there is none.
  Record* firstMember(const Record& owner, const Property& toMany);
  // What the engine is asked for the saved members.
  static SavedQuestion membersQuestion(const Record& owner, const Property& toMany);
  // A member whose owner's values are not in memory: its set learns of it when it is made.
  void linkLater(const Record& owner, const Property& toMany, Record& member);

  // Lets go of the values of records that are as saved, and of what was kept of whole entities.
  // Answers how many records that were.
  std::size_t release();
  // The saved state and memory agree: after a save, after a rollback.
  void settle();

 private:
  void learnNextId(const Entity& entity);
  bool canRelease(const Record& record) const;
  bool isWhole(const Property& toOne);
  void completeSets(const Record& owner, const Property& toMany);
  void addLaterLinks(const Record& owner, const Property& toMany, internal::RelationSet& set);
  void buildInverse(const Property& toOne);

  using LaterLink = std::pair<const Property*, Record*>;
  std::unordered_multimap<const Record*, LaterLink> laterLinks_;
};

// Whether the saved values of a record may differ from those of now.
inline bool isChangedSinceSave(const Record& record) {
  return RecordAccess::has(record, RecordAccess::kInserted | RecordAccess::kKept) ||
         !RecordAccess::isLive(record);
}

}  // namespace bokfolio
