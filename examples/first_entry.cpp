// Opens a new book, files one entry and saves it: the least that a host does.
#include <iostream>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"

using namespace bokfolio;

namespace {

Account* addAccount(Context& book, std::int64_t number, const char* name) {
  auto* account = book.insert<Account>();
  account->setNumber(number);
  account->setName(name);
  return account;
}

void post(Entry& entry, std::int64_t account, const Decimal& amount) {
  auto* row = entry.managedObjectContext().insert<Row>();
  row->setAccount(account);
  amount.sign() > 0 ? row->setDebit(amount) : row->setCredit(-amount);
  row->setEntry(&entry);
}

int failed(const std::optional<Error>& error) {
  std::cerr << (error ? error->localizedDescription() : "failed") << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::optional<Error> error;
  const auto book =
      createDocument(argc > 1 ? argv[1] : "firm.bokfolio", Environment::system(), &error);
  if (!book) return failed(error);

  FiscalYear::createFiscalYearWithDate(book->environment().now(), *book);
  Account* cash = addAccount(*book, 1910, "Cash");
  addAccount(*book, 3010, "Sales")->setType(2);

  auto* entry = book->insert<Entry>();  // a fresh entry is the new one, under composition
  entry->setName("First sale");
  post(*entry, 1910, 250);
  post(*entry, 3010, -250);
  if (!entry->fileMe(&error) || !book->save(&error)) return failed(error);

  std::cout << entry->description() << ": cash is now " << cash->balance()->toString() << '\n';
}
