#include <gmock/gmock.h>

#include "tests/model/invoicing/life_world.hpp"

namespace bokfolio::test {
namespace {

const Sale kSale{{{"25", "1000"}}};
const Sale kForeign{{{"0", "1000"}}, "", false, false, "10"};

enum class End { ReturnToBank, Return, Loss };

struct Step {
  const char* amount;
  bool inFull;
};

class Returning : public LifeWorld {
 protected:
  bool end(Invoice* made, End how, ErrorOut error) {
    if (how == End::Loss) return made->registerCustomerLossWithError(error);
    return made->registerReturnWithError(error, how == End::ReturnToBank ? bank : nullptr);
  }
  static const char* nameOf(End how) {
    return how == End::Loss ? "Customer loss, invoice 7" : "Returned invoice 7";
  }
  Decimal balance(std::int64_t number) { return accountAt(number)->rows().sum("net"); }
};

TEST_F(Returning, ReversesTheSaleLessWhatWasPaid) {
  const bool kOnce = true;
  const char* whole = "1 2611 debit 250, 2 3001 debit 1000, 3 1510 credit 1250";
  const std::tuple<const char*, bool, Sale, std::vector<Step>, End, const char*> cases[] = {
      {"returned unpaid", false, kSale, {}, End::ReturnToBank, whole},
      {"lost unpaid", false, kSale, {}, End::Loss, whole},
      {"returned paid",
       false,
       kSale,
       {{"1250", true}},
       End::ReturnToBank,
       "1 2611 debit 250, 2 3001 debit 1000, 3 1930 credit 1250"},
      {"returned partly paid",
       false,
       kSale,
       {{"500", false}},
       End::ReturnToBank,
       "1 2611 debit 250, 2 3001 debit 1000, 3 1930 credit 500, 4 1510 credit 750"},
      {"lost partly paid",
       false,
       kSale,
       {{"500", false}},
       End::Loss,
       "1 2611 debit 150, 2 3001 debit 600, 3 1510 credit 750"},
      {"returned partly paid, no account",
       false,
       kSale,
       {{"300", false}, {"200", false}},
       End::Return,
       "1 2611 debit 150, 2 3001 debit 600, 3 1510 credit 750"},
      {"returned paid, no account",
       false,
       kSale,
       {{"1250", true}},
       End::Return,
       "1 2611 nothing, 2 3001 nothing, 3 1510 nothing"},
      {"lost partly paid, a credit is not scaled",
       false,
       {{{"0", "100.40"}}, "", true},
       {{"50", false}},
       End::Loss,
       "1 3004 debit 50.2, 2 3740 credit 0.4, 3 1510 credit 50"},
      {"foreign, more than booked was paid, returned",
       false,
       kForeign,
       {{"10700", true}},
       End::ReturnToBank,
       "1 3004 debit 10000, 2 1930 credit 10700, 3 1510 credit -700"},
      {"once, unpaid, returned", kOnce, kSale, {}, End::ReturnToBank, "no entry"},
      {"once, partly paid, returned", kOnce, kSale, {{"5", false}}, End::Return, "no entry"},
      {"once, unpaid, lost", kOnce, kSale, {}, End::Loss, "no entry"},
      {"once, partly paid, lost", kOnce, kSale, {{"5", false}}, End::Loss, "no entry"},
      {"once, paid, returned",
       kOnce,
       kSale,
       {{"250", false}, {"1000", true}},
       End::ReturnToBank,
       "1 2611 debit 250, 2 3001 debit 1000, 3 1930 credit 1250"},
  };
  for (const auto& [title, once, sale, steps, how, expected] : cases) {
    SCOPED_TRACE(title);
    book->setBookOnce(once);
    ASSERT_TRUE(context().save());
    Invoice* made = sent(sale);
    for (const Step& step : steps) ASSERT_TRUE(pay(made, step.amount, step.inFull));
    made->setBookOnce(once);
    book->setBookOnce(!once);  // the invoice's own way counts
    std::optional<Error> error;
    EXPECT_TRUE(end(made, how, &error));
    EXPECT_EQ(error, std::nullopt);
    EXPECT_EQ(made->rawStatus(), how == End::Loss ? 6 : 8);
    const Entry* reversal = entryNamed(nameOf(how));
    EXPECT_EQ(rows(reversal), expected);
    if (reversal != nullptr) {
      EXPECT_EQ(reversal->date(), world.clock->now());
      EXPECT_EQ(reversal->number(), std::nullopt);
      EXPECT_EQ(reversal->fiscalYear(), nullptr);
    }
    context().rollback();
  }
}

TEST_F(Returning, GoesByTheStateOfTheInvoice) {
  const char* kReturn =
      "You cannot file an invoice as returned if it has been marked as a customer loss or already "
      "returned.";
  const char* kLoss =
      "You cannot file an invoice as customer loss if it has been returned, paid or already marked "
      "as customer loss.";
  world.clock->set(cetDate(2009, 12, 1));  // long overdue
  for (std::int64_t status = 0; status <= 8; ++status) {
    for (const End how : {End::Return, End::Loss}) {
      SCOPED_TRACE(status);
      Invoice* made = invoice(kSale);
      made->setDate(cetDate(2009, 1, 1));
      ASSERT_TRUE(made->sendMeWithExchangeRate(std::nullopt));
      ASSERT_EQ(made->status(), 2);
      if (status != 2) made->set(Invoice::Slots::status, status);
      const bool refused = status == 6 || status == 8 || (how == End::Loss && status == 3);
      std::optional<Error> error;
      EXPECT_EQ(end(made, how, &error), !refused);
      EXPECT_EQ(end(made, how, nullptr), false) << "once lost or returned, never again";
      const std::int64_t ended = how == End::Loss ? 6 : 8;
      EXPECT_EQ(made->rawStatus(), refused ? status : ended);
      EXPECT_EQ(entryNamed(nameOf(how)) == nullptr, refused);
      if (refused) {
        expectRefused(error,
                      how == End::Loss ? InvoiceError::LossRefused : InvoiceError::ReturnRefused,
                      text(how == End::Loss ? kLoss : kReturn));
      }
      context().rollback();
      makeBook();
    }
  }
}

TEST_F(Returning, WithoutAutomaticBookingOnlyTheStatusChanges) {
  book->setAutoBook(false);
  for (const End how : {End::ReturnToBank, End::Loss}) {
    Invoice* made = sent(kSale);
    std::optional<Error> error;
    EXPECT_TRUE(end(made, how, &error));
    EXPECT_EQ(made->status(), how == End::Loss ? 6 : 8);
    made = sent(kSale);
    made->setBook(nullptr);
    EXPECT_TRUE(end(made, how, &error));
  }
  EXPECT_EQ(context().count("Entry"), 0U);
}

TEST_F(Returning, WithoutASalesEntryTheStatusStaysAndTheHostRollsBack) {
  for (const End how : {End::ReturnToBank, End::Loss}) {
    Invoice* made = sent(kSale);
    entryNamed("Sent invoice 7")->setName("Sent invoice 8");
    ASSERT_TRUE(context().save());
    const Dump before = dump(context());
    std::optional<Error> error;
    EXPECT_FALSE(end(made, how, &error));
    expectRefused(error, InvoiceError::NoSalesEntry, text("No sales entry found"));
    EXPECT_EQ(made->status(), how == End::Loss ? 6 : 8);
    EXPECT_EQ(context().count("Entry"), how == End::Loss ? 2U : 1U);
    context().rollback();
    EXPECT_EQ(dump(context()), before);
    EXPECT_TRUE(end(made, how, nullptr)) << "without an error pointer a failure is silent";
    EXPECT_EQ(entryNamed(nameOf(how)), nullptr);
    ASSERT_TRUE(context().save());
  }
}

TEST_F(Returning, WithoutOneReceivableRowTheIncompleteEntryStays) {
  book->setAutoBook(true);
  for (const bool several : {true, false}) {
    Invoice* made = sent(kSale);
    ASSERT_TRUE(pay(made, "500", false));
    if (several) {
      row(entryNamed("Sent invoice 7"), bank, 5);
      row(entryNamed("Sent invoice 7"), accountAt(3001), -5);
    } else {
      accountAt(1510)->setType(AccountType::DebtAndEquity);
    }
    ASSERT_TRUE(context().save());
    const Dump before = dump(context());
    std::optional<Error> error;
    EXPECT_FALSE(end(made, End::Loss, &error));
    expectRefused(
        error, InvoiceError::NoReceivableRow,
        text("Cannot find a row for accounts receivable in the sales entry for this invoice."));
    EXPECT_EQ(made->status(), 6);
    EXPECT_EQ(rows(nameOf(End::Loss)),
              several ? "1 2611 debit 250, 2 3001 debit 1000, 3 1510 credit 1250, "
                        "4 1930 credit 5, 5 3001 debit 5"
                      : "1 2611 debit 250, 2 3001 debit 1000, 3 1510 credit 1250");
    context().rollback();
    EXPECT_EQ(dump(context()), before);
    EXPECT_TRUE(end(made, End::Loss, nullptr));
    context().rollback();
    for (Entry* each : context().fetch<Entry>()) context().deleteObject(each);
  }
}

TEST_F(Returning, CopiesTheSaleAsItStands) {
  Invoice* made = invoice(kSale);
  Tag* mark = tag(3);
  made->setTag(mark);
  ASSERT_TRUE(made->sendMeWithExchangeRate(std::nullopt));
  Entry* sale = entryNamed("Sent invoice 7");
  sale->rows().first()->remove();  // corrected since
  row(sale, accountAt(2621), -250);
  ASSERT_TRUE(end(made, End::Return, nullptr));
  EXPECT_EQ(rows(nameOf(End::Return)), "1 3001 debit 1000, 2 1510 credit 1250, 3 2621 debit 250");
  EXPECT_EQ(entryNamed(nameOf(End::Return))->rows().first()->tag(), mark);
}

// Thirds leave dust behind, and a credit that is not scaled leaves all of it: such a reversal does
// not balance, is not checked when made, and the save says so.
TEST_F(Returning, AScaledReversalMayNotBalance) {
  const std::tuple<Sale, const char*, Decimal> cases[] = {
      {{{{"25", "0.80"}, {"12", "2.50"}}}, "2.30", dec("0")},
      {{{{"0", "100.40"}}, "", true}, "50", dec("-0.2")}};
  for (const auto& [sale, paid, residue] : cases) {
    Invoice* made = sent(sale);
    ASSERT_TRUE(pay(made, paid, false));
    std::optional<Error> error;
    ASSERT_TRUE(end(made, End::Loss, &error));
    const Entry* reversal = entryNamed(nameOf(End::Loss));
    const Decimal net = reversal->rows().sum("net");
    EXPECT_EQ(net.rounded(30, Rounding::Plain), residue);
    EXPECT_EQ(balance(1510), Decimal(0));
    EXPECT_EQ(context().save(&error), net.isZero());
    if (!net.isZero())
      expectError(error, kBokfolioErrorDomain, 1, text("This entry is not balanced."));
    context().rollback();
    for (Entry* each : context().fetch<Entry>()) context().deleteObject(each);
    makeBook();
  }
}

TEST_F(Returning, WhatIsOwedByACustomerIsNothingInTheEnd) {
  for (const End how : {End::ReturnToBank, End::Return, End::Loss}) {
    Invoice* made = sent(kSale);
    ASSERT_TRUE(pay(made, "500", false));
    ASSERT_TRUE(end(made, how, nullptr));
    EXPECT_EQ(balance(1510), Decimal(0));
    EXPECT_EQ(balance(1930), how == End::ReturnToBank ? Decimal(0) : Decimal(500));
    EXPECT_EQ(balance(3001) + balance(2611), how == End::ReturnToBank ? Decimal(0) : Decimal(-500));
    context().rollback();
    makeBook();
  }
}

}  // namespace
}  // namespace bokfolio::test
