#include <gmock/gmock.h>

#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class AccountTest : public LedgerWorld {};

TEST_F(AccountTest, TypeDecidesWhereAnAccountBelongs) {
  struct Case {
    std::optional<std::int64_t> type;
    const char* description;  // nullptr: none
    bool balanceAccount, inBalancePredicate, inResultPredicate, onlyDebited, onlyCredited;
  };
  const Case cases[] = {
      {0, "account_type_asset", true, true, false, false, false},
      {1, "account_type_debt&equity", true, true, false, false, false},
      {2, "account_type_income", false, false, true, false, true},
      {3, "account_type_cost", false, false, true, true, false},
      {4, "account_type_equity", true, false, false, false, false},
      {5, nullptr, false, false, false, false, false},
      {std::nullopt, "account_type_asset", true, false, false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type.value_or(-99));
    Account* of = account(1000);
    of->setType(c.type);
    EXPECT_EQ(of->typeDescription(),
              c.description == nullptr ? std::nullopt : std::optional(text(c.description)));
    EXPECT_EQ(of->balanceAccount(), c.balanceAccount);
    EXPECT_EQ(Account::balanceAccountPredicate().evaluate(*of), c.inBalancePredicate);
    EXPECT_EQ(Account::resultAccountPredicate().evaluate(*of), c.inResultPredicate);
    EXPECT_EQ(of->isNormallyOnlyDebited(), c.onlyDebited);
    EXPECT_EQ(of->isNormallyOnlyCredited(), c.onlyCredited);
    const Row* posted = row(nullptr, of, 1);
    EXPECT_EQ(Account::balanceAccountPredicateForRows().evaluate(*posted), c.inBalancePredicate);
  }
}

TEST_F(AccountTest, DescriptionPadsTheNumberAndNamesTheNameless) {
  EXPECT_EQ(account(30, AccountType::Asset, "Kassa")->description(), "0030 Kassa");
  EXPECT_EQ(account(19301, AccountType::Asset, "Bank")->description(), "19301 Bank");
  EXPECT_EQ(account(std::nullopt, AccountType::Asset, "Loose")->description(), "0000 Loose");
  EXPECT_EQ(account(1930)->valueForKey("description"), Value("1930 " + text("Unnamed account.")));
}

TEST_F(AccountTest, LookupsFindExactlyOrNothing) {
  Account* cash = account(1910, AccountType::Asset, "Kassa");
  account(1910, AccountType::Asset, "Second with that number");
  EXPECT_EQ(Account::accountWithNumber(1910, context()), cash);
  EXPECT_EQ(Account::accountWithNumber(1911, context()), nullptr);
  EXPECT_EQ(Account::accountWithName("Kassa", context()), cash);
  EXPECT_EQ(Account::accountWithName("kassa", context()), nullptr);
  account(std::nullopt);  // must not be what nil finds
  EXPECT_EQ(Account::accountWithNumber(std::nullopt, context()), nullptr);
  EXPECT_EQ(Account::accountWithName(std::nullopt, context()), nullptr);
  EXPECT_EQ(account(2)->compare(*account(10)), -1);
}

TEST_F(AccountTest, OnlyBlankAccountsWithoutRowsAreRemoved) {
  Account* named = account(std::nullopt, AccountType::Asset, "Named");
  Account* numbered = account(1);
  Account* posted = account(std::nullopt);
  row(nullptr, posted, 1);
  Account* blank = account(std::nullopt);
  auto* opening = context().insert<StartingBalance>();
  opening->setAccount(blank);
  Account::removeEmptyAccountsInContext(context());
  EXPECT_THAT(context().fetch<Account>(), testing::ElementsAre(named, numbered, posted));
  EXPECT_TRUE(opening->isDeleted());
}

TEST_F(AccountTest, BalanceAddsTheYearsRowsBeforeTheDateAndTheWholeOpeningBalance) {
  FiscalYear* of2008 = year(2008);
  FiscalYear* of2009 = year(2009);
  Account* bank = account(1930);
  Tag* project = tag(7);
  const auto post = [&](FiscalYear* in, Date date, const char* amount, Tag* marked) {
    return row(filed(in, date, 1), bank, dec(amount), marked);
  };
  post(of2008, cetDate(2008, 5, 1), "1000", project);
  post(of2009, cetDate(2009, 2, 1), "100", nullptr);
  post(of2009, cetDate(2009, 3, 1), "-30.50", project);
  post(of2009, cetDate(2009, 4, 1), "7", nullptr);
  post(of2009, cetDate(2009, 2, 2), "5000", project)->remove();
  row(entry(cetDate(2009, 2, 2)), bank, 900);  // of an entry that is not filed
  EXPECT_EQ(bank->balance(), dec("76.5"));

  auto* opening = context().insert<StartingBalance>();
  opening->setAccount(bank);
  opening->setFiscalYear(of2009);
  EXPECT_EQ(bank->balance(), dec("76.5")) << "an opening balance without amount";
  opening->setBalance(2000);

  const std::tuple<std::optional<Date>, FiscalYear*, Tag*, const char*> cases[] = {
      {std::nullopt, of2009, nullptr, "2076.5"},
      {std::nullopt, of2009, project, "2076.5"},  // a tag alone narrows nothing
      {std::nullopt, of2008, nullptr, "1000"},
      {cetDate(2009, 4, 1), of2009, nullptr, "2069.5"},  // strictly before
      {cetDate(2009, 4, 1, 0, 0, 1), of2009, nullptr, "2076.5"},
      {cetDate(2009, 4, 1), of2009, project, "1969.5"},
      {cetDate(2009, 4, 1), of2009, tag(8), "2000"},
  };
  for (const auto& [date, in, marked, expected] : cases)
    EXPECT_EQ(bank->balanceByDate(date, in, marked), dec(expected));
}

