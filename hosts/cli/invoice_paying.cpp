#include "bokfolio/model/ledger/book.hpp"
#include "invoice_lookup.hpp"
#include "invoice_steps.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

void refuseUnpayable(const Invoice& invoice) {
  if (invoice.canBePaid()) return;
  if (!invoice.isSent()) {
    throw Failure(ExitStatus::Refused, invoiceTitle(invoice) + " is not sent yet",
                  "send it with 'bokfolio invoice send'");
  }
  throw Failure(ExitStatus::Refused, invoiceTitle(invoice) + " is not to be paid: " +
                                         invoice.statusDescription().value_or(""));
}

// Only a payment in full books a surplus, as an exchange gain; a part that covers the whole could
// never be settled. In the home currency the library refuses any other amount than what is owed,
// unless it books nothing.
void refuseWrongAmount(Host& host, const Invoice& invoice, const Payment& payment,
                       const Decimal& remaining) {
  const bool foreign = invoice.foreignCurrency();
  if (!foreign && invoice.book()->autoBook()) return;
  const bool fits =
      payment.inFull ? foreign || *payment.amount == remaining : *payment.amount < remaining;
  if (fits) return;
  throw Failure(ExitStatus::Refused,
                amountIn(host, remaining, invoice.book()->currency()) + " is left to pay of " +
                    invoiceTitle(invoice),
                foreign ? "add --in-full; the difference is then an exchange gain"
                        : "leave out the amount to pay just that");
}

}  // namespace

void payInvoice(const Session& session, Invoice* invoice, Payment payment) {
  refuseUnpayable(*invoice);
  const Decimal remaining = invoice->amountRemaining().value_or(Decimal());
  if (!payment.amount || toHundredths(remaining) == *payment.amount) {
    payment.amount = remaining;
    payment.inFull = true;
  }
  refuseWrongAmount(session.host(), *invoice, payment, remaining);
  if (payment.account == nullptr && invoice->book()->autoBook()) {
    throw Failure(ExitStatus::Usage, "the account that received the money is not named",
                  "add --account, such as --account 1930");
  }
  std::optional<Error> error;
  if (invoice->payMeWithFinalAmount(payment.amount, payment.day, payment.inFull, payment.account,
                                    &error)) {
    return;
  }
  throw refusalOf(*invoice, error);
}

}  // namespace bokfolio::cli
