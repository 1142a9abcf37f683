#include "bokfolio/model/invoicing/internal/invoice_entry.hpp"

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::internal {

bool booksAutomatically(const Invoice& invoice) {
  const Book* book = invoice.book();
  return book != nullptr && book->autoBook();
}

std::string entryName(const Invoice& invoice, std::string_view formatKey) {
  const auto number = invoice.number();
  return invoice.environment().text(formatKey, {number ? std::to_string(*number) : ""});
}

Entry& insertUnfiledEntry(const Invoice& invoice, const std::string& name,
                          std::optional<Date> date) {
  auto* entry = invoice.managedObjectContext().insert<Entry>();
  entry->setNumber(std::nullopt);
  entry->setFiscalYear(nullptr);
  entry->setName(name);
  entry->setDate(date);
  return *entry;
}

Row& insertRow(const Entry& entry, Account* account) {
  auto* row = entry.managedObjectContext().insert<Row>();
  row->setAccount(account);
  return *row;
}

void appendRow(Entry& entry, Row& row) {
  row.setNumber(static_cast<std::int64_t>(entry.rows().count()) + 1);
  row.setEntry(&entry);
}

}  // namespace bokfolio::internal
