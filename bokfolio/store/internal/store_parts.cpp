#include "bokfolio/store/internal/store_parts.hpp"

#include <optional>
#include <string>

#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

// Makes records of what the engine reports. A record that is in memory already keeps its values:
// they are newer, or the same.
class LoadingSink final : public RecordSink {
 public:
  LoadingSink(StoreParts& store, EntityRecords& records) : store_(store), records_(records) {}
  LoadingSink(const LoadingSink&) = delete;
  LoadingSink& operator=(const LoadingSink&) = delete;
  ~LoadingSink() override { drop(); }

  void begin(RecordId id, std::uint32_t version) override {
    drop();
    Record* record = store_.place(*records_.entity, id);
    if (record == nullptr || RecordAccess::slots(*record) != nullptr || record->isGone()) return;
    record_ = record;
    version_ = version;
    slots_ = records_.pool.allocate();
    writer_.emplace(*records_.entity, slots_);
  }
  void integer(std::uint16_t ordinal, std::int64_t value) override {
    if (writer_) writer_->setInteger(ordinal, value);
  }
  void real(std::uint16_t ordinal, double value) override {
    if (writer_) writer_->setReal(ordinal, value);
  }
  void decimal(std::uint16_t ordinal, const Decimal& value) override {
    if (writer_) writer_->setDecimal(ordinal, value);
  }
  void text(std::uint16_t ordinal, std::string_view value) override {
    if (writer_) writer_->setText(ordinal, value);
  }
  void date(std::uint16_t ordinal, Date value) override {
    if (writer_) writer_->setDate(ordinal, value);
  }
  void blob(std::uint16_t ordinal, std::string_view value) override { text(ordinal, value); }
  void reference(std::uint16_t ordinal, RecordId value) override {
    if (!writer_) return;
    const Entity& target = records_.entity->property(ordinal).target();
    writer_->setReference(ordinal, store_.place(target, value));
  }
  // Only a record that was read to its end has its values.
  void end() override {
    if (!writer_) return;
    RecordAccess::version(*record_) = version_;
    RecordAccess::slots(*record_) = slots_;
    ++records_.liveCount;
    writer_.reset();
  }

 private:
  void drop() {
    if (!writer_) return;
    internal::releaseSlots(*records_.entity, slots_);
    records_.pool.free(slots_);
    writer_.reset();
  }

  StoreParts& store_;
  EntityRecords& records_;
  std::optional<internal::SlotWriter> writer_;  // while a record is being read
  Record* record_ = nullptr;
  std::byte* slots_ = nullptr;
  std::uint32_t version_ = 0;
};

constexpr RecordId kMaximumId = RecordId{1} << 32;

void requireSensible(const Entity& entity, RecordId id) {
  if (id > kMaximumId)
    throw LoadError("no record of " + entity.name() + " can have the id " + std::to_string(id));
}

}  // namespace

EntityRecords::EntityRecords(const Entity& described)
    : entity(&described),
      pool(described.slotBytes()),
      defaults(pool.allocate()),
      inverseBuilt(described.properties().size(), false) {
  for (const IndexLayout& layout : described.indexes()) indexes.emplace_back(layout);
  if (const KeptSumLayout* layout = described.keptSum()) sums.emplace(*layout);
  internal::SlotWriter slots(described, defaults);
  for (const Property& property : described.properties())
    if (!property.isRelationship())
      slots.setValue(property, internal::fittingValue(property, property.defaultValue()));
}

void EntityRecords::await(Record& record) {
  for (internal::Index& index : indexes)
    if (index.built()) index.await(record);
  if (sums && sums->built()) sums->await(record);
}

void EntityRecords::drop(Record& record) {
  for (internal::Index& index : indexes)
    if (index.built()) index.drop(record);
  if (sums && sums->built()) sums->drop(record);
}

EntityRecords::~EntityRecords() { internal::releaseSlots(*entity, defaults); }

