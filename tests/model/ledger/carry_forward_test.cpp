#include <map>
#include <random>

#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

using Openings = std::map<std::int64_t, Decimal>;

class CarryForward : public LedgerWorld {
 protected:
  StartingBalance* opening(FiscalYear* in, Account* of, const std::optional<Decimal>& balance) {
    auto* made = context().insert<StartingBalance>();
    made->setAccount(of);
    made->setFiscalYear(in);
    made->setBalance(balance);
    return made;
  }
  // Every opening balance of the year, by number; a number may have only one.
  static Openings openingsOf(const FiscalYear* year) {
    Openings found;
    for (const StartingBalance* each : year->startingBalances().members())
      EXPECT_TRUE(found.emplace(each->number().value(), each->balance().value()).second);
    return found;
  }
};

TEST_F(CarryForward, OpensTypes0And1WithWhatTheYearBeforeClosedWith) {
  FiscalYear* of2008 = year(2008);
  FiscalYear* of2009 = year(2009);
  Account* bank = account(1930);
  Account* stock = account(1460);
  Account* debt = account(2350, AccountType::DebtAndEquity);
  Account* settled = account(2440, AccountType::DebtAndEquity);
  Account* own = account(2070, AccountType::Equity);
  Account* sales = account(3000, AccountType::Income);
  Account* rent = account(5010, AccountType::Cost);
  Account* untyped = account(1999);
  untyped->setType(std::nullopt);
  opening(of2008, bank, dec("100.25"));
  opening(of2008, stock, 40);
  opening(of2008, settled, -70);
  opening(of2008, own, -500);
  opening(of2008, debt, std::nullopt);
  const auto post = [&](Account* debited, Account* credited, const char* amount) {
    Entry* made = transfer(cetDate(2008, 2, 1), dec(amount), debited, credited);
    made->setFiscalYear(of2008);
    return made;
  };
  post(bank, sales, "1000.50");
  post(rent, debt, "300");
  post(settled, own, "70");
  post(bank, untyped, "0.25");
  post(bank, debt, "9")->rows().first()->remove();
  transfer(cetDate(2008, 3, 1), 5000, bank, debt);  // not filed in any year

  opening(of2009, bank, 7);  // made by hand, and replaced
  opening(of2009, rent, 7);
  const Openings expected{{1930, dec("1101")}, {1460, 40}, {2350, -309}};
  const Error before("domain", 1, "before");
  std::optional<Error> error = before;
  for (int run = 0; run < 2; ++run) {
    EXPECT_TRUE(of2009->updateStartingBalances(&error));
    EXPECT_EQ(openingsOf(of2009), expected);
  }
  EXPECT_EQ(error, before) << "only a failure writes it";
  EXPECT_EQ(of2008->startingBalances().count(), 5U);
  EXPECT_EQ(context().count("StartingBalance"), 5U + expected.size())
      << "none is left without year";
}

TEST_F(CarryForward, TheFirstYearKeepsItsOpeningBalances) {
  FiscalYear* first = year(2008);
  opening(first, account(1930), 10);
  std::optional<Error> error;
  EXPECT_FALSE(first->updateStartingBalances());
  EXPECT_FALSE(first->updateStartingBalances(&error));
  expectError(error, kBokfolioErrorDomain, 6, text("There is no fiscal year preceding this year."));
  EXPECT_EQ(openingsOf(first), (Openings{{1930, 10}}));
}

TEST_F(CarryForward, NothingIsLostWhenTheDocumentCannotBeRead) {
  opening(year(2008), account(1930), 10);
  opening(year(2009), Account::accountWithNumber(1930, context()), 20);
  ASSERT_TRUE(context().save());
  for (const std::uint64_t failing : {1U, 2U, 3U, 4U, 5U, 6U}) {
    const auto faults = std::make_shared<PersistenceFaults>();
    const auto reopened = Context::open(
        schema_, makeFaultInjectingPersistence(makeMemoryPersistence(document_), faults),
        world.environment);
    FiscalYear* of2009 = FiscalYear::latestFiscalYearInContext(*reopened);
    PersistenceFault fault;
    fault.call = failing;
    fault.operation = PersistenceOperation::Load;
    faults->add(fault);
    bool carried = false;
    try {
      carried = of2009->updateStartingBalances();
    } catch (const LoadError&) {
      carried = false;
    }
    EXPECT_EQ(carried, faults->fired() == 0) << failing;
    EXPECT_EQ(reopened->hasChanges(), carried) << failing;
  }
}

// Three years of random postings. What a year must open with is computed from the first day on,
// without any carrying.
class CarriedBook : public CarryForward, public testing::WithParamInterface<unsigned> {
 protected:
  struct Posting {
    int year;
    std::size_t account;
    Decimal amount;
  };

  CarriedBook() : random_(GetParam()) {
    for (std::int64_t i = 0; i < 8; ++i) account(1000 + i, static_cast<AccountType>(i % 5));
    account(1000, AccountType::DebtAndEquity);  // shares its number with an asset
    account(1001, AccountType::Cost);           // and with a debt, without being carried
    for (int i = 0; i < 3; ++i) year(2008 + i);
    accounts_ = context().fetch<Account>();
    for (const std::size_t i : {0U, 1U, 4U, 8U}) {
      const Decimal amount = anAmount();
      opening(fiscalYear(2008), accounts_[i], amount);
      postings_.push_back({2007, i, amount});
    }
  }

