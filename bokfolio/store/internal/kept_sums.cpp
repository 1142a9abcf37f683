#include "bokfolio/store/internal/kept_sums.hpp"

#include <algorithm>
#include <limits>
#include <map>

#include "bokfolio/store/internal/record_access.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::uint16_t kWaits = 1U << 15;  // beside the bits of the indexes
// Where records without an instant stand: before no instant.
constexpr std::int64_t kNoInstant = std::numeric_limits<std::int64_t>::max();

RecordId idOf(const Record* record) { return record == nullptr ? 0 : record->id(); }

const Record* reference(const SlotView& slots, const Property& toOne) {
  return slots.isNil(toOne.ordinal()) ? nullptr : slots.reference(toOne.ordinal());
}

ExactSum opposite(const ExactSum& amount) {
  ExactSum negative;
  return negative -= amount;
}

// The sum of the instants that the question is about.
ExactSum within(const SumTree& tree, const KeptSumQuestion& question) {
  const std::int64_t instant = question.date->microseconds();
  if (!question.including || instant == kNoInstant) return tree.before(instant);
  return tree.before(instant + 1);
}

ExactSum at(const SumTree& tree, std::int64_t instant) {
  ExactSum sum = instant == kNoInstant ? tree.total() : tree.before(instant + 1);
  return sum -= tree.before(instant);
}

bool same(ExactSum a, const ExactSum& b) { return (a -= b).isZero(); }

bool sameInstants(const SumTree& a, const SumTree& b) {
  bool all = same(a.total(), b.total());
  a.forEach([&](std::int64_t instant, const ExactSum& /*sum*/) {
    all = all && same(a.before(instant), b.before(instant));
  });
  return all;
}

}  // namespace

// --- Asking

ExactSum KeptSums::find(const KeptSumQuestion& question) {
  const Place place{idOf(question.period), idOf(question.owner), idOf(question.mark)};
  if (place.owner == 0 && (place.mark == 0 || question.date))
    throw StoreError("a sum is kept by owner, and by mark without a date");
  if (question.date) {
    learnInstants(place);
  } else {
    learnTotals(place.period);
  }
  const auto found = ledgers_.find(place);
  if (found == ledgers_.end()) return {};
  return question.date ? within(found->second.instants, question) : found->second.total;
}

// --- Lines

bool KeptSums::knowsTotals(RecordId period) const {
  return knowsAll_ || periods_.count(period) != 0;
}

bool KeptSums::knowsInstants(const Place& place) const {
  return knowsAll_ || instantsOf_.count({place.period, place.owner, 0}) != 0;
}

void KeptSums::learnTotals(RecordId period) {
  if (knowsTotals(period)) return;
  read({SumLineQuestion::Kind::TotalsOfPeriod, period, 0, 0, {}});
  periods_.insert(period);
}

void KeptSums::learnInstants(const Place& place) {
  if (knowsInstants(place)) return;
  read({SumLineQuestion::Kind::InstantsOfOwner, place.period, place.owner, 0, {}});
  instantsOf_.insert({place.period, place.owner, 0});
}

namespace {

// Collects first: a reading that fails half-way must leave no trace.
class Lines final : public SumLineSink {
 public:
  Lines(StoreParts& store, const Entity& entity, const SumLineQuestion& question) {
    std::optional<Error> error;
    if (!store.persistence->sums(entity, question, *this, &error))
      throw LoadError("the sums of " + entity.name() + " cannot be read: " +
                      (error ? error->localizedDescription() : std::string("unknown failure")));
  }

  void line(const SumLine& line) override {
    const auto amount = ExactSum::parse(line.amount);
    if (!amount) throw LoadError("a kept sum is no number and cannot be read");
    lines_.emplace_back(line, *amount);
  }
  const std::vector<std::pair<SumLine, ExactSum>>& all() const { return lines_; }

 private:
  std::vector<std::pair<SumLine, ExactSum>> lines_;
};

}  // namespace

void KeptSums::read(const SumLineQuestion& question) {
  const Lines lines(*store_, *entity_, question);
  for (const auto& [line, amount] : lines.all()) {
    Ledger& ledger = ledgers_[{line.period, line.owner, line.mark}];
    if (line.instant) {
      ledger.instants.add(*line.instant, amount);
    } else {
      ledger.total += amount;
    }
  }
}

ExactSum KeptSums::savedSum(const Place& place, std::optional<std::int64_t> instant) const {
  const Lines lines(*store_, *entity_,
                    {SumLineQuestion::Kind::One, place.period, place.owner, place.mark, instant});
  return lines.all().empty() ? ExactSum() : lines.all().front().second;
}

// --- Counting

std::optional<KeptSums::Share> KeptSums::shareOf(const Record& record) const {
  const KeptSumLayout& layout = *entity_->keptSum();
  const SlotView slots = store_->slots(record);
  if (!slots.isNil(layout.unless->ordinal()) &&
      slots.integer(layout.unless->ordinal()) == layout.unlessValue)
    return std::nullopt;
  const Record* via = reference(slots, *layout.via);
  if (via == nullptr || via->isGone()) return std::nullopt;
  const SlotView far = store_->slots(*via);
  Share share;
  share.place = {idOf(reference(far, *layout.period)), idOf(reference(slots, *layout.owner)),
                 idOf(reference(slots, *layout.mark))};
  if (share.place.period == 0 || (share.place.owner == 0 && share.place.mark == 0))
    return std::nullopt;
  if (!slots.isNil(layout.plus->ordinal())) share.amount += slots.decimal(layout.plus->ordinal());
  if (!slots.isNil(layout.minus->ordinal())) share.amount -= slots.decimal(layout.minus->ordinal());
  const std::uint16_t instant = layout.instant->ordinal();
  share.instant = far.isNil(instant) ? kNoInstant : far.date(instant).microseconds();
  return share;
}

