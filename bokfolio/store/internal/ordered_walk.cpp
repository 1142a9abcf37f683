#include "bokfolio/store/internal/ordered_walk.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace bokfolio::internal {

namespace {

// The first stretch of an answer; each one after it is twice as long.
constexpr std::size_t kFirstStretch = 4;
constexpr std::size_t kLongestStretch = 1024;
// So many records are looked at before the walk is compared with other ways.
constexpr double kShort = 64;

std::int64_t valueOf(const Property& property, const SlotView& slots) {
  switch (property.kind()) {
    case PropertyKind::Date:
      return slots.date(property.ordinal()).microseconds();
    case PropertyKind::ToOne:
      return static_cast<std::int64_t>(slots.reference(property.ordinal())->id());
    default:
      return slots.integer(property.ordinal());
  }
}

}  // namespace

// --- What is saved

SavedGroups::Stream::Stream(StoreParts& store, SavedQuestion question)
    : store_(&store), question_(std::move(question)) {
  question_.limit = question_.ascending ? kFirstStretch : 1;
}

Record* SavedGroups::Stream::head() {
  while (true) {
    for (; at_ < stretch_.size(); ++at_)
      if (!isChangedSinceSave(*stretch_[at_])) return stretch_[at_];
    if (ended_) return nullptr;
    stretch_ = store_->savedRecords.find(question_);
    at_ = 0;
    ended_ = stretch_.size() < question_.limit;
    question_.skip += question_.limit;
    question_.limit = std::min(question_.limit * 2, kLongestStretch);
  }
}

SavedGroups::SavedGroups(StoreParts& store, SavedQuestion question)
    : store_(&store),
      question_(std::move(question)),
      key_(&question_.entity->property(question_.order)),
      ascending_(store, question_) {}

std::optional<IndexCode> SavedGroups::code() {
  if (code_) return code_;
  if (!question_.ascending) {
    descend();
  } else if (const Record* head = ascending_.head()) {
    code_ = codeOf(*key_, store_->slots(*head));
  }
  return code_;
}

Record* SavedGroups::next() {
  Stream& stream = question_.ascending ? ascending_ : *group_;
  Record* head = stream.head();
  if (head == nullptr || (question_.ascending && codeOf(*key_, store_->slots(*head)) != code_)) {
    code_.reset();
    return nullptr;
  }
  stream.advance();
  return head;
}

SavedQuestion SavedGroups::with(SavedCondition condition) const {
  SavedQuestion question = question_;
  condition.ordinal = key_->ordinal();
  question.conditions.push_back(std::move(condition));
  return question;
}

void SavedGroups::descend() {
  SavedCondition condition;
  const auto beginGroup = [&] {
    SavedQuestion question = with(condition);
    question.order = kIdOrdinal;
    question.ascending = true;
    group_.emplace(*store_, std::move(question));
  };
  if (rest_ == Rest::All || rest_ == Rest::UpTo) {
    condition.kind =
        rest_ == Rest::All ? SavedCondition::Kind::IsNotNil : SavedCondition::Kind::InRange;
    condition.high = upTo_;
    if (const Record* head = Stream(*store_, with(condition)).head()) {
      const SlotView slots = store_->slots(*head);
      const std::int64_t value = valueOf(*key_, slots);
      code_ = codeOf(*key_, slots);
      condition = {};
      condition.low = condition.high = value;
      beginGroup();
      const bool lowest = value == std::numeric_limits<std::int64_t>::min();
      rest_ = lowest ? Rest::Nil : Rest::UpTo;
      if (!lowest) upTo_ = value - 1;
      return;
    }
    rest_ = Rest::Nil;
  }
  if (rest_ == Rest::None) return;
  rest_ = Rest::None;
  condition.kind = SavedCondition::Kind::IsNil;
  beginGroup();
  if (group_->head() != nullptr) code_ = kNilCode;
}

// --- The walk

