#include "bokfolio/store/internal/query.hpp"

#include <algorithm>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/ordered_walk.hpp"
#include "bokfolio/store/internal/planner.hpp"
#include "bokfolio/store/internal/predicate/binding.hpp"
#include "bokfolio/store/internal/prefetch.hpp"
#include "bokfolio/store/internal/sorting.hpp"

namespace bokfolio {

namespace {

using predicate::BoundComparison;
using predicate::BoundCondition;
using predicate::Conditions;

constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);

internal::KeyReading readingOf(const Query& query) {
  return query.throughAccessors ? internal::KeyReading::ThroughAccessors
                                : internal::KeyReading::Stored;
}

// All members of a relationship, in whatever order.
bool isWholeSet(const Query& query) { return query.owner != nullptr && query.conditions.empty(); }

std::vector<Record*> membersOf(const Query& query, std::size_t limit) {
  StoreParts& store = *query.store;
  std::vector<Record*> all;
  if (limit == 0) return all;
  if (limit == 1) {
    if (Record* first = store.firstMember(*query.owner, *query.relationship)) all.push_back(first);
    return all;
  }
  const auto& set = store.members(*query.owner, *query.relationship);
  all.reserve(set.size());
  set.forEach([&](Record* record) { all.push_back(record); });
  if (limit < all.size()) all.resize(limit);
  return all;
}

// `key == constant`, asked of a whole entity; nullptr for every other question.
const predicate::Node* soleEquality(const Query& query) {
  if (query.conditions.size() != 1 || query.owner != nullptr || query.among ||
      !query.order.empty() || query.strategy == Query::Strategy::ScanOnly)
    return nullptr;
  const predicate::Node& root = *query.conditions.front().root();
  const auto* path = std::get_if<predicate::KeyPath>(&root.left);
  const bool isOne = root.kind == predicate::Node::Kind::Compare &&
                     root.comparison == predicate::Comparison::Equal && path != nullptr &&
                     path->keys.size() == 1 && !path->count &&
                     std::holds_alternative<Value>(root.right);
  return isOne ? &root : nullptr;
}

const IndexLayout* indexOver(const Property& property) {
  for (const std::uint16_t ordinal : property.indexes()) {
    const IndexLayout& layout = property.entity().indexes()[ordinal];
    if (layout.properties.size() == 1) return &layout;
  }
  return nullptr;
}

// The commonest question of all, an account or an article by its number or name, answered from the
// index of that key without a plan. nullopt: this is another question, or one that the codes of
// the index do not decide.
std::optional<std::vector<Record*>> lookUp(const Query& query) {
  const predicate::Node* equality = soleEquality(query);
  if (equality == nullptr || query.store->of(*query.entity).byLookup()) return std::nullopt;
  const Property* property =
      query.entity->property(std::get<predicate::KeyPath>(equality->left).keys.front());
  if (property == nullptr || (query.throughAccessors && property->key().hasAccessor()))
    return std::nullopt;
  const Value& wanted = std::get<Value>(equality->right);
  const std::string* text = property->kind() == PropertyKind::String ? wanted.string() : nullptr;
  const bool isWhole = property->kind() == PropertyKind::Integer && wanted.integer() != nullptr;
  const IndexLayout* layout = text != nullptr || isWhole ? indexOver(*property) : nullptr;
  if (layout == nullptr) return std::nullopt;
  const auto code = internal::codeOf(*property, wanted);
  // The two lowest integers share a code.
  if (!code || (isWhole && *code == internal::kLowestCode)) return std::nullopt;

  const internal::Index& index = query.store->index(*query.entity, layout->ordinal);
  const internal::Index::Span span = index.find({*code, *code});
  const std::size_t limit = query.limit.value_or(kUnlimited);
  std::vector<Record*> found;
  for (auto at = span.from; at != span.to && found.size() < limit; at = index.entries().next(at)) {
    Record* record = index.entries()[at].record;
    if (isWhole || query.store->slots(*record).text(property->ordinal()) == *text)
      found.push_back(record);
  }
  return found;
}

// One run of one query.
class QueryRun {
 public:
  explicit QueryRun(const Query& query)
      : query_(query), conditions_(query.conditions, readingOf(query)) {
    if (query.among) return;
    bound_ = &conditions_.boundTo(*query.entity);
    if (query.owner == nullptr) return;
    query.store->slots(*query.owner);  // throws for a record that is gone
    membership_.emplace(query.relationship->inverse(), *query.owner);
  }

  std::vector<Record*> records() {
    if (query_.limit == std::size_t{0}) return {};
    if (query_.order.empty()) return matches(query_.limit.value_or(kUnlimited));
    if (auto walked = walkInOrder()) return std::move(*walked);
    return inOrder(matches(kUnlimited));
  }

  std::size_t count() {
    const std::size_t limit = query_.limit.value_or(kUnlimited);
    if (query_.conditions.empty()) return std::min(limit, countOfAll());
    std::size_t count = 0;
    if (limit == 0) return count;
    const Candidates candidates = findCandidates();
    internal::forEachRecord(candidates.records, [&](const Record* record) {
      if (accepts(*record, candidates.members)) ++count;
      return count < limit;
    });
    return count;
  }

