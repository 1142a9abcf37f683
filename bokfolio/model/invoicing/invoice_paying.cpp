// Paying: a payment is noted on the invoice and booked. What was booked when the invoice was sent
// moves from accounts receivable; what was not is booked now as a whole.
#include "bokfolio/model/invoicing/internal/invoice_entry.hpp"
#include "bokfolio/model/invoicing/internal/payment_entry.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/platform/environment.hpp"

namespace bokfolio {

namespace {

using internal::orZero;

constexpr std::string_view kNotTheAmountOwed =
    "Total amount paid may not exceed the amount owed. If you receive more than you were owed, you "
    "must file the exceeding amount separately.";

// A caller must say where the money went, how much it was and when it came.
bool hasArguments(const Environment& host, const Account* receivingAccount,
                  const std::optional<Decimal>& amount, std::optional<Date> day) {
  const auto require = [&host](bool given, std::string_view failure) {
    constexpr const char* kOperation = "payMeWithFinalAmount:onDay:inFull:receivingAccount:error:";
    if (!given) host.assertions().handleFailure(failure, kOperation, __LINE__);
    return given;
  };
  const bool hasAccount =
      require(receivingAccount != nullptr, "Inget mottagarkonto i payMeWithpaidNow!");
  const bool hasAmount = require(amount.has_value(), "Inget belopp i payMeWithpaidNow!");
  const bool hasDay = require(day.has_value(), "Inget datum i payMeWithpaidNow!");
  return hasAccount && hasAmount && hasDay;
}

// In the home currency no more may come than is owed, and a payment in full covers it. In a foreign
// one the difference is the exchange rate's.
bool isWhatIsOwed(const Invoice& invoice, bool inFull) {
  if (invoice.foreignCurrency()) return true;
  const Decimal paid = orZero(invoice.paidAmount());
  const Decimal owed = orZero(invoice.localAmount());
  return inFull ? paid == owed : paid <= owed;
}

// An exchange difference wants both accounts, whichever of them it is then booked on.
bool hasAccountsForDifference(const Invoice& invoice, bool inFull) {
  if (!inFull || !invoice.foreignCurrency()) return true;
  const Book* book = invoice.book();
  return orZero(invoice.localAmount()) == orZero(invoice.paidAmount()) ||
         (book->currencyGains() != nullptr && book->currencyLosses() != nullptr);
}

}  // namespace

bool Invoice::payMeWithFinalAmount(const std::optional<Decimal>& amount, std::optional<Date> day,
                                   bool inFull, Account* receivingAccount, ErrorOut error) {
  const Decimal remainingBefore = orZero(amountRemaining());
  setPaidAmount(orZero(amount) + orZero(paidAmount()));
  setStatus(inFull ? InvoiceStatus::Paid : InvoiceStatus::PartiallyPaid);
  if (inFull) setPaidDate(day);
  const Environment& host = environment();
  if (!internal::booksAutomatically(*this)) return true;
  if (!hasArguments(host, receivingAccount, amount, day)) return false;
  if (!isWhatIsOwed(*this, inFull))
    return internal::refuse(error, InvoiceError::NotTheAmountOwed, kNotTheAmountOwed, host);
  if (!inFull && bookOnce()) return true;
  if (!hasAccountsForDifference(*this, inFull))
    return internal::refuse(error, InvoiceError::NoCurrencyAccounts,
                            "Currency gain/loss accounts missing", host);
  internal::PaymentEntry entry(*this, {*amount, *day, inFull, receivingAccount, remainingBefore});
  if (!(bookOnce() ? entry.bookWholeSale(error) : entry.settleReceivable(error))) return false;
  entry.bookReceipt();
  entry.roundAway();
  return entry.accept(error);
}

}  // namespace bokfolio
