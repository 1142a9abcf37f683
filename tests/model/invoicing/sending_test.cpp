#include <gmock/gmock.h>

#include "bokfolio/model/invoicing/credit_details.hpp"
#include "tests/model/invoicing/life_world.hpp"

namespace bokfolio::test {
namespace {

class Sending : public LifeWorld {};

TEST_F(Sending, BooksTheSaleOnTheAccountsOfItsArticles) {
  const std::pair<const char*, const char*> cases[] = {
      {"25:1000", "1 2611 credit 250, 2 3001 credit 1000, 4 1510 debit 1250"},
      // One row for each account, none for no VAT.
      {"25:100 12:100 25:20 0:5",
       "1 2611 credit 30, 2 2621 credit 12, 3 3001 credit 120, 4 3002 credit 100, 5 3004 credit 5, "
       "7 1510 debit 267"},
      {"25:9 25:-9", "2 1510 nothing"},
      {"25:-100", "1 2611 debit 25, 2 3001 debit 100, 4 1510 debit -125"},
      {"25:100.30 rounded",
       "1 2611 credit 25.075, 2 3001 credit 100.3, 3 3740 debit 0.375, 5 1510 debit 125"},
      {"25:100.50 rounded",
       "1 2611 credit 25.125, 2 3001 credit 100.5, 3 3740 credit 0.375, 5 1510 debit 126"},
      {"25:1000 less:10%", "1 2611 credit 225, 2 3001 credit 900, 4 1510 debit 1125"},
      // An amount off: all of the largest line and some of the next.
      {"25:64 25:80 less:150", "1 2611 credit 6, 2 3001 credit 24, 4 1510 debit 30"},
      {"25:64 25:80 less:100", "1 2611 credit 16, 2 3001 credit 64, 4 1510 debit 80"},
      {"25:64 25:80 less:500", "2 1510 nothing"},
      // Of equal lines the first that was made.
      {"25:80 0:100 less:120", "1 3004 credit 80, 3 1510 debit 80"},
      {"0:100 25:80 less:120", "1 2611 credit 16, 2 3001 credit 64, 4 1510 debit 80"},
      // Without VAT the rest is still cut by the line's rate.
      {"25:100 less:25 vatfree", "1 3001 credit 80, 3 1510 debit 80"},
      {"25:100.30 rounded @10",
       "1 2611 credit 250.75, 2 3001 credit 1003, 3 3740 debit 3.75, 5 1510 debit 1250"},
      // No rate multiplies an amount off, whole lines included.
      {"25:100 less:25 @10", "1 2611 credit 245, 2 3001 credit 980, 4 1510 debit 1225"},
      {"25:100 0:10 less:130 @10",
       "1 2611 credit 225, 2 3001 credit 900, 3 3004 credit 95, 5 1510 debit 1220"},
      {"cost:100", "1 2611 credit 25, 2 4010 credit -100, 4 1510 debit -75"},
      {"cost:-100", "1 2611 debit 25, 2 4010 debit -100, 4 1510 debit 75"},
      {"stock:100", "1 1410 credit -100, 2 2611 credit 25, 4 1510 debit -75"},
      {"own:100", "1 2050 credit 100, 2 2611 credit 25, 4 1510 debit 125"},
      // A negative amount off is added, at the largest line's rate; lines may have their own.
      {"12:112 25:10 less:-56",
       "1 2611 credit 2.5, 2 2621 credit 19.44, 3 3001 credit 10, "
       "4 3002 credit 162, 6 1510 debit 193.94"},
  };
  std::int64_t number = 100;
  for (const auto& [sale, expected] : cases) {
    SCOPED_TRACE(sale);
    const Invoice* made = sent(sale, ++number);
    const Entry* entry = entryNamed("Sent invoice " + std::to_string(number));
    EXPECT_EQ(rows(entry), expected);
    EXPECT_TRUE(entry->rows().sum("net").isZero());
    EXPECT_EQ(made->localAmount(),
              accountAt(1510)->rows().filtered(Predicate("entry == %@", {entry})).sum("net"));
    EXPECT_EQ(entry->date(), made->date());
    EXPECT_EQ(entry->number(), std::nullopt);
    EXPECT_EQ(entry->fiscalYear(), nullptr);
  }
}

TEST_F(Sending, MarksRowsOfIncomeAndCostWithTheTag) {
  Invoice* made = invoice("25:100.30 cost:10 rounded");
  Tag* mark = tag(3);
  made->setTag(mark);
  ASSERT_TRUE(made->sendMeWithExchangeRate(std::nullopt));
  for (const Row* row : entryNamed(made->sendEntryName())->rows().members())
    EXPECT_EQ(row->tag(), row->account()->balanceAccount() ? nullptr : mark)
        << row->accountNumber().value_or(0);
}

TEST_F(Sending, FreezesTermsAndAmounts) {
  for (const auto& [language, text] : {std::pair("sv", "30 dagar"), std::pair("en", "30 days")}) {
    auto* terms = context().insert<CreditDetails>();
    terms->setLanguage(language);
    terms->setCreditDetails(text);
  }
  // Language, way of booking -> text.
  const std::tuple<std::optional<std::string>, bool, bool, std::optional<std::string>> cases[] = {
      {"sv", true, false, "30 dagar"},
      {"sv", true, true, "30 dagar"},
      {"fr", true, false, std::nullopt},  // not the one of the user's own language
      {"fr", false, false, std::nullopt},
      {std::nullopt, true, true, std::nullopt}};
  for (const auto& [language, autoBook, once, text] : cases) {
    book->setAutoBook(autoBook);
    book->setBookOnce(once);
    book->setDays(10);
    Invoice* made = invoice("25:100 @9.5");
    made->setDate(cetDate(2009, 3, 1, 15));
    made->setLanguage(language);
    made->setYourRef("Anna");
    made->setCompany(std::nullopt);
    ASSERT_TRUE(made->sendMeWithExchangeRate(dec("9.5")));
    EXPECT_EQ(made->company(), "Anna");
    book->setBookOnce(!once);
    book->setDays(99);
    EXPECT_EQ(made->creditDetails(), text);
    EXPECT_EQ(made->bookOnce(), once);
    EXPECT_EQ(made->days(), 10);
    EXPECT_EQ(made->dueDate(), cetDate(2009, 3, 11, 15));
    EXPECT_EQ(made->rawStatus(), 1);
    EXPECT_EQ(made->exchangeRate(), dec("9.5"));
    EXPECT_EQ(made->localAmount(), dec("1187.5"));
  }
  EXPECT_EQ(context().count("Entry"), 2U) << "booked when sent, and only then";
}

// What each refusal leaves behind, and that the host's rollback takes it back.
class SendingRefused : public LifeWorld {
 protected:
  void expectRefusal(Invoice* made, InvoiceError code, const char* key) {
    made->setYourRef(std::nullopt);
    ASSERT_TRUE(context().save());
    const Dump before = dump(context());
    std::optional<Error> error;
    EXPECT_FALSE(made->sendMeWithExchangeRate(dec("9"), &error));
    expectRefused(error, code, text(key));
    EXPECT_EQ(made->status(), 0);
    EXPECT_EQ(context().count("Entry"), 0U);
    EXPECT_EQ(context().count("Row"), 0U);
    const bool isChanged = code != InvoiceError::NoLines;
    EXPECT_EQ(context().hasChanges(), isChanged);
    if (isChanged) {
      EXPECT_EQ(made->exchangeRate(), Decimal(9));
      EXPECT_EQ(made->localAmount(), made->totalAmount() * 9);
      EXPECT_EQ(made->yourRef(), "Customer");
    }
    EXPECT_FALSE(made->sendMeWithExchangeRate(dec("9")));
    context().rollback();
    EXPECT_EQ(dump(context()), before);
  }
};

TEST_F(SendingRefused, WithoutLinesOrAccountsReceivable) {
  expectRefusal(invoice("@9"), InvoiceError::NoLines, "An invoice requires some lines to send.");
  book->setAccountsReceivable(nullptr);
  expectRefusal(invoice("25:100.30 rounded @9"), InvoiceError::ReceivableMissingForSale,
                "No accounts receivable.");
}

TEST_F(SendingRefused, WhenAnAccountIsMissingForTheSale) {
  const std::pair<const char*, std::function<void(Invoice*)>> cases[] = {
      {"a line without article", [this](Invoice* made) { line(made, nullptr, 5); }},
      {"no sales account",
       [this](Invoice* made) { line(made, article("none", nullptr, accountAt(2611)), 5); }},
      {"no VAT account",
       [this](Invoice* made) { line(made, article("25 none", accountAt(3001), nullptr), 5); }},
      {"an account without number",
       [this](Invoice* made) { line(made, article("0 x", account({}), nullptr), 5); }},
      {"no rounding account", [this](Invoice*) { book->setRoundingAccount(nullptr); }}};
  for (const auto& [title, spoil] : cases) {
    SCOPED_TRACE(title);
    Invoice* made = invoice("25:100.30 rounded @9");
    spoil(made);
    expectRefusal(made, InvoiceError::SaleNotBookable, "Could not create a sales entry.");
  }
}

TEST_F(Sending, AddingRowsAnswersWhetherItFailed) {
  Invoice* made = invoice("25:100");
  Entry* target = entry(payday);
  EXPECT_FALSE(made->addSaleRowsToEntry(*target, 2));
  EXPECT_EQ(rows(target), "1 2611 credit 50, 2 3001 credit 200");
  line(made, nullptr, 1);
  EXPECT_TRUE(made->addSaleRowsToEntry(*target, 2));
  EXPECT_EQ(target->rows().count(), 2U);
}

}  // namespace
}  // namespace bokfolio::test
