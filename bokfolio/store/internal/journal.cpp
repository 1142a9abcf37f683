#include "bokfolio/store/internal/journal.hpp"

#include <algorithm>
#include <string>

#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

[[noreturn]] void refuse(const Record& record, const std::string& why) {
  throw RecordGoneError(record.entityName() + " " + std::to_string(record.id()) + " " + why);
}

Record* referenceOf(const Record& record, const Property& property) {
  const SlotView values = RecordAccess::view(record);
  return values.isNil(property.ordinal()) ? nullptr : values.reference(property.ordinal());
}

}  // namespace

// --- One slot
// -------------------------------------------------------------------------------------

void Journal::begin(Record& record, const Property& property, WriteMode mode) {
  store_->slots(record);
  if (mode != WriteMode::Replay && !RecordAccess::isLive(record))
    refuse(record, "is deleted and cannot be changed");
  if (mode != WriteMode::Primitive && store_->observers.any())
    store_->observers.willChange(record, property.key());
  beginQuietly(record, property, mode);
}

void Journal::finish(Record& record, const Property& property, WriteMode mode) {
  finishQuietly(record, property);
  if (mode != WriteMode::Primitive && store_->observers.any())
    store_->observers.didChange(record, property.key());
}

void Journal::beginQuietly(Record& record, const Property& property, WriteMode mode) {
  if (!property.transient()) {
    keepSavedValues(record);
    if (recordsUndo(record, property, mode)) {
      push({UndoStep::Kind::Write, &record, &property,
            readValue(property, RecordAccess::view(record))});
    }
  }
  EntityRecords& records = store_->of(record.entity());
  for (const std::uint16_t index : property.indexes())
    if (records.indexes[index].built()) records.indexes[index].detach(record);
}

void Journal::finishQuietly(Record& record, const Property& property) {
  if (!property.transient() && !record.isInserted())
    RecordAccess::state(record) |= RecordAccess::kUpdated;
}

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
  write(record, property, mode, [&](SlotWriter slots) { slots.setValue(property, fitting); });
}

void Journal::keepSavedValues(Record& record) {
  if (record.isInserted() || tracking_.hasSaved(record)) return;
  std::byte* copy = store_->of(record.entity()).pool.allocate();
  copySlots(record.entity(), RecordAccess::slots(record), copy);
  tracking_.keepSaved(record, copy);
}

// --- Relationships
// --------------------------------------------------------------------------------

void Journal::setReference(Record& record, const Property& property, Record* target,
                           WriteMode mode) {
  if (target != nullptr) {
    if (&target->entity() != &property.target())
      throw ValueKindError(record.entityName() + "." + property.name() + " wants a record of " +
                           property.target().name() + ", not of " + target->entityName());
    if (&target->managedObjectContext() != &store_->context)
      throw StoreError("records of two contexts cannot refer to each other");
    if (!RecordAccess::isLive(*target)) refuse(*target, "is deleted and cannot be referred to");
  }
  store_->slots(record);
  const Property& inverse = property.inverse();
  if (inverse.isToMany()) {
    writeReference(record, property, target, mode);
    return;
  }
  // One to one: four ends may be involved.
  Record* oldPartner = referenceOf(record, property);
  if (oldPartner == target) {
    writeReference(record, property, target, mode);
    return;
  }
  if (target != nullptr) {
    store_->slots(*target);
    Record* oldHolder = referenceOf(*target, inverse);
    if (oldHolder != nullptr && oldHolder != &record)
      writeReference(*oldHolder, property, nullptr, mode);
  }
  if (oldPartner != nullptr) writeReference(*oldPartner, inverse, nullptr, mode);
  writeReference(record, property, target, mode);
  if (target != nullptr) writeReference(*target, inverse, &record, mode);
}

void Journal::writeReference(Record& record, const Property& property, Record* target,
                             WriteMode mode) {
  store_->slots(record);
  if (mode != WriteMode::Replay && !RecordAccess::isLive(record))
    refuse(record, "is deleted and cannot be changed");
  Record* old = referenceOf(record, property);
  const bool farSet = property.inverse().isToMany();
  const bool tell = mode != WriteMode::Primitive && store_->observers.any();
  const Key& farKey = property.inverse().key();
  const bool leaves = farSet && old != nullptr && old != target;
  const bool joins = farSet && target != nullptr && old != target;
  if (tell) {
    store_->observers.willChange(record, property.key());
    if (leaves) store_->observers.willChange(*old, farKey);
    if (joins) store_->observers.willChange(*target, farKey);
  }
  beginQuietly(record, property, mode);
  if (leaves) unlink(*old, property.inverse(), record);
  SlotWriter(record.entity(), RecordAccess::slots(record)).setReference(property.ordinal(), target);
  if (joins) link(*target, property.inverse(), record);
  finishQuietly(record, property);
  if (tell) {
    if (joins) store_->observers.didChange(*target, farKey);
    if (leaves) store_->observers.didChange(*old, farKey);
    store_->observers.didChange(record, property.key());
  }
}

