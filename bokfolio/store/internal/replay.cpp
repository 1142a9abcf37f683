// Undo, redo, trials and rollback: the journal read backwards.
#include <algorithm>

#include "bokfolio/store/internal/journal.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

void Journal::refuseInTrial() const {
  if (inTrial_)
    throw StoreError("a context that is being saved cannot be saved, rolled back or undone");
}

// --- Undo

void Journal::closeGroup() {
  if (open_.empty()) return;
  undo_.push_back(std::move(open_));
  open_.clear();
}

bool Journal::reopenGroupOf(const Record& record) {
  if (!open_.empty() || undo_.empty() || !RecordAccess::has(record, RecordAccess::kNew))
    return false;
  open_ = std::move(undo_.back());
  undo_.pop_back();
  return true;
}

void Journal::forgetNew(const UndoGroup& group) {
  for (const UndoStep& step : group)
    if (step.kind == UndoStep::Kind::Insert) RecordAccess::lower(*step.record, RecordAccess::kNew);
}

bool Journal::undo() { return replayLatest(undo_, redo_); }

bool Journal::redo() { return open_.empty() && replayLatest(redo_, undo_); }

bool Journal::replayLatest(std::vector<UndoGroup>& from, std::vector<UndoGroup>& to) {
  refuseInTrial();
  closeGroup();
  if (from.empty()) return false;
  Announcement announcement(*observers_);
  addChanges(announcement, from.back());
  announcement.will();
  // What observers changed meanwhile is a group of its own, which leaves nothing to redo.
  closeGroup();
  const bool possible = !from.empty();
  if (possible) {
    if (!undo_.empty()) forgetNew(undo_.back());
    const UndoGroup group = std::move(from.back());
    from.pop_back();
    to.push_back(replay(group));
  }
  announcement.did();
  return possible;
}

void Journal::setUndoEnabled(bool enabled) {
  undoEnabled_ = enabled;
  if (!enabled) clearUndo();
}

// What undo took away for good: its insertions can never be repeated.
void Journal::dropRedo() {
  for (const UndoGroup& group : redo_)
    for (const UndoStep& step : group)
      if (step.kind == UndoStep::Kind::Insert &&
          RecordAccess::has(*step.record, RecordAccess::kRetracted))
        makeShell(*step.record);
  redo_.clear();
}

void Journal::clearUndo() {
  dropRedo();
  forgetNew(open_);
  if (!undo_.empty()) forgetNew(undo_.back());
  open_.clear();
  undo_.clear();
}

// --- Steps

void Journal::addChanges(Announcement& announcement, const UndoGroup& group) const {
  if (!observers_->any()) return;
  for (const UndoStep& step : group) {
    if (step.kind != UndoStep::Kind::Write) {
      addPartners(announcement, *step.record);
      continue;
    }
    announcement.add(*step.record, step.property->key());
    if (!step.property->isToOne()) continue;
    const Key& far = step.property->inverse().key();
    if (const Record* now = referenceOf(*step.record, *step.property)) announcement.add(*now, far);
    if (const Record* before = step.value.record()) announcement.add(*before, far);
  }
}

// Takes the steps back, latest first, and answers the group that repeats them.
UndoGroup Journal::replay(const UndoGroup& group) {
  UndoGroup inverse;
  inverse.reserve(group.size());
  for (auto step = group.rbegin(); step != group.rend(); ++step) replayStep(*step, inverse);
  return inverse;
}

void Journal::replayStep(const UndoStep& step, UndoGroup& inverse) {
  Record& record = *step.record;
  if (step.kind == UndoStep::Kind::Write) {
    replayWrite(record, *step.property, step.value, inverse);
    return;
  }
  // The inverse of coming is going: whether the record is there tells which way it goes.
  const std::uint16_t state =
      step.kind == UndoStep::Kind::Insert ? RecordAccess::kRetracted : RecordAccess::kDeleted;
  if (RecordAccess::has(record, state)) {
    show(record, state);
  } else {
    freePartners(record, state, inverse);
    hide(record, state);
  }
  inverse.push_back(step);
}

void Journal::replayWrite(Record& record, const Property& property, const Value& value,
                          UndoGroup& inverse) {
  inverse.push_back(
      {UndoStep::Kind::Write, &record, &property, readValue(property, RecordAccess::view(record))});
  putValue(record, property, value);
}

