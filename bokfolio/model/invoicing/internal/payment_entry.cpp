#include "bokfolio/model/invoicing/internal/payment_entry.hpp"

#include "bokfolio/model/invoicing/internal/invoice_entry.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::internal {

namespace {

// Money that was paid back stands as a credit, not as a negative debit.
void turnNegativeDebit(Row& row) {
  const Decimal debit = orZero(row.debit());
  if (!debit.isNegative()) return;
  row.setCredit(-debit);
  row.setDebit(Decimal());
}

// Takes the residual out of a row that rounds already, and the row out of the entry when nothing is
// left of it.
void absorb(Row& row, const Decimal& residual) {
  if (row.net().sign() <= 0) {
    row.setCredit(orZero(row.credit()) + residual);
  } else {
    row.setDebit(orZero(row.debit()) - residual);
  }
  if (!row.net().isZero()) return;
  row.setEntry(nullptr);
  row.managedObjectContext().deleteObject(&row);
}

std::string detailsOf(ErrorOut error) {
  if (error == nullptr || !*error) return "(null)";
  std::string details;
  for (const auto& [key, info] : (*error)->userInfo())
    details += (details.empty() ? "" : ", ") + key + " = " + (*error)->text(key);
  return details;
}

std::string rowsOf(const Entry& entry) {
  std::string rows;
  for (const Row* row : entry.rows().members()) {
    const Account* account = row->account();
    rows += (rows.empty() ? "" : ", ") + (account == nullptr ? "?" : account->description()) + ' ' +
            row->net().toString();
  }
  return rows;
}

}  // namespace

PaymentEntry::PaymentEntry(Invoice& invoice, const Payment& payment)
    : invoice_(invoice),
      book_(*invoice.book()),
      payment_(payment),
      entry_(insertUnfiledEntry(
          invoice, entryName(invoice, payment.inFull ? "Paid invoice" : "Partially paid invoice"),
          payment.day)) {}

bool PaymentEntry::settleReceivable(ErrorOut error) {
  Account* receivable = book_.accountsReceivable();
  if (receivable == nullptr) {
    withdraw();
    return refuse(error, InvoiceError::ReceivableMissingForPay,
                  "Accounts receivable' account missing", invoice_.environment());
  }
  Row& row = insertRow(entry_, receivable);
  row.setCredit(payment_.inFull ? payment_.remainingBefore : payment_.amount);
  appendRow(entry_, row);
  if (payment_.inFull && invoice_.foreignCurrency())
    shortfall_ = orZero(invoice_.localAmount()) - orZero(invoice_.paidAmount());
  return true;
}

bool PaymentEntry::bookWholeSale(ErrorOut error) {
  const Decimal rate = orZero(invoice_.localAmount()) / invoice_.totalAmount();
  invoice_.setExchangeRate(rate);
  if (invoice_.addSaleRowsToEntry(entry_, rate)) {
    withdraw();
    return refuse(error, InvoiceError::AccountSettingsMissing, "Some account settings missing",
                  invoice_.environment());
  }
  if (invoice_.foreignCurrency())
    shortfall_ = -(entry_.rows().sum("net") + orZero(invoice_.paidAmount()));
  return true;
}

void PaymentEntry::bookReceipt() {
  Row& received = insertRow(entry_, payment_.receivingAccount);
  received.setDebit(invoice_.bookOnce() ? orZero(invoice_.paidAmount()) : payment_.amount);
  appendRow(entry_, received);
  turnNegativeDebit(shortfall_.isZero() ? received : addExchangeDifference());
}

Row& PaymentEntry::addExchangeDifference() {
  const bool isLoss = shortfall_.sign() > 0;
  Row& row = insertRow(entry_, isLoss ? book_.currencyLosses() : book_.currencyGains());
  if (isLoss) {
    row.setDebit(shortfall_);
  } else {
    row.setCredit(-shortfall_);
  }
  row.setEntry(&entry_);
  return row;
}

void PaymentEntry::roundAway() {
  const Decimal residual = entry_.rows().sum("net");
  invoice_.environment().log().write("remaining diff " + residual.toString());
  Account* rounding = book_.roundingAccount();
  if (residual.isZero() || rounding == nullptr) return;
  bool absorbed = false;
  for (Row* row : entry_.rows().members()) {
    if (row->account() != rounding) continue;
    absorb(*row, residual);
    absorbed = true;
  }
  if (absorbed) return;
  Row& row = insertRow(entry_, rounding);
  if (residual.sign() <= 0) {
    row.setDebit(-residual);
  } else {
    row.setCredit(residual);
  }
  row.setEntry(&entry_);
}

bool PaymentEntry::accept(ErrorOut error) {
  if (entry_.validateForUpdate(error)) return true;
  invoice_.environment().log().write("Invoice entry validation error: " + detailsOf(error) +
                                     "\nEntry:" + rowsOf(entry_));
  withdraw();
  return false;
}

void PaymentEntry::withdraw() { invoice_.managedObjectContext().deleteObject(&entry_); }

}  // namespace bokfolio::internal
