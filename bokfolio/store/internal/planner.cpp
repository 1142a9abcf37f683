#include "bokfolio/store/internal/planner.hpp"

#include <algorithm>

#include "bokfolio/store/internal/sorting.hpp"

namespace bokfolio::internal {

namespace {

using predicate::BoundComparison;
using predicate::Comparison;

// The engine counts no further than this; above it the estimate is a guess.
constexpr std::size_t kCounted = 256;
// How much dearer it is to bring all of an entity into memory than to look a part of it up.
constexpr double kWholeEntity = 4;

// What one comparison says about the codes of its key. `throughLinks`: a nil on the way reads as
// nil, so that conditions that nil satisfies cannot be looked up from the far end.
std::optional<CodeRange> rangeOf(const BoundComparison& conjunct, const Property& property,
                                 bool throughLinks) {
  const Comparison comparison = conjunct.comparison();
  if (conjunct.constant().isNil()) {
    if (comparison == Comparison::Equal && !throughLinks) return CodeRange{kNilCode, kNilCode};
    if (comparison == Comparison::NotEqual) return CodeRange{kLowestCode, kHighestCode};
    return std::nullopt;
  }
  const auto code = codeOf(property, conjunct.constant());
  if (!code) return std::nullopt;
  if (comparison == Comparison::Equal) return CodeRange{*code, *code};
  if (property.kind() == PropertyKind::String || property.isToOne()) return std::nullopt;
  if (comparison == Comparison::Less || comparison == Comparison::LessOrEqual)
    return CodeRange{kLowestCode, *code};
  if (comparison == Comparison::Greater || comparison == Comparison::GreaterOrEqual)
    return CodeRange{*code, kHighestCode};
  return std::nullopt;
}

Record* referenceOf(StoreParts& store, const Record& record, const Property& toOne) {
  const SlotView slots = store.slots(record);
  return slots.isNil(toOne.ordinal()) ? nullptr : slots.reference(toOne.ordinal());
}

// Those that refer to one of the records by the link.
std::vector<Record*> referrers(StoreParts& store, const std::vector<Record*>& records,
                               const Property& link) {
  std::vector<Record*> found;
  const Property& inverse = link.inverse();
  for (const Record* record : records) {
    if (inverse.isToMany()) {
      store.members(*record, inverse).forEach([&](Record* each) { found.push_back(each); });
    } else if (Record* each = referenceOf(store, *record, inverse)) {
      found.push_back(each);
    }
  }
  return found;
}

// What a range of codes of integers, dates or references means; nullopt: everything.
std::optional<SavedCondition> conditionOf(const Property& property, const CodeRange& range) {
  SavedCondition condition;
  condition.ordinal = property.ordinal();
  if (range.high == kNilCode) {
    condition.kind = SavedCondition::Kind::IsNil;
    return condition;
  }
  if (range.low == kNilCode && range.high == kHighestCode) return std::nullopt;
  if (range.low == kLowestCode && range.high == kHighestCode) {
    condition.kind = SavedCondition::Kind::IsNotNil;
    return condition;
  }
  const CodeRange values{std::max(range.low, kLowestCode), range.high};
  if (property.isToOne()) {
    condition.low = static_cast<std::int64_t>(values.low);
    condition.high = static_cast<std::int64_t>(values.high);
  } else {
    if (values.low != kLowestCode) condition.low = integerOfCode(values.low);
    condition.high = integerOfCode(values.high);
  }
  return condition;
}

}  // namespace

Planner::Planner(StoreParts& store, const Entity& entity, const Conjuncts& conjuncts)
    : store_(store), entity_(entity) {
  for (const BoundComparison* conjunct : conjuncts) {
    const BoundPath* path = conjunct->slotPath();
    if (path == nullptr) continue;
    auto group = std::find_if(groups_.begin(), groups_.end(),
                              [&](const Group& each) { return *each.links == path->links(); });
    if (group == groups_.end())
      group = groups_.insert(groups_.end(), {&path->links(), &path->last().entity(), {}});
    group->conjuncts.push_back(conjunct);
  }
}

const Source& Planner::cheapest() {
  best_.estimate = store_.roughCount(entity_) * (store_.of(entity_).byLookup() ? kWholeEntity : 1);
  for (const Group& group : groups_)
    for (const BoundComparison* conjunct : group.conjuncts) considerPartners(group, *conjunct);
  for (const Group& group : groups_) {
    for (const IndexLayout& layout : group.entity->indexes()) {
      if (best_.estimate <= static_cast<double>(kFewEnough)) return best_;
      considerIndex(group, layout);
    }
  }
  return best_;
}

// toOne == record: the records on the other side of that record.
void Planner::considerPartners(const Group& group, const BoundComparison& conjunct) {
  const Property& property = conjunct.slotPath()->last();
  Record* partner = conjunct.constant().record();
  if (!property.isToOne() || partner == nullptr || conjunct.comparison() != Comparison::Equal)
    return;
  Source source;
  if (&partner->entity() != &property.target() ||
      &partner->managedObjectContext() != &store_.context) {
    source.none = true;
    source.estimate = 0;
  } else if (!RecordAccess::isLive(*partner)) {
    return;
  } else if (property.inverse().isToMany()) {
    source.owner = partner;
    source.toMany = &property.inverse();
    source.estimate = membersEstimate(*partner, property.inverse());
  } else {
    source.single = referenceOf(store_, *partner, property.inverse());
    source.none = source.single == nullptr;
    source.estimate = source.none ? 0 : 1;
  }
  consider(group, source);
}

void Planner::considerIndex(const Group& group, const IndexLayout& layout) {
  const auto first = rangeOf(group, *layout.properties[0]);
  if (!first) return;
  CodeRange second;
  if (first->low == first->high && layout.properties.size() > 1)
    second = rangeOf(group, *layout.properties[1]).value_or(second);
  Source source;
  if (store_.of(*group.entity).byLookup()) {
    source.saved = questionOf(group, layout);
    if (!source.saved) return;
    source.estimate = savedEstimate(*source.saved, layout);
    if (source.estimate >= best_.estimate) return;
    if (source.estimate == 0) source.saved.reset();
  } else {
    source.estimate = 0;
  }
  source.index = &store_.index(*group.entity, layout.ordinal);
  source.span = source.index->find(*first, second);
  source.estimate += static_cast<double>(source.index->estimate(source.span));
  consider(group, source);
}

std::optional<SavedQuestion> Planner::questionOf(const Group& group, const IndexLayout& layout) {
  SavedQuestion question;
  question.entity = group.entity;
  question.conditions.reserve(layout.properties.size());
  for (const Property* property : layout.properties) {
    if (!isLookedUp(*property)) return std::nullopt;
    for (const BoundComparison* conjunct : group.conjuncts) {
      const std::string* text = conjunct->constant().string();
      if (property->kind() != PropertyKind::String || text == nullptr ||
          &conjunct->slotPath()->last() != property || conjunct->comparison() != Comparison::Equal)
        continue;
      SavedCondition condition;
      condition.ordinal = property->ordinal();
      condition.kind = SavedCondition::Kind::IsText;
      condition.text = *text;
      question.conditions.push_back(std::move(condition));
      return question;
    }
    const auto range = rangeOf(group, *property);
    if (!range) continue;
    if (auto condition = conditionOf(*property, *range))
      question.conditions.push_back(std::move(*condition));
  }
  return question;
}

double Planner::savedEstimate(const SavedQuestion& question, const IndexLayout& layout) {
  SavedQuestion counted = question;
  counted.limit = kCounted;
  const std::size_t count = store_.savedRecords.count(counted);
  if (count < kCounted) return static_cast<double>(count);
  constexpr double kPartOfRange = 4;
  const Property& first = *layout.properties[0];
  const double parts =
      first.isToOne() ? std::max(1.0, store_.roughCount(first.target())) : kPartOfRange;
  return std::max(static_cast<double>(kCounted), store_.roughCount(*question.entity) / parts);
}

double Planner::membersEstimate(const Record& owner, const Property& toMany) {
  const Property& toOne = toMany.inverse();
  if (store_.hasMembers(owner, toMany) || !store_.of(toOne.entity()).byLookup())
    return static_cast<double>(store_.members(owner, toMany).size());
  SavedQuestion counted = StoreParts::membersQuestion(owner, toMany);
  counted.limit = kCounted;
  const std::size_t count = store_.savedRecords.count(counted);
  const double added = static_cast<double>(store_.setOf(owner, toMany).size());
  if (count < kCounted) return static_cast<double>(count) + added;
  return std::max(
             static_cast<double>(kCounted),
             store_.roughCount(toOne.entity()) / std::max(1.0, store_.roughCount(toOne.target()))) +
         added;
}

void Planner::consider(const Group& group, Source source) {
  if (source.estimate >= best_.estimate) return;
  if (!group.links->empty()) source.estimate *= spread(*group.links);
  if (source.estimate >= best_.estimate) return;
  source.links = *group.links;
  best_ = std::move(source);
}

std::optional<CodeRange> Planner::rangeOf(const Group& group, const Property& property) {
  std::optional<CodeRange> all;
  for (const BoundComparison* conjunct : group.conjuncts) {
    if (&conjunct->slotPath()->last() != &property) continue;
    const auto range = internal::rangeOf(*conjunct, property, !group.links->empty());
    if (!range) continue;
    if (!all) all.emplace();
    all->low = std::max(all->low, range->low);
    all->high = std::min(all->high, range->high);
  }
  return all;
}

double Planner::spread(const Links& links) {
  double factor = 1;
  for (const Property* link : links) {
    if (!link->inverse().isToMany()) continue;
    const double many = store_.roughCount(link->entity());
    const double few = store_.roughCount(link->target());
    if (many > few && few > 0) factor *= many / few;
  }
  return factor;
}

std::optional<OrderedSource> Planner::ordered(const Property& key, bool ascending) {
  const Links none;
  const Group nothing{&none, &entity_, {}};
  const auto own = std::find_if(groups_.begin(), groups_.end(),
                                [](const Group& each) { return each.links->empty(); });
  const Group& group = own == groups_.end() ? nothing : *own;
  std::optional<OrderedSource> best;
  std::size_t fewest = std::numeric_limits<std::size_t>::max();
  for (const IndexLayout& layout : entity_.indexes()) {
    const auto first = rangeOf(group, *layout.properties[0]);
    const bool bySecond = layout.properties.size() > 1 && layout.properties[1] == &key && first &&
                          first->low == first->high;
    if (layout.properties[0] != &key && !bySecond) continue;
    OrderedSource source;
    if (store_.of(entity_).byLookup()) {
      // The engine's index is not asked how long it is: one within a first value is the shorter.
      if (best && (best->bySecond || !bySecond)) continue;
      source.saved = questionOf(group, layout);
      if (!source.saved) continue;
      source.saved->order = key.ordinal();
      source.saved->ascending = ascending;
    }
    source.index = &store_.index(entity_, layout.ordinal);
    source.span =
        source.index->find(first.value_or(CodeRange{}),
                           bySecond ? rangeOf(group, key).value_or(CodeRange{}) : CodeRange{});
    source.bySecond = bySecond;
    source.ascending = ascending;
    const std::size_t estimate = source.index->estimate(source.span);
    if (best && !source.saved && estimate >= fewest) continue;
    fewest = estimate;
    best = std::move(source);
  }
  return best;
}

std::vector<Record*> collect(StoreParts& store, const Entity& entity, const Source& source) {
  std::vector<Record*> records;
  if (source.none) return records;
  if (source.owner != nullptr) {
    const RelationSet& set = store.members(*source.owner, *source.toMany);
    records.reserve(set.size());
    set.forEach([&](Record* record) { records.push_back(record); });
  } else if (source.index != nullptr) {
    if (source.saved) records = store.unchanged(*source.saved);
    const auto& entries = source.index->entries();
    for (auto at = source.span.from; at != source.span.to; at = entries.next(at))
      records.push_back(entries[at].record);
  } else if (source.single != nullptr) {
    records.push_back(source.single);
  } else {
    return store.all(entity);
  }
  if (source.owner != nullptr && source.links.empty()) return records;
  for (auto link = source.links.rbegin(); link != source.links.rend(); ++link)
    records = referrers(store, records, **link);
  if (!std::is_sorted(records.begin(), records.end(), ById{}))
    std::sort(records.begin(), records.end(), ById{});
  return records;
}

}  // namespace bokfolio::internal
