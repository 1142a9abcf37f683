// Both sides of a link: every change of a to-one takes the other side along.
#include <algorithm>
#include <string>

#include "bokfolio/store/internal/journal.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

void Journal::requireTarget(const Record& record, const Property& property, Record& target) const {
  if (&target.entity() != &property.target())
    throw ValueKindError(record.entityName() + "." + property.name() + " wants a record of " +
                         property.target().name() + ", not of " + target.entityName());
  if (&target.managedObjectContext() != &store_->context)
    throw StoreError("records of two contexts cannot refer to each other");
  if (!RecordAccess::isLive(target))
    throw RecordGoneError(target.entityName() + " " + std::to_string(target.id()) +
                          " is deleted and cannot be referred to");
}

void Journal::setReference(Record& record, const Property& property, Record* target,
                           WriteMode mode) {
  if (target != nullptr) requireTarget(record, property, *target);
  requireLive(record);
  if (tryReference(record, property, target, mode)) return;
  requireLive(record);
  requireTarget(record, property, *target);
}

bool Journal::tryReference(Record& record, const Property& property, Record* target,
                           WriteMode mode) {
  mode = inBracket(record, property, mode);
  Announcement announcement(*observers_);
  if (mode == WriteMode::Announced) announcement.add(record, property.key());
  if (mode != WriteMode::Primitive && observers_->any())
    addEnds(announcement, record, property, target);
  if (!announcement.empty()) {
    announcement.will();
    if (!RecordAccess::isLive(record)) return false;
    if (target != nullptr && !RecordAccess::isLive(*target)) return false;
  }
  connect(record, property, target, mode);
  announcement.did();
  return true;
}

void Journal::addEnds(Announcement& announcement, const Record& record, const Property& property,
                      Record* target) const {
  Record* old = referenceOf(record, property);
  if (old == target) return;
  const Property& inverse = property.inverse();
  if (old != nullptr) announcement.add(*old, inverse.key());
  if (target == nullptr) return;
  announcement.add(*target, inverse.key());
  if (inverse.isToMany()) return;
  store_->slots(*target);
  if (const Record* holder = referenceOf(*target, inverse))
    announcement.add(*holder, property.key());
}

void Journal::addPartners(Announcement& announcement, Record& record) const {
  if (!observers_->any() || RecordAccess::slots(record) == nullptr) return;
  for (const Property& property : record.entity().properties()) {
    if (!property.isRelationship()) continue;
    for (const Record* partner : partnersOf(record, property))
      announcement.add(*partner, property.inverse().key());
  }
}

void Journal::connect(Record& record, const Property& property, Record* target, WriteMode mode) {
  Record* old = referenceOf(record, property);
  if (old == target) return;
  const Property& inverse = property.inverse();
  const auto put = [&](Record& end, const Property& side, Record* other) {
    putReference(end, side, other, isRecorded(end, side, mode));
  };
  if (inverse.isToMany()) {
    put(record, property, target);
    return;
  }
  // One to one: four ends may be involved. All are read before one is changed.
  Record* holder = nullptr;
  if (old != nullptr) store_->slots(*old);
  if (target != nullptr) {
    store_->slots(*target);
    holder = referenceOf(*target, inverse);
    if (holder != nullptr) store_->slots(*holder);
  }
  if (holder != nullptr) put(*holder, property, nullptr);
  if (old != nullptr) put(*old, inverse, nullptr);
  put(record, property, target);
  if (target != nullptr) put(*target, inverse, &record);
}

void Journal::disconnect(Record& record) {
  for (const Property& property : record.entity().properties()) {
    if (!property.isRelationship() || property.deleteRule() == DeleteRule::Deny) continue;
    for (Record* partner : partnersOf(record, property)) {
      if (property.isToMany()) {
        connect(*partner, property.inverse(), nullptr, WriteMode::Announced);
      } else {
        connect(record, property, nullptr, WriteMode::Announced);
      }
    }
  }
}

void Journal::putReference(Record& record, const Property& property, Record* target,
                           bool recorded) {
  Record* old = referenceOf(record, property);
  const Property& inverse = property.inverse();
  const bool farSet = inverse.isToMany() && old != target;
  prepare(record, property, recorded);
  if (farSet && old != nullptr) unlink(*old, inverse, record);
  SlotWriter(record.entity(), RecordAccess::slots(record)).setReference(property.ordinal(), target);
  if (farSet && target != nullptr) link(*target, inverse, record);
}

void Journal::setMembers(Record& owner, const Property& toMany,
                         const std::vector<Record*>& members) {
  requireLive(owner);
  const Property& toOne = toMany.inverse();
  for (Record* member : members) {
    if (&member->entity() != &toOne.entity())
      throw ValueKindError(owner.entityName() + "." + toMany.name() + " wants records of " +
                           toOne.entity().name() + ", not of " + member->entityName());
    if (&member->managedObjectContext() != &store_->context)
      throw StoreError("records of two contexts cannot refer to each other");
    requireLive(*member);
  }
  Observers::Hold hold(*observers_);
  for (Record* member : partnersOf(owner, toMany)) {
    if (std::binary_search(members.begin(), members.end(), member, ByRecordId{})) continue;
    if (RecordAccess::isLive(*member) && referenceOf(*member, toOne) == &owner)
      tryReference(*member, toOne, nullptr, WriteMode::Announced);
  }
  for (Record* member : members) {
    requireLive(*member);
    if (referenceOf(*member, toOne) != &owner)
      setReference(*member, toOne, &owner, WriteMode::Announced);
  }
  hold.release();
}

// --- Far sets

std::vector<Record*> Journal::partnersOf(Record& record, const Property& property) const {
  std::vector<Record*> partners;
  if (property.isToMany()) {
    store_->members(record, property).forEach([&](Record* each) { partners.push_back(each); });
  } else if (Record* partner = referenceOf(record, property)) {
    partners.push_back(partner);
  }
  for (const Record* partner : partners)
    if (!partner->isGone()) store_->slots(*partner);
  return partners;
}

void Journal::link(Record& owner, const Property& toMany, Record& member) {
  if (!keepsSet(owner, toMany)) return;
  if (RecordAccess::slots(owner) == nullptr) {
    store_->linkLater(owner, toMany, member);
  } else {
    store_->setOf(owner, toMany).insert(&member);
  }
}

void Journal::unlink(Record& owner, const Property& toMany, Record& member) {
  if (RecordAccess::slots(owner) == nullptr || !keepsSet(owner, toMany)) return;
  auto* set = SlotWriter(owner.entity(), RecordAccess::slots(owner)).relation(toMany.ordinal());
  if (set != nullptr) set->erase(&member);
}

// Between whole entities a far set exists once its relationship was built, or from birth for
// records made here; until then building it later finds the truth in the to-one side. Else the
// document knows only what is saved, and the set what came since.
bool Journal::keepsSet(const Record& owner, const Property& toMany) const {
  const Property& toOne = toMany.inverse();
  return RecordAccess::has(owner, RecordAccess::kBornHere) || toOne.entity().byLookup() ||
         toOne.target().byLookup() || store_->of(toOne.entity()).inverseBuilt[toOne.ordinal()];
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

}  // namespace bokfolio::internal