void Journal::putValue(Record& record, const Property& property, const Value& value) {
  if (property.isToOne()) {
    putReference(record, property, value.record(), false);
    return;
  }
  prepare(record, property, false);
  SlotWriter(record.entity(), RecordAccess::slots(record)).setValue(property, value);
}

// Links that were made past undo lead to a record that goes: they are nil until it comes back.
void Journal::freePartners(Record& record, std::uint16_t reason, UndoGroup& inverse) {
  for (const Property& property : record.entity().properties()) {
    if (!property.isRelationship()) continue;
    if (reason == RecordAccess::kDeleted && property.deleteRule() == DeleteRule::Deny) continue;
    const Property& back = property.inverse();
    if (back.isToMany()) continue;
    for (Record* partner : partnersOf(record, property))
      if (RecordAccess::isLive(*partner) && referenceOf(*partner, back) == &record)
        replayWrite(*partner, back, Value(), inverse);
  }
}

// --- Trials

void Journal::beginTrial() {
  refuseInTrial();
  trial_.clear();
  inTrial_ = true;
}

void Journal::keepTrial() {
  inTrial_ = false;
  trial_.clear();
}

void Journal::takeBackTrial() {
  Announcement announcement(*observers_);
  addChanges(announcement, trial_);
  announcement.will();
  inTrial_ = false;
  const UndoGroup steps = std::exchange(trial_, {});
  replay(steps);
  // Insertions made meanwhile are hidden by the replay; nothing can bring them back.
  for (const UndoStep& step : steps)
    if (step.kind == UndoStep::Kind::Insert) makeShell(*step.record);
  announcement.did();
}

// --- Saving and rolling back

void Journal::saved() {
  clearUndo();
  for (Record* record : tracking_.inserted()) {
    RecordAccess::lower(*record, RecordAccess::kInserted);
    RecordAccess::version(*record) = 1;
  }
  for (const SavedValues& each : tracking_.saved())
    RecordAccess::lower(*each.record, RecordAccess::kUpdated);
  for (Record* record : tracking_.deleted()) makeShell(*record);
  for (Record* record : tracking_.unborn()) makeShell(*record);
  forgetSavedValues();
  for (EntityRecords& records : store_->entities)
    if (records.saved) *records.saved += static_cast<std::size_t>(records.sinceSave);
  store_->savedRecords.forget();
  store_->settle();
}

void Journal::rollback() {
  refuseInTrial();
  Announcement announcement(*observers_);
  addChangesSinceSave(announcement);
  announcement.will();
  // First all are back in sight, then relationships are restored among them, then what was new
  // goes.
  const auto inserted = tracking_.inserted();
  for (Record* record : tracking_.deleted()) show(*record, RecordAccess::kDeleted);
  for (const SavedValues& each : tracking_.touched()) restore(each);
  for (Record* record : inserted) hide(*record, RecordAccess::kRetracted);
  clearUndo();
  for (Record* record : tracking_.unborn()) makeShell(*record);
  forgetSavedValues();
  brackets_.clear();
  store_->settle();
  announcement.did();
}

void Journal::addChangesSinceSave(Announcement& announcement) const {
  if (!observers_->any()) return;
  for (Record* record : tracking_.inserted()) addPartners(announcement, *record);
  for (Record* record : tracking_.deleted()) addPartners(announcement, *record);
  for (const SavedValues& each : tracking_.saved()) {
    const SlotView now = RecordAccess::view(*each.record);
    const SlotView saved(each.record->entity(), each.slots);
    for (const Property& property : each.record->entity().properties()) {
      if (!property.persistent() || sameSlot(property, saved, now)) continue;
      announcement.add(*each.record, property.key());
      if (!property.isToOne()) continue;
      for (const SlotView& side : {now, saved})
        if (!side.isNil(property.ordinal()))
          announcement.add(*side.reference(property.ordinal()), property.inverse().key());
    }
  }
}

void Journal::restore(const SavedValues& saved) {
  const SlotView before(saved.record->entity(), saved.slots);
  for (const Property& property : saved.record->entity().properties()) {
    if (!property.persistent()) continue;
    if (sameSlot(property, before, RecordAccess::view(*saved.record))) continue;
    putValue(*saved.record, property, readValue(property, before));
  }
  RecordAccess::lower(*saved.record, RecordAccess::kUpdated);
}

void Journal::forgetSavedValues() {
  for (const SavedValues& each : tracking_.saved()) {
    releaseSlots(each.record->entity(), each.slots);
    store_->of(each.record->entity()).pool.free(each.slots);
  }
  tracking_.clear();
}

}  // namespace bokfolio::internal
