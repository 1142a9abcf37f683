// PaymentEntry: the entry of one payment while it is being made. It is made from what the customer
// owed or, when the sale was not booked before, from the sale itself; then come the account that
// received the money, the exchange difference, and what is left to round away.
#pragma once

#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

class Account;
class Book;
class Entry;
class Invoice;
class Row;

namespace internal {

// In the book's currency.
struct Payment {
  Decimal amount;
  Date day;
  bool inFull = false;
  Account* receivingAccount = nullptr;
  Decimal remainingBefore;  // what was owed before this payment
};

class PaymentEntry {
 public:
  // Inserts the entry. The payment has been added to what the invoice says is paid.
  PaymentEntry(Invoice& invoice, const Payment& payment);

  // How the entry begins. False, and the entry withdrawn, when an account is missing.
  bool settleReceivable(ErrorOut error);
  bool bookWholeSale(ErrorOut error);

  void bookReceipt();
  void roundAway();
  // The entry's own validation. False, and the entry withdrawn, when it does not balance.
  bool accept(ErrorOut error);

 private:
  Row& addExchangeDifference();
  void withdraw();

  Invoice& invoice_;
  const Book& book_;
  const Payment payment_;
  Entry& entry_;
  // What the money falls short of the amount booked for it.
  Decimal shortfall_;
};

}  // namespace internal

}  // namespace bokfolio
