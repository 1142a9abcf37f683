#include <gmock/gmock.h>

#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

constexpr const char* kOutsideText =
    "Some entries would be before the start date of the fiscal year.";

class FiscalYearTest : public LedgerWorld {
 protected:
  FiscalYear* yearBetween(Date start, Date end) {
    auto* made = context().insert<FiscalYear>();
    made->setStart(start);
    made->setEnd(end);
    return made;
  }
};

TEST_F(FiscalYearTest, BoundsAreWholeDaysInCet) {
  const auto last = [](int month, int day) { return cetDate(2009, month, day, 23, 59, 58); };
  const std::tuple<const char*, Date, Date, Date> cases[] = {
      {"CET", cetDate(2009, 12, 31, 12), cetDate(2009, 12, 31), last(12, 31)},
      {"CET", cetDate(2009, 3, 1, 15), cetDate(2009, 3, 1), cetDate(2009, 3, 1)},
      {"CET", cetDate(2009, 7, 31, 0, 30), cetDate(2009, 7, 31), last(7, 31)},
      // The days of 23 and of 25 hours.
      {"CET", cetDate(2009, 3, 29), cetDate(2009, 3, 29), Date::fromSeconds(1238363998)},
      {"CET", Date::fromSeconds(1256511598), Date::fromSeconds(1256421600), last(10, 25)},
      // The day is that of the process's zone.
      {"Etc/GMT+12", cetDate(2009, 7, 31, 13, 59), cetDate(2009, 7, 30), last(7, 30)},
      {"Etc/GMT-14", cetDate(2009, 3, 28, 11), cetDate(2009, 3, 29), last(3, 29)},
  };
  for (const auto& [zone, given, start, end] : cases) {
    world.environment.setTimeZone(TimeZone::named(zone).value());
    open();
    const FiscalYear* made = yearBetween(given, given);
    EXPECT_EQ(made->start(), start) << zone;
    EXPECT_EQ(made->end(), end) << zone;
  }
}

TEST_F(FiscalYearTest, CalendarYearsDependOnTheZoneOfTheDay) {
  const std::tuple<const char*, Date, Date, bool> cases[] = {
      {"CET", cetDate(2009, 1, 1), cetDate(2010, 1, 1), true},
      {"Etc/GMT-14", cetDate(2009, 1, 1), cetDate(2010, 1, 1), true},
      // West of CET the day at midnight is the one before.
      {"UTC", cetDate(2008, 12, 31), cetDate(2009, 12, 31, 23, 59, 58), false},
      {"Etc/GMT+12", cetDate(2008, 12, 31), cetDate(2009, 12, 31, 23, 59, 58), false},
  };
  for (const auto& [zone, start, end, calendarYear] : cases) {
    SCOPED_TRACE(zone);
    world.environment.setTimeZone(TimeZone::named(zone).value());
    open();
    const FiscalYear* made = year(2009);
    EXPECT_EQ(made->name(), "2009");
    EXPECT_EQ(made->start(), start);
    EXPECT_EQ(made->end(), end);
    EXPECT_EQ(made->isCalendarYear(2009), calendarYear);
    EXPECT_FALSE(made->isCalendarYear(2010));
  }
}

TEST_F(FiscalYearTest, ACalendarYearEndsOnEitherSideOfNewYear) {
  const FiscalYear* made = year(2009);
  EXPECT_EQ(made->startDateString(), "2009-01-01");
  EXPECT_EQ(made->endDateString(), "2010-01-01");
  EXPECT_TRUE(yearBetween(cetDate(2009, 1, 1), cetDate(2009, 12, 31))->isCalendarYear(2009));
  EXPECT_FALSE(yearBetween(cetDate(2009, 1, 1), cetDate(2010, 1, 2))->isCalendarYear(2009));
  EXPECT_FALSE(yearBetween(cetDate(2009, 1, 2), cetDate(2009, 12, 31))->isCalendarYear(2009));
  EXPECT_FALSE(context().insert<FiscalYear>()->isCalendarYear(2009));
}

TEST_F(FiscalYearTest, MembershipIsStrictAtBothEnds) {
  FiscalYear* of2009 = year(2009);
  FiscalYear* overlapping = yearBetween(cetDate(2009, 7, 1), cetDate(2010, 6, 30));
  const std::pair<std::optional<Date>, std::vector<FiscalYear*>> cases[] = {
      {cetDate(2009, 1, 1), {}},
      {cetDate(2009, 1, 1, 0, 0, 1), {of2009}},
      {cetDate(2009, 7, 1), {of2009}},
      {cetDate(2009, 7, 1, 0, 0, 1), {of2009, overlapping}},
      {cetDate(2009, 12, 31, 23, 59, 59), {of2009, overlapping}},
      {cetDate(2010, 1, 1), {overlapping}},
      {cetDate(2010, 6, 30, 23, 59, 58), {}},
      {std::nullopt, {}},
  };
  for (const auto& [date, years] : cases) {
    SCOPED_TRACE(date ? date->seconds() : -1);
    EXPECT_EQ(FiscalYear::findFiscalYearsForDate(date, context()), years);
    EXPECT_EQ(FiscalYear::findFiscalYearForDate(date, context()),
              years.empty() ? nullptr : years.front());
    EXPECT_EQ(FiscalYear::findFiscalYearForDate(date, {overlapping, of2009}),
              years.size() == 1 ? years.front() : nullptr);
    for (FiscalYear* each : {of2009, overlapping})
      EXPECT_EQ(each->containsDate(date), std::count(years.begin(), years.end(), each) == 1);
  }
  EXPECT_FALSE(context().insert<FiscalYear>()->containsDate(cetDate(2009, 2, 1)));
}

