// Context: the working state of one document. It makes, finds, deletes and saves records, keeps
// both sides of every relationship in step, and knows what changed since the last save. Everything
// runs on the one thread that owns the context.
//
// Undo. Changes collect in a group until closeUndoGroup() (the host calls it at the end of a user's
// action, or its run loop does); undo() takes back the latest group, redo() repeats it with the
// same records. Replaying writes stored values and announces them, but runs no setter, no hook and
// no awakeFromInsert. Saving and rolling back empty both stacks: what is saved can not be undone.
// Primitive writes outside their brackets and what happens to a record in the group that inserted
// it are not undone singly; the record goes and comes as a whole. A link that was written past undo
// is nil while its record is away.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/kept_sum.hpp"
#include "bokfolio/store/observation.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/sort_descriptor.hpp"

namespace bokfolio {

class Persistence;
struct StoreParts;

class BOKFOLIO_EXPORT Context {
 public:
  // A context on what the engine holds. nullptr with the engine's error when it cannot be opened.
  static std::unique_ptr<Context> open(std::shared_ptr<const Schema> schema,
                                       std::unique_ptr<Persistence> persistence,
                                       Environment environment, ErrorOut error = nullptr);
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  // Unsaved changes are lost; so is every record.
  ~Context();

  const Environment& environment() const;
  const Schema& schema() const;
  // The description of an entity, nullptr when the model has none of that name.
  const Entity* entityForName(std::string_view name) const;
  Persistence& persistence();

  // --- Records
  // A new record of the entity with the model's defaults; its awakeFromInsert has run. Throws
  // UndefinedKeyError for an entity that the model lacks, LoadError when the engine has no id.
  Record* insertNewObject(std::string_view entityName);
  template <class T>
  T* insert() {
    return static_cast<T*>(insertNewObject(T::kEntityName));
  }
  // Marks the record deleted and applies the delete rules to its relationships: it is in no fetch
  // and in no set any more. Its attributes can be read until the next save. Deleting twice is
  // nothing. Throws StoreError for a record of another context.
  void deleteObject(Record* record);
  // The record with that id, or nullptr. Throws LoadError when the engine reports an error.
  Record* find(std::string_view entityName, RecordId id);

  // --- Fetching
  // The records of an entity that satisfy the predicate (nullopt: all), in the given order
  // (nullopt: unspecified, in fact ascending id), at most `fetchLimit` of them (-1 and 0: no
  // limit). Conditions compare stored values; unsaved changes count. nullopt when the engine
  // reports an error, which is neither passed out nor logged; fetchFailure() has its words, and
  // what has changed by then can only be rolled back. Throws UndefinedKeyError for an unknown
  // entity or key.
  std::optional<std::vector<Record*>> fetchEntitiesWithName(
      std::string_view entityName, const std::optional<Predicate>& predicate = std::nullopt,
      const std::optional<std::vector<SortDescriptor>>& sortDescriptors = std::nullopt,
      std::ptrdiff_t fetchLimit = -1);
  // Why the latest fetch that failed since the last save or rollback did, "" when none failed: for
  // hosts that show what they were answered.
  const std::string& fetchFailure() const;
  // For a host that did nothing but look, or has asked again: nothing that has changed rests on the
  // answer that failed, and a save need not be refused.
  void forgetFetchFailure();
  // The same for a class; a failed fetch is empty.
  template <class T>
  std::vector<T*> fetch(const std::optional<Predicate>& predicate = std::nullopt,
                        const std::optional<std::vector<SortDescriptor>>& order = std::nullopt,
                        std::ptrdiff_t fetchLimit = -1) {
    std::vector<T*> typed;
    if (const auto records = fetchEntitiesWithName(T::kEntityName, predicate, order, fetchLimit)) {
      typed.reserve(records->size());
      for (Record* record : *records) typed.push_back(static_cast<T*>(record));
    }
    return typed;
  }
  // The first match, or nullptr.
  template <class T>
  T* fetchFirst(const std::optional<Predicate>& predicate = std::nullopt,
                const std::optional<std::vector<SortDescriptor>>& order = std::nullopt) {
    const auto found = fetch<T>(predicate, order, 1);
    return found.empty() ? nullptr : found.front();
  }
  // Number of matches. Throws LoadError when the engine reports an error.
  std::size_t count(std::string_view entityName,
                    const std::optional<Predicate>& predicate = std::nullopt);
  // What the sum that the entity keeps (EntityTable::keepSum) comes to, unsaved changes included;
  // zero where there is nothing to add. Throws StoreError for an entity that keeps none and for a
  // question about neither owner nor mark, or about a mark alone with a date; DecimalError for a
  // sum that is no Decimal; LoadError when the engine reports an error. Cost: the same in any
  // document; the first question about a period or an owner reads their lines, not the records.
  Decimal keptSum(std::string_view entityName, const KeptSumQuestion& question);

  // --- Changes
  bool hasChanges() const;
  std::vector<Record*> insertedObjects() const;
  std::vector<Record*> updatedObjects() const;
  std::vector<Record*> deletedObjects() const;

  // Validates every inserted and updated record, then writes all changes at once. false: nothing is
  // changed, in memory or in the document. Errors: the record's own; in the store's domain 1550
  // when a record refused without an error, 1600 for a deletion that a Deny rule forbids; the
  // engine's; in the engine's domain Failed when a fetch failed since the last save or rollback:
  // what was taken for nothing may have been decided upon, and only a rollback helps (but see
  // forgetFetchFailure). While a save validates, hooks may change records, but saving, rolling back
  // and undo throw StoreError.
  bool save(ErrorOut error = nullptr);
  // Back to the last saved state, exactly. Inserted records become shells. Transient values stay.
  void rollback();

  bool undo();
  bool redo();
  bool canUndo() const;
  bool canRedo() const;
  void closeUndoGroup();
  // Importers switch recording off: undo then reaches back no further than this point.
  void setUndoEnabled(bool enabled);

  // --- Observation
  // Observes a key or a key path of a record. Throws UndefinedKeyError for a key that the entity,
  // or one that the path leads to, lacks.
  [[nodiscard]] ObservationToken observe(Record& record, std::string_view keyPath,
                                         Observer observer);

  // Runs `work` on the record after the delay, through the environment's run loop, unless the
  // record or the context has gone by then. What it changes belongs to the record's insertion: undo
  // takes both back together when nothing else was changed in between; otherwise what it writes to
  // the record itself is not undone singly.
  void performAfterDelay(Record& record, std::int64_t microseconds,
                         std::function<void(Record&)> work);

  // Computes the kept sums anew from all records and writes them, for a document whose sums
  // verify() finds wrong. Throws StoreError when there are unsaved changes, LoadError. Errors: the
  // engine's. Cost: everything that the sums are made of is read.
  bool rebuildSums(ErrorOut error = nullptr);

  // Lets go of the values of records that are as saved, where entities are looked up record by
  // record (EntityTable::byLookup): reading them again fetches them again. Records that were
  // changed or inserted since the last save, and those that somebody observes, stay. Pointers to
  // records stay good. Long reports call this between their parts. Answers how many records were
  // let go. Cost: that of a walk over the records in memory.
  std::size_t releaseUnused();

  // Checks the store against itself: inverses agree, indexes, kept sums and sets equal scans.
  // Answers what is wrong, nothing when all is well. Cost: everything is read.
  std::vector<std::string> verify();

  StoreParts& parts() { return *parts_; }

 private:
  Context(std::shared_ptr<const Schema> schema, std::unique_ptr<Persistence> persistence,
          Environment environment);

  std::unique_ptr<StoreParts> parts_;
};

}  // namespace bokfolio
