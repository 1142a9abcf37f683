#include <gmock/gmock.h>

#include "tests/model/invoicing/life_world.hpp"

namespace bokfolio::test {
namespace {

const char* kForeign = "0:1000 @10.5";  // 10 500 in the book

class Paying : public LifeWorld {
 protected:
  // The rows of every entry that a payment of invoice 7 made.
  std::string payments() {
    std::string all;
    for (const Entry* each : context().fetch<Entry>())
      if (each->name() != "Sent invoice 7")
        all += (all.empty() ? "" : "; ") + each->name().value_or("") + ": " + rows(each);
    return all;
  }
  // Pays so that it is refused, and looks at what is left behind and what rollback takes back.
  void expectPaymentRefused(Invoice* made, const char* amount, bool inFull, InvoiceError code,
                            const char* key) {
    ASSERT_TRUE(context().save());
    const Dump before = dump(context());
    const std::size_t entries = context().count("Entry");
    const Decimal paid = made->paidAmount().value_or(0);
    std::optional<Error> error;
    EXPECT_FALSE(pay(made, amount, inFull, &error));
    expectRefused(error, code, text(key));
    expectNoted(made, paid + dec(amount), inFull);
    EXPECT_EQ(context().count("Entry"), entries);
    EXPECT_FALSE(pay(made, amount, inFull)) << "and adds the amount once more";
    EXPECT_EQ(made->paidAmount(), paid + dec(amount) * 2);
    context().rollback();
    EXPECT_EQ(dump(context()), before);
  }
  void expectNoted(Invoice* made, const Decimal& paid, bool inFull) {
    EXPECT_EQ(made->paidAmount(), paid);
    EXPECT_EQ(made->status(), inFull ? 3 : 7);
    EXPECT_EQ(made->paidDate(), inFull ? std::optional(payday) : std::nullopt);
  }
};

TEST_F(Paying, MovesTheMoneyFromTheCustomerOrBooksTheSale) {
  const bool kTwice = false;
  const bool kOnce = true;
  const std::tuple<bool, const char*, const char*, const char*> cases[] = {
      {kTwice, "0:1000", "400 600!",
       "Partially paid invoice 7: 1 1510 credit 400, 2 1930 debit 400; "
       "Paid invoice 7: 1 1510 credit 600, 2 1930 debit 600"},
      {kTwice, "0:1000", "1000", "Partially paid invoice 7: 1 1510 credit 1000, 2 1930 debit 1000"},
      {kTwice, "0:-100", "-100!", "Paid invoice 7: 1 1510 credit -100, 2 1930 credit 100"},
      {kTwice, kForeign, "10300!",
       "Paid invoice 7: 1 1510 credit 10500, 2 1930 debit 10300, 3 7960 debit 200"},
      {kTwice, kForeign, "10700!",
       "Paid invoice 7: 1 1510 credit 10500, 2 1930 debit 10700, 3 3960 credit 200"},
      // The difference comes with the last payment.
      {kTwice, kForeign, "5000 5300!",
       "Partially paid invoice 7: 1 1510 credit 5000, 2 1930 debit 5000; "
       "Paid invoice 7: 1 1510 credit 5500, 2 1930 debit 5300, 3 7960 debit 200"},
      {kOnce, "25:800", "400 600!",
       "Paid invoice 7: 1 2611 credit 200, 2 3001 credit 800, 3 1930 debit 1000"},
      {kOnce, "25:100 @10", "1300!",
       "Paid invoice 7: 1 2611 credit 250, 2 3001 credit 1000, 3 1930 debit 1300, "
       "4 3960 credit 50"},
      // No rate multiplies an amount off.
      {kOnce, "25:100 less:25 @10", "1000!",
       "Paid invoice 7: 1 2611 credit 245, 2 3001 credit 980, 3 1930 debit 1000, "
       "4 7960 debit 225"},
      // What is left over: a row of its own, into the rounding there is, or nothing left of it.
      {kOnce, "25:100 less:25 vatfree", "75!",
       "Paid invoice 7: 1 3001 credit 80, 2 1930 debit 75, 3 3740 debit 5"},
      {kOnce, "25:100 less:-25 vatfree", "125!",
       "Paid invoice 7: 1 3001 credit 120, 2 1930 debit 125, 3 3740 credit 5"},
      {kOnce, "25:100.40 less:25 rounded vatfree", "75!",
       "Paid invoice 7: 1 3001 credit 80.4, 2 3740 debit 5.4, 3 1930 debit 75"},
      {kOnce, "25:100.20 less:-1.5 rounded vatfree", "102!",
       "Paid invoice 7: 1 3001 credit 101.4, 2 3740 credit 0.6, 3 1930 debit 102"},
      {kOnce, "25:100.20 less:1.5 rounded vatfree", "99!",
       "Paid invoice 7: 1 3001 credit 99, 3 1930 debit 99"},
  };
  for (const auto& [once, sale, paid, expected] : cases) {
    SCOPED_TRACE(std::string(sale) + ", " + paid);
    book->setBookOnce(once);
    ASSERT_TRUE(context().save());
    Invoice* made = sent(sale);
    ASSERT_NO_FATAL_FAILURE(payAll(made, paid));
    EXPECT_EQ(made->isPaid(), std::string(paid).back() == '!');
    EXPECT_EQ(payments(), expected);
    for (const Entry* each : context().fetch<Entry>()) {
      EXPECT_TRUE(each->rows().sum("net").isZero());
      EXPECT_EQ(each->number(), std::nullopt);
      EXPECT_EQ(each->fiscalYear(), nullptr);
      EXPECT_EQ(each->date(), each->name() == "Sent invoice 7" ? made->date() : payday);
    }
    context().rollback();
  }
}

TEST_F(Paying, BookedOnceTakesTheRateFromWhatIsOwed) {
  book->setBookOnce(true);
  Invoice* made = sent("25:100 @10");
  made->setLocalAmount(dec("1300"));  // the host asked for the rate again
  ASSERT_TRUE(pay(made, "1300", true));
  EXPECT_EQ(made->exchangeRate(), dec("10.4"));
  EXPECT_EQ(payments(), "Paid invoice 7: 1 2611 credit 260, 2 3001 credit 1040, 3 1930 debit 1300");
}

TEST_F(Paying, ATotalOfZeroHasNoRateToBookOnceBy) {
  book->setBookOnce(true);
  Invoice* made = sent("0:10 0:-10");
  ASSERT_TRUE(context().save());
  const Dump before = dump(context());
  EXPECT_THROW(pay(made, "0", true), DecimalError);
  expectNoted(made, 0, true);
  EXPECT_EQ(payments(), "Paid invoice 7: ");
  context().rollback();
  EXPECT_EQ(dump(context()), before);
}

TEST_F(Paying, WithoutAutomaticBookingNothingIsCheckedOrMade) {
  Invoice* made = sent("0:1000");
  book->setAutoBook(false);
  EXPECT_TRUE(made->payMeWithFinalAmount(5, std::nullopt, false, nullptr));
  EXPECT_TRUE(made->payMeWithFinalAmount(std::nullopt, std::nullopt, true, nullptr));
  EXPECT_EQ(made->paidAmount(), Decimal(5));
  EXPECT_EQ(made->status(), 3);
  made->setBook(nullptr);
  EXPECT_TRUE(made->payMeWithFinalAmount(9999, payday, true, nullptr));
  EXPECT_EQ(made->paidDate(), payday);
  EXPECT_EQ(payments(), "");
}

TEST_F(Paying, MissingArgumentsFailAssertionsInTheirOrder) {
  Invoice* made = sent("0:1000");
  const auto failure = [&](const std::optional<Decimal>& amount, std::optional<Date> day,
                           Account* account) -> std::string {
    try {
      made->payMeWithFinalAmount(amount, day, false, account);
    } catch (const AssertionFailure& failed) {
      return failed.what();
    }
    return "";
  };
  EXPECT_EQ(failure(std::nullopt, std::nullopt, nullptr),
            "Inget mottagarkonto i payMeWithpaidNow!");
  EXPECT_EQ(failure(std::nullopt, std::nullopt, bank), "Inget belopp i payMeWithpaidNow!");
  EXPECT_EQ(failure(1, std::nullopt, bank), "Inget datum i payMeWithpaidNow!");
  EXPECT_EQ(made->status(), 7) << "noted before";
  EXPECT_EQ(made->paidAmount(), Decimal(1));
  EXPECT_EQ(failure(1, payday, bank), "");

  world.recordAssertions();
  open();
  made = context().insert<Invoice>();
  made->setBook(context().insert<Book>());
  EXPECT_FALSE(made->payMeWithFinalAmount(std::nullopt, std::nullopt, true, nullptr));
  ASSERT_EQ(world.assertions->failures().size(), 3U);
  EXPECT_EQ(world.assertions->failures().back().file,
            "payMeWithFinalAmount:onDay:inFull:receivingAccount:error:");
}

TEST_F(Paying, TakesNotMoreThanIsOwedAndInFullNotLess) {
  const char* key =
      "Total amount paid may not exceed the amount owed. If you receive more than you were owed, "
      "you must file the exceeding amount separately.";
  // Paid before, now, in full.
  const std::tuple<const char*, const char*, bool> cases[] = {{"0", "1001", false},
                                                              {"0", "1000.01", true},
                                                              {"0", "990", true},
                                                              {"400", "601", false},
                                                              {"400", "599.99", true}};
  for (const bool once : {false, true}) {
    book->setBookOnce(once);
    for (const auto& [before, now, inFull] : cases) {
      SCOPED_TRACE(now);
      Invoice* made = sent("0:1000");
      ASSERT_TRUE(*before == '0' || pay(made, before, false));
      expectPaymentRefused(made, now, inFull, InvoiceError::NotTheAmountOwed, key);
    }
  }
}

TEST_F(Paying, WantsBothAccountsForAnExchangeDifferenceAndOnlyThen) {
  const char* key = "Currency gain/loss accounts missing";
  for (const bool once : {false, true}) {
    book->setBookOnce(once);
    book->setCurrencyGains(nullptr);
    expectPaymentRefused(sent(kForeign), "10300", true, InvoiceError::NoCurrencyAccounts, key);
    book->setCurrencyGains(accountAt(3960));
    book->setCurrencyLosses(nullptr);
    expectPaymentRefused(sent(kForeign), "10700", true, InvoiceError::NoCurrencyAccounts, key);
    book->setCurrencyGains(nullptr);
    Invoice* made = sent(kForeign);
    EXPECT_TRUE(pay(made, "300", false));
    EXPECT_TRUE(pay(made, "10200", true)) << "no difference";
    book->setCurrencyLosses(accountAt(7960));
  }
}

// The check looks at the payment alone. What a rebate makes of the rate comes to light later, and
// leaves a row without account, which no save accepts.
TEST_F(Paying, ADifferenceThatComesFromARebateMayFindNoAccount) {
  book->setBookOnce(true);
  book->setCurrencyLosses(nullptr);
  Invoice* made = sent("25:100 less:25 @10");
  EXPECT_TRUE(pay(made, "1000", true));
  EXPECT_EQ(payments(),
            "Paid invoice 7: 1 2611 credit 245, 2 3001 credit 980, 3 1930 debit 1000, "
            "4 ? debit 225");
  std::optional<Error> error;
  EXPECT_FALSE(context().save(&error));
  expectError(error, kStoreErrorDomain, 1570,
              world.environment.text("Invalid account for row", {"Paid invoice 7"}), "account");
}

TEST_F(Paying, AMissingAccountWithdrawsTheEntry) {
  Invoice* made = sent("0:1000");
  book->setAccountsReceivable(nullptr);
  expectPaymentRefused(made, "400", false, InvoiceError::ReceivableMissingForPay,
                       "Accounts receivable' account missing");
  expectPaymentRefused(made, "1000", true, InvoiceError::ReceivableMissingForPay,
                       "Accounts receivable' account missing");
  book->setBookOnce(true);
  made = sent("25:800");
  articleNamed("25")->setVatAccount(nullptr);
  expectPaymentRefused(made, "1000", true, InvoiceError::AccountSettingsMissing,
                       "Some account settings missing");
}

TEST_F(Paying, AnEntryThatCannotBeRoundedIsRefusedByItsOwnValidation) {
  book->setBookOnce(true);
  book->setRoundingAccount(nullptr);
  Invoice* made = sent("25:100 less:25 vatfree");
  ASSERT_TRUE(context().save());
  world.log->clear();
  std::optional<Error> error;
  EXPECT_FALSE(pay(made, "75", true, &error));
  expectError(error, kBokfolioErrorDomain, 1, text("This entry is not balanced."));
  EXPECT_EQ(error->text(kEntryDescriptionKey), "Paid invoice 7");
  expectNoted(made, 75, true);
  EXPECT_EQ(payments(), "");
  EXPECT_THAT(world.log->lines(),
              testing::ElementsAre(
                  "remaining diff -5", "entry: Paid invoice 7. z: -5",
                  testing::AllOf(testing::StartsWith("Invoice entry validation "
                                                     "error: "),
                                 testing::HasSubstr("not balanced"), testing::HasSubstr("\nEntry:"),
                                 testing::HasSubstr("1930 Bank 75"))));
}

}  // namespace
}  // namespace bokfolio::test