void Journal::setMembers(Record& owner, const Property& toMany,
                         const std::vector<Record*>& members) {
  const Property& toOne = toMany.inverse();
  std::vector<Record*> present;
  store_->members(owner, toMany).forEach([&](Record* member) { present.push_back(member); });
  for (Record* member : present)
    if (std::find(members.begin(), members.end(), member) == members.end())
      setReference(*member, toOne, nullptr, WriteMode::Announced);
  for (Record* member : members) {
    if (&member->entity() != &toOne.entity())
      throw ValueKindError(owner.entityName() + "." + toMany.name() + " wants records of " +
                           toOne.entity().name() + ", not of " + member->entityName());
    setReference(*member, toOne, &owner, WriteMode::Announced);
  }
}

void Journal::link(Record& owner, const Property& toMany, Record& member) {
  if (!keepsSet(owner, toMany)) return;
  auto& set = SlotWriter(owner.entity(), RecordAccess::slots(owner)).relation(toMany.ordinal());
  if (set == nullptr) set = new RelationSet;
  set->insert(&member);
}

void Journal::unlink(Record& owner, const Property& toMany, Record& member) {
  if (!keepsSet(owner, toMany)) return;
  auto* set = SlotWriter(owner.entity(), RecordAccess::slots(owner)).relation(toMany.ordinal());
  if (set != nullptr) set->erase(&member);
}

// A far set exists once its relationship was built, or from birth for records made here; until then
// building it later finds the truth in the to-one side.
bool Journal::keepsSet(Record& owner, const Property& toMany) const {
  if (RecordAccess::slots(owner) == nullptr) return false;
  if ((RecordAccess::state(owner) & RecordAccess::kBornHere) != 0) return true;
  const Property& toOne = toMany.inverse();
  return store_->of(toOne.entity()).inverseBuilt[toOne.ordinal()];
}

void Journal::linkAll(Record& record) {
  for (const Property& property : record.entity().properties()) {
    if (!property.isToOne() || !property.inverse().isToMany()) continue;
    if (Record* owner = referenceOf(record, property)) link(*owner, property.inverse(), record);
  }
}

void Journal::unlinkAll(Record& record) {
  for (const Property& property : record.entity().properties()) {
    if (!property.isToOne() || !property.inverse().isToMany()) continue;
    if (Record* owner = referenceOf(record, property)) unlink(*owner, property.inverse(), record);
  }
}

// --- Existence
// ------------------------------------------------------------------------------------

void Journal::insert(Record& record) {
  RecordAccess::state(record) |= RecordAccess::kInserted | RecordAccess::kBornHere;
  ++store_->of(record.entity()).liveCount;
  for (Index& index : store_->of(record.entity()).indexes)
    if (index.built()) index.detach(record);
  tracking_.addInserted(record);
  if (inTrial_ || undoEnabled_) {
    push({UndoStep::Kind::Insert, &record, nullptr, {}});
    insertedInGroup_.insert(&record);
  }
}

void Journal::discard(Record& record) {
  for (const Property& property : record.entity().properties()) {
    if (property.isToOne()) setReference(record, property, nullptr, WriteMode::Primitive);
    if (property.isToMany()) setMembers(record, property, {});
  }
  hide(record, RecordAccess::kRetracted);
  const auto isInsertion = [&](const UndoStep& step) {
    return step.kind == UndoStep::Kind::Insert && step.record == &record;
  };
  for (UndoGroup* group : {&open_, &trial_})
    group->erase(std::remove_if(group->begin(), group->end(), isInsertion), group->end());
  insertedInGroup_.erase(&record);
  makeShell(record);
}

void Journal::remove(Record& record) {
  store_->slots(record);
  if (!RecordAccess::isLive(record)) return;
  if (std::find(beingDeleted_.begin(), beingDeleted_.end(), &record) != beingDeleted_.end()) return;
  beingDeleted_.push_back(&record);
  for (const Property& property : record.entity().properties()) {
    if (!property.isRelationship()) continue;
    std::vector<Record*> partners;
    if (property.isToMany()) {
      store_->members(record, property).forEach([&](Record* each) { partners.push_back(each); });
    } else if (Record* partner = referenceOf(record, property)) {
      partners.push_back(partner);
    }
    applyDeleteRule(record, property, partners);
  }
  beingDeleted_.pop_back();
  keepSavedValues(record);
  if (inTrial_ || (undoEnabled_ && !replaying_))
    push({UndoStep::Kind::Delete, &record, nullptr, {}});
  hide(record, RecordAccess::kDeleted);
}

