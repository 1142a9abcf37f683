#include "bokfolio/store/record_set.hpp"

#include <algorithm>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/bound_path.hpp"
#include "bokfolio/store/internal/predicate/node.hpp"
#include "bokfolio/store/internal/prefetch.hpp"
#include "bokfolio/store/internal/query.hpp"
#include "bokfolio/store/internal/sorting.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/store_error.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {

namespace {

using internal::BoundPath;
using internal::KeyReading;

std::shared_ptr<const std::vector<Record*>> ordered(std::vector<Record*> members) {
  members.erase(std::remove(members.begin(), members.end(), nullptr), members.end());
  std::sort(members.begin(), members.end(), internal::ById{});
  members.erase(std::unique(members.begin(), members.end()), members.end());
  return std::make_shared<const std::vector<Record*>>(std::move(members));
}

// Adds one key over records of one entity.
class Sum {
 public:
  Sum(const Entity& entity, std::string_view key)
      : entity_(entity), key_(key), path_(entity, key, KeyReading::ThroughAccessors) {}

  const Entity& entity() const { return entity_; }

  void add(StoreParts& store, const Record& record, Decimal& total) const {
    if (path_.isSlot() && path_.last().kind() == PropertyKind::Decimal) {
      const Record* at = path_.follow(store, record);
      if (at == nullptr) return;
      const SlotView slots = store.slots(*at);
      if (!slots.isNil(path_.last().ordinal())) total += slots.decimal(path_.last().ordinal());
      return;
    }
    const Value value = path_.read(store, record);
    if (value.isNil()) return;
    const auto decimal = value.asDecimal();
    if (!decimal)
      throw ValueKindError(entity_.name() + "." + std::string(key_) + " holds " +
                           value.description() + ", which cannot be summed");
    total += *decimal;
  }

 private:
  const Entity& entity_;
  std::string_view key_;
  BoundPath path_;
};

StoreParts& storeOf(const Record& record) { return record.managedObjectContext().parts(); }

// Throws RecordGoneError for a record that is gone.
StoreParts& storeOfLive(const Record& record) {
  StoreParts& store = storeOf(record);
  store.slots(record);
  return store;
}

// A stored key that nothing but its slot answers for.
bool isPlain(const Property& property) { return !property.key().hasAccessor(); }

}  // namespace

RecordSet::RecordSet() = default;

RecordSet::RecordSet(std::vector<Record*> members) {
  Query query;
  query.among = ordered(std::move(members));
  query.throughAccessors = true;
  query_ = std::make_shared<const Query>(std::move(query));
}

RecordSet::RecordSet(const Record& owner, const Property& relationship)
    : owner_(&owner), relationship_(&relationship) {}

RecordSet::RecordSet(Query query) : query_(std::make_shared<const Query>(std::move(query))) {}

// The members when they were given and not narrowed since.
const std::vector<Record*>* RecordSet::given() const {
  return query_ && query_->conditions.empty() ? query_->among.get() : nullptr;
}

// nullptr when the members may be of any.
const Entity* RecordSet::entity() const {
  if (isWhole()) return &relationship_->target();
  return query_ ? query_->entity : nullptr;
}

// Not for the set of no records, which is no question.
Query RecordSet::asQuery() const {
  if (query_) return *query_;
  Query query;
  query.store = &storeOf(*owner_);
  query.entity = entity();
  query.owner = owner_;
  query.relationship = relationship_;
  query.throughAccessors = true;
  return query;
}

RecordSet RecordSet::filtered(const Predicate& predicate) const {
  if (!isWhole() && !query_) return {};
  Query query = asQuery();
  query.conditions.push_back(predicate);
  return RecordSet(std::move(query));
}

std::size_t RecordSet::count() const {
  if (isWhole()) return storeOfLive(*owner_).memberCount(*owner_, *relationship_);
  return query_ ? countOf(*query_) : 0;
}

bool RecordSet::empty() const { return first() == nullptr; }

bool RecordSet::contains(const Record* record) const {
  if (record == nullptr) return false;
  if (const auto* members = given())
    return std::find(members->begin(), members->end(), record) != members->end();
  if (query_) return holds(*query_, *record);
  return isWhole() && holds(asQuery(), *record);
}

