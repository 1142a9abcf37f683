#include "bokfolio/store/internal/store_parts.hpp"

#include <algorithm>
#include <string>

#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

constexpr RecordId kMaximumId = RecordId{1} << 32;

void requireSensible(const Entity& entity, RecordId id) {
  if (id > kMaximumId)
    throw LoadError("no record of " + entity.name() + " can have the id " + std::to_string(id));
}

}  // namespace

// --- One entity

EntityRecords::EntityRecords(StoreParts& store, const Entity& described)
    : entity(&described),
      pool(described.slotBytes()),
      defaults(pool.allocate()),
      inverseBuilt(described.properties().size(), false),
      membersAhead(described.properties().size()) {
  for (const IndexLayout& layout : described.indexes()) {
    indexes.emplace_back(layout);
    if (described.byLookup()) indexes.back().reset(internal::Index::Coverage::Changed);
  }
  if (described.keptSum() != nullptr) sums.emplace(store, described);
  internal::SlotWriter slots(described, defaults);
  for (const Property& property : described.properties())
    if (!property.isRelationship())
      slots.setValue(property, internal::fittingValue(property, property.defaultValue()));
}

EntityRecords::~EntityRecords() { internal::releaseSlots(*entity, defaults); }

void EntityRecords::await(Record& record) {
  for (internal::Index& index : indexes)
    if (index.follows()) index.await(record);
  if (sums && sums->follows()) sums->await(record);
}

void EntityRecords::drop(Record& record) {
  for (internal::Index& index : indexes)
    if (index.follows()) index.drop(record);
  if (sums && sums->follows()) sums->drop(record);
}

void EntityRecords::awaitChanged(Record& record) {
  for (internal::Index& index : indexes)
    if (index.coverage() == internal::Index::Coverage::Changed) index.await(record);
}

// --- All of them

StoreParts::StoreParts(Context& face, std::shared_ptr<const Schema> frozen,
                       std::unique_ptr<Persistence> engine, Environment services)
    : context(face),
      schema(std::move(frozen)),
      persistence(std::move(engine)),
      environment(std::move(services)),
      savedRecords(*this),
      journal(*this),
      life(std::make_shared<int>(0)) {
  for (const Entity& entity : schema->entities()) entities.emplace_back(*this, entity);
}

StoreParts::~StoreParts() {
  life.reset();
  for (const internal::SavedValues& each : journal.tracking().saved())
    internal::releaseSlots(each.record->entity(), each.slots);
  for (EntityRecords& records : entities) {
    records.table.forEach([&](Record* record) {
      if (std::byte* slots = RecordAccess::slots(*record))
        internal::releaseSlots(*records.entity, slots);
    });
  }
}

void StoreParts::load(const Entity& entity) {
  EntityRecords& records = of(entity);
  if (records.loaded) return;
  records.saved = savedRecords.load(entity);
  records.loaded = true;
  if (!entity.byLookup()) return;
  for (internal::Index& index : records.indexes) index.reset(internal::Index::Coverage::None);
}

void StoreParts::fault(const Record& record) {
  if (record.isGone())
    throw RecordGoneError(record.entityName() + " " + std::to_string(record.id()) +
                          " is gone: its deletion was saved or its insertion taken back");
  if (of(record.entity()).byLookup()) {
    savedRecords.fault(record);
  } else {
    load(record.entity());
  }
  if (RecordAccess::slots(record) == nullptr)
    throw LoadError(record.entityName() + " " + std::to_string(record.id()) +
                    " is referred to but not in the document");
}

Record* StoreParts::make(const Entity& entity) {
  learnNextId(entity);
  EntityRecords& records = of(entity);
  requireSensible(entity, records.nextId);
  Record* record = records.table.add(entity.make({&context, &entity, records.nextId++}));
  std::byte*& slots = RecordAccess::slots(*record);
  slots = records.pool.allocate();
  internal::copySlots(entity, records.defaults, slots);
  journal.insert(*record);
  return record;
}

