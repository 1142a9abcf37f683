#include "bokfolio/interchange/sie/internal/import_vouchers.hpp"

#include <string>

#include "bokfolio/interchange/interchange_error.hpp"
#include "bokfolio/interchange/sie/internal/import_years.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::sie_internal {

namespace {

constexpr std::size_t kRowsBetweenReports = 2000;

// "A 12": the voucher's place in the books it comes from.
std::optional<std::string> originOf(const SieVoucher& voucher) {
  if (voucher.series.empty() && voucher.number.empty()) return std::nullopt;
  std::string origin(voucher.series);
  if (!voucher.series.empty() && !voucher.number.empty()) origin += ' ';
  return origin.append(voucher.number);
}

}  // namespace

std::optional<SieSkipReason> faultOf(const SieFile& file, const SieVoucher& voucher) {
  if (voucher.rowCount == 0) return SieSkipReason::NoRows;
  bool hasAmount = false;
  for (const SieRow& row : file.rowsOf(voucher)) hasAmount = hasAmount || !row.amount.isZero();
  if (!hasAmount) return SieSkipReason::OnlyZeroRows;
  if (!file.difference(voucher).isZero()) return SieSkipReason::Unbalanced;
  return std::nullopt;
}

ImportVouchers::ImportVouchers(Context& context, const SieFile& file, ImportYears& years,
                               ImportAccounts& accounts, const ImportTags& tags,
                               SieImportReport& report)
    : context_(context),
      file_(file),
      years_(years),
      accounts_(accounts),
      tags_(tags),
      report_(report) {}

bool ImportVouchers::take(const std::function<void(std::size_t, std::size_t)>& progress,
                          ErrorOut error) {
  const std::size_t inAll = file_.rows.size();
  std::size_t done = 0;
  std::size_t nextReport = 0;
  for (const SieVoucher& voucher : file_.vouchers) {
    if (progress && done >= nextReport) {
      progress(done, inAll);
      nextReport = done + kRowsBetweenReports;
    }
    if (voucher.number.empty()) ++report_.vouchersWithoutNumber;
    if (!skip(voucher) && !file(voucher, error)) return false;
    done += voucher.rowCount;
  }
  if (progress) progress(inAll, inAll);
  return true;
}

bool ImportVouchers::skip(const SieVoucher& voucher) {
  std::optional<SieSkipReason> reason = faultOf(file_, voucher);
  if (!reason) {
    const ImportYears::Place place = years_.placeOf(voucher.date);
    if (place == ImportYears::Place::One) return false;
    reason =
        place == ImportYears::Place::None ? SieSkipReason::NoYear : SieSkipReason::SeveralYears;
  }
  report_.skippedVouchers.push_back(
      {*reason, std::string(voucher.series), std::string(voucher.number), voucher.date,
       std::string(voucher.text), voucher.rowCount, file_.difference(voucher), voucher.line});
  return true;
}

bool ImportVouchers::file(const SieVoucher& voucher, ErrorOut error) {
  auto* entry = context_.insert<Entry>();
  // At once: until then the document has two new entries.
  entry->setNumber(std::nullopt);
  entry->setDate(entryDate(voucher.date));
  entry->setName(std::string(voucher.text));
  if (const auto origin = originOf(voucher)) entry->setComments(origin);
  addRows(*entry, voucher);
  if (!entry->fileMe(error)) {
    if (error != nullptr && *error) (*error)->with(kLineErrorKey, std::to_string(voucher.line));
    return false;
  }
  // Filing commits every row, also those that were removed before it.
  for (Row* row : struck_) row->remove();
  years_.use(voucher.date);
  ++report_.entriesFiled;
  return true;
}

void ImportVouchers::addRows(Entry& entry, const SieVoucher& voucher) {
  rows_.clear();
  struck_.clear();
  for (const SieRow& inFile : file_.rowsOf(voucher)) {
    if (inFile.amount.isZero()) {
      report_.zeroRows.push_back({inFile.account, inFile.line});
    } else {
      rows_.push_back(makeRow(inFile));
    }
  }
  // Attaching numbers all rows of the entry. Once is enough: with the last row.
  for (Row* row : rows_) {
    if (row == rows_.back()) {
      row->setEntry(&entry);
    } else {
      row->set(Row::Slots::entry, &entry);
    }
  }
}

Row* ImportVouchers::makeRow(const SieRow& inFile) {
  auto* row = context_.insert<Row>();
  row->set(Row::Slots::account, accounts_.need(inFile.account, inFile.line));
  if (inFile.amount.isNegative()) {
    row->setCredit(inFile.amount.negated());
  } else {
    row->setDebit(inFile.amount);
  }
  if (Tag* tag = tagOf(inFile)) {
    row->set(Row::Slots::tag, tag);
    ++report_.rowsTagged;
  }
  if (inFile.counts()) {
    ++report_.rowsMade;
    if (inFile.kind == SieRowKind::Added) ++report_.rowsAdded;
  } else {
    ++report_.rowsStruck;
    row->setStatus(RowStatus::Removed);
    struck_.push_back(row);
  }
  return row;
}

Tag* ImportVouchers::tagOf(const SieRow& row) const {
  if (report_.tagDimension == 0) return nullptr;
  for (const SieObjectRef& object : file_.objectsOf(row))
    if (object.dimension == report_.tagDimension) return tags_.find(object.number);
  return nullptr;
}

}  // namespace bokfolio::sie_internal
