#include "bokfolio/model/chart.hpp"

#include <set>

#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class ChartTest : public LedgerWorld {
 protected:
  void useChart(const std::string& text) {
    const auto resources = std::make_shared<MemoryResources>();
    resources->add("chart/own", "accounts", text);
    world.environment.setResources(resources);
    open();
  }
};

TEST_F(ChartTest, TheSwedishChartGivesANewDocumentItsAccounts) {
  for (const auto& [locale, name] :
       {std::pair("sv_SE", "Kundfordringar"), std::pair("fi_FI", "Owed by customers")}) {
    world.useLocale(locale);
    document_ = std::make_shared<MemoryDocument>();
    open();
    const Book* book = Book::createDefaultInContext(context());
    std::optional<Error> error;
    ASSERT_TRUE(installChart(context(), kSwedishChart, &error)) << error->localizedDescription();
    const std::size_t size = context().count("Account");
    EXPECT_GE(size, 60U);
    EXPECT_LE(size, 110U);
    ASSERT_TRUE(installChart(context(), kSwedishChart));
    EXPECT_EQ(context().count("Account"), size) << "twice is once";

    const std::tuple<const char*, Account*, AccountType> keys[] = {
        {"receivable", book->accountsReceivable(), AccountType::Asset},
        {"gains", book->currencyGains(), AccountType::Income},
        {"losses", book->currencyLosses(), AccountType::Cost},
        {"rounding", book->roundingAccount(), AccountType::Income},
        {"results", book->results(), AccountType::Cost},
    };
    for (const auto& [what, account, type] : keys) {
      ASSERT_NE(account, nullptr) << what;
      EXPECT_EQ(account->type(), static_cast<std::int64_t>(type)) << what;
    }
    EXPECT_EQ(book->accountsReceivable()->name(), name);
    std::set<std::string> names;
    for (const Account* each : context().fetch<Account>()) {
      EXPECT_TRUE(names.insert(each->name().value()).second) << *each->name();
      // The first digit of the number says where an account belongs.
      const std::int64_t group = *each->number() / 1000;
      const std::int64_t type = group == 1 ? 0 : group == 2 ? 1 : group == 3 ? 2 : 3;
      EXPECT_TRUE(group == 8 || each->type() == type) << *each->number();
    }
    EXPECT_TRUE(context().save());
  }
}

TEST_F(ChartTest, WhatTheDocumentHasAlreadyStays) {
  useChart(
      "languages|de|fr\n10|equity|Kasse|Caisse|results\r\n11|cost|Miete|Loyer|currencyLosses\n");
  Account* own = account(10, AccountType::Cost, "Mine");
  auto* book = context().insert<Book>();
  book->setCurrencyLosses(own);
  ASSERT_TRUE(installChart(context(), "own"));
  EXPECT_EQ(own->name(), "Mine");
  EXPECT_EQ(own->type(), 3);
  EXPECT_EQ(book->results(), own);
  EXPECT_EQ(book->currencyLosses(), own);
  EXPECT_EQ(context().count("Account"), 2U);
  EXPECT_EQ(Account::accountWithNumber(11, context())->name(), "Miete");
}

TEST_F(ChartTest, AFaultyChartChangesNothing) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "1"},
      {"10|asset|a\n", "1"},
      {"languages\n", "1"},
      {"languages|en\n10|asset\n", "2"},
      {"languages|en\n\n# note\n10|asset|a|results|b\n", "4"},
      {"languages|en\n10|asset|a\n10|asset|b\n", "3"},
      {"languages|en\n10|thing|a\n", "2"},
      {"languages|en\n-1|asset|a\n", "2"},
      {"languages|en\n1x|asset|a\n", "2"},
      {"languages|en\n10|asset|\n", "2"},
      {"languages|en\n10|asset|a\n11|asset|b|company\n", "3"},
  };
  for (const auto& [chart, line] : cases) {
    useChart(chart);
    std::optional<Error> error;
    EXPECT_FALSE(installChart(context(), "own"));
    EXPECT_FALSE(installChart(context(), "own", &error)) << chart;
    expectError(error, kChartErrorDomain, 2,
                world.environment.text("Faulty chart of accounts", {line, "own"}));
    EXPECT_FALSE(context().hasChanges());
  }
  for (const char* name : {"other", "", "../own"}) {
    std::optional<Error> error;
    EXPECT_FALSE(installChart(context(), name, &error));
    expectError(error, kChartErrorDomain, 1,
                world.environment.text("No chart of accounts", {name}));
  }
}

}  // namespace
}  // namespace bokfolio::test