Record* StoreParts::place(const Entity& entity, RecordId id) {
  if (id == 0) return nullptr;
  EntityRecords& records = of(entity);
  if (Record* found = records.table.find(id)) return found;
  requireSensible(entity, id);
  return records.table.add(entity.make({&context, &entity, id}));
}

Record* StoreParts::find(const Entity& entity, RecordId id) {
  if (!of(entity).byLookup()) load(entity);
  Record* record = of(entity).table.find(id);
  if (of(entity).byLookup() && id != 0 && id <= kMaximumId &&
      (record == nullptr || RecordAccess::slots(*record) == nullptr)) {
    SavedQuestion question;
    question.entity = &entity;
    question.conditions.resize(1);
    question.conditions[0].low = question.conditions[0].high = static_cast<std::int64_t>(id);
    savedRecords.read(question);
    record = of(entity).table.find(id);
  }
  if (record == nullptr || RecordAccess::slots(*record) == nullptr) return nullptr;
  return RecordAccess::isLive(*record) ? record : nullptr;
}

// --- All records

std::vector<Record*> StoreParts::all(const Entity& entity) {
  load(entity);
  std::vector<Record*> live;
  live.reserve(count(entity));
  of(entity).table.forEach([&](Record* record) {
    if (RecordAccess::isLive(*record) && RecordAccess::slots(*record) != nullptr)
      live.push_back(record);
  });
  return live;
}

std::size_t StoreParts::count(const Entity& entity) {
  EntityRecords& records = of(entity);
  if (!records.saved) {
    if (entity.byLookup()) {
      SavedQuestion question;
      question.entity = &entity;
      records.saved = savedRecords.count(question);
    } else {
      load(entity);
    }
  }
  return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(*records.saved) + records.sinceSave);
}

double StoreParts::roughCount(const Entity& entity) {
  EntityRecords& records = of(entity);
  if (!records.saved && !entity.byLookup()) load(entity);
  if (records.saved) return static_cast<double>(count(entity));
  learnNextId(entity);
  return static_cast<double>(records.nextId - 1);
}

void StoreParts::learnNextId(const Entity& entity) {
  EntityRecords& records = of(entity);
  if (records.nextId != 0) return;
  std::optional<Error> error;
  if (!persistence->nextId(entity, records.nextId, &error))
    throw LoadError("no id for a new record of " + entity.name() + ": " +
                    (error ? error->localizedDescription() : std::string("unknown failure")));
}

std::vector<Record*> StoreParts::unchanged(const SavedQuestion& question) {
  std::vector<Record*> records = savedRecords.find(question);
  records.erase(std::remove_if(records.begin(), records.end(),
                               [](const Record* each) { return isChangedSinceSave(*each); }),
                records.end());
  return records;
}

const internal::Index& StoreParts::index(const Entity& entity, std::uint16_t ordinal) {
  internal::Index& index = of(entity).indexes[ordinal];
  if (index.follows()) {
    index.attachWaiting();
  } else {
    index.build(all(entity));
  }
  return index;
}

bool StoreParts::findSums(ErrorOut error) {
  for (EntityRecords& records : entities) {
    bool kept = false;
    if (!records.sums) continue;
    if (!persistence->keepsSums(*records.entity, kept, error)) return false;
    if (kept) records.sums->useDocument();
  }
  return true;
}

internal::KeptSums& StoreParts::sums(const Entity& entity) {
  internal::KeptSums& sums = *of(entity).sums;
  if (!sums.follows()) {
    // The way back from the far records is complete before any of them can change.
    const Property& via = *entity.keptSum()->via;
    load(via.target());
    load(entity);
    if (!of(entity).inverseBuilt[via.ordinal()]) buildInverse(via);
    sums.build(all(entity));
  }
  sums.attachWaiting();
  return sums;
}

// --- Far sides

SavedQuestion StoreParts::membersQuestion(const Record& owner, const Property& toMany) {
  const Property& toOne = toMany.inverse();
  SavedQuestion question;
  question.entity = &toOne.entity();
  question.conditions.resize(1);
  question.conditions[0].ordinal = toOne.ordinal();
  question.conditions[0].low = question.conditions[0].high = static_cast<std::int64_t>(owner.id());
  return question;
}

