// FiscalYear: the accounting period to which entries belong. It owns its bounds, normalised to
// whole days in the zone "CET", and answers what depends on them: which year holds a date, what
// the year earned, which entry numbers and dates it has reached.
//
// An instant lies in a year when it is strictly after `start` and strictly before `end`, so that an
// entry at the first instant of a year belongs to no year.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

enum class AccountType : std::int64_t;

class Entry;
class StartingBalance;

class BOKFOLIO_EXPORT FiscalYear : public Record {
 public:
  static constexpr std::string_view kEntityName = "FiscalYear";
  struct Slots {
    static constexpr Slot<Date> start{0};
    static constexpr Slot<Date> end{1};
    static constexpr Slot<std::string> name{2};
    static constexpr ToManySlot<Entry> entries{3};
    static constexpr ToManySlot<StartingBalance> startingBalances{4};
  };
  static EntityDescription table();

  using Record::Record;

  // A new year, made by setToCalendarYearContaining.
  static FiscalYear* createFiscalYearWithDate(Date date, Context& context);
  // The years that hold the date; none for nil.
  static std::vector<FiscalYear*> findFiscalYearsForDate(std::optional<Date> date,
                                                         Context& context);
  // One of the years in the document that hold the date, nullptr when there is none.
  static FiscalYear* findFiscalYearForDate(std::optional<Date> date, Context& context);
  // The year of the list that holds the date; nullptr when none or more than one does.
  static FiscalYear* findFiscalYearForDate(std::optional<Date> date,
                                           const std::vector<FiscalYear*>& years);
  // The year with the latest start, nullptr when the document has none.
  static FiscalYear* latestFiscalYearInContext(Context& context);

  // Stored as 00:00:00 CET of the day that the given instant has in the environment's zone.
  std::optional<Date> start() const { return get(Slots::start); }
  void setStart(std::optional<Date> date);
  // Stored as 23:59:58 CET of that day, or 00:00:00 CET when it is the first of its month.
  std::optional<Date> end() const { return get(Slots::end); }
  void setEnd(std::optional<Date> date);
  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  RecordSetOf<Entry> entries() const;
  RecordSetOf<StartingBalance> startingBalances() const;

  // Whether no year starts later.
  bool isLatest() const;
  // The year that started before this one; nullptr for the first. A year that is not in the
  // document any more answers the latest.
  FiscalYear* previous() const;
  // Over the year's entries, the new one not counted: the latest date, Date::distantPast() when
  // there is none, and the greatest number, 0 when there is none. Cost: one look-up.
  Date dateOfLatestEntry() const;
  std::int64_t highestEntryNumber() const;

  // Conditions that select the year's entries, its rows, and whatever has a `date` inside it.
  Predicate predicate() const;
  Predicate rowPredicate() const;
  Predicate invoicePredicate() const;

  // Income less costs, positive for a profit: minus the nets of the year's rows on accounts of
  // types 2 and 3, of entries dated up to and including the date when one is given. Cost: linear in
  // accounts (Account::balanceByDate).
  Decimal profitLoss() const;
  Decimal profitLossByDate(std::optional<Date> date) const;
  // The same plus the net of the year's rows on the result account of the current book.
  Decimal profitLossIncludingProfitAccount() const;
  // The year's entries whose date is not strictly inside it.
  RecordSetOf<Entry> orphanedEntries() const;

  // From 1 January 00:00 CET to the next, named by the year's number; the year is the one that the
  // date has in the environment's zone.
  void setToCalendarYearContaining(Date date);
  // Whether the bounds, as days in the environment's zone, are 1 January and 31 December of that
  // year or 1 January of the next.
  bool isCalendarYear(std::int64_t year) const;
  // "yyyy-MM-dd"; nil when unset.
  std::optional<std::string> startDateString() const;
  std::optional<std::string> endDateString() const;
  bool containsDate(std::optional<Date> date) const;

  // Replaces this year's opening balances, hand-made ones included, by what the previous year
  // closed with: for each account of type 0 or 1 the previous year's opening balances plus the nets
  // of its rows, over all accounts of that number. Accounts whose sum is zero get none, of several
  // with one number the oldest gets it all. Types 2, 3 and 4 start every year at nothing, and the
  // result is moved nowhere. false, and nothing changed, for the first year (code 6), and with the
  // engine's error when accounts cannot be read. Nothing is asked and nothing saved. Later years do
  // not follow by themselves: carry each forward in turn. Cost: linear in accounts, once the sums
  // of the book are known (Account::balanceByDate).
  bool updateStartingBalances(ErrorOut error = nullptr);

  // Deletes a half-made year: one without entries of which a bound is unset.
  void removeIfEmpty();

  // Hooks: no entry of the year may be dated before the start, or after the end. Code 1, with the
  // same text for both.
  bool validateStart(std::optional<Date>& proposed, ErrorOut error = nullptr);
  bool validateEnd(std::optional<Date>& proposed, ErrorOut error = nullptr);
  // The store's validation, then: both bounds set and the end later than the start (code 7).
  bool validateForUpdate(ErrorOut error = nullptr) override;

 private:
  Decimal netOnAccounts(AccountType type, std::optional<Date> date) const;
  bool validateNoEntryOutside(const Predicate& outside, ErrorOut error) const;
};

}  // namespace bokfolio
