// The ledger's side of the plain book.
#include "tests/simulation/plain_firm.hpp"

#include <chrono>
#include <limits>

namespace bokfolio::simulation {

namespace {

constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kDay = 86'400;

std::int64_t dayNumber(int year, unsigned month, unsigned day) {
  using namespace std::chrono;
  return sys_days(std::chrono::year(year) / static_cast<int>(month) / static_cast<int>(day))
      .time_since_epoch()
      .count();
}

// Of the last Sunday, at 01:00 UTC, in seconds.
std::int64_t clockChange(int year, unsigned month) {
  const std::int64_t last = dayNumber(year, month, 31);
  return (last - ((last + 4) % 7 + 7) % 7) * kDay + 3600;
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

std::int64_t offsetAt(std::int64_t seconds) {
  using namespace std::chrono;
  const year_month_day civil{sys_days(std::chrono::days(floorDiv(seconds, kDay)))};
  const int year = static_cast<int>(civil.year());
  return seconds >= clockChange(year, 3) && seconds < clockChange(year, 10) ? 7200 : 3600;
}

// Never asked for times that a change skips or repeats.
Instant fromLocal(std::int64_t local) {
  const std::int64_t guess = local - offsetAt(local - 3600);
  return guess * kSecond;
}

}  // namespace

Instant instantOf(int year, int dayOfYear, int hour) {
  return fromLocal((dayNumber(year, 1, 1) + dayOfYear) * kDay + hour * 3600);
}

std::int64_t localDay(Instant instant) {
  const std::int64_t seconds = floorDiv(instant, kSecond);
  return floorDiv(seconds + offsetAt(seconds), kDay);
}

Instant laterByDays(Instant instant, int days) {
  const std::int64_t seconds = floorDiv(instant, kSecond);
  return fromLocal(seconds + offsetAt(seconds) + days * kDay) + (instant - seconds * kSecond);
}

Instant PlainYear::start() const { return instantOf(year, isBroken ? 181 : 0, 0); }
Instant PlainYear::end() const { return instantOf(year + 1, isBroken ? 181 : 0, 0); }

Amount PlainEntry::sum() const {
  Amount sum = 0;
  for (const PlainRow& row : rows) sum += row.net();
  return sum;
}

bool PlainEntry::isBookable() const {
  return !rows.empty() && sum() == 0 && std::none_of(rows.begin(), rows.end(), [](auto& row) {
    return row.debit == 0 && row.credit == 0;
  });
}

Amount PlainFirm::balance(Id account, Id year, std::optional<Instant> before, Id tag) const {
  const auto opening = openings.find({account, year});
  Amount sum = opening == openings.end() ? 0 : opening->second;
  for (const auto& [id, entry] : entries) {
    if (entry->year != year || (before && entry->date >= *before)) continue;
    for (const PlainRow& row : entry->rows)
      if (row.account == account && (!before || tag == 0 || row.tag == tag)) sum += row.net();
  }
  return sum;
}

Amount PlainFirm::tagBalance(Id tag) const {
  Amount sum = 0;
  for (const auto& [id, entry] : entries)
    for (const PlainRow& row : entry->rows)
      if (entry->year == latestYear() && row.tag == tag) sum += row.net();
  return sum;
}

Amount PlainFirm::profit(Id year, std::optional<Instant> upTo) const {
  Amount sum = 0;
  for (const auto& [id, entry] : entries) {
    if (entry->year != year || (upTo && entry->date > *upTo)) continue;
    for (const PlainRow& row : entry->rows) {
      const int type = accounts.at(row.account).type;
      if (type == 2 || type == 3) sum -= row.net();
    }
  }
  return sum;
}

Amount PlainFirm::profitWithResults(Id year) const {
  Amount sum = profit(year);
  for (const auto& [id, entry] : entries)
    for (const PlainRow& row : entry->rows)
      if (entry->year == year && row.account == roles[kResults]) sum += row.net();
  return sum;
}

std::int64_t PlainFirm::highestNumber(Id year) const {
  std::int64_t highest = 0;
  for (const auto& [id, entry] : entries)
    if (entry->year == year) highest = std::max(highest, entry->number);
  return highest;
}

Instant PlainFirm::latestDate(Id year) const {
  Instant latest = dayNumber(1, 1, 1) * kDay * kSecond;
  for (const auto& [id, entry] : entries)
    if (entry->year == year) latest = std::max(latest, entry->date);
  return latest;
}

std::optional<Instant> PlainFirm::latestFiledDate() const {
  std::optional<Instant> latest;
  for (const auto& [id, entry] : entries)
    if (entry->year != 0) latest = std::max(latest.value_or(entry->date), entry->date);
  return latest;
}

Id PlainFirm::latestYear() const {
  Id latest = 0;
  for (const auto& [id, year] : years)
    if (latest == 0 || year->year > years.at(latest).year) latest = id;
  return latest;
}

Id PlainFirm::previousYear(Id year) const {
  Id previous = 0;
  for (const auto& [id, other] : years)
    if (other->year < years.at(year).year &&
        (previous == 0 || other->year > years.at(previous).year))
      previous = id;
  return previous;
}

bool PlainFirm::hasRows(Id account) const {
  for (const auto& [id, entry] : entries)
    for (const PlainRow& row : entry->rows)
      if (row.account == account) return true;
  return false;
}

bool PlainFirm::hasOpenings(Id account) const {
  const auto first = openings.lower_bound({account, 0});
  return first != openings.end() && first->first.first == account;
}

std::map<Id, Amount> PlainFirm::carried(Id year) const {
  std::map<Id, Amount> sums;
  for (const auto& [id, account] : accounts) {
    if (account->type > 1) continue;
    if (const Amount sum = balance(id, previousYear(year)); sum != 0) sums[id] = sum;
  }
  return sums;
}

int PlainFirm::file(Id id, std::vector<Id>& filed) {
  constexpr int kInvalid = 1;
  constexpr int kNoYear = 2;
  constexpr int kSeveralYears = 3;
  const PlainEntry entry = entries.at(id);
  if (!entry.isBookable()) return kInvalid;
  Id in = 0;
  for (const auto& [year, bounds] : years) {
    if (!bounds->holds(entry.date)) continue;
    if (in != 0) return kSeveralYears;
    in = year;
  }
  if (in == 0) return kNoYear;
  if (entry.number != 0) {
    std::vector<Id> earlier;
    for (const auto& [other, waiting] : entries)
      if (waiting->number == 0 && waiting->date < entry.date) earlier.push_back(other);
    std::stable_sort(earlier.begin(), earlier.end(), [this](Id a, Id b) {
      const PlainEntry& first = entries.at(a);
      const PlainEntry& second = entries.at(b);
      return std::make_pair(localDay(first.date), first.name) <
             std::make_pair(localDay(second.date), second.name);
    });
    for (const Id other : earlier)
      if (const int code = file(other, filed); code != 0) return code;
  }
  const std::int64_t number = highestNumber(in) + 1;
  PlainEntry& edited = entries.edit(id);
  edited.year = in;
  edited.number = number;
  for (PlainRow& row : edited.rows) row.status = 0;
  filed.push_back(id);
  return 0;
}

void PlainFirm::dropAccount(Id account) {
  accounts.drop(account);
  std::vector<Id> concerned;
  for (const auto& [id, bill] : bills)
    if (std::any_of(bill->lines.begin(), bill->lines.end(),
                    [account](const PlainBillLine& line) { return line.account == account; }))
      concerned.push_back(id);
  for (const Id id : concerned)
    for (PlainBillLine& line : bills.edit(id).lines)
      if (line.account == account) line.account = 0;
}

void PlainFirm::forgetTag(Id tag) {
  std::vector<Id> marked;
  for (const auto& [id, entry] : entries)
    if (std::any_of(entry->rows.begin(), entry->rows.end(),
                    [tag](const PlainRow& row) { return row.tag == tag; }))
      marked.push_back(id);
  for (const Id id : marked)
    for (PlainRow& row : entries.edit(id).rows)
      if (row.tag == tag) row.tag = 0;
  marked.clear();
  for (const auto& [id, invoice] : invoices)
    if (invoice->tag == tag) marked.push_back(id);
  for (const Id id : marked) invoices.edit(id).tag = 0;
  marked.clear();
  for (const auto& [id, bill] : bills)
    if (bill->tag == tag) marked.push_back(id);
  for (const Id id : marked) bills.edit(id).tag = 0;
  tags.drop(tag);
}

}  // namespace bokfolio::simulation