  FiscalYear* fiscalYear(int number) {
    return FiscalYear::findFiscalYearForDate(cetDate(number, 7, 1), context());
  }
  Decimal anAmount() {
    return Decimal(static_cast<int>(random_() % 200'000) - 100'000).scaledByPowerOf10(-2) +
           dec("0.005");
  }
  void postIn(int number) {
    Entry* made = entry(cetDate(number, 1 + static_cast<int>(random_() % 12), 3));
    made->setFiscalYear(fiscalYear(number));
    const Decimal amount = anAmount();
    for (const Decimal& side : {amount, amount.negated()}) {
      const Posting posting{number, random_() % accounts_.size(), side};
      row(made, accounts_[posting.account], side);
      postings_.push_back(posting);
    }
    row(made, accounts_[random_() % accounts_.size()], anAmount())->remove();
  }
  Openings expectedOpenings(int number) const {
    Openings sums;
    for (const Posting& posting : postings_) {
      const auto type = accounts_[posting.account]->type();
      const std::int64_t of = accounts_[posting.account]->number().value();
      // The first year's opening balances count for the number that has them.
      const bool counts = type == 0 || type == 1;
      if (posting.year < number && counts) sums[of] += posting.amount;
    }
    std::erase_if(sums, [](const auto& each) { return each.second.isZero(); });
    return sums;
  }
  void carryAll() {
    for (const int number : {2009, 2010}) {
      ASSERT_TRUE(fiscalYear(number)->updateStartingBalances());
      ASSERT_EQ(openingsOf(fiscalYear(number)), expectedOpenings(number)) << number;
    }
  }

  std::mt19937 random_;
  std::vector<Account*> accounts_;
  std::vector<Posting> postings_;
};

TEST_P(CarriedBook, OpensWithAllThatCameBefore) {
  for (int i = 0; i < 30; ++i) postIn(2008 + i % 3);
  carryAll();
  for (const int late : {2008, 2009, 2008}) {
    postIn(late);
    carryAll();
  }
  const Openings last = openingsOf(fiscalYear(2010));
  ASSERT_TRUE(context().save());
  open();
  EXPECT_EQ(openingsOf(fiscalYear(2010)), last);
  ASSERT_TRUE(fiscalYear(2010)->updateStartingBalances());
  EXPECT_EQ(openingsOf(fiscalYear(2010)), last);
  EXPECT_EQ(context().verify(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Seeds, CarriedBook, testing::Range(1U, 9U));

// The process somewhere from UTC-12 to UTC+14.
class YearsAroundTheWorld : public LedgerWorld, public testing::WithParamInterface<int> {
 protected:
  YearsAroundTheWorld() {
    // In these names a plus means west.
    const int hours = GetParam();
    const std::string name = "Etc/GMT" + std::string(hours > 0 ? "-" : "+");
    world.environment.setTimeZone(TimeZone::named(name + std::to_string(std::abs(hours))).value());
    open();
  }
  // The day that a clock so many hours from UTC shows.
  CivilDate localDay(Date instant) const {
    constexpr std::int64_t kDay = 86'400;
    const std::int64_t seconds = instant.seconds() + GetParam() * std::int64_t{3600};
    return civilFromDays(seconds / kDay);
  }
  static Date inCet(CivilDate day, bool last) {
    if (!last || day.day == 1) return cetDate(day.year, day.month, day.day);
    return cetDate(day.year, day.month, day.day, 23, 59, 58);
  }
};

TEST_P(YearsAroundTheWorld, HaveTheirBoundsInCetAndKeepThem) {
  const std::pair<Date, Date> given[] = {
      // Begin and end on the days on which summer time begins and ends.
      {cetDate(2009, 3, 29, 0, 30), cetDate(2009, 10, 25, 23, 30)},
      {cetDate(2009, 10, 25, 2, 30), cetDate(2010, 3, 28, 3, 30)},
      {cetDate(2009, 7, 1), cetDate(2010, 6, 30, 12)},
      {cetDate(2010, 2, 28, 14), cetDate(2012, 2, 29, 10)},
  };
  std::vector<std::pair<Date, Date>> bounds;
  for (const auto& [start, end] : given) {
    auto* made = context().insert<FiscalYear>();
    made->setStart(start);
    made->setEnd(end);
    bounds.emplace_back(inCet(localDay(start), false), inCet(localDay(end), true));
    EXPECT_EQ(std::pair(*made->start(), *made->end()), bounds.back());
  }
  const FiscalYear* calendar = year(2011);
  const bool eastEnough = GetParam() >= 1;
  bounds.emplace_back(eastEnough ? cetDate(2011, 1, 1) : cetDate(2010, 12, 31),
                      eastEnough ? cetDate(2012, 1, 1) : cetDate(2011, 12, 31, 23, 59, 58));
  EXPECT_EQ(std::pair(*calendar->start(), *calendar->end()), bounds.back());

  ASSERT_TRUE(context().save());
  open();
  const auto years = context().fetch<FiscalYear>();
  ASSERT_EQ(years.size(), bounds.size());
  EXPECT_EQ(years.back()->isCalendarYear(2011), eastEnough);
  for (std::size_t i = 0; i < years.size(); ++i) {
    const auto& [start, end] = bounds[i];
    EXPECT_EQ(std::pair(*years[i]->start(), *years[i]->end()), bounds[i]);
    EXPECT_FALSE(years[i]->containsDate(start));
    EXPECT_TRUE(years[i]->containsDate(start.addingMicroseconds(1)));
    EXPECT_TRUE(years[i]->containsDate(end.addingMicroseconds(-1)));
    EXPECT_FALSE(years[i]->containsDate(end));
  }
}

INSTANTIATE_TEST_SUITE_P(Hours, YearsAroundTheWorld, testing::Range(-12, 15));

}  // namespace
}  // namespace bokfolio::test
