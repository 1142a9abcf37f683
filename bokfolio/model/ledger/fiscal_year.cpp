#include "bokfolio/model/ledger/fiscal_year.hpp"

#include <algorithm>

#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

constexpr CivilTime kMidnight{0, 0, 0};
// Two seconds short of midnight.
constexpr CivilTime kEndOfDay{23, 59, 58};

Predicate holdsDate(std::optional<Date> date) {
  return Predicate("start < %@ AND end > %@", {Value(date), Value(date)});
}

std::vector<SortDescriptor> byStart(bool ascending) { return {SortDescriptor("start", ascending)}; }

}  // namespace

EntityDescription FiscalYear::table() {
  EntityTable<FiscalYear> table{std::string(kEntityName)};
  table.attribute(Slots::start, "start")
      .writtenBy<&FiscalYear::setStart>()
      .validatedBy<&FiscalYear::validateStart>();
  table.attribute(Slots::end, "end")
      .writtenBy<&FiscalYear::setEnd>()
      .validatedBy<&FiscalYear::validateEnd>();
  table.attribute(Slots::name, "name");
  table.toMany(Slots::entries, "entries", "Entry", "fiscalYear").onDelete(DeleteRule::Deny);
  table.toMany(Slots::startingBalances, "startingBalances", "StartingBalance", "fiscalYear")
      .onDelete(DeleteRule::Cascade);
  table.derived<&FiscalYear::isLatest>("isLatest");
  table.derived<&FiscalYear::previous>("previous");
  table.derived<&FiscalYear::dateOfLatestEntry>("dateOfLatestEntry");
  table.derived<&FiscalYear::highestEntryNumber>("highestEntryNumber");
  table.derived<&FiscalYear::profitLoss>("profitLoss");
  table.derived<&FiscalYear::profitLossIncludingProfitAccount>("profitLossIncludingProfitAccount");
  table.derived<&FiscalYear::orphanedEntries>("orphanedEntries");
  table.derived<&FiscalYear::startDateString>("startDateString");
  table.derived<&FiscalYear::endDateString>("endDateString");
  return table.description();
}

FiscalYear* FiscalYear::createFiscalYearWithDate(Date date, Context& context) {
  auto* year = context.insert<FiscalYear>();
  year->setToCalendarYearContaining(date);
  return year;
}

std::vector<FiscalYear*> FiscalYear::findFiscalYearsForDate(std::optional<Date> date,
                                                            Context& context) {
  // There are never many: asking each costs less than any question.
  auto years = context.fetch<FiscalYear>();
  years.erase(std::remove_if(years.begin(), years.end(),
                             [&](const FiscalYear* year) { return !year->containsDate(date); }),
              years.end());
  return years;
}

FiscalYear* FiscalYear::findFiscalYearForDate(std::optional<Date> date, Context& context) {
  const auto found = findFiscalYearsForDate(date, context);
  return found.empty() ? nullptr : found.front();
}

FiscalYear* FiscalYear::findFiscalYearForDate(std::optional<Date> date,
                                              const std::vector<FiscalYear*>& years) {
  const auto found = holdsDate(date).filtered({years.begin(), years.end()});
  return found.size() == 1 ? static_cast<FiscalYear*>(found.front()) : nullptr;
}

FiscalYear* FiscalYear::latestFiscalYearInContext(Context& context) {
  return context.fetchFirst<FiscalYear>(std::nullopt, byStart(false));
}

void FiscalYear::setStart(std::optional<Date> date) {
  std::optional<Date> stored;
  if (date)
    stored = dateFromCivil(civilDate(*date, environment().timeZone()), kMidnight, TimeZone::cet());
  set(Slots::start, stored);
}

void FiscalYear::setEnd(std::optional<Date> date) {
  std::optional<Date> stored;
  if (date) {
    const CivilDate day = civilDate(*date, environment().timeZone());
    stored = dateFromCivil(day, day.day == 1 ? kMidnight : kEndOfDay, TimeZone::cet());
  }
  set(Slots::end, stored);
}

RecordSetOf<Entry> FiscalYear::entries() const { return get(Slots::entries); }

RecordSetOf<StartingBalance> FiscalYear::startingBalances() const {
  return get(Slots::startingBalances);
}

bool FiscalYear::isLatest() const {
  const auto years = managedObjectContext().fetch<FiscalYear>(std::nullopt, byStart(true));
  return !years.empty() && years.back() == this;
}

FiscalYear* FiscalYear::previous() const {
  const auto years = managedObjectContext().fetch<FiscalYear>(std::nullopt, byStart(false));
  const auto own = std::find(years.begin(), years.end(), this);
  if (own == years.end()) return years.empty() ? nullptr : years.front();
  return own + 1 == years.end() ? nullptr : *(own + 1);
}