internal::RelationSet& StoreParts::setOf(const Record& owner, const Property& toMany) {
  slots(owner);
  auto& record = const_cast<Record&>(owner);  // NOLINT: the set is made on first use
  auto& set =
      internal::SlotWriter(owner.entity(), RecordAccess::slots(record)).relation(toMany.ordinal());
  if (set == nullptr) {
    set = new internal::RelationSet;
    set->setComplete(RecordAccess::has(owner, RecordAccess::kBornHere));
  }
  return *set;
}

// Whether both sides are in memory as a whole, or will be when one of their records is wanted.
bool StoreParts::isWhole(const Property& toOne) {
  return !of(toOne.entity()).byLookup() && !of(toOne.target()).byLookup();
}

bool StoreParts::hasMembers(const Record& owner, const Property& toMany) {
  const Property& toOne = toMany.inverse();
  return of(toOne.entity()).inverseBuilt[toOne.ordinal()] || setOf(owner, toMany).isComplete();
}

const internal::RelationSet& StoreParts::members(const Record& owner, const Property& toMany) {
  const internal::RelationSet& set = setOf(owner, toMany);
  if (hasMembers(owner, toMany)) return set;
  const Property& toOne = toMany.inverse();
  if (isWhole(toOne)) {
    buildInverse(toOne);
  } else {
    completeSets(owner, toMany);
  }
  return setOf(owner, toMany);
}

// The owner's set, and those of the owners that follow it when sets are wanted one after the other.
void StoreParts::completeSets(const Record& owner, const Property& toMany) {
  const Property& toOne = toMany.inverse();
  EntityRecords& owners = of(owner.entity());
  ReadAhead& ahead = owners.membersAhead[toMany.ordinal()];
  ahead.reach(owner.id());
  SavedQuestion question = membersQuestion(owner, toMany);
  question.conditions[0].high = static_cast<std::int64_t>(ahead.next - 1);
  question.order = toOne.ordinal();
  for (Record* member : savedRecords.read(question)) {
    slots(*member);
    Record* at = internal::referenceOf(*member, toOne);
    if (at == nullptr || !RecordAccess::isLive(*member)) continue;
    if (RecordAccess::slots(*at) != nullptr) setOf(*at, toMany).insert(member);
  }
  for (RecordId id = owner.id(); id < ahead.next; ++id) {
    const Record* each = owners.table.find(id);
    if (each == nullptr || RecordAccess::slots(*each) == nullptr) continue;
    internal::RelationSet& set = setOf(*each, toMany);
    addLaterLinks(*each, toMany, set);
    set.setComplete(true);
  }
}

void StoreParts::addLaterLinks(const Record& owner, const Property& toMany,
                               internal::RelationSet& set) {
  const auto [from, to] = laterLinks_.equal_range(&owner);
  for (auto link = from; link != to; ++link) {
    Record* member = link->second.second;
    if (link->second.first == &toMany && RecordAccess::isLive(*member) &&
        internal::referenceOf(*member, toMany.inverse()) == &owner)
      set.insert(member);
  }
}

void StoreParts::buildInverse(const Property& toOne) {
  const Property& toMany = toOne.inverse();
  load(toMany.entity());
  load(toOne.entity());
  // Records born here have kept their sets all along; building all anew is simpler and as right.
  of(toMany.entity()).table.forEach([&](Record* owner) {
    if (RecordAccess::slots(*owner) == nullptr) return;
    if (auto* set = internal::SlotWriter(toMany.entity(), RecordAccess::slots(*owner))
                        .relation(toMany.ordinal()))
      set->clear();
  });
  for (Record* member : all(toOne.entity())) {
    const SlotView values = RecordAccess::view(*member);
    if (values.isNil(toOne.ordinal())) continue;
    setOf(*values.reference(toOne.ordinal()), toMany).insert(member);
  }
  of(toOne.entity()).inverseBuilt[toOne.ordinal()] = true;
}

