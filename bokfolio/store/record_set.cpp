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

// A stored key that nothing but its slot answers for.
bool isPlain(const Property& property) { return !property.key().hasAccessor(); }

}  // namespace

RecordSet::RecordSet() = default;

RecordSet::RecordSet(std::vector<Record*> members) : members_(ordered(std::move(members))) {}

RecordSet::RecordSet(const Record& owner, const Property& relationship) {
  Query query;
  query.store = &owner.managedObjectContext().parts();
  query.entity = &relationship.target();
  query.owner = &owner;
  query.relationship = &relationship;
  query.throughAccessors = true;
  query_ = std::make_shared<const Query>(std::move(query));
}

RecordSet::RecordSet(Query query) : query_(std::make_shared<const Query>(std::move(query))) {}

RecordSet RecordSet::filtered(const Predicate& predicate) const {
  Query query;
  if (query_) {
    query = *query_;
  } else if (members_) {
    query.among = members_;
    query.throughAccessors = true;
  } else {
    return {};
  }
  query.conditions.push_back(predicate);
  return RecordSet(std::move(query));
}

std::size_t RecordSet::count() const {
  if (query_) return countOf(*query_);
  return members_ ? members_->size() : 0;
}

bool RecordSet::empty() const { return first() == nullptr; }

bool RecordSet::contains(const Record* record) const {
  if (record == nullptr) return false;
  if (query_) return holds(*query_, *record);
  return members_ && std::find(members_->begin(), members_->end(), record) != members_->end();
}

Record* RecordSet::first() const {
  if (!query_) return members_ && !members_->empty() ? members_->front() : nullptr;
  Query query = *query_;
  query.limit = 1;
  const auto found = run(query);
  return found.empty() ? nullptr : found.front();
}

Decimal RecordSet::sum(std::string_view key) const {
  std::optional<Sum> sum;
  // A key that is wrong is wrong for an empty set, too.
  if (query_ && query_->entity != nullptr) sum.emplace(*query_->entity, key);
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
  if (!query_ || query_->owner == nullptr || !query_->conditions.empty()) return std::nullopt;
  const Property* toMany = query_->entity->property(key);
  if (toMany == nullptr || !toMany->isToMany()) return std::nullopt;
  const Property& near = toMany->inverse();
  const Property& far = query_->relationship->inverse();
  if (!isPlain(*toMany) || !isPlain(near) || !isPlain(far)) return std::nullopt;
  Query query;
  query.store = query_->store;
  query.entity = &toMany->target();
  query.throughAccessors = true;
  query.conditions.emplace_back(predicate::makeComparison(
      predicate::Comparison::Equal, predicate::KeyPath{{near.name(), far.name()}, false},
      Value(query_->owner)));
  return RecordSet(std::move(query));
}

std::vector<Record*> RecordSet::snapshot() const {
  if (query_) return run(*query_);
  return members_ ? *members_ : std::vector<Record*>();
}

std::vector<Record*> RecordSet::sorted(const std::vector<SortDescriptor>& order) const {
  std::vector<Record*> members = snapshot();
  sortRecords(members, order);
  return members;
}

bool operator==(const RecordSet& a, const RecordSet& b) {
  if (a.query_ == b.query_ && a.members_ == b.members_) return true;
  return a.snapshot() == b.snapshot();
}

}  // namespace bokfolio
