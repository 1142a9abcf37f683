#include "bokfolio/interchange/sie/internal/import_without_field.hpp"

#include <map>
#include <string>
#include <vector>

namespace bokfolio::sie_internal {

namespace {

std::vector<SieSeriesCount> seriesOf(const SieFile& file) {
  std::map<std::string_view, std::size_t> counts;
  for (const SieVoucher& voucher : file.vouchers)
    if (!voucher.series.empty()) ++counts[voucher.series];
  std::vector<SieSeriesCount> series;
  series.reserve(counts.size());
  for (const auto& [name, count] : counts) series.push_back({std::string(name), count});
  return series;
}

void countObjects(const ObjectsByDimension& objects, int tagDimension, SieWithoutField& result) {
  for (const auto& [number, use] : objects.dimensions()) {
    if (number == tagDimension) {
      result.furtherObjects = use.rowMarks - use.rows;
    } else if (!use.objects.empty()) {
      result.dimensions.push_back(
          {number, std::string(use.name), use.objects.size(), use.rowMarks});
    }
  }
}

void countRows(const SieFile& file, SieWithoutField& result) {
  for (const SieRow& row : file.rows) {
    result.rowTexts += row.text.empty() ? 0U : 1U;
    result.rowQuantities += row.quantity ? 1U : 0U;
    result.rowDates += row.date ? 1U : 0U;
    result.rowSignatures += row.sign.empty() ? 0U : 1U;
  }
}

}  // namespace

SieWithoutField countWithoutField(const SieFile& file, const ObjectsByDimension& objects,
                                  int tagDimension) {
  SieWithoutField result;
  result.series = seriesOf(file);
  countObjects(objects, tagDimension, result);
  countRows(file, result);
  for (const SieVoucher& voucher : file.vouchers) {
    result.voucherSignatures += voucher.sign.empty() ? 0U : 1U;
    result.registrationDays += voucher.registered ? 1U : 0U;
  }
  for (const auto* balances : {&file.openingBalances, &file.closingBalances, &file.results})
    for (const SieBalance& balance : *balances)
      result.balanceQuantities += balance.quantity ? 1U : 0U;
  for (const SieAccount& account : file.accounts)
    result.accountUnits += account.unit.empty() ? 0U : 1U;
  return result;
}

}  // namespace bokfolio::sie_internal