OrderedWalk::OrderedWalk(StoreParts& store, const OrderedSource& source, std::size_t limit,
                         bool tied, std::function<bool(const Record&)> accepts,
                         std::function<double()> patience)
    : source_(source),
      limit_(limit),
      groupsAreInOrder_(tied && (source.bySecond || source.index->layout().properties.size() == 1)),
      accepts_(std::move(accepts)),
      askPatience_(std::move(patience)),
      from_(source.span.from),
      to_(source.span.to) {
  if (source.saved) saved_.emplace(store, *source.saved);
}

std::optional<std::vector<Record*>> OrderedWalk::matches() {
  const auto isAhead = [&](IndexCode a, IndexCode b) { return source_.ascending ? a < b : a > b; };
  while (found_.size() < limit_) {
    const auto own = indexCode();
    const auto saved = saved_ ? saved_->code() : std::nullopt;
    if (!own && !saved) break;
    const bool fromIndex = own && (!saved || !isAhead(*saved, *own));
    const bool fromSaved = saved && (!own || !isAhead(*own, *saved));
    const IndexCode code = fromIndex ? *own : *saved;
    // The two lowest integers share a code.
    const bool inOrder = groupsAreInOrder_ && code != kLowestCode;
    Group group{from_, from_};
    if (fromIndex) group = takeGroup(code);
    savedHead_ = fromSaved ? saved_->next() : nullptr;
    while (Record* record = nextOf(group, code)) {
      if (!isPatient()) return std::nullopt;
      if (accepts_(*record)) found_.push_back(record);
      if (inOrder && found_.size() == limit_) return std::move(found_);
    }
    if (fromIndex && source_.ascending) from_ = group.at;
  }
  return std::move(found_);
}

// The lower id of the two that come next.
Record* OrderedWalk::nextOf(Group& group, IndexCode code) {
  const auto& entries = source_.index->entries();
  const bool ended = group.at == group.end || codeAt(group.at) != code;
  Record* own = ended ? nullptr : entries[group.at].record;
  if (own == nullptr || (savedHead_ != nullptr && savedHead_->id() < own->id()))
    return savedHead_ == nullptr ? nullptr : std::exchange(savedHead_, saved_->next());
  group.at = entries.next(group.at);
  return own;
}

bool OrderedWalk::isPatient() {
  if (++looked_ <= kShort) return true;
  if (!patience_) patience_ = askPatience_() + kShort;
  return looked_ <= *patience_;
}

IndexCode OrderedWalk::codeAt(Index::Position at) const {
  const IndexEntry& entry = source_.index->entries()[at];
  return source_.bySecond ? entry.second : entry.first;
}

std::optional<IndexCode> OrderedWalk::indexCode() const {
  if (from_ == to_) return std::nullopt;
  return codeAt(source_.ascending ? from_ : source_.index->entries().previous(to_));
}

OrderedWalk::Group OrderedWalk::takeGroup(IndexCode code) {
  const auto& entries = source_.index->entries();
  if (!source_.ascending) {
    const auto end = std::exchange(to_, groupBegin(entries.previous(to_), code));
    return {to_, end};
  }
  return {from_, to_};
}

// Groups are mostly small, so the first steps are taken one by one.
Index::Position OrderedWalk::groupBegin(Index::Position edge, IndexCode code) const {
  const auto& entries = source_.index->entries();
  constexpr int kSteps = 8;
  auto begin = edge;
  for (int step = 0; step < kSteps; ++step) {
    if (begin == from_ || codeAt(entries.previous(begin)) != code) return begin;
    begin = entries.previous(begin);
  }
  const IndexEntry edgeEntry = entries[edge];
  const auto start = entries.partitionPoint([&](const IndexEntry& entry) {
    if (!source_.bySecond) return entry.first < code;
    return entry.first < edgeEntry.first || (entry.first == edgeEntry.first && entry.second < code);
  });
  const bool before =
      start.block != from_.block ? start.block < from_.block : start.slot < from_.slot;
  return before ? from_ : start;
}

}  // namespace bokfolio::internal
