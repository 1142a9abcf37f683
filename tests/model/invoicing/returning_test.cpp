#include <gmock/gmock.h>

#include "tests/model/invoicing/life_world.hpp"

namespace bokfolio::test {
namespace {

const char* kSale = "25:1000";

enum class End { ReturnToBank, Return, Loss };

class Returning : public LifeWorld {
 protected:
  bool end(Invoice* made, End how, ErrorOut error) {
    if (how == End::Loss) return made->registerCustomerLossWithError(error);
    return made->registerReturnWithError(error, how == End::ReturnToBank ? bank : nullptr);
  }
  static const char* nameOf(End how) {
    return how == End::Loss ? "Customer loss, invoice 7" : "Returned invoice 7";
  }
};

TEST_F(Returning, ReversesTheSaleLessWhatWasPaid) {
  const bool kTwice = false;
  const bool kOnce = true;
  const char* whole = "1 2611 debit 250, 2 3001 debit 1000, 3 1510 credit 1250";
  const char* unpaidShare = "1 2611 debit 150, 2 3001 debit 600, 3 1510 credit 750";
  const std::tuple<bool, const char*, const char*, End, const char*> cases[] = {
      {kTwice, kSale, "", End::ReturnToBank, whole},
      {kTwice, kSale, "", End::Loss, whole},
      {kTwice, kSale, "1250!", End::ReturnToBank,
       "1 2611 debit 250, 2 3001 debit 1000, 3 1930 credit 1250"},
      {kTwice, kSale, "500", End::ReturnToBank,
       "1 2611 debit 250, 2 3001 debit 1000, 3 1930 credit 500, 4 1510 credit 750"},
      {kTwice, kSale, "500", End::Loss, unpaidShare},
      {kTwice, kSale, "300 200", End::Return, unpaidShare},
      {kTwice, kSale, "1250!", End::Return, "1 2611 nothing, 2 3001 nothing, 3 1510 nothing"},
      // A credit is not scaled, so this one does not balance.
      {kTwice, "0:100.40 rounded", "50", End::Loss,
       "1 3004 debit 50.2, 2 3740 credit 0.4, 3 1510 credit 50"},
      // More than booked was paid.
      {kTwice, "0:1000 @10", "10700!", End::ReturnToBank,
       "1 3004 debit 10000, 2 1930 credit 10700, 3 1510 credit -700"},
      // Only a payment in full booked anything.
      {kOnce, kSale, "", End::ReturnToBank, "no entry"},
      {kOnce, kSale, "5", End::Return, "no entry"},
      {kOnce, kSale, "5", End::Loss, "no entry"},
      {kOnce, kSale, "250 1000!", End::ReturnToBank,
       "1 2611 debit 250, 2 3001 debit 1000, 3 1930 credit 1250"},
  };
  for (const auto& [once, sale, paid, how, expected] : cases) {
    SCOPED_TRACE(std::string(sale) + ", " + paid);
    book->setBookOnce(once);
    ASSERT_TRUE(context().save());
    Invoice* made = sent(sale);
    ASSERT_NO_FATAL_FAILURE(payAll(made, paid));
    made->setDate(cetDate(2009, 3, 9));  // not the reversal's
    book->setBookOnce(!once);            // the invoice's own way counts
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

}  // namespace
}  // namespace bokfolio::test
