// SIE files: what is read is consistent within itself, and imports whole or not at all.
#include <set>

#include "bokfolio/interchange/sie/sie_importer.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

void checkFile(const SieFile& file) {
  std::set<int> accounts;
  for (const SieAccount& account : file.accounts) {
    expect(accounts.insert(account.number).second, "an account is told once");
  }
  std::size_t rows = 0;
  for (const SieVoucher& voucher : file.vouchers) {
    expect(voucher.firstRow == rows, "the rows of vouchers follow one another");
    rows += file.rowsOf(voucher).size();
    expect(rows <= file.rows.size(), "a voucher has its rows");
    Decimal sum;
    for (const SieRow& row : file.rowsOf(voucher)) {
      if (row.counts()) sum = sum + row.amount;
      for (const SieObjectRef& object : file.objectsOf(row)) {
        expect(object.dimension >= 0 && !object.number.empty(), "an object has a name");
      }
    }
    expect(sum == file.difference(voucher), "a voucher's difference is the sum of its rows");
  }
  expect(rows == file.rows.size(), "every row is in a voucher");
}

void checkImport(const SieFile& file) {
  std::optional<Error> error;
  const auto report = importSie(fuzz::book(), file, {}, &error);
  fuzz::expectExplained(report.has_value(), error);
  if (report && fuzz::book().hasChanges()) {
    std::optional<Error> refusal;
    expect(fuzz::book().verify().empty(), "an import leaves the book in order");
  }
  fuzz::restoreBook();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMostToImport = 4096;
  const std::string_view bytes = fuzz::textOf(data, size);
  SieReadOptions tolerant;
  tolerant.acceptWrongChecksum = true;
  std::optional<Error> error;
  const auto file = readSie(bytes, &error);
  fuzz::expectExplained(file.has_value(), error);
  const auto same = readSie(bytes, tolerant);
  expect(!file || (same && same->rows.size() == file->rows.size()),
         "who overlooks a checksum reads no less");
  if (!same) return 0;
  checkFile(*same);
  if (size <= kMostToImport) checkImport(*same);
  return 0;
}
