#include "bokfolio/store/internal/saving.hpp"

#include <algorithm>
#include <set>

#include "bokfolio/store/internal/query.hpp"
#include "bokfolio/store/internal/store_parts.hpp"

namespace bokfolio::internal {

namespace {

constexpr int kRefusedWithoutError = 1550;
constexpr int kDeletionDenied = 1600;
// A hook may change records that were valid already; those are validated again, but a circle of
// hooks that keep changing each other ends here.
constexpr int kValidationRounds = 16;

std::vector<Record*> changedRecords(StoreParts& store) {
  const ChangeTracking& tracking = store.journal.tracking();
  std::vector<Record*> records = tracking.inserted();
  for (Record* record : tracking.touched())
    if (!changedProperties(store, *record).empty()) records.push_back(record);
  return records;
}

bool validateRecord(Record& record, ErrorOut error) {
  std::optional<Error> failure;
  if (record.validateForUpdate(error != nullptr ? &failure : nullptr)) return true;
  if (error != nullptr) {
    *error = failure ? std::move(failure)
                     : std::optional<Error>(
                           Error(kStoreErrorDomain, kRefusedWithoutError,
                                 record.environment().text("%@ is not valid and cannot be saved.",
                                                           {record.description()})));
  }
  return false;
}

bool validateChanges(StoreParts& store, ErrorOut error) {
  std::set<Record*> valid;
  for (int round = 0; round < kValidationRounds; ++round) {
    bool more = false;
    for (Record* record : changedRecords(store)) {
      if (valid.count(record) != 0 || !RecordAccess::isLive(*record)) continue;
      more = true;
      if (!validateRecord(*record, error)) return false;
      valid.insert(record);
    }
    if (!more) return true;
  }
  return true;
}

// A Deny rule left its partners linked when the record was deleted.
bool validateDeletions(StoreParts& store, ErrorOut error) {
  for (Record* record : store.journal.tracking().deleted()) {
    for (const Property& property : record->entity().properties()) {
      if (!property.isToMany() || property.deleteRule() != DeleteRule::Deny) continue;
      if (store.members(*record, property).size() == 0) continue;
      if (error != nullptr) {
        *error = Error(kStoreErrorDomain, kDeletionDenied,
                       store.environment.text("%@ cannot be deleted while it is in use.",
                                              {record->description()}));
        (*error)->with(kValidationKeyErrorKey, property.name());
      }
      return false;
    }
  }
  return true;
}

ChangeSet changeSet(StoreParts& store) {
  const ChangeTracking& tracking = store.journal.tracking();
  ChangeSet changes;
  std::set<std::uint16_t> grown;
  for (Record* record : tracking.inserted()) {
    changes.changes.push_back(
        {RecordChange::Kind::Insert, record->id(), 0, RecordAccess::view(*record), {}});
    grown.insert(record->entity().ordinal());
  }
  for (Record* record : tracking.touched()) {
    auto changed = changedProperties(store, *record);
    if (changed.empty()) continue;
    changes.changes.push_back({RecordChange::Kind::Update, record->id(),
                               RecordAccess::version(*record), RecordAccess::view(*record),
                               std::move(changed)});
  }
  for (Record* record : tracking.deleted())
    changes.changes.push_back({RecordChange::Kind::Delete,
                               record->id(),
                               RecordAccess::version(*record),
                               RecordAccess::view(*record),
                               {}});
  for (const std::uint16_t ordinal : grown) {
    EntityRecords& records = store.entities[ordinal];
    changes.nextIds.emplace_back(records.entity, records.nextId);
  }
  return changes;
}

}  // namespace

std::vector<std::uint16_t> changedProperties(StoreParts& store, Record& record) {
  std::vector<std::uint16_t> changed;
  const std::byte* saved = store.journal.tracking().saved(record);
  if (saved == nullptr) return changed;
  const SlotView before(record.entity(), saved);
  const SlotView now = RecordAccess::view(record);
  for (const Property& property : record.entity().properties())
    if (property.persistent() && !sameSlot(property, before, now))
      changed.push_back(property.ordinal());
  return changed;
}

bool save(StoreParts& store, ErrorOut error) {
  Journal& journal = store.journal;
  journal.beginTrial();
  try {
    if (!validateChanges(store, error) || !validateDeletions(store, error)) {
      journal.takeBackTrial();
      return false;
    }
    const ChangeSet changes = changeSet(store);
    if (!changes.empty() && !store.persistence->commit(changes, error)) {
      journal.takeBackTrial();
      return false;
    }
    journal.keepTrial();
    for (const RecordChange& change : changes.changes)
      if (change.kind == RecordChange::Kind::Update)
        ++RecordAccess::version(*store.of(change.values.entity()).table.find(change.id));
  } catch (...) {
    journal.takeBackTrial();
    throw;
  }
  journal.saved();
  return true;
}

namespace {

// Compares every far set with what the to-one sides say, and every index with a scan.
class SelfCheck {
 public:
  explicit SelfCheck(StoreParts& store) : store_(store) {}

