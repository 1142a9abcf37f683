// One record: writing its slots, its coming and going.
#include "bokfolio/store/internal/journal.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

Journal::Journal(StoreParts& store) : store_(&store), observers_(&store.observers) {}

void Journal::makeLive(Record& record) const {
  store_->slots(record);
  if (!RecordAccess::isLive(record))
    throw RecordGoneError(record.entityName() + " " + std::to_string(record.id()) +
                          " is deleted and cannot be changed");
}

// --- One slot

void Journal::writeValue(Record& record, const Property& property, const Value& value,
                         WriteMode mode) {
  if (property.isToOne()) {
    if (!value.isNil() && value.record() == nullptr)
      throw ValueKindError(record.entityName() + "." + property.name() + " wants a record, not " +
                           value.description());
    setReference(record, property, value.record(), mode);
    return;
  }
  if (property.isToMany()) {
    if (!value.isNil() && value.records() == nullptr)
      throw ValueKindError(record.entityName() + "." + property.name() + " wants records, not " +
                           value.description());
    setMembers(record, property,
               value.isNil() ? std::vector<Record*>() : value.records()->snapshot());
    return;
  }
  const Value fitting = fittingValue(property, value);
  requireLive(record);
  if (readValue(property, RecordAccess::view(record)) == fitting) {
    announceOnly(record, property, mode);
    return;
  }
  write(record, property, mode, [&](SlotWriter slots) { slots.setValue(property, fitting); });
}

void Journal::announceOnly(Record& record, const Property& property, WriteMode mode) {
  if (mode != WriteMode::Announced) return;
  Announcement announcement(*observers_);
  announcement.add(record, property.key());
  announcement.will();
  announcement.did();
}

void Journal::prepare(Record& record, const Property& property, bool recorded) {
  // May read from the document, and fail, so it comes first.
  if (property.keptSum() != nullptr) detachFromSum(record, property);
  if (!property.transient()) {
    keepSavedValues(record);
    if (recorded)
      push({UndoStep::Kind::Write, &record, &property,
            readValue(property, RecordAccess::view(record))});
    if (!record.isInserted()) RecordAccess::raise(record, RecordAccess::kUpdated);
  }
  if (property.indexes().empty()) return;
  EntityRecords& records = store_->of(record.entity());
  for (const std::uint16_t index : property.indexes())
    if (records.indexes[index].follows()) records.indexes[index].detach(record);
}

// Out of the sum before what it counts changes, on the record itself or behind its link.
void Journal::detachFromSum(Record& record, const Property& property) {
  const KeptSumLayout& layout = *property.keptSum();
  auto& sums = store_->of(layout.via->entity()).sums;
  if (!sums->follows()) return;
  if (&property != layout.period && &property != layout.instant) {
    sums->detach(record);
  } else {
    store_->members(record, layout.via->inverse()).forEach([&](Record* each) {
      sums->detach(*each);
    });
  }
}

void Journal::keepSavedValues(Record& record) {
  if (record.isInserted() || tracking_.hasSaved(record)) return;
  std::byte* copy = store_->of(record.entity()).pool.allocate();
  copySlots(record.entity(), RecordAccess::slots(record), copy);
  tracking_.keepSaved(record, copy);
  store_->of(record.entity()).awaitChanged(record);
}

bool Journal::isRecorded(const Record& record, const Property& property, WriteMode mode) const {
  if (inTrial_) return true;
  if (!undoEnabled_) return false;
  if (RecordAccess::has(record, RecordAccess::kNew) && !open_.empty()) return false;
  // The ends of pairs are put back one by one, which only works when none of it was missed.
  if (property.isToOne() && property.inverse().isToOne()) return true;
  return mode != WriteMode::Primitive && &record != exempt_;
}

void Journal::push(UndoStep step) {
  if (inTrial_) {
    trial_.push_back(std::move(step));
    return;
  }
  if (!redo_.empty()) dropRedo();
  if (open_.empty() && !undo_.empty()) forgetNew(undo_.back());
  open_.push_back(std::move(step));
}

void Journal::openBracket(Record& record, const Key& key) {
  brackets_.emplace_back(&record, key.id);
}

void Journal::closeBracket(Record& record, const Key& key) {
  const auto bracket = std::find(brackets_.rbegin(), brackets_.rend(),
                                 std::pair<const Record*, std::uint16_t>(&record, key.id));
  if (bracket != brackets_.rend()) brackets_.erase(std::next(bracket).base());
}