void KeptSums::count(Record& record, bool in) {
  std::optional<Share> share = shareOf(record);
  if (!share || share->amount.isZero()) return;
  if (!in) share->amount = opposite(share->amount);
  const auto& [period, owner, mark] = share->place;
  if (mark != 0) add({period, 0, mark}, share->amount, nullptr);
  if (owner == 0) return;
  add({period, owner, 0}, share->amount, &share->instant);
  if (mark != 0) add(share->place, share->amount, &share->instant);
}

void KeptSums::add(const Place& place, const ExactSum& amount, const std::int64_t* instant) {
  Ledger& ledger = ledgers_[place];
  ledger.total += amount;
  ledger.change += amount;
  if (!ledger.isChanged) {
    ledger.isChanged = true;
    changed_.emplace_back(place, &ledger);
  }
  if (instant == nullptr) return;
  ledger.instants.add(*instant, amount);
  if (!ledger.changes.empty() && ledger.changes.back().first == *instant) {
    ledger.changes.back().second += amount;
  } else {
    ledger.changes.emplace_back(*instant, amount);
  }
}

void KeptSums::build(const std::vector<Record*>& records) {
  base_ = Base::Memory;
  knowsAll_ = true;
  for (Record* record : records) count(*record, true);
  settle();
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
  while (!waiting_.empty()) {
    Record& record = *waiting_.back();
    std::uint16_t& detached = RecordAccess::detachedIndexes(record);
    if ((detached & kWaits) != 0) {
      count(record, true);
      detached &= static_cast<std::uint16_t>(~kWaits);
    }
    waiting_.pop_back();
  }
}

// --- Saving

std::optional<ChangeSet::Sums> KeptSums::changedLines() {
  attachWaiting();
  ChangeSet::Sums sums;
  sums.entity = entity_;
  sums.replacesAll = base_ == Base::Memory;
  if (sums.replacesAll) {
    for (const auto& [place, ledger] : ledgers_) appendAll(place, ledger, sums.lines);
    return sums;
  }
  for (const auto& [place, ledger] : changed_) appendLines(place, *ledger, sums.lines);
  if (sums.lines.empty()) return std::nullopt;
  return sums;
}

namespace {

SumLine lineOf(RecordId period, RecordId owner, RecordId mark, std::optional<std::int64_t> instant,
               const ExactSum& sum) {
  return {period, owner, mark, instant, sum.isZero() ? std::string() : sum.text()};
}

}  // namespace

void KeptSums::appendLines(const Place& place, Ledger& ledger, std::vector<SumLine>& lines) {
  const auto& [period, owner, mark] = place;
  if (!ledger.change.isZero()) {
    ExactSum sum = ledger.total;
    if (!knowsTotals(period)) sum += savedSum(place, std::nullopt);
    lines.push_back(lineOf(period, owner, mark, std::nullopt, sum));
  }
  std::map<std::int64_t, ExactSum> changes;
  for (const auto& [instant, amount] : ledger.changes) changes[instant] += amount;
  for (const auto& [instant, change] : changes) {
    if (change.isZero()) continue;
    ExactSum sum = at(ledger.instants, instant);
    if (!knowsInstants(place)) sum += savedSum(place, instant);
    lines.push_back(lineOf(period, owner, mark, instant, sum));
  }
}

void KeptSums::appendAll(const Place& place, const Ledger& ledger,
                         std::vector<SumLine>& lines) const {
  const auto append = [&](std::optional<std::int64_t> instant, const ExactSum& sum) {
    if (!sum.isZero()) lines.push_back(lineOf(place.period, place.owner, place.mark, instant, sum));
  };
  append(std::nullopt, ledger.total);
  ledger.instants.forEach([&](std::int64_t instant, const ExactSum& sum) { append(instant, sum); });
}

void KeptSums::settle() {
  attachWaiting();
  for (const auto& [place, ledger] : changed_) {
    ledger->isChanged = false;
    ledger->change = {};
    ledger->changes = {};
    if (!knowsTotals(place.period)) ledger->total = {};
    if (!knowsInstants(place)) ledger->instants = {};
  }
  changed_.clear();
}

void KeptSums::forget() {
  settle();
  *this = KeptSums(*store_, *entity_);
}

// --- The check

void KeptSums::learnEverything() {
  const KeptSumLayout& layout = *entity_->keptSum();
  const std::vector<Record*> owners = store_->all(layout.owner->target());
  for (const Record* period : store_->all(layout.period->target())) {
    learnTotals(period->id());
    for (const Record* owner : owners) learnInstants({period->id(), owner->id(), 0});
  }
}

bool KeptSums::knowsAtLeast(const Ledgers& other) const {
  const Ledger none;
  return std::all_of(other.begin(), other.end(), [&](const auto& each) {
    const auto found = ledgers_.find(each.first);
    const Ledger& own = found == ledgers_.end() ? none : found->second;
    return same(own.total, each.second.total) && sameInstants(each.second.instants, own.instants);
  });
}

bool KeptSums::agreesWithScan(const std::vector<Record*>& records) {
  attachWaiting();
  learnEverything();
  KeptSums scan(*store_, *entity_);
  scan.build(records);
  return knowsAtLeast(scan.ledgers_) && scan.knowsAtLeast(ledgers_);
}

}  // namespace bokfolio::internal
