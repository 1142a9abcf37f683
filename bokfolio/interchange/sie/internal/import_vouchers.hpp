// Vouchers of an import: each becomes an entry that the ledger files.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "bokfolio/interchange/sie/internal/import_accounts.hpp"
#include "bokfolio/interchange/sie/internal/import_tags.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {
class Entry;
class Row;
}  // namespace bokfolio

namespace bokfolio::sie_internal {

class ImportYears;

// What of its own makes a voucher no entry: its rows, whatever its date.
std::optional<SieSkipReason> faultOf(const SieFile& file, const SieVoucher& voucher);

class ImportVouchers {
 public:
  // `tagDimension` is the one whose objects `tags` holds.
  ImportVouchers(Context& context, const SieFile& file, ImportYears& years,
                 ImportAccounts& accounts, const ImportTags& tags, SieImportReport& report);

  // Files the vouchers in their order. false with the ledger's error when it refuses one.
  bool take(const std::function<void(std::size_t, std::size_t)>& progress, ErrorOut error);

 private:
  bool skip(const SieVoucher& voucher);
  bool file(const SieVoucher& voucher, ErrorOut error);
  void addRows(Entry& entry, const SieVoucher& voucher);
  Row* makeRow(const SieRow& inFile);
  Tag* tagOf(const SieRow& row) const;

  Context& context_;
  const SieFile& file_;
  ImportYears& years_;
  ImportAccounts& accounts_;
  const ImportTags& tags_;
  SieImportReport& report_;
  std::vector<Row*> rows_;    // of the entry being made
  std::vector<Row*> struck_;  // of these
};

}  // namespace bokfolio::sie_internal
