#include "tests/simulation/openings.hpp"

#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "tests/simulation/step.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::simulation {

namespace {

constexpr std::int64_t kCash = 1910;
constexpr std::int64_t kSales = 3010;

std::string newFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "openings-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder can be made: " + name);
  return name;
}

std::string nameOf(int changes) { return "Cash " + std::to_string(100'000 + changes); }

Account& cashOf(Context& book) {
  Account* cash = Account::accountWithNumber(kCash, book);
  if (cash == nullptr) throw Disagreement("the document has lost an account");
  return *cash;
}

void sell(Context& book, const Decimal& amount) {
  auto* entry = book.insert<Entry>();
  entry->setName("Sale");
  for (const std::int64_t account : {kCash, kSales}) {
    auto* row = book.insert<Row>();
    row->setAccount(account);
    account == kCash ? row->setDebit(amount) : row->setCredit(amount);
    row->setEntry(entry);
  }
  if (!entry->fileMe(nullptr)) throw Disagreement("an entry is not filed");
}

void make(const std::string& path) {
  const test::TestWorld world;
  const auto book = createDocument(path, world.environment);
  if (book == nullptr) throw Disagreement("no document can be made");
  FiscalYear::createFiscalYearWithDate(world.clock->now(), *book);
  for (const std::int64_t number : {kCash, kSales}) book->insert<Account>()->setNumber(number);
  cashOf(*book).setName(nameOf(0));
  for (int count = 1; count <= 3; ++count) sell(*book, Decimal(count));
  if (!book->save()) throw Disagreement("a new document is not saved");
}

}  // namespace

Holdings holdings() {
  Holdings now;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  const struct mallinfo2 memory = mallinfo2();
  now.allocated = memory.uordblks + memory.hblkhd;
#endif
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  now.resident = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd"))
    ++now.descriptors;
  return now;
}

Openings::Openings() : folder_(newFolder()) { make(folder_ + "/firm.bokfolio"); }

Openings::~Openings() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void Openings::take(Opening opening) {
  switch (opening) {
    case Opening::Read:
      return read();
    case Opening::Change:
      return change();
    case Opening::Create:
      return create();
  }
}

void Openings::read() {
  const test::TestWorld world;
  const auto book = openDocument(folder_ + "/firm.bokfolio", OpenMode::ReadOnly, world.environment);
  if (book == nullptr) throw Disagreement("a document does not open");
  const Account& cash = cashOf(*book);
  FiscalYear* year = FiscalYear::latestFiscalYearInContext(*book);
  if (cash.name() != nameOf(changes_) || cash.balanceByDate(std::nullopt, year) != Decimal(6) ||
      book->fetch<Row>(Predicate("debit > 1")).size() != 2) {
    throw Disagreement("a document does not hold what was saved");
  }
}

void Openings::change() {
  const test::TestWorld world;
  const auto book =
      openDocument(folder_ + "/firm.bokfolio", OpenMode::ReadWrite, world.environment);
  if (book == nullptr) throw Disagreement("a document does not open");
  Account& cash = cashOf(*book);
  if (cash.name() != nameOf(changes_)) throw Disagreement("a change is lost");
  cash.setName(nameOf(++changes_));
  if (!book->save()) throw Disagreement("a change is not saved");
}

void Openings::create() {
  const std::string path = folder_ + "/another.bokfolio";
  make(path);
  std::filesystem::remove(path);
}

}  // namespace bokfolio::simulation