void Journal::applyDeleteRule(Record& record, const Property& property,
                              const std::vector<Record*>& partners) {
  // What a Deny rule keeps stays linked, so that rolling back finds it; the save is refused.
  if (property.deleteRule() == DeleteRule::Deny && !partners.empty()) return;
  for (Record* partner : partners) {
    if (property.isToMany()) {
      if (property.deleteRule() == DeleteRule::Cascade) {
        remove(*partner);
      } else {
        setReference(*partner, property.inverse(), nullptr, WriteMode::Announced);
      }
    } else {
      setReference(record, property, nullptr, WriteMode::Announced);
      if (property.deleteRule() == DeleteRule::Cascade) remove(*partner);
    }
  }
}

void Journal::hide(Record& record, std::uint16_t state) {
  for (Index& index : store_->of(record.entity()).indexes)
    if (index.built()) index.drop(record);
  unlinkAll(record);
  RecordAccess::state(record) |= state;
  --store_->of(record.entity()).liveCount;
  tracking_.dropInserted(record);
  if (state != RecordAccess::kDeleted) return;
  if (record.isInserted()) {
    stillborn_.push_back(&record);
  } else {
    tracking_.addDeleted(record);
  }
}

void Journal::show(Record& record, std::uint16_t state) {
  RecordAccess::state(record) =
      static_cast<std::uint16_t>(RecordAccess::state(record) & ~static_cast<unsigned>(state));
  ++store_->of(record.entity()).liveCount;
  linkAll(record);
  for (Index& index : store_->of(record.entity()).indexes)
    if (index.built()) index.detach(record);
  tracking_.dropDeleted(record);
  if (record.isInserted()) tracking_.addInserted(record);
}

void Journal::makeShell(Record& record) {
  RecordAccess::state(record) = RecordAccess::kGone;
  std::byte*& slots = RecordAccess::slots(record);
  if (slots == nullptr) return;
  releaseSlots(record.entity(), slots);
  store_->of(record.entity()).pool.free(slots);
  slots = nullptr;
}

// --- Undo
// -----------------------------------------------------------------------------------------

void Journal::openBracket(Record& record, const Key& key) {
  brackets_.emplace_back(&record, key.id);
}

void Journal::closeBracket(Record& record, const Key& key) {
  const auto bracket = std::find(brackets_.rbegin(), brackets_.rend(),
                                 std::pair<const Record*, std::uint16_t>(&record, key.id));
  if (bracket != brackets_.rend()) brackets_.erase(std::next(bracket).base());
}

bool Journal::recordsUndo(const Record& record, const Property& property, WriteMode mode) const {
  if (inTrial_) return true;
  if (!undoEnabled_ || replaying_ || &record == exempt_) return false;
  if (mode == WriteMode::Primitive && std::find(brackets_.begin(), brackets_.end(),
                                                std::pair<const Record*, std::uint16_t>(
                                                    &record, property.key().id)) == brackets_.end())
    return false;
  // A record goes and comes as a whole with the group that inserted it.
  return !record.isInserted() || insertedInGroup_.count(&record) == 0;
}

void Journal::push(UndoStep step) {
  if (inTrial_) {
    trial_.push_back(std::move(step));
    return;
  }
  if (!redo_.empty()) dropRedo();
  open_.push_back(std::move(step));
}

void Journal::closeGroup() {
  insertedInGroup_.clear();
  if (open_.empty()) return;
  undo_.push_back(std::move(open_));
  open_.clear();
}

bool Journal::undo() {
  closeGroup();
  if (undo_.empty()) return false;
  UndoGroup group = std::move(undo_.back());
  undo_.pop_back();
  redo_.push_back(replay(group));
  return true;
}

bool Journal::redo() {
  if (!canRedo()) return false;
  UndoGroup group = std::move(redo_.back());
  redo_.pop_back();
  undo_.push_back(replay(group));
  return true;
}

void Journal::setUndoEnabled(bool enabled) {
  undoEnabled_ = enabled;
  if (!enabled) clearUndo();
}

// What undo took away for good: its insertions can never be repeated.
void Journal::dropRedo() {
  for (const UndoGroup& group : redo_)
    for (const UndoStep& step : group)
      if (step.kind == UndoStep::Kind::Insert && !step.record->isGone() &&
          (RecordAccess::state(*step.record) & RecordAccess::kRetracted) != 0)
        makeShell(*step.record);
  redo_.clear();
}

