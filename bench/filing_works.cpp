// One entry of three rows: composed and filed in an open book, and saved.
#include <stdexcept>

#include "bench/bare_document.hpp"
#include "bench/books.hpp"
#include "bench/plain_ledger.hpp"
#include "bench/works.hpp"

namespace bokfolio::bench {

namespace {

constexpr std::size_t kBatches = 21;
constexpr std::size_t kBatch = 100;
constexpr std::size_t kSaves = 60;

// Everything that filing and balances ask has been read or built once.
void warm(Context& context) {
  trialBalance(context, *lastYearWithEntries(context));
  fileOneEntry(context, 0);
  save(context);
}

PlainLedger plainLedger(std::size_t rows) {
  PlainLedger ledger(kAccounts);
  for (std::size_t entry = 0; entry < rows / kRowsPerEntry; ++entry) ledger.fileOneEntry(entry);
  return ledger;
}

Outcome fileInMemory(const Case& of) {
  const std::string document = of.path("filing.bokfolio");
  copyDocument(of.book, document);
  const auto context = open(document);
  warm(*context);
  std::uint64_t round = 0;
  std::vector<Time> ours;
  const auto fileBatch = [&] {
    for (std::size_t at = 0; at < kBatch; ++at) fileOneEntry(*context, ++round);
  };
  fileBatch();
  for (std::size_t batch = 0; batch < kBatches; ++batch)
    ours.push_back(timed(fileBatch) / static_cast<double>(kBatch));
  const std::int64_t peak = peakResident();

  PlainLedger ledger = plainLedger(of.size);
  std::vector<Time> plain;
  for (std::size_t batch = 0; batch < kBatches; ++batch) {
    plain.push_back(timed([&] {
                      for (std::size_t at = 0; at < kBatch; ++at) ledger.fileOneEntry(++round);
                    }) /
                    static_cast<double>(kBatch));
  }
  return {medianOf(ours), medianOf(plain), peak};
}

// Files and saves so many entries; `saved` hears how long each save took.
void fileAndSave(Context& context, std::size_t entry, const std::function<void(Time)>& saved) {
  fileOneEntry(context, entry + 1);
  saved(timed([&] { save(context); }));
}

Outcome saveDurably(const Case& of) {
  const std::string learnt = of.path("learnt.bokfolio");
  const std::string ours = of.path("saving.bokfolio");
  const std::string plain = of.path("plain.bokfolio");
  for (const std::string& path : {learnt, ours, plain}) copyDocument(of.book, path);
  {
    const auto context = open(learnt);
    for (std::size_t at = 0; at < kSaves; ++at) fileAndSave(*context, at, [](Time) {});
  }
  const AddedRows rows(learnt, of.book);
  if (rows.count("Row") != kSaves * kRowsPerEntry) throw std::runtime_error("rows are missing");

  const auto context = open(ours);
  trialBalance(*context, *lastYearWithEntries(*context));
  BareDocument floor(plain);
  std::vector<Time> savings;
  std::vector<Time> commits;
  for (std::size_t at = 0; at < kSaves; ++at) {
    fileAndSave(*context, at, [&](Time time) { savings.push_back(time); });
    commits.push_back(timed([&] { floor.insert(rows, at, kSaves); }));
  }
  return {medianOf(savings), medianOf(commits), peakResident()};
}

}  // namespace

std::vector<Work> filingWorks() {
  Work memory{
      "warm: file an entry of 3 rows, in memory",
      "its 4 objects on the heap",
      {kTenThousand, kHundredThousand, kMillion},
      {{Goal::Kind::OfFloor, 15, kMillion}, {Goal::Kind::OfItself, 1.25, kMillion, kTenThousand}},
      fileInMemory};
  Work saving{"warm: save that entry",
              "bare commit of its 4 rows",
              {kThousand, kHundredThousand, kMillion},
              {{Goal::Kind::OfFloor, 1.25, kMillion}},
              saveDurably};
  saving.durable = true;
  return {memory, saving};
}

}  // namespace bokfolio::bench