TEST_F(FiscalYearTest, YearsFollowOneAnotherByStart) {
  EXPECT_EQ(FiscalYear::latestFiscalYearInContext(context()), nullptr);
  FiscalYear* of2010 = year(2010);
  FiscalYear* of2008 = year(2008);
  FiscalYear* of2009 = year(2009);
  EXPECT_EQ(FiscalYear::latestFiscalYearInContext(context()), of2010);
  EXPECT_EQ(of2010->previous(), of2009);
  EXPECT_EQ(of2009->previous(), of2008);
  EXPECT_EQ(of2008->previous(), nullptr);
  EXPECT_TRUE(of2010->isLatest());
  EXPECT_FALSE(of2008->isLatest());
  context().deleteObject(of2009);
  EXPECT_EQ(of2009->previous(), of2010) << "one that is not there any more";
}

TEST_F(FiscalYearTest, ProfitIsIncomeLessCostsUpToAndIncludingTheDate) {
  FiscalYear* of2009 = year(2009);
  Account* bank = account(1930);
  Account* sales = account(3000, AccountType::Income);
  Account* rent = account(5010, AccountType::Cost);
  Account* result = account(2099, AccountType::DebtAndEquity);
  const auto post = [&](FiscalYear* in, Date date, const char* amount, Account* to, Account* from) {
    transfer(date, dec(amount), to, from)->setFiscalYear(in);
  };
  post(of2009, cetDate(2009, 2, 1), "1000", bank, sales);
  post(of2009, cetDate(2009, 3, 1), "350.25", rent, bank);
  post(of2009, cetDate(2009, 4, 1), "60", bank, sales);
  post(of2009, cetDate(2009, 12, 1), "500", rent, result);
  post(year(2008), cetDate(2008, 2, 1), "9000", bank, sales);
  EXPECT_EQ(of2009->profitLoss(), dec("209.75"));
  EXPECT_EQ(of2009->profitLossByDate(cetDate(2009, 1, 31)), Decimal());
  EXPECT_EQ(of2009->profitLossByDate(cetDate(2009, 3, 1)), dec("649.75"));
  EXPECT_EQ(of2009->profitLossByDate(cetDate(2009, 4, 1)), dec("709.75"));

  EXPECT_EQ(of2009->profitLossIncludingProfitAccount(), dec("209.75")) << "no book";
  auto* book = context().insert<Book>();
  EXPECT_EQ(of2009->profitLossIncludingProfitAccount(), dec("209.75")) << "no result account";
  book->setResults(result);
  EXPECT_EQ(of2009->profitLossIncludingProfitAccount(), dec("-290.25"));
  EXPECT_EQ(Book::currentBookInContext(context()), book);
}

TEST_F(FiscalYearTest, BoundsMayNotLeaveEntriesOutside) {
  FiscalYear* of2009 = year(2009);
  filed(of2009, cetDate(2009, 2, 1), 1);
  filed(of2009, cetDate(2009, 11, 1, 12), 2);
  const std::tuple<const char*, std::optional<Date>, bool> cases[] = {
      {"start", cetDate(2009, 2, 1), true}, {"start", cetDate(2009, 2, 1, 0, 0, 1), false},
      {"start", std::nullopt, true},        {"end", cetDate(2009, 11, 1, 12), true},
      {"end", cetDate(2009, 11, 1), false}, {"end", cetDate(2009, 12, 31), true},
  };
  for (const auto& [key, date, accepted] : cases) {
    Value proposed = date;
    std::optional<Error> error;
    EXPECT_EQ(of2009->validateValue(proposed, key, &error), accepted) << key;
    EXPECT_EQ(of2009->validateValue(proposed, key), accepted);
    if (!accepted) expectError(error, kBokfolioErrorDomain, 1, text(kOutsideText));
  }
  const Entry* onStart = filed(of2009, cetDate(2009, 1, 1), 3);
  const Entry* after = filed(of2009, cetDate(2010, 1, 2), 4);
  filed(nullptr, cetDate(2015, 1, 1), 4);
  EXPECT_THAT(of2009->orphanedEntries().snapshot(), testing::ElementsAre(onStart, after));
}

TEST_F(FiscalYearTest, TheEndMustBeLaterThanTheStart) {
  FiscalYear* made = year(2009);
  EXPECT_TRUE(made->validateForUpdate());
  made->setStart(cetDate(2009, 3, 1));
  std::optional<Error> error;
  for (const auto& end : {std::optional(cetDate(2008, 12, 31)), std::optional(cetDate(2009, 3, 1)),
                          std::optional<Date>()}) {
    made->setEnd(end);
    EXPECT_FALSE(made->validateForUpdate());
    EXPECT_FALSE(made->validateForUpdate(&error));
    expectError(error, kBokfolioErrorDomain, 7, text("The start date is later than the end date!"));
  }
  filed(made, cetDate(2009, 2, 1), 1);
  EXPECT_FALSE(made->validateForUpdate(&error));
  expectError(error, kBokfolioErrorDomain, 1, text(kOutsideText));
}

TEST_F(FiscalYearTest, OnlyHalfMadeYearsAreDiscarded) {
  FiscalYear* whole = year(2009);
  auto* half = context().insert<FiscalYear>();
  half->setStart(cetDate(2009, 1, 1));
  auto* used = context().insert<FiscalYear>();
  filed(used, cetDate(2009, 1, 1), 1);
  for (FiscalYear* each : {whole, half, used}) each->removeIfEmpty();
  EXPECT_FALSE(whole->isDeleted());
  EXPECT_TRUE(half->isDeleted());
  EXPECT_FALSE(used->isDeleted());
}

}  // namespace
}  // namespace bokfolio::test