TEST_F(AccountTest, BalanceNeedsAYear) {
  world.recordAssertions();
  open();
  EXPECT_EQ(account(1930)->balance(), std::nullopt);
  EXPECT_EQ(account(1930)->balanceByDate(cetDate(2009, 1, 1), nullptr), Decimal());
  ASSERT_EQ(world.assertions->failures().size(), 1U);
  EXPECT_EQ(world.assertions->failures()[0].message, "No fiscal year in balance request");
  EXPECT_EQ(world.assertions->failures()[0].file, "Account");
  EXPECT_EQ(world.assertions->failures()[0].line, 95);
  year(2009);
  EXPECT_EQ(account(1940)->balance(), Decimal());
}

TEST_F(AccountTest, TooMuchForADecimalIsSaidWhenReadAndForgottenWhenGone) {
  FiscalYear* of = year(2009);
  Account* bank = account(1930);
  const Decimal largest = Decimal::fromParts(UInt128{9}, 127, false).scaledByPowerOf10(37);
  Entry* huge = filed(of, cetDate(2009, 3, 31, 12), 1);
  Row* first = row(huge, bank, largest);
  row(huge, bank, largest);
  EXPECT_THROW(bank->balanceByDate(std::nullopt, of), DecimalError);
  first->setStatus(RowStatus::Removed);
  EXPECT_EQ(bank->balanceByDate(std::nullopt, of), largest);
}

TEST_F(AccountTest, ANumberInUseChangesOnlyWithTheUsersConsent) {
  Account* bank = account(1930);
  const auto proposed = [&](const Value& number) {
    EXPECT_TRUE(bank->setValidated("number", number));
    return bank->number();
  };
  EXPECT_EQ(proposed(1931), 1931) << "not in use";
  context().insert<StartingBalance>()->setAccount(bank);
  EXPECT_EQ(proposed(dec("1931")), 1931) << "the same number";
  EXPECT_TRUE(world.dialog->questions().empty());
  EXPECT_EQ(proposed(1940), 1931) << "no is the answer when nobody answers";
  world.dialog->answerNext(kSecondButton);
  EXPECT_EQ(proposed(1940), 1940);
  EXPECT_EQ(proposed(nullptr), 1940);
  ASSERT_EQ(world.dialog->questions().size(), 3U);
  const Question& question = world.dialog->questions().front();
  EXPECT_EQ(question.message, text("Validation_konto_change_no"));
  EXPECT_EQ(question.informative, text("Validation_konto_change_no_more"));
  EXPECT_EQ(question.firstButton + question.secondButton, text("No") + text("Yes"));
  EXPECT_EQ(question.style, 0);
}

TEST_F(AccountTest, LinksAreClearedAsTheTypeSuggests) {
  const std::pair<AccountType, std::string> cases[] = {
      {AccountType::Asset, "creditAccount "},
      {AccountType::DebtAndEquity, "Article.vatAccount creditAccount Line.vatAccount "},
      {AccountType::Income, "salesAccount "},
      {AccountType::Cost, "account "},
      {AccountType::Equity, "Article.vatAccount creditAccount Line.vatAccount "},
      {static_cast<AccountType>(9), ""},
  };
  for (const auto& [type, expected] : cases) {
    Account* of = account(1000, type);
    auto* article = context().insert<Article>();
    article->setSalesAccount(of);
    article->setVatAccount(of);
    auto* bill = context().insert<SupplierInvoice>();
    bill->setCreditAccount(of);
    auto* line = context().insert<SupplierInvoiceLine>();
    line->setAccount(of);
    line->setVatAccount(of);
    Account* other = account(1001, type);
    other->nullifyLinkedProducts();
    other->nullifyLinkedSuppliers();
    EXPECT_EQ(article->salesAccount(), of);
    of->nullifyLinkedProducts();
    of->nullifyLinkedSuppliers();
    std::string cleared;
    if (article->salesAccount() == nullptr) cleared += "salesAccount ";
    if (article->vatAccount() == nullptr) cleared += "Article.vatAccount ";
    if (bill->creditAccount() == nullptr) cleared += "creditAccount ";
    if (line->account() == nullptr) cleared += "account ";
    if (line->vatAccount() == nullptr) cleared += "Line.vatAccount ";
    EXPECT_EQ(cleared, expected);
  }
}

}  // namespace
}  // namespace bokfolio::test
