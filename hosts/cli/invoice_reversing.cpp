#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "entry_rows.hpp"
#include "invoice_lookup.hpp"
#include "invoice_steps.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

Decimal orZero(const std::optional<Decimal>& amount) { return amount.value_or(Decimal()); }

// Puts a net on the side that it belongs to; a row of nothing goes.
void setNet(const Session& session, Row* row, const Decimal& net) {
  if (net.isZero()) {
    row->setEntry(nullptr);
    session.context().deleteObject(row);
    return;
  }
  row->setDebit(net.isNegative() ? Decimal() : net);
  row->setCredit(net.isNegative() ? net.negated() : Decimal());
}

// The row of the entry on that account; one without amount when it has none.
Row* rowOn(const Session& session, Entry* entry, Account* account) {
  for (Row* row : entry->rows().members()) {
    if (row->account() == account) return row;
  }
  auto* row = session.context().insert<Row>();
  row->setAccount(account);
  row->setNumber(static_cast<std::int64_t>(entry->rows().count()) + 1);
  row->setEntry(entry);
  return row;
}

// Every amount to the hundredth, and what is then missing onto the rounding account.
void settleOnRounding(const Session& session, Entry* entry) {
  for (Row* row : entry->rows().members()) setNet(session, row, toHundredths(row->net()));
  const Decimal excess = imbalance(*entry);
  if (excess.isZero()) return;
  Account* account = Book::currentBookInContext(session.context())->roundingAccount();
  if (account == nullptr) {
    throw Failure(ExitStatus::Refused, "the book has no account of rounding",
                  "name it with 'bokfolio book set --rounding ACCOUNT'");
  }
  Row* row = rowOn(session, entry, account);
  setNet(session, row, row->net() - excess);
}

// The library scales a reversal to what was not paid, and leaves it off zero by what the scaling
// does not reach: a rounding downwards, the last digit of a third.
void refuseUnbalanced(Host& host, const Invoice& invoice, const Entry& entry) {
  const Decimal excess = imbalance(entry);
  if (excess.isZero()) return;
  const Decimal shown = toHundredths(excess.absolute());
  const auto home = invoice.book()->currency();
  const std::string by = shown.isZero()
                             ? "less than " + amountIn(host, Decimal(1).scaledByPowerOf10(-2), home)
                             : amountIn(host, shown, home);
  throw Failure(
      ExitStatus::Refused,
      "the entry of the unpaid share would be off balance by " + by + ", and could not be filed",
      "add --round to let the account of rounding take that");
}

void accept(const Session& session, const Invoice& invoice, bool settle) {
  for (Entry* entry : entriesMade(session)) {
    if (settle) settleOnRounding(session, entry);
    refuseUnbalanced(session.host(), invoice, *entry);
    refuseUnfileable(session.host(), entry);
  }
}

void refuseUnsent(const Invoice& invoice) {
  if (invoice.isSent()) return;
  throw Failure(ExitStatus::Refused, invoiceTitle(invoice) + " is not sent yet",
                "change it with 'bokfolio invoice set' and 'bokfolio invoice line'");
}

// Without an account the library reverses the unpaid share alone: of nothing unpaid, an entry of
// nothing; of a part, a return that leaves the customer without his money.
void refuseWithoutRefund(Host& host, const Invoice& invoice, const Account* account) {
  const Decimal paid = orZero(invoice.paidAmount());
  const bool booked = !invoice.bookOnce() || invoice.isPaid();
  if (account != nullptr || paid.isZero() || !booked || invoice.isLossOrReturn()) return;
  throw Failure(ExitStatus::Usage,
                "the customer has paid " + amountIn(host, paid, invoice.book()->currency()) +
                    ", and is to have it back",
                "name the account it is paid from, such as --refund-from 1930");
}

}  // namespace

void returnInvoice(const Session& session, Invoice* invoice, Account* refundFrom, bool settle) {
  refuseUnsent(*invoice);
  if (invoice->book()->autoBook()) refuseWithoutRefund(session.host(), *invoice, refundFrom);
  std::optional<Error> error;
  if (!invoice->registerReturnWithError(&error, refundFrom)) throw refusalOf(*invoice, error);
  accept(session, *invoice, settle);
}

void writeOffInvoice(const Session& session, Invoice* invoice, bool settle) {
  refuseUnsent(*invoice);
  std::optional<Error> error;
  if (!invoice->registerCustomerLossWithError(&error)) throw refusalOf(*invoice, error);
  accept(session, *invoice, settle);
}

}  // namespace bokfolio::cli
