#include <gmock/gmock.h>

#include "bokfolio/model/invoicing/invoice.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class TagTest : public LedgerWorld {};

TEST_F(TagTest, OnlyUnusedTagsWithoutNumberAreRemoved) {
  Tag* numbered = tag(1);
  EXPECT_EQ(Tag::tagWithNumber(1, context()), numbered);
  Tag* onRow = tag(std::nullopt);
  row(nullptr, account(1), 1, onRow);
  Tag* onInvoice = tag(std::nullopt);
  context().insert<Invoice>()->setValueForKey(onInvoice, "tag");
  tag(std::nullopt)->setName("A name does not count");
  EXPECT_EQ(Tag::tagWithNumber(std::nullopt, context()), nullptr);
  Tag::removeEmptyTagsInContext(context());
  EXPECT_THAT(context().fetch<Tag>(), testing::ElementsAre(numbered, onRow, onInvoice));
}

class StartingBalanceTest : public LedgerWorld {};

TEST_F(StartingBalanceTest, AccountIsSetFromRecordNumberOrText) {
  Account* bank = account(1930);
  auto* opening = context().insert<StartingBalance>();
  opening->setAccount("1930");
  EXPECT_EQ(opening->number(), 1930);
  opening->setNumber("1931");
  EXPECT_EQ(opening->number(), std::nullopt);
  opening->setValueForKey(1930, "number");
  EXPECT_EQ(bank->startingBalances().first(), opening);
}

TEST_F(StartingBalanceTest, OnlyBalanceAccountsAreOpened) {
  auto* opening = context().insert<StartingBalance>();
  EXPECT_TRUE(opening->validateForUpdate());
  for (std::int64_t type = 0; type <= 5; ++type) {
    SCOPED_TRACE(type);
    Account* of = account(1000 + type);
    of->setType(type);
    opening->setAccount(of);
    std::optional<Error> error;
    const bool accepted = type == 0 || type == 1 || type == 4;
    EXPECT_EQ(opening->validateForUpdate(&error), accepted);
    EXPECT_EQ(opening->validateForUpdate(), accepted);
    if (!accepted)
      expectError(error, kStoreErrorDomain, 24,
                  text("Starting balances should not be defined on income and expenses."),
                  "account");
  }
}

TEST_F(StartingBalanceTest, DescribesItselfInSinglePrecision) {
  auto* opening = context().insert<StartingBalance>();
  EXPECT_EQ(opening->description(), "account 0, fyear (null) and balance 0.000000");
  opening->setAccount(account(1930));
  opening->setFiscalYear(year(2009));
  opening->setBalance(dec("0.1"));
  EXPECT_EQ(opening->description(), "account 1930, fyear " + opening->fiscalYear()->description() +
                                        " and balance 0.100000");
  opening->setBalance(dec("16777217"));
  EXPECT_NE(opening->description().find("balance 16777216.000000"), std::string::npos);
}

}  // namespace
}  // namespace bokfolio::test
