// The work of a day in books of three sizes, and what a document costs to write and to read, beside
// the same work done with plain SQLite in the same run. Compare the sizes of one line, and each
// line with its floor; the times themselves belong to the machine.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "bench/bench_book.hpp"

namespace bokfolio::bench {
namespace {

constexpr std::int64_t kSmall = 1'000;
constexpr std::int64_t kMiddle = 100'000;
constexpr std::int64_t kBig = 1'000'000;

// One book of a size at a time, so that no other fills the caches.
struct OpenBook {
  std::size_t rows = 0;
  std::unique_ptr<Context> context;
};

OpenBook& openBook() {
  static OpenBook only;
  return only;
}

void closeBook() { openBook() = {}; }

Context& book(std::size_t rows) {
  auto& [current, context] = openBook();
  if (current != rows) {
    context.reset();
    context = open(savedBook(rows));
    current = rows;
    trialBalance(*context);     // everything has been read once
    fileOneEntry(*context, 0);  // and every index that filing asks
  }
  return *context;
}

void accountByNumber(benchmark::State& state) {
  Context& context = book(static_cast<std::size_t>(state.range(0)));
  std::int64_t number = 0;
  for (auto _ : state) {
    number = (number + 7) % static_cast<std::int64_t>(kAccounts);
    benchmark::DoNotOptimize(Account::accountWithNumber(1000 + 10 * number, context));
  }
}
BENCHMARK(accountByNumber)->Arg(kSmall)->Arg(kMiddle)->Arg(kBig);

void fileAnEntryOfThreeRows(benchmark::State& state) {
  Context& context = book(static_cast<std::size_t>(state.range(0)));
  std::uint64_t round = 0;
  for (auto _ : state) fileOneEntry(context, ++round);
}
BENCHMARK(fileAnEntryOfThreeRows)->Arg(kSmall)->Arg(kMiddle)->Arg(kBig)->Iterations(2'000);

void trialBalanceOfAYear(benchmark::State& state) {
  Context& context = book(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(trialBalance(context));
}
BENCHMARK(trialBalanceOfAYear)->Arg(kSmall)->Arg(kMiddle)->Arg(kBig)->Unit(benchmark::kMillisecond);

void saveNewRows(benchmark::State& state) {
  const auto rows = static_cast<std::size_t>(state.range(0));
  const std::string path = (folder() / "save.bokfolio").string();
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(path);
    auto context = createDocument(path);
    fill(*context, 0);
    context->save();
    addEntries(*context, rows / kRowsPerEntry, 1);
    state.ResumeTiming();
    if (!context->save()) state.SkipWithError("the save failed");
    state.PauseTiming();
    context.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(saveNewRows)->Arg(kMiddle)->Unit(benchmark::kMillisecond)->Iterations(3);

void floorInsertRows(benchmark::State& state) {
  PlainTable table(savedBook(kSmall), false);
  for (auto _ : state) {
    state.PauseTiming();
    table.clear();
    state.ResumeTiming();
    table.insert(static_cast<std::size_t>(state.range(0)));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(floorInsertRows)->Arg(kMiddle)->Unit(benchmark::kMillisecond)->Iterations(3);

void makeNewRows(benchmark::State& state) {
  closeBook();
  for (auto _ : state) {
    state.PauseTiming();
    auto context = open(savedBook(kSmall));
    state.ResumeTiming();
    addEntries(*context, static_cast<std::size_t>(state.range(0)) / kRowsPerEntry, 1);
    state.PauseTiming();
    context.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(makeNewRows)->Arg(kMiddle)->Unit(benchmark::kMillisecond)->Iterations(3);

void reopenAndTouchEveryRow(benchmark::State& state) {
  closeBook();
  const std::string path = savedBook(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    auto context = open(path);
    Decimal sum;
    for (const Row* row : context->fetch<Row>()) sum += row->debit().value_or(0);
    benchmark::DoNotOptimize(sum);
    state.PauseTiming();
    context.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(reopenAndTouchEveryRow)->Arg(kMiddle)->Arg(kBig)->Unit(benchmark::kMillisecond);

void floorScanRows(benchmark::State& state) {
  closeBook();
  PlainTable table(savedBook(static_cast<std::size_t>(state.range(0))), true);
  for (auto _ : state) benchmark::DoNotOptimize(table.scan());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(floorScanRows)->Arg(kMiddle)->Arg(kBig)->Unit(benchmark::kMillisecond);

// Heap bytes for each row when all rows, their entries and both far sets are in memory.
void memoryOfALoadedRow(benchmark::State& state) {
  closeBook();
  const std::string path = savedBook(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    const std::size_t before = heapBytes();
    auto context = open(path);
    for (const Account* account : context->fetch<Account>())
      benchmark::DoNotOptimize(account->rows().count());
    const std::size_t rowsLoaded = heapBytes();
    for (const Entry* entry : context->fetch<Entry>())
      benchmark::DoNotOptimize(entry->rows().count());
    const auto perRow = [&](std::size_t bytes) {
      return static_cast<double>(bytes) / static_cast<double>(state.range(0));
    };
    state.counters["bytes_row"] = perRow(rowsLoaded - before);
    state.counters["bytes_row_and_its_share_of_entries"] = perRow(heapBytes() - before);
  }
}
BENCHMARK(memoryOfALoadedRow)->Arg(kBig)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace bokfolio::bench