Record* StoreParts::firstMember(const Record& owner, const Property& toMany) {
  if (hasMembers(owner, toMany) || isWhole(toMany.inverse())) return members(owner, toMany).first();
  // Some of the first few saved members have nearly always stayed.
  constexpr std::size_t kFew = 8;
  SavedQuestion question = membersQuestion(owner, toMany);
  question.limit = kFew;
  internal::RelationSet& known = setOf(owner, toMany);
  addLaterLinks(owner, toMany, known);
  for (Record* member : savedRecords.find(question)) {
    slots(*member);
    if (!RecordAccess::isLive(*member) ||
        internal::referenceOf(*member, toMany.inverse()) != &owner)
      continue;
    Record* added = known.first();
    return added != nullptr && added->id() < member->id() ? added : member;
  }
  return members(owner, toMany).first();
}

std::size_t StoreParts::memberCount(const Record& owner, const Property& toMany) {
  if (hasMembers(owner, toMany) || isWhole(toMany.inverse())) return members(owner, toMany).size();
  const Property& toOne = toMany.inverse();
  const auto refers = [&](const SlotView& values) {
    return &values.entity() == &toOne.entity() && !values.isNil(toOne.ordinal()) &&
           values.reference(toOne.ordinal()) == &owner;
  };
  auto count = static_cast<std::ptrdiff_t>(savedRecords.count(membersQuestion(owner, toMany)));
  for (const internal::SavedValues& each : journal.tracking().saved()) {
    if (refers(SlotView(each.record->entity(), each.slots))) --count;
    if (RecordAccess::isLive(*each.record) && refers(RecordAccess::view(*each.record))) ++count;
  }
  for (const Record* record : journal.tracking().inserted())
    if (refers(RecordAccess::view(*record))) ++count;
  return static_cast<std::size_t>(count);
}

void StoreParts::linkLater(const Record& owner, const Property& toMany, Record& member) {
  laterLinks_.emplace(&owner, LaterLink(&toMany, &member));
}

// --- Letting go

void StoreParts::settle() {
  laterLinks_.clear();
  fetchFailure.clear();
  for (EntityRecords& records : entities) {
    if (records.byLookup())
      for (internal::Index& index : records.indexes)
        index.reset(internal::Index::Coverage::Changed);
    if (records.sums && records.sums->follows()) records.sums->settle();
    records.sinceSave = 0;
  }
}

// Whether nothing would be lost: the document has the values, and the sets hold nothing new.
bool StoreParts::canRelease(const Record& record) const {
  if (RecordAccess::slots(record) == nullptr || isChangedSinceSave(record) ||
      RecordAccess::has(record, RecordAccess::kObserved))
    return false;
  const SlotView values = RecordAccess::view(record);
  bool can = true;
  for (const Property& property : record.entity().properties()) {
    if (property.transient() && !values.isNil(property.ordinal())) return false;
    if (!property.isToMany()) continue;
    if (const internal::RelationSet* set = values.relation(property.ordinal()))
      set->forEach([&](const Record* member) { can = can && !isChangedSinceSave(*member); });
  }
  return can;
}

std::size_t StoreParts::release() {
  std::size_t released = 0;
  for (EntityRecords& records : entities) {
    if (!records.entity->byLookup()) continue;
    records.table.forEach([&](Record* record) {
      if (!canRelease(*record)) return;
      std::byte*& slots = RecordAccess::slots(*record);
      internal::releaseSlots(*records.entity, slots);
      records.pool.free(slots);
      slots = nullptr;
      RecordAccess::lower(*record, RecordAccess::kBornHere);
      ++released;
    });
    for (const Property& property : records.entity->properties()) {
      if (property.isToOne()) records.inverseBuilt[property.ordinal()] = false;
      if (property.isToMany())
        of(property.inverse().entity()).inverseBuilt[property.inverse().ordinal()] = false;
    }
    if (!records.loaded) continue;
    records.loaded = false;
    for (internal::Index& index : records.indexes) index.reset(internal::Index::Coverage::Changed);
    records.table.forEach([&](Record* record) {
      if (RecordAccess::slots(*record) != nullptr && RecordAccess::isLive(*record) &&
          isChangedSinceSave(*record))
        records.awaitChanged(*record);
    });
  }
  return released;
}

}  // namespace bokfolio
