#include "bench/bench_book.hpp"

#include <malloc.h>
#include <sqlite3.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>

#include "bokfolio/model/standard_model.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

namespace bokfolio::bench {

namespace {

constexpr int kFirstYear = 2015;

void require(bool done, const std::optional<Error>& error) {
  if (!done) throw std::runtime_error(error ? error->localizedDescription() : "failed");
}

std::unique_ptr<Context> openDocument(const std::string& path, OpenMode mode) {
  SqliteOptions options;
  options.path = path;
  options.mode = mode;
  std::optional<Error> error;
  auto context = Context::open(standardModel().freeze(), makeSqlitePersistence(options),
                               environment(), &error);
  require(context != nullptr, error);
  context->setUndoEnabled(false);
  return context;
}

Date dayOf(int year, std::size_t day) {
  return addingDays(dateFromCivil({year, 1, 1}, {12, 0, 0}, TimeZone::cet()),
                    static_cast<std::int64_t>(day % 364), TimeZone::cet());
}

void addEntry(Context& context, const std::vector<Account*>& accounts, FiscalYear* year, Date day,
              std::int64_t number, std::mt19937_64& random) {
  auto* entry = context.insert<Entry>();
  entry->setName("Sale " + std::to_string(number));
  entry->setDate(day);
  entry->setFiscalYear(year);
  entry->setNumber(number);
  const auto net = Decimal::fromParts(random() % 1'000'000 + 1, -2, false);
  const auto vat = Decimal::fromParts(random() % 250'000 + 1, -2, false);
  const Decimal amounts[kRowsPerEntry] = {net + vat, -net, -vat};
  for (std::size_t at = 0; at < kRowsPerEntry; ++at) {
    auto* row = context.insert<Row>();
    row->setAccount(accounts[random() % accounts.size()]);
    if (amounts[at].sign() > 0) {
      row->setDebit(amounts[at]);
    } else {
      row->setCredit(-amounts[at]);
    }
    row->setEntry(entry);
  }
}

void execute(sqlite3* database, const std::string& statement) {
  char* message = nullptr;
  if (sqlite3_exec(database, statement.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
    const std::string text = message != nullptr ? message : "failed";
    sqlite3_free(message);
    throw std::runtime_error(text + ": " + statement);
  }
}

struct Statement {
  Statement(sqlite3* database, const std::string& text) {
    if (sqlite3_prepare_v2(database, text.c_str(), -1, &handle, nullptr) != SQLITE_OK)
      throw std::runtime_error(sqlite3_errmsg(database));
  }
  ~Statement() { sqlite3_finalize(handle); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  sqlite3_stmt* handle = nullptr;
};

}  // namespace

const std::filesystem::path& folder() {
  struct Folder {
    Folder() {
      std::string name =
          (std::filesystem::temp_directory_path() / "bokfolio-bench-XXXXXX").string();
      if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
      path = name;
    }
    ~Folder() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
  };
  static const Folder own;
  return own.path;
}

Environment environment() {
  Environment own = Environment::system();
  own.setTimeZone(TimeZone::cet());
  own.setLog(std::make_shared<MemoryLog>());
  own.setPreferences(std::make_shared<MemoryPreferences>());
  return own;
}

void fill(Context& context, std::size_t rows) {
  std::mt19937_64 random(rows);
  std::vector<Account*> accounts;
  for (std::size_t at = 0; at < kAccounts; ++at) {
    auto* account = context.insert<Account>();
    account->setNumber(static_cast<std::int64_t>(1000 + 10 * at));
    account->setName("Account " + std::to_string(at));
    account->setType(static_cast<std::int64_t>(at % 4));
    accounts.push_back(account);
  }
  const std::size_t entriesPerYear = rows / kRowsPerEntry / kYears;
  for (std::size_t at = 0; at < kYears; ++at) {
    const int number = kFirstYear + static_cast<int>(at);
    auto* year = FiscalYear::createFiscalYearWithDate(dayOf(number, 100), context);
    for (std::size_t entry = 0; entry < entriesPerYear; ++entry)
      addEntry(context, accounts, year, dayOf(number, entry * 364 / entriesPerYear),
               static_cast<std::int64_t>(entry + 1), random);
  }
  context.insert<Entry>();
}

void addEntries(Context& context, std::size_t entries, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  const auto accounts = context.fetch<Account>();
  auto* year = FiscalYear::latestFiscalYearInContext(context);
  std::int64_t number = year->highestEntryNumber();
  for (std::size_t at = 0; at < entries; ++at)
    addEntry(context, accounts, year, dayOf(kFirstYear + static_cast<int>(kYears) - 1, at % 364),
             ++number, random);
}

std::unique_ptr<Context> createDocument(const std::string& path) {
  return openDocument(path, OpenMode::Create);
}

std::unique_ptr<Context> open(const std::string& path) {
  return openDocument(path, OpenMode::ReadWrite);
}

std::string savedBook(std::size_t rows) {
  const std::string path = (folder() / (std::to_string(rows) + ".bokfolio")).string();
  if (std::filesystem::exists(path)) return path;
  auto context = createDocument(path);
  fill(*context, rows);
  std::optional<Error> error;
  require(context->save(&error), error);
  return path;
}

Decimal trialBalance(Context& context) {
  auto* year = FiscalYear::latestFiscalYearInContext(context);
  Decimal sum;
  for (Account* account : context.fetch<Account>())
    sum += account->balanceByDate(std::nullopt, year).absolute();
  return sum;
}

void fileOneEntry(Context& context, std::uint64_t round) {
  auto* entry = Entry::findTheNewInContext(context);
  entry->setName("Filed");
  const auto amount = Decimal::fromParts(round % 10'000 + 200, -2, false);
  const Decimal amounts[kRowsPerEntry] = {amount, -(amount - 1), -1};
  for (std::size_t at = 0; at < kRowsPerEntry; ++at) {
    auto* row = context.insert<Row>();
    row->setAccount(1000 + 10 * static_cast<std::int64_t>((round + at * 7) % kAccounts));
    if (amounts[at].sign() > 0) {
      row->setDebit(amounts[at]);
    } else {
      row->setCredit(-amounts[at]);
    }
    row->setEntry(entry);
  }
  std::optional<Error> error;
  require(entry->fileMe(&error).has_value(), error);
  context.insert<Entry>();
}

// --- Floors
// ---------------------------------------------------------------------------------------

PlainTable::PlainTable(const std::string& document, bool filled) {
  const std::string path = (folder() / "plain.sqlite").string();
  std::filesystem::remove(path);
  if (sqlite3_open(path.c_str(), &database_) != SQLITE_OK) throw std::runtime_error("no database");
  execute(database_, "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL;");
  execute(database_, "ATTACH '" + document + "' AS document");
  std::vector<std::string> definitions;
  {
    Statement tables(database_,
                     "SELECT sql FROM document.sqlite_master WHERE tbl_name = 'Row' AND sql NOT "
                     "NULL ORDER BY type DESC");
    while (sqlite3_step(tables.handle) == SQLITE_ROW)
      definitions.emplace_back(
          reinterpret_cast<const char*>(sqlite3_column_text(tables.handle, 0)));
  }
  for (const auto& definition : definitions) execute(database_, definition);
  if (filled) execute(database_, "INSERT INTO main.Row SELECT * FROM document.Row");
  execute(database_, "DETACH document");
}

PlainTable::~PlainTable() { sqlite3_close(database_); }

void PlainTable::clear() { execute(database_, "DELETE FROM Row"); }

void PlainTable::insert(std::size_t rows) {
  execute(database_, "BEGIN IMMEDIATE");
  Statement statement(database_,
                      "INSERT INTO Row (id, version, debit, credit, status, number, account, "
                      "entry) VALUES (?1, 1, ?2, ?3, 0, ?4, ?5, ?6)");
  std::mt19937_64 random(rows);
  char text[32];
  for (std::size_t row = 1; row <= rows; ++row) {
    const std::uint64_t cents = random() % 1'000'000 + 100;
    auto end = std::to_chars(text, text + 24, cents / 100).ptr;
    *end++ = '.';
    *end++ = static_cast<char>('0' + cents / 10 % 10);
    *end++ = static_cast<char>('0' + cents % 10);
    sqlite3_bind_int64(statement.handle, 1, static_cast<sqlite3_int64>(row));
    sqlite3_bind_text(statement.handle, 2, text, static_cast<int>(end - text), SQLITE_STATIC);
    sqlite3_bind_text(statement.handle, 3, "0", 1, SQLITE_STATIC);
    sqlite3_bind_int64(statement.handle, 4, static_cast<sqlite3_int64>(row % kRowsPerEntry + 1));
    sqlite3_bind_int64(statement.handle, 5, static_cast<sqlite3_int64>(random() % kAccounts + 1));
    sqlite3_bind_int64(statement.handle, 6, static_cast<sqlite3_int64>(row / kRowsPerEntry + 1));
    if (sqlite3_step(statement.handle) != SQLITE_DONE)
      throw std::runtime_error(sqlite3_errmsg(database_));
    sqlite3_reset(statement.handle);
  }
  execute(database_, "COMMIT");
}

std::int64_t PlainTable::scan() {
  struct PlainRow {
    std::int64_t id, version, debitCents, creditCents, when, status, number, tag, account, entry;
    std::string who;
  };
  const auto cents = [](const unsigned char* text) {
    std::int64_t value = 0;
    int decimals = -1;
    for (; text != nullptr && *text != 0 && decimals < 2; ++text) {
      if (*text == '.') {
        decimals = 0;
      } else if (*text != '-') {
        value = value * 10 + (*text - '0');
        if (decimals >= 0) ++decimals;
      }
    }
    for (; decimals < 2; decimals += decimals < 0 ? 2 : 1) value *= decimals < 0 ? 100 : 10;
    return value;
  };
  Statement statement(database_,
                      "SELECT id, version, debit, credit, who, \"when\", status, number, tag, "
                      "account, entry FROM Row ORDER BY id");
  std::vector<PlainRow> rows;
  while (sqlite3_step(statement.handle) == SQLITE_ROW) {
    sqlite3_stmt* at = statement.handle;
    PlainRow& row = rows.emplace_back();
    row.id = sqlite3_column_int64(at, 0);
    row.version = sqlite3_column_int64(at, 1);
    row.debitCents = cents(sqlite3_column_text(at, 2));
    row.creditCents = cents(sqlite3_column_text(at, 3));
    if (const auto* who = sqlite3_column_text(at, 4)) row.who = reinterpret_cast<const char*>(who);
    row.when = sqlite3_column_int64(at, 5);
    row.status = sqlite3_column_int64(at, 6);
    row.number = sqlite3_column_int64(at, 7);
    row.tag = sqlite3_column_int64(at, 8);
    row.account = sqlite3_column_int64(at, 9);
    row.entry = sqlite3_column_int64(at, 10);
  }
  std::int64_t sum = 0;
  for (const PlainRow& row : rows) sum += row.debitCents;
  return sum;
}

std::size_t heapBytes() { return mallinfo2().uordblks + mallinfo2().hblkhd; }

}  // namespace bokfolio::bench
