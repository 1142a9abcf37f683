#include "bokfolio/store/internal/kept_sums.hpp"

#include <algorithm>
#include <limits>

#include "bokfolio/store/internal/record_access.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::uint16_t kWaits = 1U << 15;  // beside the bits of the indexes
// Where records without an instant stand: before no instant.
constexpr std::int64_t kNoInstant = std::numeric_limits<std::int64_t>::max();

const Record* reference(const SlotView& slots, const Property& toOne) {
  return slots.isNil(toOne.ordinal()) ? nullptr : slots.reference(toOne.ordinal());
}

}  // namespace

// --- Asking

namespace {

// The sum of the instants that the question is about.
ExactSum within(const SumTree& tree, const KeptSumQuestion& question) {
  if (!question.date) return tree.total();
  const std::int64_t instant = question.date->microseconds();
  if (!question.including || instant == kNoInstant) return tree.before(instant);
  return tree.before(instant + 1);
}

bool same(ExactSum a, const ExactSum& b) { return (a -= b).isZero(); }

}  // namespace

ExactSum KeptSums::find(const KeptSumQuestion& question) const {
  if (question.owner == nullptr) {
    if (question.mark == nullptr || question.date)
      throw StoreError("a sum is kept by owner, and by mark without a date");
    const auto found = byMark_.find({question.mark, question.period});
    return found == byMark_.end() ? ExactSum() : found->second;
  }
  const auto found = ledgers_.find({question.owner, question.period});
  if (found == ledgers_.end()) return {};
  if (question.mark == nullptr) return within(found->second.all, question);
  for (const auto& [mark, tree] : found->second.byMark)
    if (mark == question.mark) return within(tree, question);
  return {};
}

bool KeptSums::agreesWith(const KeptSums& other) const {
  return isWithin(other) && other.isWithin(*this);
}

bool KeptSums::isWithin(const KeptSums& other) const {
  for (const auto& [key, sum] : byMark_)
    if (!same(sum, other.find({nullptr, key.first, key.second, {}}))) return false;
  for (const auto& [key, ledger] : ledgers_) {
    if (!isWithin(ledger.all, other, {key.first, nullptr, key.second, {}})) return false;
    for (const auto& [mark, tree] : ledger.byMark)
      if (!isWithin(tree, other, {key.first, mark, key.second, {}})) return false;
  }
  return true;
}

bool KeptSums::isWithin(const SumTree& tree, const KeptSums& other, KeptSumQuestion question) {
  bool all = same(tree.total(), other.find(question));
  tree.forEach([&](std::int64_t instant, const ExactSum& /*sum*/) {
    question.date = Date::fromMicroseconds(instant);
    all = all && same(tree.before(instant), other.find(question));
  });
  return all;
}

// --- Counting

std::optional<KeptSums::Share> KeptSums::shareOf(const Record& record) const {
  const SlotView slots = RecordAccess::view(record);
  if (!slots.isNil(layout_->unless->ordinal()) &&
      slots.integer(layout_->unless->ordinal()) == layout_->unlessValue)
    return std::nullopt;
  const Record* via = reference(slots, *layout_->via);
  if (via == nullptr || RecordAccess::slots(*via) == nullptr) return std::nullopt;
  const SlotView far = RecordAccess::view(*via);
  Share share;
  share.period = reference(far, *layout_->period);
  share.owner = reference(slots, *layout_->owner);
  share.mark = reference(slots, *layout_->mark);
  if (share.period == nullptr || (share.owner == nullptr && share.mark == nullptr))
    return std::nullopt;
  if (!slots.isNil(layout_->plus->ordinal()))
    share.amount += slots.decimal(layout_->plus->ordinal());
  if (!slots.isNil(layout_->minus->ordinal()))
    share.amount -= slots.decimal(layout_->minus->ordinal());
  const std::uint16_t instant = layout_->instant->ordinal();
  share.instant = far.isNil(instant) ? kNoInstant : far.date(instant).microseconds();
  return share;
}

void KeptSums::count(Record& record, bool in) {
  std::optional<Share> share = shareOf(record);
  if (!share) return;
  if (!in) {
    ExactSum opposite;
    opposite -= share->amount;
    share->amount = std::move(opposite);
  }
  if (share->mark != nullptr) byMark_[{share->mark, share->period}] += share->amount;
  if (share->owner == nullptr) return;
  Ledger& ledger = ledgers_[{share->owner, share->period}];
  ledger.all.add(share->instant, share->amount);
  if (share->mark != nullptr) treeOf(ledger, *share->mark).add(share->instant, share->amount);
}

SumTree& KeptSums::treeOf(Ledger& ledger, const Record& mark) {
  const auto found = std::find_if(ledger.byMark.begin(), ledger.byMark.end(),
                                  [&](const auto& each) { return each.first == &mark; });
  if (found != ledger.byMark.end()) return found->second;
  return ledger.byMark.emplace_back(&mark, SumTree()).second;
}

void KeptSums::build(const std::vector<Record*>& records) {
  for (Record* record : records) count(*record, true);
  built_ = true;
}

void KeptSums::detach(Record& record) {
  if ((RecordAccess::detachedIndexes(record) & kWaits) != 0) return;
  count(record, false);
  await(record);
}

void KeptSums::await(Record& record) {
  RecordAccess::detachedIndexes(record) |= kWaits;
  waiting_.push_back(&record);
}

void KeptSums::drop(Record& record) {
  std::uint16_t& detached = RecordAccess::detachedIndexes(record);
  if ((detached & kWaits) != 0) {
    // It stays among those that wait and is passed over there.
    detached &= static_cast<std::uint16_t>(~kWaits);
  } else {
    count(record, false);
  }
}

void KeptSums::attachWaiting() {
  for (Record* record : waiting_) {
    std::uint16_t& detached = RecordAccess::detachedIndexes(*record);
    if ((detached & kWaits) == 0) continue;
    detached &= static_cast<std::uint16_t>(~kWaits);
    count(*record, true);
  }
  waiting_.clear();
}

}  // namespace bokfolio::internal