StoreParts::StoreParts(Context& face, std::shared_ptr<const Schema> frozen,
                       std::unique_ptr<Persistence> engine, Environment services)
    : context(face),
      schema(std::move(frozen)),
      persistence(std::move(engine)),
      environment(std::move(services)),
      journal(*this),
      life(std::make_shared<int>(0)) {
  for (const Entity& entity : schema->entities()) entities.emplace_back(entity);
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
  LoadingSink sink(*this, records);
  std::optional<Error> error;
  if (!persistence->load(entity, sink, &error)) {
    throw LoadError("the records of " + entity.name() + " cannot be read: " +
                    (error ? error->localizedDescription() : std::string("unknown failure")));
  }
  records.loaded = true;
}

void StoreParts::fault(const Record& record) {
  if (record.isGone())
    throw RecordGoneError(record.entityName() + " " + std::to_string(record.id()) +
                          " is gone: its deletion was saved or its insertion taken back");
  load(record.entity());
  if (RecordAccess::slots(record) == nullptr)
    throw LoadError(record.entityName() + " " + std::to_string(record.id()) +
                    " is referred to but not in the document");
}

Record* StoreParts::make(const Entity& entity) {
  EntityRecords& records = of(entity);
  if (records.nextId == 0) {
    std::optional<Error> error;
    if (!persistence->nextId(entity, records.nextId, &error))
      throw LoadError("no id for a new record of " + entity.name() + ": " +
                      (error ? error->localizedDescription() : std::string("unknown failure")));
  }
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

std::vector<Record*> StoreParts::all(const Entity& entity) {
  load(entity);
  std::vector<Record*> live;
  live.reserve(of(entity).liveCount);
  of(entity).table.forEach([&](Record* record) {
    if (RecordAccess::isLive(*record) && RecordAccess::slots(*record) != nullptr)
      live.push_back(record);
  });
  return live;
}

std::size_t StoreParts::count(const Entity& entity) {
  load(entity);
  return of(entity).liveCount;
}

const internal::RelationSet& StoreParts::members(const Record& owner, const Property& toMany) {
  const Property& toOne = toMany.inverse();
  auto& built = of(toOne.entity()).inverseBuilt;
  auto& record = const_cast<Record&>(owner);  // NOLINT: the set is made on first use
  if (!built[toOne.ordinal()] && (RecordAccess::state(record) & RecordAccess::kBornHere) == 0) {
    buildInverse(toOne);
  }
  slots(owner);
  auto& set =
      internal::SlotWriter(owner.entity(), RecordAccess::slots(record)).relation(toMany.ordinal());
  if (set == nullptr) set = new internal::RelationSet;
  return *set;
}

void StoreParts::buildInverse(const Property& toOne) {
  const Property& toMany = toOne.inverse();
  load(toMany.entity());
  load(toOne.entity());
  const auto setOf = [&](Record& owner) -> internal::RelationSet*& {
    return internal::SlotWriter(toMany.entity(), RecordAccess::slots(owner))
        .relation(toMany.ordinal());
  };
  // Records born here have kept their sets all along; building all anew is simpler and as right.
  of(toMany.entity()).table.forEach([&](Record* owner) {
    if (RecordAccess::slots(*owner) == nullptr) return;
    if (auto* set = setOf(*owner)) set->clear();
  });
  for (Record* member : all(toOne.entity())) {
    const SlotView values = RecordAccess::view(*member);
    if (values.isNil(toOne.ordinal())) continue;
    Record* owner = values.reference(toOne.ordinal());
    slots(*owner);
    auto& set = setOf(*owner);
    if (set == nullptr) set = new internal::RelationSet;
    set->insert(member);
  }
  of(toOne.entity()).inverseBuilt[toOne.ordinal()] = true;
}

const internal::Index& StoreParts::index(const Entity& entity, std::uint16_t ordinal) {
  internal::Index& index = of(entity).indexes[ordinal];
  if (!index.built()) {
    index.build(all(entity));
  } else {
    index.attachWaiting();
  }
  return index;
}

const internal::KeptSums& StoreParts::sums(const Entity& entity) {
  internal::KeptSums& sums = *of(entity).sums;
  if (sums.built()) {
    sums.attachWaiting();
    return sums;
  }
  // The way back from the far records is complete before any of them can change.
  const Property& via = *entity.keptSum()->via;
  load(via.target());
  if (!of(entity).inverseBuilt[via.ordinal()]) buildInverse(via);
  sums.build(all(entity));
  return sums;
}

}  // namespace bokfolio