void Journal::clearUndo() {
  dropRedo();
  open_.clear();
  undo_.clear();
  insertedInGroup_.clear();
}

// Takes the steps back, latest first, and answers the group that repeats them.
UndoGroup Journal::replay(const UndoGroup& group) {
  replaying_ = true;
  UndoGroup inverse;
  for (auto step = group.rbegin(); step != group.rend(); ++step) replayStep(*step, inverse);
  replaying_ = false;
  return inverse;
}

void Journal::replayStep(const UndoStep& step, UndoGroup& inverse) {
  Record& record = *step.record;
  switch (step.kind) {
    case UndoStep::Kind::Insert:
      // The inverse of an insertion is itself: whether the record is there tells which way it goes.
      if ((RecordAccess::state(record) & RecordAccess::kRetracted) != 0) {
        show(record, RecordAccess::kRetracted);
      } else {
        hide(record, RecordAccess::kRetracted);
      }
      inverse.push_back(step);
      return;
    case UndoStep::Kind::Delete:
      if ((RecordAccess::state(record) & RecordAccess::kDeleted) != 0) {
        show(record, RecordAccess::kDeleted);
      } else {
        hide(record, RecordAccess::kDeleted);
      }
      inverse.push_back(step);
      return;
    case UndoStep::Kind::Write:
      inverse.push_back({step.kind, &record, step.property,
                         readValue(*step.property, RecordAccess::view(record))});
      replayWrite(record, *step.property, step.value);
      return;
  }
}

void Journal::replayWrite(Record& record, const Property& property, const Value& value) {
  if (property.isToOne()) {
    writeReference(record, property, value.record(), WriteMode::Replay);
  } else {
    write(record, property, WriteMode::Replay,
          [&](SlotWriter slots) { slots.setValue(property, value); });
  }
}

// --- Saving and rolling back
// ----------------------------------------------------------------------

void Journal::beginTrial() {
  trial_.clear();
  inTrial_ = true;
}

void Journal::keepTrial() {
  inTrial_ = false;
  trial_.clear();
}

void Journal::takeBackTrial() {
  inTrial_ = false;
  const UndoGroup steps = std::exchange(trial_, {});
  replay(steps);
  // Insertions made meanwhile are hidden by the replay; nothing can bring them back.
  for (const UndoStep& step : steps)
    if (step.kind == UndoStep::Kind::Insert) makeShell(*step.record);
}

void Journal::saved() {
  clearUndo();
  for (Record* record : tracking_.inserted()) {
    RecordAccess::state(*record) &= static_cast<std::uint16_t>(~RecordAccess::kInserted);
    RecordAccess::version(*record) = 1;
  }
  for (Record* record : tracking_.touched())
    RecordAccess::state(*record) &= static_cast<std::uint16_t>(~RecordAccess::kUpdated);
  for (Record* record : tracking_.deleted()) makeShell(*record);
  buryStillborn();
  forgetSavedValues();
  tracking_.clear();
}

void Journal::rollback() {
  replaying_ = true;
  // First all are back in sight, then relationships are restored among them, then what was new
  // goes.
  const auto inserted = tracking_.inserted();
  for (Record* record : tracking_.deleted()) show(*record, RecordAccess::kDeleted);
  for (Record* record : tracking_.touched()) restoreSavedValues(*record);
  for (Record* record : inserted) hide(*record, RecordAccess::kRetracted);
  replaying_ = false;
  for (Record* record : inserted) makeShell(*record);
  buryStillborn();
  clearUndo();
  forgetSavedValues();
  tracking_.clear();
  brackets_.clear();
}

void Journal::restoreSavedValues(Record& record) {
  const Entity& entity = record.entity();
  const SlotView saved(entity, tracking_.saved(record));
  for (const Property& property : entity.properties()) {
    if (!property.persistent()) continue;
    if (sameSlot(property, saved, RecordAccess::view(record))) continue;
    replayWrite(record, property, readValue(property, saved));
  }
  RecordAccess::state(record) &= static_cast<std::uint16_t>(~RecordAccess::kUpdated);
}

// Records that were inserted and deleted again since the last save: no document knows them.
void Journal::buryStillborn() {
  for (Record* record : stillborn_)
    if (!record->isGone() && !RecordAccess::isLive(*record)) makeShell(*record);
  stillborn_.clear();
}

void Journal::forgetSavedValues() {
  for (const auto& [record, slots] : tracking_.savedSlots()) {
    releaseSlots(record->entity(), slots);
    store_->of(record->entity()).pool.free(slots);
  }
}

}  // namespace bokfolio::internal
