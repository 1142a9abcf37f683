// Sending: the invoice's terms and amounts are frozen, and the sale is booked when the book does so
// at sending.
#include "bokfolio/model/invoicing/internal/invoice_entry.hpp"
#include "bokfolio/model/invoicing/internal/sales_amounts.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

void fillInReferences(Invoice& invoice) {
  if (!invoice.yourRef()) invoice.setYourRef(invoice.company());
  if (!invoice.company()) invoice.setCompany(invoice.yourRef());
}

// The row that accounts receivable get for a sale: it balances the entry exactly, whatever the
// sales rows come to.
Row& insertReceivableRow(Entry& entry, Account* receivable) {
  const Decimal owed = -entry.rows().sum("net");
  Row& row = internal::insertRow(entry, receivable);
  row.setEntry(&entry);
  // One beyond its place. Only the order counts.
  row.setNumber(static_cast<std::int64_t>(entry.rows().count()) + 1);
  row.setDebit(owed);
  return row;
}

// The row that says what the customer owes; nullptr when the sale could not be booked.
const Row* bookSale(Invoice& invoice, const Decimal& rate, ErrorOut error) {
  const Environment& host = invoice.environment();
  Account* receivable = invoice.book()->accountsReceivable();
  if (receivable == nullptr) {
    internal::refuse(error, InvoiceError::ReceivableMissingForSale, "No accounts receivable.",
                     host);
    return nullptr;
  }
  Entry& entry = internal::insertUnfiledEntry(invoice, invoice.sendEntryName(), invoice.date());
  if (invoice.addSaleRowsToEntry(entry, rate)) {
    invoice.managedObjectContext().deleteObject(&entry);
    internal::refuse(error, InvoiceError::SaleNotBookable, "Could not create a sales entry.", host);
    return nullptr;
  }
  return &insertReceivableRow(entry, receivable);
}

// `terms` is the text as it was shown before sending.
void freezeTerms(Invoice& invoice, const std::optional<std::string>& terms) {
  const Book* book = invoice.book();
  invoice.setStatus(InvoiceStatus::Sent);
  invoice.setBookOnce(book != nullptr && book->bookOnce());
  invoice.setDays(book == nullptr ? std::nullopt : book->days());
  invoice.setCreditDetails(terms);
}

}  // namespace

bool Invoice::sendMeWithExchangeRate(const std::optional<Decimal>& rate, ErrorOut error) {
  if (lines().empty())
    return internal::refuse(error, InvoiceError::NoLines, "An invoice requires some lines to send.",
                            environment());
  const Decimal usedRate = foreignCurrency() ? rate.value_or(1) : Decimal(1);
  setLocalAmount(totalAmount() * usedRate);
  setExchangeRate(usedRate);
  fillInReferences(*this);
  const auto terms = creditDetails();
  const Row* owed = nullptr;
  if (internal::booksAutomatically(*this) && !book()->bookOnce()) {
    owed = bookSale(*this, usedRate, error);
    if (owed == nullptr) return false;
  }
  freezeTerms(*this, terms);
  if (owed != nullptr) setLocalAmount(owed->debit());
  return true;
}

bool Invoice::addSaleRowsToEntry(Entry& entry, const Decimal& rate) {
  const auto amounts = internal::SalesAmounts::ofInvoice(*this, rate);
  if (amounts) amounts->post(entry);
  return !amounts;
}

std::string Invoice::sendEntryName() const { return internal::entryName(*this, "Sent invoice"); }

}  // namespace bokfolio
