// Work on many records at once: imports, big saves, reading a whole book, closing a year.
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "bench/bare_document.hpp"
#include "bench/books.hpp"
#include "bench/plain_ledger.hpp"
#include "bench/works.hpp"
#include "bokfolio/interchange/sie/sie_importer.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/platform/calendar.hpp"

namespace bokfolio::bench {

namespace {

constexpr double kBudget = 6;

// Inserts the rows into a copy of the document as it was before them.
Time plainInsert(const std::string& before, const std::string& copy, const AddedRows& rows) {
  copyDocument(before, copy);
  BareDocument floor(copy);
  return timed([&] { floor.insert(rows); });
}

// --- Closing a year

FiscalYear& addNextYear(Context& context) {
  auto* year = FiscalYear::createFiscalYearWithDate(
      dateFromCivil({kLastYear + 1, 7, 1}, {}, TimeZone::cet()), context);
  save(context);
  return *year;
}

void carryForward(Context& context) {
  std::optional<Error> error;
  if (!FiscalYear::latestFiscalYearInContext(context)->updateStartingBalances(&error))
    throw std::runtime_error(error ? error->localizedDescription() : "not carried forward");
  save(context);
}

void dropOpenings(Context& context) {
  for (StartingBalance* balance : context.fetch<StartingBalance>()) context.deleteObject(balance);
  save(context);
}

Outcome carryForwardOf(const Case& of, bool known) {
  const std::string before = of.path("years.bokfolio");
  const std::string learnt = of.path("carried.bokfolio");
  const std::string ours = of.path("ours.bokfolio");
  const std::string plain = of.path("plain.bokfolio");
  copyDocument(of.book, before);
  addNextYear(*open(before));
  for (const std::string& path : {learnt, ours, plain}) copyDocument(before, path);
  carryForward(*open(learnt));
  const AddedRows rows(learnt, before);

  BareDocument floor(plain);
  std::vector<Time> runs;
  std::vector<Time> commits;
  std::int64_t peak = 0;
  auto context = open(ours);
  if (known) trialBalance(*context, *lastYearWithEntries(*context));
  repeat(3, 41, kBudget, [&](std::size_t) {
    if (!known) {
      context.reset();
      context = open(ours);
    }
    runs.push_back(timed([&] { carryForward(*context); }));
    if (context->count("StartingBalance") != rows.count("StartingBalance"))
      throw std::runtime_error("not as many opening balances as before");
    dropOpenings(*context);
    if (peak == 0) peak = peakResident();
    commits.push_back(timed([&] { floor.insert(rows); }));
    floor.remove(rows);
  });
  return {medianOf(runs), medianOf(commits), peak};
}

// --- Writing

void import(Context& context, const std::string& path) {
  context.setUndoEnabled(false);
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  std::optional<Error> error;
  const auto file = readSie(std::move(bytes).str(), &error);
  const auto report = file ? importSie(context, *file, {}, &error) : std::nullopt;
  if (!report) throw std::runtime_error(error ? error->localizedDescription() : "not imported");
  save(context);
}

// `write`, which answers its time, adds entries to a copy of the book; the floor is a plain
// insertion of the same rows.
Outcome additionOf(const Case& of, std::size_t entries, std::size_t atLeast, std::size_t atMost,
                   const std::function<Time(Context&)>& write) {
  const std::string ours = of.path("ours.bokfolio");
  std::vector<Time> runs;
  std::vector<Time> floors;
  std::int64_t peak = 0;
  std::optional<AddedRows> rows;
  repeat(atLeast, atMost, kBudget, [&](std::size_t) {
    copyDocument(of.book, ours);
    runs.push_back(write(*open(ours)));
    if (peak == 0) peak = peakResident();
    if (!rows) rows.emplace(ours, of.book);
    if (rows->count("Row") != entries * kRowsPerEntry) throw std::runtime_error("rows are missing");
    floors.push_back(plainInsert(of.book, of.path("plain.bokfolio"), *rows));
  });
  return {medianOf(runs), medianOf(floors), peak};
}

Outcome importOf(const Case& of) {
  const std::string sie = of.path("import.se");
  std::ofstream(sie, std::ios::binary) << sieText(of.size);
  return additionOf(of, of.size / kRowsPerEntry, 1, 5,
                    [&](Context& context) { return timed([&] { import(context, sie); }); });
}

Outcome saveOfNewEntries(const Case& of) {
  return additionOf(of, of.size, 3, 11, [&](Context& context) {
    addEntries(context, of.size, 1);
    return timed([&] { save(context); });
  });
}

// --- Reading

std::string touchEverything(Context& context) {
  Decimal sum;
  std::int64_t dates = 0;
  for (const Row* row : context.fetch<Row>()) {
    sum += row->debit().value_or(Decimal());
    dates ^= row->entry()->date().value_or(Date()).microseconds();
  }
  if (dates == 1) throw std::runtime_error("dates are whole seconds");
  return sum.toString();
}

Outcome loadOf(const Case& of) {
  std::vector<Time> runs;
  std::vector<Time> floors;
  std::int64_t peak = 0;
  repeat(3, 11, kBudget, [&](std::size_t) {
    std::unique_ptr<Context> context;
    std::string ours;
    runs.push_back(timed([&] {
      context = open(of.book);
      ours = touchEverything(*context);
    }));
    context.reset();
    if (peak == 0) peak = peakResident();
    BareDocument floor(of.book);
    std::string plain;
    floors.push_back(timed([&] { plain = floor.scanIntoStructs(); }));
    if (ours != plain) throw std::runtime_error("debits differ: " + ours + " and " + plain);
  });
  return {medianOf(runs), medianOf(floors), peak};
}

// Bytes of heap that come with the rows when entries and accounts are there already: the records,
// both far sides, indexes and sums.
double bytesOfARow(const Case& of) {
  const auto context = open(of.book);
  std::int64_t touched = 0;
  for (const Account* account : context->fetch<Account>()) touched += account->number().value_or(0);
  for (const Entry* entry : context->fetch<Entry>()) touched += entry->number().value_or(0);
  const std::int64_t before = heapBytes();
  std::size_t rows = 0;
  for (const Row* row : context->fetch<Row>()) {
    touched += row->number().value_or(0);
    ++rows;
  }
  for (const Account* account : context->fetch<Account>())
    touched += static_cast<std::int64_t>(account->rows().count());
  for (const Entry* entry : context->fetch<Entry>())
    touched += static_cast<std::int64_t>(entry->rows().count());
  trialBalance(*context, *lastYearWithEntries(*context));
  if (touched == 0) throw std::runtime_error("nothing was touched");
  return static_cast<double>(heapBytes() - before) / static_cast<double>(rows);
}

double bytesOfAPlainRow(std::size_t rows) {
  PlainLedger ledger(kAccounts);
  const std::size_t entries = rows / kRowsPerEntry;
  for (std::size_t entry = 0; entry < entries; ++entry) ledger.addEntry();
  const std::int64_t before = heapBytes();
  for (std::size_t entry = 0; entry < entries; ++entry) ledger.addRows(entry, entry);
  return static_cast<double>(heapBytes() - before) / static_cast<double>(entries * kRowsPerEntry);
}

Outcome memoryOfARow(const Case& of) {
  const double ours = bytesOfARow(of);
  const std::int64_t peak = peakResident();
  return {{ours, ours}, Time{bytesOfAPlainRow(of.size), 0}, peak};
}

Work work(std::string name, std::string floor, double atMost, std::size_t at,
          std::function<Outcome(const Case&)> run) {
  Work made;
  made.name = std::move(name);
  made.floor = std::move(floor);
  made.sizes = {kThousand, kHundredThousand, kMillion};
  made.goals = {{Goal::Kind::OfFloor, atMost, at}};
  made.run = std::move(run);
  return made;
}

}  // namespace

std::vector<Work> bulkWorks() {
  const std::string insert = "plain insert of the same rows";
  Work carry = work("carry a year forward and save, its sums known", "bare commit of the openings",
                    1.5, kMillion, [](const Case& of) { return carryForwardOf(of, true); });
  carry.durable = true;
  Work first = work("carry a year forward and save, first thing after opening",
                    "bare commit of the openings", 1.5, kMillion,
                    [](const Case& of) { return carryForwardOf(of, false); });
  first.durable = true;
  Work sie =
      work("import a SIE file into a saved document and save", insert, 3, kMillion, importOf);
  sie.bookRows = kThousand;
  sie.durable = true;
  Work saving = work("save new entries of 3 rows", insert, 1.5, kHundredThousand, saveOfNewEntries);
  saving.sizes = {kThousand, kTenThousand, kHundredThousand};
  saving.sizeUnit = "entries";
  saving.bookRows = kHundredThousand;
  saving.durable = true;
  const Work load = work("open, touch all rows and their entries", "plain scan into structs", 2,
                         kMillion, loadOf);
  Work memory = work("memory of a resident row, everything included", "an object of 208 bytes", 1,
                     kMillion, memoryOfARow);
  memory.sizes = {kHundredThousand, kMillion};
  memory.inBytes = true;
  return {carry, first, sie, saving, load, memory};
}

}  // namespace bokfolio::bench