Record* RecordSet::first() const {
  if (isWhole()) return storeOfLive(*owner_).firstMember(*owner_, *relationship_);
  if (const auto* members = given()) return members->empty() ? nullptr : members->front();
  if (!query_) return nullptr;
  Query query = *query_;
  query.limit = 1;
  const auto found = run(query);
  return found.empty() ? nullptr : found.front();
}

Decimal RecordSet::sum(std::string_view key) const {
  std::optional<Sum> sum;
  // A key that is wrong is wrong for an empty set, too.
  if (entity() != nullptr) sum.emplace(*entity(), key);
  Decimal total;
  internal::forEachRecord(snapshot(), [&](const Record* record) {
    if (!sum || &sum->entity() != &record->entity()) sum.emplace(record->entity(), key);
    sum->add(record->managedObjectContext().parts(), *record, total);
    return true;
  });
  return total;
}

RecordSet RecordSet::distinctUnion(std::string_view key) const {
  if (auto question = unionAsQuestion(key)) return std::move(*question);
  std::vector<Record*> all;
  for (const Record* record : snapshot()) {
    const Value value = record->valueForKey(key);
    if (value.isNil()) continue;
    if (value.records() == nullptr)
      throw ValueKindError(record->entityName() + "." + std::string(key) + " is no set");
    const auto members = value.records()->snapshot();
    all.insert(all.end(), members.begin(), members.end());
  }
  return RecordSet(std::move(all));
}

// The rows of the entries of a year are the rows whose entry is of that year: one question, for
// which the planner may find a better way than from entry to entry.
std::optional<RecordSet> RecordSet::unionAsQuestion(std::string_view key) const {
  if (!isWhole()) return std::nullopt;
  const Property* toMany = entity()->property(key);
  if (toMany == nullptr || !toMany->isToMany()) return std::nullopt;
  const Property& near = toMany->inverse();
  const Property& far = relationship_->inverse();
  if (!isPlain(*toMany) || !isPlain(near) || !isPlain(far)) return std::nullopt;
  Query query;
  query.store = &storeOf(*owner_);
  query.entity = &toMany->target();
  query.throughAccessors = true;
  query.conditions.emplace_back(predicate::makeComparison(
      predicate::Comparison::Equal, predicate::KeyPath{{near.name(), far.name()}, false},
      Value(owner_)));
  return RecordSet(std::move(query));
}

std::vector<Record*> RecordSet::snapshot() const {
  if (const auto* members = given()) return *members;
  if (query_) return run(*query_);
  std::vector<Record*> members;
  if (!isWhole()) return members;
  const auto& set = storeOfLive(*owner_).members(*owner_, *relationship_);
  members.reserve(set.size());
  set.forEach([&](Record* member) { members.push_back(member); });
  return members;
}

// Over a copy of the members, since bringing values into memory may touch the set.
void RecordSet::visitStored(void* visitor, StoredVisit visit) const {
  constexpr std::size_t kFew = 64;
  const auto* set = isWhole() ? &storeOfLive(*owner_).members(*owner_, *relationship_) : nullptr;
  if (set == nullptr || set->size() > kFew) {
    internal::forEachRecord(snapshot(), [&](Record* member) {
      visit(visitor, *member, storeOf(*member).slots(*member));
      return true;
    });
    return;
  }
  Record* members[kFew];  // NOLINT: only what is filled is read
  Record** end = members;
  set->forEach([&](Record* member) { *end++ = member; });
  StoreParts& store = storeOf(*owner_);
  for (Record** at = members; at != end; ++at) visit(visitor, **at, store.slots(**at));
}

std::vector<Record*> RecordSet::sorted(const std::vector<SortDescriptor>& order) const {
  std::vector<Record*> members = snapshot();
  sortRecords(members, order);
  return members;
}

bool operator==(const RecordSet& a, const RecordSet& b) {
  const bool same =
      a.query_ == b.query_ && a.owner_ == b.owner_ && a.relationship_ == b.relationship_;
  return same || a.snapshot() == b.snapshot();
}

}  // namespace bokfolio
