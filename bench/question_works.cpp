// Balances of an open book whose sums are known.
#include <algorithm>
#include <random>
#include <stdexcept>
#include <utility>

#include "bench/books.hpp"
#include "bench/plain_trial_balance.hpp"
#include "bench/works.hpp"

namespace bokfolio::bench {

namespace {

constexpr std::size_t kBatches = 21;
constexpr std::size_t kQuestions = 1'000;

Outcome trialBalanceOfAnOpenBook(const Case& of) {
  const auto context = open(of.book);
  FiscalYear& year = *lastYearWithEntries(*context);
  std::string ours = trialBalance(*context, year);
  std::vector<Time> runs;
  repeat(5, 101, 1,
         [&](std::size_t) { runs.push_back(timed([&] { ours = trialBalance(*context, year); })); });
  const std::int64_t peak = peakResident();
  PlainTrialBalance floor(of.book);
  std::string plain = floor.absoluteSum();
  std::vector<Time> floors;
  repeat(3, 101, 1,
         [&](std::size_t) { floors.push_back(timed([&] { plain = floor.absoluteSum(); })); });
  if (ours != plain) throw std::runtime_error("balances differ: " + ours + " and " + plain);
  return {medianOf(runs), medianOf(floors), peak};
}

// For one account and tag the sum of all rows before each row, in the order of time.
class PrefixSums {
 public:
  PrefixSums(const Account& account, const Tag& tag) {
    std::vector<std::pair<Date, Decimal>> nets;
    for (const Row* row : account.rows().members()) {
      if (row->tag() == &tag) nets.emplace_back(row->entry()->date().value_or(Date()), row->net());
    }
    std::stable_sort(nets.begin(), nets.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    Decimal sum;
    for (const auto& [instant, net] : nets) {
      instants_.push_back(instant);
      before_.push_back(sum);
      sum += net;
    }
    before_.push_back(sum);
  }
  Decimal before(Date instant) const {
    const auto found = std::lower_bound(instants_.begin(), instants_.end(), instant);
    return before_[static_cast<std::size_t>(found - instants_.begin())];
  }
  Date first() const { return instants_.front(); }

 private:
  std::vector<Date> instants_;
  std::vector<Decimal> before_;
};

std::vector<Date> randomInstants(Date first) {
  constexpr std::int64_t kSecondsOfYear = 365 * 86'400;
  std::mt19937_64 random(1);
  std::vector<Date> instants;
  for (std::size_t at = 0; at < kQuestions; ++at)
    instants.push_back(first.addingSeconds(static_cast<std::int64_t>(random() % kSecondsOfYear)));
  return instants;
}

Outcome balanceByDateAndTag(const Case& of) {
  const auto context = open(of.book);
  FiscalYear& year = *lastYearWithEntries(*context);
  const Account& account = *Account::accountWithNumber(kBusiestAccount, *context);
  Tag* tag = Tag::tagWithNumber(kFirstTag, *context);
  const PrefixSums prefixes(account, *tag);
  const std::vector<Date> instants = randomInstants(prefixes.first());
  for (const Date instant : instants) {
    if (account.balanceByDate(instant, &year, tag) != prefixes.before(instant))
      throw std::runtime_error("a balance differs from the prefix sums");
  }
  Decimal ours;
  Decimal plain;
  std::vector<Time> runs;
  std::vector<Time> floors;
  for (std::size_t batch = 0; batch < kBatches; ++batch) {
    runs.push_back(timed([&] {
                     for (const Date instant : instants)
                       ours += account.balanceByDate(instant, &year, tag);
                   }) /
                   static_cast<double>(kQuestions));
    floors.push_back(timed([&] {
                       for (const Date instant : instants) plain += prefixes.before(instant);
                     }) /
                     static_cast<double>(kQuestions));
  }
  if (ours != plain) throw std::runtime_error("the sums of balances differ");
  return {medianOf(runs), medianOf(floors), peakResident()};
}

}  // namespace

std::vector<Work> questionWorks() {
  return {{"warm: trial balance of a year",
           "plain C over SQLite",
           {kThousand, kHundredThousand, kMillion},
           {{Goal::Kind::OfFloor, 0.001, kMillion}},
           trialBalanceOfAnOpenBook},
          {"warm: balance of the busiest account by date and tag",
           "binary search in prefix sums",
           {kTenThousand, kHundredThousand, kMillion},
           {{Goal::Kind::OfFloor, 10, kMillion}, {Goal::Kind::OfItself, 3, kMillion, kTenThousand}},
           balanceByDateAndTag}};
}

}  // namespace bokfolio::bench
