#include <map>

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
  post(bank, account(1460, AccountType::DebtAndEquity), "5");  // shares its number
  post(bank, debt, "9")->rows().first()->remove();
  transfer(cetDate(2008, 3, 1), 5000, bank, debt);  // not filed in any year

  opening(of2009, bank, 7);  // made by hand, and replaced
  opening(of2009, rent, 7);
  const Openings expected{{1930, dec("1106")}, {1460, 35}, {2350, -309}};
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

}  // namespace
}  // namespace bokfolio::test