WriteMode Journal::findBracket(const Record& record, const Property& property,
                               WriteMode mode) const {
  if (mode != WriteMode::Primitive) return mode;
  const std::pair<const Record*, std::uint16_t> wanted(&record, property.key().id);
  return std::find(brackets_.begin(), brackets_.end(), wanted) == brackets_.end()
             ? mode
             : WriteMode::Bracketed;
}

// --- Existence

void Journal::insert(Record& record) {
  RecordAccess::raise(record, RecordAccess::kInserted | RecordAccess::kBornHere);
  EntityRecords& records = store_->of(record.entity());
  ++records.sinceSave;
  records.await(record);
  tracking_.addInserted(record);
  if (inTrial_ || undoEnabled_) push({UndoStep::Kind::Insert, &record, nullptr, {}});
  if (!inTrial_ && undoEnabled_) RecordAccess::raise(record, RecordAccess::kNew);
}

void Journal::discard(Record& record) {
  if (!RecordAccess::isLive(record)) return;
  // Tells the end when it goes: an exception is under way already.
  Announcement announcement(*observers_);
  addPartners(announcement, record);
  announcement.will();
  if (!RecordAccess::isLive(record)) return;
  UndoGroup forgotten;
  freePartners(record, RecordAccess::kRetracted, forgotten);
  hide(record, RecordAccess::kRetracted);
  for (UndoGroup* group : {&open_, &trial_})
    group->erase(std::remove_if(group->begin(), group->end(),
                                [&](const UndoStep& step) { return step.record == &record; }),
                 group->end());
  makeShell(record);
}

void Journal::remove(Record& record) {
  store_->slots(record);
  if (!RecordAccess::isLive(record) || RecordAccess::has(record, RecordAccess::kLeaving)) return;
  // Everything is read before anything changes. What a Deny rule keeps stays linked, so that
  // rolling back finds it; the save is refused.
  std::vector<std::pair<const Property*, std::vector<Record*>>> partners;
  for (const Property& property : record.entity().properties())
    if (property.isRelationship() && property.deleteRule() != DeleteRule::Deny)
      partners.emplace_back(&property, partnersOf(record, property));

  Observers::Hold hold(*observers_);
  {
    struct Leaving {
      Record& record;
      ~Leaving() { RecordAccess::lower(record, RecordAccess::kLeaving); }
    } leaving{record};
    RecordAccess::raise(record, RecordAccess::kLeaving);
    for (const auto& [property, those] : partners) applyDeleteRule(record, *property, those);
  }
  // Those that a Deny rule keeps, and those that observers linked again.
  Announcement announcement(*observers_);
  addPartners(announcement, record);
  announcement.will();
  if (RecordAccess::isLive(record)) {
    disconnect(record);
    keepSavedValues(record);
    if (inTrial_ || undoEnabled_) push({UndoStep::Kind::Delete, &record, nullptr, {}});
    hide(record, RecordAccess::kDeleted);
  }
  announcement.did();
  hold.release();
}

void Journal::applyDeleteRule(Record& record, const Property& property,
                              const std::vector<Record*>& partners) {
  const bool cascades = property.deleteRule() == DeleteRule::Cascade;
  for (Record* partner : partners) {
    // Observers may have been quicker.
    if (!RecordAccess::isLive(record) || !RecordAccess::isLive(*partner)) continue;
    if (property.isToOne() && referenceOf(record, property) == partner)
      tryReference(record, property, nullptr, WriteMode::Announced);
    if (cascades) {
      remove(*partner);
    } else if (property.isToMany() && referenceOf(*partner, property.inverse()) == &record) {
      tryReference(*partner, property.inverse(), nullptr, WriteMode::Announced);
    }
  }
}

void Journal::hide(Record& record, std::uint16_t state) {
  EntityRecords& records = store_->of(record.entity());
  records.drop(record);
  unlinkAll(record);
  RecordAccess::raise(record, state);
  --records.sinceSave;
  if (state == RecordAccess::kDeleted && !record.isInserted()) tracking_.addDeleted(record);
}

void Journal::show(Record& record, std::uint16_t state) {
  RecordAccess::lower(record, state);
  EntityRecords& records = store_->of(record.entity());
  ++records.sinceSave;
  linkAll(record);
  records.await(record);
}

void Journal::makeShell(Record& record) {
  std::uint16_t& state = RecordAccess::state(record);
  state = static_cast<std::uint16_t>(RecordAccess::kGone | (state & RecordAccess::kObserved));
  std::byte*& slots = RecordAccess::slots(record);
  if (slots == nullptr) return;
  releaseSlots(record.entity(), slots);
  store_->of(record.entity()).pool.free(slots);
  slots = nullptr;
}

}  // namespace bokfolio::internal