  // `member`: it was a member of the owner's set a moment ago, and no accessor has run since.
  bool accepts(const Record& record, bool member = false) {
    if (query_.among) return conditions_.hold(record);
    if (!RecordAccess::isLive(record)) return false;
    if (!member && membership_ && !membership_->holds(*query_.store, record)) return false;
    return std::all_of(bound_->begin(), bound_->end(), [&](const BoundCondition& condition) {
      return condition.holds(*query_.store, record);
    });
  }

 private:
  std::size_t countOfAll() const {
    if (query_.among) return query_.among->size();
    if (query_.owner != nullptr)
      return query_.store->memberCount(*query_.owner, *query_.relationship);
    return query_.store->count(*query_.entity);
  }

  internal::Planner planner() const {
    std::vector<const BoundComparison*> conjuncts;
    if (membership_) conjuncts.push_back(&*membership_);
    for (const BoundCondition& condition : *bound_) condition.collectConjuncts(conjuncts);
    return {*query_.store, *query_.entity, conjuncts};
  }

  struct Candidates {
    std::vector<Record*> records;
    bool members = false;  // known to be the owner's
  };

  Candidates findCandidates() const {
    if (query_.among) return {*query_.among};
    if (query_.strategy == Query::Strategy::ScanOnly) return {query_.store->all(*query_.entity)};
    if (isFewInMemory()) return {query_.store->all(*query_.entity)};
    const internal::Source source = planner().cheapest();
    return {collect(*query_.store, *query_.entity, source), isPure() && isOwnersSet(source)};
  }

  bool isFewInMemory() const {
    return query_.owner == nullptr && !query_.store->of(*query_.entity).byLookup() &&
           query_.store->count(*query_.entity) <= internal::kFewEnough;
  }

  bool isOwnersSet(const internal::Source& source) const {
    return query_.owner != nullptr && source.owner == query_.owner && source.links.empty() &&
           source.toMany == query_.relationship;
  }

  // Whether asking the conditions runs nobody's accessor.
  bool isPure() const {
    return std::all_of(bound_->begin(), bound_->end(),
                       [](const BoundCondition& condition) { return condition.isPure(); });
  }

  std::vector<Record*> matches(std::size_t limit) {
    if (isWholeSet(query_)) return membersOf(query_, limit);
    Candidates candidates = findCandidates();
    std::vector<Record*> found;
    internal::forEachRecord(candidates.records, [&](Record* record) {
      if (accepts(*record, candidates.members)) found.push_back(record);
      return found.size() < limit;
    });
    return found;
  }

  std::vector<Record*> inOrder(std::vector<Record*> found) const {
    internal::sortRecords(found, query_.order, readingOf(query_));
    if (query_.limit && *query_.limit < found.size()) found.resize(*query_.limit);
    return found;
  }

  std::optional<std::vector<Record*>> walkInOrder();

  const Query& query_;
  Conditions conditions_;
  const std::vector<BoundCondition>* bound_ = nullptr;
  std::optional<BoundComparison> membership_;
};

std::optional<std::vector<Record*>> QueryRun::walkInOrder() {
  if (query_.among || !query_.limit || query_.strategy == Query::Strategy::ScanOnly) return {};
  // Accessors might change the index under the walk.
  if (!isPure()) return {};
  const SortDescriptor& first = query_.order.front();
  const internal::BoundPath key(*query_.entity, first.key(), readingOf(query_));
  if (!key.isSlot() || !key.links().empty() || key.last().isRelationship() ||
      key.last().kind() == PropertyKind::String)
    return {};
  internal::Planner plan = planner();
  const auto source = plan.ordered(key.last(), first.ascending());
  if (!source) return {};
  const bool tied = query_.order.size() == 1 && internal::hasExactCodes(key.last());
  internal::OrderedWalk walk(
      *query_.store, *source, *query_.limit, tied,
      [this](const Record& record) { return accepts(record); },
      [&plan] { return plan.cheapest().estimate; });
  auto found = walk.matches();
  if (!found || (found->size() < 2 && query_.order.size() == 1)) return found;
  return inOrder(std::move(*found));
}

}  // namespace

std::vector<Record*> run(const Query& query) {
  if (query.order.empty() && isWholeSet(query))
    return membersOf(query, query.limit.value_or(kUnlimited));
  if (auto found = lookUp(query)) return std::move(*found);
  return QueryRun(query).records();
}

std::size_t countOf(const Query& query) { return QueryRun(query).count(); }

bool holds(const Query& query, const Record& record) {
  if (query.among) {
    const auto at =
        std::lower_bound(query.among->begin(), query.among->end(), &record, internal::ById{});
    if (at == query.among->end() || *at != &record) return false;
  } else if (&record.entity() != query.entity ||
             &record.managedObjectContext() != &query.store->context) {
    return false;
  }
  return QueryRun(query).accepts(record);
}

}  // namespace bokfolio
