// Returns and customer losses: what was booked for the invoice is reversed, less what was paid.
#include "bokfolio/model/invoicing/internal/invoice_entry.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

using internal::orZero;

constexpr std::string_view kReturnRefused =
    "You cannot file an invoice as returned if it has been marked as a customer loss or already "
    "returned.";
constexpr std::string_view kLossRefused =
    "You cannot file an invoice as customer loss if it has been returned, paid or already marked "
    "as customer loss.";
constexpr std::string_view kNoReceivableRow =
    "Cannot find a row for accounts receivable in the sales entry for this invoice.";

bool is(std::optional<std::int64_t> status, InvoiceStatus wanted) {
  return status == static_cast<std::int64_t>(wanted);
}

bool isLost(std::optional<std::int64_t> status) {
  return is(status, InvoiceStatus::CustomerLoss) || is(status, InvoiceStatus::Returned);
}

// The entry in which the sale was booked, by its name.
const Entry* findBookedSale(const Invoice& invoice) {
  return invoice.managedObjectContext().fetchFirst<Entry>(
      Predicate("name = %@", {invoice.bookOnce() ? internal::entryName(invoice, "Paid invoice")
                                                 : invoice.sendEntryName()}));
}

void exchangeSides(const Entry& entry) {
  for (Row* row : entry.rows().members()) {
    const auto debit = row->debit();
    row->setDebit(row->credit());
    row->setCredit(debit);
  }
}

// What stands against the sale: the claim on the customer or the money received. nullptr unless
// there is exactly one.
Row* findReceivableRow(const Entry& entry) {
  const auto rows = entry.rows().filtered(
      Predicate("account.type == %d", {static_cast<std::int64_t>(AccountType::Asset)}));
  return rows.count() == 1 ? rows.first() : nullptr;
}

// What was paid goes back from the account; the rest was never received.
void payBack(const Invoice& invoice, Entry& entry, Row& receivable, Account* account,
             const Decimal& remaining) {
  receivable.setAccount(account);
  if (remaining.isZero()) return;
  receivable.setCredit(invoice.paidAmount());
  const Book* book = invoice.book();
  Row& rest = internal::insertRow(entry, book == nullptr ? nullptr : book->accountsReceivable());
  rest.setCredit(remaining);
  rest.setStatus(std::nullopt);
  rest.setEntry(&entry);
}

// Leaves what was paid as it was sold. Credits of the sale (a rounding downwards, say) stay whole,
// so that such an entry does not balance.
void reverseUnpaidShare(const Entry& entry, Row& receivable, const Decimal& remaining) {
  const Decimal whole = orZero(receivable.credit());
  receivable.setCredit(remaining);
  for (Row* row : entry.rows().members())
    if (row != &receivable) row->setDebit(orZero(row->debit()) * remaining / whole);
}

}  // namespace

bool Invoice::registerReturnWithError(ErrorOut error, Account* account) {
  const auto before = status();
  if (isLost(before))
    return internal::refuse(error, InvoiceError::ReturnRefused, kReturnRefused, environment());
  setStatus(InvoiceStatus::Returned);
  // Booked once, when paid: without payment in full there is nothing to reverse.
  if (bookOnce() && !is(before, InvoiceStatus::Paid)) return true;
  if (!internal::booksAutomatically(*this)) return true;
  return insertReversedSalesEntry(error, account) != nullptr || error == nullptr;
}

bool Invoice::registerCustomerLossWithError(ErrorOut error) {
  const auto before = status();
  if (isLost(before) || is(before, InvoiceStatus::Paid))
    return internal::refuse(error, InvoiceError::LossRefused, kLossRefused, environment());
  setStatus(InvoiceStatus::CustomerLoss);
  if (!internal::booksAutomatically(*this) || bookOnce()) return true;
  return insertReversedSalesEntry(error, nullptr) != nullptr || error == nullptr;
}

Entry* Invoice::insertReversedSalesEntry(ErrorOut error, Account* accountForAlreadyPaid) {
  const Decimal remaining = orZero(amountRemaining());
  const Entry* sale = findBookedSale(*this);
  if (sale == nullptr) {
    internal::refuse(error, InvoiceError::NoSalesEntry, "No sales entry found", environment());
    return nullptr;
  }
  const bool isLoss = is(status(), InvoiceStatus::CustomerLoss);
  Entry& entry = internal::insertUnfiledEntry(
      *this, internal::entryName(*this, isLoss ? "Customer loss entry" : "Returned invoice entry"),
      environment().now());
  entry.copyRowsFromOtherEntry(*sale);
  exchangeSides(entry);
  if (!paidAmount()) return &entry;
  Row* receivable = findReceivableRow(entry);
  if (receivable == nullptr) {
    internal::refuse(error, InvoiceError::NoReceivableRow, kNoReceivableRow, environment());
    return nullptr;
  }
  if (accountForAlreadyPaid != nullptr) {
    payBack(*this, entry, *receivable, accountForAlreadyPaid, remaining);
  } else {
    reverseUnpaidShare(entry, *receivable, remaining);
  }
  return &entry;
}

}  // namespace bokfolio