Date FiscalYear::dateOfLatestEntry() const {
  const auto* latest = managedObjectContext().fetchFirst<Entry>(
      Predicate("fiscalYear == %@ AND number != %d", {Value(this), Entry::kNewEntryNumber}),
      std::vector<SortDescriptor>{SortDescriptor("date", false)});
  if (latest == nullptr) return Date::distantPast();
  return std::max(latest->date().value_or(Date::distantPast()), Date::distantPast());
}

std::int64_t FiscalYear::highestEntryNumber() const {
  const auto* highest = managedObjectContext().fetchFirst<Entry>(
      Predicate("fiscalYear == %@ AND number != %d", {Value(this), Entry::kNewEntryNumber}),
      std::vector<SortDescriptor>{SortDescriptor("number", false)});
  return highest == nullptr ? 0 : highest->number().value_or(0);
}

Predicate FiscalYear::predicate() const { return Predicate("fiscalYear == %@", {Value(this)}); }

Predicate FiscalYear::rowPredicate() const {
  return Predicate("entry.fiscalYear == %@", {Value(this)});
}

Predicate FiscalYear::invoicePredicate() const {
  return Predicate("date > %@ AND date < %@", {Value(start()), Value(end())});
}

// Up to and including the date.
Decimal FiscalYear::netOnAccounts(AccountType type, std::optional<Date> date) const {
  Decimal sum;
  const auto accounts = managedObjectContext().fetch<Account>(
      Predicate("type == %d", {static_cast<std::int64_t>(type)}));
  for (const Account* account : accounts) sum += account->sumOfNets(*this, date, true);
  return sum;
}

Decimal FiscalYear::profitLoss() const { return profitLossByDate(std::nullopt); }

Decimal FiscalYear::profitLossByDate(std::optional<Date> date) const {
  return Decimal() - netOnAccounts(AccountType::Income, date) -
         netOnAccounts(AccountType::Cost, date);
}

Decimal FiscalYear::profitLossIncludingProfitAccount() const {
  const Decimal profit = profitLoss();
  const Book* book = Book::currentBookInContext(managedObjectContext());
  const Account* results = book == nullptr ? nullptr : book->results();
  if (results == nullptr) return profit;
  return profit + results->sumOfNets(*this);
}

RecordSetOf<Entry> FiscalYear::orphanedEntries() const {
  return entries().filtered(Predicate::notPredicate(invoicePredicate()));
}

void FiscalYear::setToCalendarYearContaining(Date date) {
  const int year = civilDate(date, environment().timeZone()).year;
  setStart(dateFromCivil({year, 1, 1}, kMidnight, TimeZone::cet()));
  setEnd(dateFromCivil({year + 1, 1, 1}, kMidnight, TimeZone::cet()));
  setName(std::to_string(year));
}

bool FiscalYear::isCalendarYear(std::int64_t year) const {
  const auto first = start();
  const auto last = end();
  if (!first || !last) return false;
  const TimeZone& zone = environment().timeZone();
  const auto isDay = [&zone](Date date, std::int64_t y, int month, int day) {
    const CivilDate civil = civilDate(date, zone);
    return civil.year == y && civil.month == month && civil.day == day;
  };
  return isDay(*first, year, 1, 1) && (isDay(*last, year, 12, 31) || isDay(*last, year + 1, 1, 1));
}

std::optional<std::string> FiscalYear::startDateString() const {
  const auto own = start();
  return own ? std::optional(isoDay(*own, environment().timeZone())) : std::nullopt;
}

std::optional<std::string> FiscalYear::endDateString() const {
  const auto own = end();
  return own ? std::optional(isoDay(*own, environment().timeZone())) : std::nullopt;
}

bool FiscalYear::containsDate(std::optional<Date> date) const {
  const auto first = start();
  const auto last = end();
  return date && first && last && *first < *date && *date < *last;
}

void FiscalYear::removeIfEmpty() {
  if (entries().empty() && (!start() || !end())) managedObjectContext().deleteObject(this);
}

bool FiscalYear::validateNoEntryOutside(const Predicate& outside, ErrorOut error) const {
  const Predicate ofThisYear = Predicate::andPredicate({predicate(), outside});
  if (managedObjectContext().fetchFirst<Entry>(ofThisYear) == nullptr) return true;
  // One sentence serves both bounds.
  return internal::refuse(error, LedgerError::Invalid,
                          "Some entries would be before the start date of the fiscal year.",
                          environment());
}

bool FiscalYear::validateStart(std::optional<Date>& proposed, ErrorOut error) {
  return validateNoEntryOutside(Predicate("date < %@", {Value(proposed)}), error);
}

bool FiscalYear::validateEnd(std::optional<Date>& proposed, ErrorOut error) {
  return validateNoEntryOutside(Predicate("date > %@", {Value(proposed)}), error);
}

bool FiscalYear::validateForUpdate(ErrorOut error) {
  if (!Record::validateForUpdate(error)) return false;
  const auto first = start();
  const auto last = end();
  if (first && last && *last > *first) return true;
  return internal::refuse(error, LedgerError::StartLaterThanEnd,
                          "The start date is later than the end date!", environment());
}

}  // namespace bokfolio
