// Carrying a year forward and saving, beside the bare SQLite transaction that replaces the same
// opening balances in the same file. Once the sums of the book are known, the rows of the year must
// not matter: compare the year full of rows with the one that has opening balances alone. What it
// costs to learn the sums is measured beside one plain visit to every row.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

#include "bench/bench_book.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/platform/calendar.hpp"

namespace bokfolio::bench {
namespace {

constexpr std::size_t kBalanceAccounts = 300;
constexpr std::int64_t kBig = 1'000'000;
constexpr int kClosed = 2025;

Date noonOf(int year, int month, int day) {
  return dateFromCivil({year, month, day}, {12, 0, 0}, TimeZone::cet());
}

std::vector<Account*> addAccounts(Context& context, FiscalYear* year) {
  std::vector<Account*> accounts;
  for (std::size_t at = 0; at < kBalanceAccounts; ++at) {
    auto* account = context.insert<Account>();
    account->setNumber(static_cast<std::int64_t>(1000 + at));
    account->setType(static_cast<std::int64_t>(at % 2));
    auto* opening = context.insert<StartingBalance>();
    opening->setAccount(account);
    opening->setFiscalYear(year);
    opening->setBalance(Decimal(static_cast<std::int64_t>(at + 1)));
    accounts.push_back(account);
  }
  return accounts;
}

void addRows(Context& context, FiscalYear* year, std::size_t rows) {
  const std::vector<Account*> accounts = context.fetch<Account>();
  std::mt19937_64 random(rows);
  for (std::size_t number = 1; number <= rows / 2; ++number) {
    auto* entry = context.insert<Entry>();
    entry->setDate(noonOf(kClosed, 1 + static_cast<int>(number % 12), 15));
    entry->setNumber(static_cast<std::int64_t>(number));
    entry->setFiscalYear(year);
    const auto amount = Decimal::fromParts(random() % 1'000'000 + 1, -2, false);
    for (const bool debit : {true, false}) {
      auto* row = context.insert<Row>();
      row->setAccount(accounts[random() % accounts.size()]);
      debit ? row->setDebit(amount) : row->setCredit(amount);
      row->setEntry(entry);
    }
  }
}

// A saved book of two years: the first with that many rows, the second to be opened.
std::string savedYears(std::size_t rows) {
  const std::string path = (folder() / ("carry-" + std::to_string(rows) + ".bokfolio")).string();
  if (std::filesystem::exists(path)) return path;
  const auto context = createDocument(path);
  auto* closed = FiscalYear::createFiscalYearWithDate(noonOf(kClosed, 7, 1), *context);
  FiscalYear::createFiscalYearWithDate(noonOf(kClosed + 1, 7, 1), *context);
  addAccounts(*context, closed);
  addRows(*context, closed, rows);
  if (!context->save()) throw std::runtime_error("the book could not be saved");
  return path;
}

void carryForwardAndSave(benchmark::State& state) {
  const auto context = open(savedYears(static_cast<std::size_t>(state.range(0))));
  FiscalYear* opened = FiscalYear::latestFiscalYearInContext(*context);
  // Everything has been read, and there are balances to replace.
  bool done = opened->updateStartingBalances() && context->save();
  for (auto _ : state) done = done && opened->updateStartingBalances() && context->save();
  if (!done || opened->startingBalances().count() != kBalanceAccounts)
    state.SkipWithError("not carried forward");
}
BENCHMARK(carryForwardAndSave)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(100);
BENCHMARK(carryForwardAndSave)->Arg(kBig)->Unit(benchmark::kMillisecond)->Iterations(100);

void firstCarryForwardOfAnOpenedBook(benchmark::State& state) {
  const std::string path = savedYears(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    auto context = open(path);
    benchmark::DoNotOptimize(context->fetch<Row>());
    FiscalYear* opened = FiscalYear::latestFiscalYearInContext(*context);
    state.ResumeTiming();
    benchmark::DoNotOptimize(opened->updateStartingBalances());
    state.PauseTiming();
    context.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(firstCarryForwardOfAnOpenedBook)->Arg(kBig)->Unit(benchmark::kMillisecond)->Iterations(3);

// What any program would do: one visit to every row of the year, and its sums by account.
void floorSumsOfTheRows(benchmark::State& state) {
  const auto context = open(savedYears(static_cast<std::size_t>(state.range(0))));
  const std::vector<Row*> rows = context->fetch<Row>();
  for (auto _ : state) {
    std::vector<Decimal> sums(kBalanceAccounts);
    for (const Row* row : rows) {
      const auto number = row->accountNumber().value_or(1000);
      sums[static_cast<std::size_t>(number - 1000)] += row->net();
    }
    benchmark::DoNotOptimize(sums);
  }
}
BENCHMARK(floorSumsOfTheRows)->Arg(kBig)->Unit(benchmark::kMillisecond)->Iterations(5);

class BareFile {
 public:
  explicit BareFile(const std::string& path) {
    if (sqlite3_open(path.c_str(), &database_) != SQLITE_OK) throw std::runtime_error(path);
    run("PRAGMA synchronous=EXTRA; PRAGMA foreign_keys=ON");
  }
  ~BareFile() { sqlite3_close(database_); }
  BareFile(const BareFile&) = delete;
  BareFile& operator=(const BareFile&) = delete;

  void run(const char* statements) {
    if (sqlite3_exec(database_, statements, nullptr, nullptr, nullptr) != SQLITE_OK)
      throw std::runtime_error(sqlite3_errmsg(database_));
  }
  // In one transaction, with the statement prepared once.
  void replaceOpenings() {
    run("BEGIN IMMEDIATE; DELETE FROM StartingBalance WHERE fiscalYear = 2");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database_,
                       "INSERT INTO StartingBalance(version, account, balance, fiscalYear)"
                       " VALUES(1, ?, ?, 2)",
                       -1, &insert, nullptr);
    for (std::size_t at = 1; at <= kBalanceAccounts; ++at) {
      const std::string balance = std::to_string(at * 7919) + ".25";
      sqlite3_bind_int64(insert, 1, static_cast<std::int64_t>(at));
      sqlite3_bind_text(insert, 2, balance.c_str(), -1, SQLITE_TRANSIENT);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    run("UPDATE bokfolio_entity SET next_id = next_id + 300 WHERE name = 'StartingBalance';"
        "COMMIT");
  }

 private:
  sqlite3* database_ = nullptr;
};

void floorReplaceOpenings(benchmark::State& state) {
  const std::string path = savedYears(static_cast<std::size_t>(state.range(0)));
  const std::string copy = path + ".floor";
  std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
  BareFile file(copy);
  file.replaceOpenings();
  for (auto _ : state) file.replaceOpenings();
}
BENCHMARK(floorReplaceOpenings)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(100);
BENCHMARK(floorReplaceOpenings)->Arg(kBig)->Unit(benchmark::kMillisecond)->Iterations(100);

}  // namespace
}  // namespace bokfolio::bench
