#include "bokfolio/interchange/sie/sie_file.hpp"

#include <algorithm>

namespace bokfolio {

std::span<const SieRow> SieFile::rowsOf(const SieVoucher& voucher) const {
  return std::span(rows).subspan(voucher.firstRow, voucher.rowCount);
}

std::span<const SieObjectRef> SieFile::objectsOf(const SieRow& row) const {
  return std::span(rowObjects).subspan(row.firstObject, row.objectCount);
}

Decimal SieFile::difference(const SieVoucher& voucher) const {
  Decimal sum;
  for (const SieRow& row : rowsOf(voucher)) {
    if (row.counts()) sum += row.amount;
  }
  return sum;
}

const SieYear* SieFile::year(int number) const {
  const auto found = std::find_if(years.begin(), years.end(),
                                  [number](const SieYear& year) { return year.number == number; });
  return found == years.end() ? nullptr : &*found;
}

}  // namespace bokfolio
