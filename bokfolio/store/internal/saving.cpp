#include "bokfolio/store/internal/saving.hpp"

#include <algorithm>
#include <set>

#include "bokfolio/store/internal/query.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

constexpr int kRefusedWithoutError = 1550;
constexpr int kDeletionDenied = 1600;
// A hook may change records that were valid already or make new ones; those are validated in the
// next round, but a circle of hooks that keep changing each other ends here.
constexpr int kValidationRounds = 16;

std::vector<std::uint16_t> changedProperties(const SavedValues& saved) {
  std::vector<std::uint16_t> changed;
  const SlotView before(saved.record->entity(), saved.slots);
  const SlotView now = RecordAccess::view(*saved.record);
  for (const Property& property : saved.record->entity().properties())
    if (property.persistent() && !sameSlot(property, before, now))
      changed.push_back(property.ordinal());
  return changed;
}

std::vector<Record*> changedRecords(StoreParts& store) {
  const ChangeTracking& tracking = store.journal.tracking();
  std::vector<Record*> records = tracking.inserted();
  for (const SavedValues& each : tracking.touched())
    if (isChanged(each)) records.push_back(each.record);
  return records;
}

// Those that were changed by the steps of the trial from this one on.
std::vector<Record*> changedInTrial(const UndoGroup& trial, std::size_t from) {
  std::vector<Record*> records;
  std::set<const Record*> seen;
  for (; from < trial.size(); ++from)
    if (seen.insert(trial[from].record).second) records.push_back(trial[from].record);
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
  std::vector<Record*> records = changedRecords(store);
  for (int round = 0; round < kValidationRounds && !records.empty(); ++round) {
    const std::size_t before = store.journal.trial().size();
    for (Record* record : records)
      if (RecordAccess::isLive(*record) && !validateRecord(*record, error)) return false;
    records = changedInTrial(store.journal.trial(), before);
  }
  return true;
}

// A Deny rule left its partners linked when the record was deleted.
bool isHeld(StoreParts& store, const Record& record, const Property& property) {
  if (!property.isRelationship() || property.deleteRule() != DeleteRule::Deny) return false;
  if (property.isToMany()) return store.firstMember(record, property) != nullptr;
  return referenceOf(record, property) != nullptr;
}

