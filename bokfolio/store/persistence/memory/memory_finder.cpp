#include "bokfolio/store/persistence/memory/internal/memory_finder.hpp"

#include <algorithm>
#include <utility>

#include "bokfolio/store/persistence/internal/saved_questions.hpp"

namespace bokfolio::internal {

namespace {

using Kind = SavedCondition::Kind;

// So many are sorted rather than walked to in order.
constexpr std::size_t kFew = 64;

bool isWithin(const SavedCondition& condition, std::int64_t value) {
  return condition.low <= value && value <= condition.high;
}

template <class Range, class Work>
void forEach(const Range& range, bool ascending, Work work) {
  if (ascending) {
    for (auto each = range.begin(); each != range.end(); ++each)
      if (!work(*each)) return;
  } else {
    for (auto each = range.rbegin(); each != range.rend(); ++each)
      if (!work(*each)) return;
  }
}

}  // namespace

MemoryKey keyOf(const MemoryCell& cell) {
  if (const auto* integer = std::get_if<std::int64_t>(&cell)) return *integer;
  if (const auto* date = std::get_if<Date>(&cell)) return date->microseconds();
  if (const auto* reference = std::get_if<MemoryReference>(&cell))
    return static_cast<std::int64_t>(reference->id);
  if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  return std::monostate();
}

void MemoryIndex::remove(const MemoryKey& key, RecordId id) {
  const auto group = groups_.find(key);
  if (group == groups_.end()) return;
  group->second.erase(id);
  if (group->second.empty()) groups_.erase(group);
}

const MemoryIndex::Ids* MemoryIndex::find(const MemoryKey& key) const {
  const auto group = groups_.find(key);
  return group == groups_.end() ? nullptr : &group->second;
}

const MemoryIndex& MemoryTable::index(std::size_t column) {
  const auto found = indexes.find(column);
  if (found != indexes.end()) return found->second;
  MemoryIndex made;
  for (const auto& [id, row] : rows) made.add(internal::keyOf(row.cell(column)), id);
  return indexes.emplace(column, std::move(made)).first->second;
}

MemoryFinder::MemoryFinder(MemoryTable& table, const MemoryLayout& layout,
                           const SavedQuestion& question)
    : table_(table), layout_(layout), question_(question) {
  checkQuestion(question);
}

void MemoryFinder::visit(const Visit& visit) {
  if (question_.limit == 0 || isImpossible(question_)) return;
  for (const SavedCondition& condition : question_.conditions) narrow(condition);
  const bool limited = question_.limit != std::numeric_limits<std::size_t>::max();
  if (narrowed_ && (!limited || candidates_.size() <= kFew)) {
    visitSorted(visit);
  } else {
    visitInOrder(visit);
  }
}

bool MemoryFinder::holds(const SavedCondition& condition, RecordId id, const MemoryRow& row) const {
  if (condition.ordinal == kIdOrdinal) {
    if (condition.kind != Kind::InRange) return condition.kind == Kind::IsNotNil;
    return isWithin(condition, static_cast<std::int64_t>(id));
  }
  const MemoryCell& cell = row.cell(layout_.column(condition.ordinal));
  const bool isNil = std::holds_alternative<std::monostate>(cell);
  switch (condition.kind) {
    case Kind::IsNil:
      return isNil;
    case Kind::IsNotNil:
      return !isNil;
    case Kind::IsText:
      return !isNil && std::get<std::string>(cell) == condition.text;
    case Kind::InRange:
      break;
  }
  return !isNil && isWithin(condition, std::get<std::int64_t>(keyOf(cell)));
}

bool MemoryFinder::holds(RecordId id, const MemoryRow& row) const {
  return std::all_of(question_.conditions.begin(), question_.conditions.end(),
                     [&](const SavedCondition& condition) { return holds(condition, id, row); });
}

void MemoryFinder::narrow(const SavedCondition& condition) {
  const bool isOne = condition.kind == Kind::InRange && condition.low == condition.high;
  if (condition.ordinal == kIdOrdinal) {
    if (condition.kind == Kind::InRange) takeIds(condition.low, condition.high);
  } else if (condition.kind == Kind::IsText) {
    take(index(condition.ordinal).find(condition.text));
  } else if (isOne) {
    take(index(condition.ordinal).find(condition.low));
  }
}

void MemoryFinder::take(const MemoryIndex::Ids* ids) {
  const std::size_t size = ids == nullptr ? 0 : ids->size();
  if (narrowed_ && candidates_.size() <= size) return;
  narrowed_ = true;
  candidates_.clear();
  if (ids != nullptr) candidates_.assign(ids->begin(), ids->end());
}

void MemoryFinder::takeIds(std::int64_t low, std::int64_t high) {
  Candidates found;
  if (high > 0) {
    auto row = table_.rows.lower_bound(static_cast<RecordId>(std::max<std::int64_t>(low, 1)));
    for (; row != table_.rows.end() && row->first <= static_cast<RecordId>(high); ++row) {
      if (narrowed_ && found.size() >= candidates_.size()) return;
      found.push_back(row->first);
    }
  }
  narrowed_ = true;
  candidates_ = std::move(found);
}

void MemoryFinder::sort(Candidates& found) const {
  std::sort(found.begin(), found.end());
  if (question_.order != kIdOrdinal) {
    std::vector<std::pair<MemoryKey, RecordId>> keyed;
    const std::size_t column = layout_.column(question_.order);
    for (const RecordId id : found)
      keyed.emplace_back(keyOf(table_.rows.find(id)->second.cell(column)), id);
    std::sort(keyed.begin(), keyed.end());
    std::transform(keyed.begin(), keyed.end(), found.begin(),
                   [](const auto& each) { return each.second; });
  }
  if (!question_.ascending) std::reverse(found.begin(), found.end());
}

void MemoryFinder::visitSorted(const Visit& visit) {
  std::erase_if(candidates_, [&](RecordId id) { return !holds(id, table_.rows.find(id)->second); });
  sort(candidates_);
  for (const RecordId id : candidates_)
    if (!offer(id, visit)) return;
}

void MemoryFinder::visitInOrder(const Visit& visit) {
  const bool up = question_.ascending;
  const auto look = [&](RecordId id) {
    return !holds(id, table_.rows.find(id)->second) || offer(id, visit);
  };
  if (question_.order == kIdOrdinal) {
    return forEach(table_.rows, up, [&](const auto& row) { return look(row.first); });
  }
  bool more = true;
  forEach(index(question_.order).groups(), up, [&](const auto& group) {
    forEach(group.second, up, [&](RecordId id) { return more = look(id); });
    return more;
  });
}

bool MemoryFinder::offer(RecordId id, const Visit& visit) {
  if (skipped_ < question_.skip) {
    ++skipped_;
    return true;
  }
  visit(id, table_.rows.find(id)->second);
  return ++given_ < question_.limit;
}

}  // namespace bokfolio::internal