  std::vector<std::string> run() {
    for (const Entity& entity : store_.schema->entities()) {
      const auto records = store_.all(entity);
      if (records.size() != store_.count(entity))
        report(entity.name() + ": the number of records is kept wrong");
      for (const Property& property : entity.properties()) {
        if (property.isToOne() && property.inverse().isToOne()) checkPairs(records, property);
        if (property.isToMany()) checkFarSets(records, property);
      }
      for (const IndexLayout& layout : entity.indexes()) checkIndex(entity, records, layout);
    }
    return std::move(faults_);
  }

 private:
  void report(std::string fault) { faults_.push_back(std::move(fault)); }

  static Record* reference(const Record& record, const Property& property) {
    const SlotView slots = RecordAccess::view(record);
    return slots.isNil(property.ordinal()) ? nullptr : slots.reference(property.ordinal());
  }

  void checkPairs(const std::vector<Record*>& records, const Property& property) {
    for (const Record* record : records) {
      const Record* partner = reference(*record, property);
      if (partner == nullptr) continue;
      store_.slots(*partner);
      if (reference(*partner, property.inverse()) != record)
        report(record->description() + ": " + property.name() + " is not mutual");
    }
  }

  void checkFarSets(const std::vector<Record*>& owners, const Property& toMany) {
    std::size_t linked = 0;
    for (const Record* owner : owners) {
      store_.members(*owner, toMany).forEach([&](const Record* member) {
        ++linked;
        if (!RecordAccess::isLive(*member) || reference(*member, toMany.inverse()) != owner)
          report(owner->description() + ": " + toMany.name() + " holds a record that is not its");
      });
    }
    std::size_t referring = 0;
    for (const Record* member : store_.all(toMany.inverse().entity())) {
      const Record* owner = reference(*member, toMany.inverse());
      if (owner != nullptr && RecordAccess::isLive(*owner)) ++referring;
    }
    if (linked != referring)
      report(toMany.entity().name() + "." + toMany.name() + ": members are missing");
  }

  void checkIndex(const Entity& entity, const std::vector<Record*>& records,
                  const IndexLayout& layout) {
    const Index& kept = store_.index(entity, layout.ordinal);
    Index fresh(layout);
    fresh.build(records);
    std::vector<const Record*> expected;
    std::vector<const Record*> found;
    fresh.entries().forEach([&](const IndexEntry& entry) { expected.push_back(entry.record); });
    kept.entries().forEach([&](const IndexEntry& entry) { found.push_back(entry.record); });
    if (expected != found)
      report(entity.name() + ": the index on " + layout.properties.front()->name() +
             " differs from a scan");
  }

  StoreParts& store_;
  std::vector<std::string> faults_;
};

}  // namespace

std::vector<std::string> verify(StoreParts& store) { return SelfCheck(store).run(); }

}  // namespace bokfolio::internal