bool validateDeletions(StoreParts& store, ErrorOut error) {
  std::vector<Record*> gone = store.journal.tracking().deleted();
  for (Record* record : store.journal.tracking().unborn())
    if (record->isDeleted()) gone.push_back(record);
  for (Record* record : gone) {
    for (const Property& property : record->entity().properties()) {
      if (!isHeld(store, *record, property)) continue;
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
  for (const SavedValues& each : tracking.touched()) {
    auto changed = changedProperties(each);
    if (changed.empty()) continue;
    changes.changes.push_back({RecordChange::Kind::Update, each.record->id(),
                               RecordAccess::version(*each.record),
                               RecordAccess::view(*each.record), std::move(changed)});
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
  if (changes.empty()) return changes;
  for (const EntityRecords& records : store.entities) {
    if (!records.sums) continue;
    if (auto sums = store.sums(*records.entity).changedLines())
      changes.sums.push_back(std::move(*sums));
  }
  return changes;
}

// Before validation, which would blame the record; and after it, since its hooks ask, too.
bool restsOnUnread(StoreParts& store, ErrorOut error) {
  if (store.fetchFailure.empty() || !hasChanges(store)) return false;
  if (error != nullptr) {
    *error =
        Error(kPersistenceErrorDomain, static_cast<int>(PersistenceError::Failed),
              "What these changes rest on could not be read, so that they must be taken back: " +
                  store.fetchFailure);
  }
  return true;
}

bool validateAndCommit(StoreParts& store, ErrorOut error) {
  if (restsOnUnread(store, error) || !validateChanges(store, error) ||
      !validateDeletions(store, error) || restsOnUnread(store, error))
    return false;
  const ChangeSet changes = changeSet(store);
  if (!changes.empty() && !store.persistence->commit(changes, error)) return false;
  for (const RecordChange& change : changes.changes)
    if (change.kind == RecordChange::Kind::Update)
      ++RecordAccess::version(*store.of(change.values.entity()).table.find(change.id));
  for (const ChangeSet::Sums& sums : changes.sums) store.sums(*sums.entity).saved();
  return true;
}

}  // namespace

bool isChanged(const SavedValues& saved) {
  const SlotView before(saved.record->entity(), saved.slots);
  const SlotView now = RecordAccess::view(*saved.record);
  const auto& properties = saved.record->entity().properties();
  return std::any_of(properties.begin(), properties.end(), [&](const Property& property) {
    return property.persistent() && !sameSlot(property, before, now);
  });
}

bool hasChanges(StoreParts& store) {
  const ChangeTracking& tracking = store.journal.tracking();
  const auto changed = [](const SavedValues& each) {
    return !RecordAccess::isLive(*each.record) || isChanged(each);
  };
  return std::any_of(tracking.saved().begin(), tracking.saved().end(), changed) ||
         !tracking.inserted().empty();
}

bool save(StoreParts& store, ErrorOut error) {
  Journal& journal = store.journal;
  const std::string unreadBefore = store.fetchFailure;
  journal.beginTrial();
  bool done = false;
  try {
    done = validateAndCommit(store, error);
  } catch (const LoadError& failure) {
    if (error != nullptr)
      *error = Error(kPersistenceErrorDomain, static_cast<int>(PersistenceError::Failed),
                     failure.what());
  } catch (...) {
    journal.takeBackTrial();
    throw;
  }
  if (!done) {
    journal.takeBackTrial();
    // What only the validation could not read, is read by the next attempt.
    store.fetchFailure = unreadBefore;
    return false;
  }
  journal.keepTrial();
  journal.saved();
  return true;
}

bool rebuildSums(StoreParts& store, ErrorOut error) {
  ChangeSet changes;
  for (EntityRecords& records : store.entities) {
    if (!records.sums) continue;
    records.sums->forget();
    if (auto sums = store.sums(*records.entity).changedLines())
      changes.sums.push_back(std::move(*sums));
  }
  if (changes.empty() || !store.persistence->commit(changes, error)) return changes.empty();
  for (const ChangeSet::Sums& sums : changes.sums) store.sums(*sums.entity).saved();
  return true;
}

namespace {

// Compares every far set with what the to-one sides say, and every index with a scan. What is known
// of entities by lookup is noted before reading them whole replaces it.
class SelfCheck {
 public:
  explicit SelfCheck(StoreParts& store) : store_(store) {}

  std::vector<std::string> run() {
    for (EntityRecords& records : store_.entities) {
      noteSets(records);
      if (records.byLookup()) checkChangedIndexes(records);
    }
    for (const Entity& entity : store_.schema->entities()) store_.load(entity);
    for (const Entity& entity : store_.schema->entities()) {
      const auto records = store_.all(entity);
      if (records.size() != store_.count(entity))
        report(entity.name() + ": the number of records is kept wrong");
      for (const Property& property : entity.properties()) {
        if (property.isToOne()) checkTargets(records, property);
        if (property.isToOne() && property.inverse().isToOne()) checkPairs(records, property);
        if (property.isToMany()) checkFarSets(records, property);
      }
      for (const IndexLayout& layout : entity.indexes()) checkIndex(entity, records, layout);
      if (entity.keptSum() != nullptr) checkSums(entity, records);
    }
    for (const KnownSet& known : knownSets_) checkKnownSet(known);
    return std::move(faults_);
  }

 private:
  void report(std::string fault) { faults_.push_back(std::move(fault)); }

  struct KnownSet {
    const Record* owner;
    const Property* toMany;
    std::vector<const Record*> members;
  };

  void noteSets(EntityRecords& records) {
    records.table.forEach([&](Record* owner) {
      if (RecordAccess::slots(*owner) == nullptr || !RecordAccess::isLive(*owner)) return;
      for (const Property& property : records.entity->properties()) {
        if (!property.isToMany() || !store_.hasMembers(*owner, property)) continue;
        KnownSet known{owner, &property, {}};
        store_.setOf(*owner, property).forEach([&](const Record* member) {
          known.members.push_back(member);
        });
        knownSets_.push_back(std::move(known));
      }
    });
  }

  void checkKnownSet(const KnownSet& known) {
    std::vector<const Record*> members;
    store_.members(*known.owner, *known.toMany).forEach([&](const Record* member) {
      members.push_back(member);
    });
    if (members != known.members)
      report(known.owner->description() + ": " + known.toMany->name() + " was known wrong");
  }

  void checkChangedIndexes(EntityRecords& records) {
    std::vector<Record*> changed;
    records.table.forEach([&](Record* record) {
      if (RecordAccess::slots(*record) != nullptr && RecordAccess::isLive(*record) &&
          isChangedSinceSave(*record))
        changed.push_back(record);
    });
    for (const IndexLayout& layout : records.entity->indexes())
      checkIndex(*records.entity, changed, layout);
  }

  void checkTargets(const std::vector<Record*>& records, const Property& toOne) {
    if (toOne.inverse().deleteRule() == DeleteRule::Deny) return;
    for (const Record* record : records) {
      const Record* target = referenceOf(*record, toOne);
      if (target != nullptr && !RecordAccess::isLive(*target))
        report(record->description() + ": " + toOne.name() + " is a record that is gone");
    }
  }

  void checkPairs(const std::vector<Record*>& records, const Property& property) {
    for (const Record* record : records) {
      const Record* partner = referenceOf(*record, property);
      if (partner == nullptr) continue;
      store_.slots(*partner);
      if (referenceOf(*partner, property.inverse()) != record)
        report(record->description() + ": " + property.name() + " is not mutual");
    }
  }

  void checkFarSets(const std::vector<Record*>& owners, const Property& toMany) {
    std::size_t linked = 0;
    for (const Record* owner : owners) {
      store_.members(*owner, toMany).forEach([&](const Record* member) {
        ++linked;
        if (!RecordAccess::isLive(*member) || referenceOf(*member, toMany.inverse()) != owner)
          report(owner->description() + ": " + toMany.name() + " holds a record that is not its");
      });
    }
    std::size_t referring = 0;
    for (const Record* member : store_.all(toMany.inverse().entity())) {
      const Record* owner = referenceOf(*member, toMany.inverse());
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

  void checkSums(const Entity& entity, const std::vector<Record*>& records) {
    if (!store_.sums(entity).agreesWithScan(records))
      report(entity.name() + ": the kept sums differ from a scan");
  }

  StoreParts& store_;
  std::vector<KnownSet> knownSets_;
  std::vector<std::string> faults_;
};

}  // namespace

std::vector<std::string> verify(StoreParts& store) { return SelfCheck(store).run(); }

}  // namespace bokfolio::internal
