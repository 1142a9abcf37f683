// StoreParts: the rooms behind Context. Records by entity, the journal through which every change
// goes, the observers, the engine. Context is the face; what the rooms share passes through here.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/internal/index.hpp"
#include "bokfolio/store/internal/journal.hpp"
#include "bokfolio/store/internal/kept_sums.hpp"
#include "bokfolio/store/internal/observers.hpp"
#include "bokfolio/store/internal/record_access.hpp"
#include "bokfolio/store/internal/record_table.hpp"
#include "bokfolio/store/internal/relation_set.hpp"
#include "bokfolio/store/internal/slots.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio {

class Context;

// What is in memory of one entity.
struct EntityRecords {
  explicit EntityRecords(const Entity& described);
  EntityRecords(const EntityRecords&) = delete;
  EntityRecords& operator=(const EntityRecords&) = delete;
  ~EntityRecords();

  const Entity* entity;
  internal::RecordTable table;
  internal::SlotPool pool;
  std::byte* defaults;                     // the values of a record that was just inserted
  std::vector<internal::Index> indexes;    // by IndexLayout::ordinal
  std::vector<bool> inverseBuilt;          // by ordinal of a to-one: its far sets are complete
  std::size_t liveCount = 0;               // saved and unsaved records that are not deleted
  RecordId nextId = 0;                     // 0: the engine has not been asked yet
  bool loaded = false;                     // every saved record is in memory
  std::optional<internal::KeptSums> sums;  // entities with a kept sum only

  // A record that came into sight waits to be counted by what is kept of all; one that goes is not
  // counted any more.
  void await(Record& record);
  void drop(Record& record);
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
  internal::Observers observers;
  internal::Journal journal;
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

  // Every live record of the entity, ascending id.
  std::vector<Record*> all(const Entity& entity);
  std::size_t count(const Entity& entity);
  // The complete far side of a to-many relationship.
  const internal::RelationSet& members(const Record& owner, const Property& toMany);
  // Brings the far sets of every record up from the to-one side.
  void buildInverse(const Property& toOne);
  // Built and up to date.
  const internal::Index& index(const Entity& entity, std::uint16_t ordinal);
  const internal::KeptSums& sums(const Entity& entity);
};

}  // namespace bokfolio
