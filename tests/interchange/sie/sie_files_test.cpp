// Real files of bookkeeping programs against what is known of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "tests/interchange/sie/known_files.hpp"

namespace bokfolio::test {
namespace {

Decimal yearSum(const std::vector<SieBalance>& balances) {
  Decimal sum;
  for (const SieBalance& balance : balances) {
    if (balance.year == 0) sum += balance.amount;
  }
  return sum;
}

// Accounts whose opening balance and rows do not come to the closing balance, or, where the file
// states the year's result of the account, whose rows do not come to it.
std::size_t accountsThatDiffer(const SieFile& file) {
  std::map<int, Decimal> left;
  for (const SieBalance& balance : file.openingBalances) {
    if (balance.year == 0) left[balance.account] += balance.amount;
  }
  for (const SieRow& row : file.rows) {
    if (row.counts()) left[row.account] += row.amount;
  }
  for (const auto* stated : {&file.closingBalances, &file.results}) {
    for (const SieBalance& balance : *stated) {
      if (balance.year == 0) left[balance.account] -= balance.amount;
    }
  }
  return static_cast<std::size_t>(std::count_if(
      left.begin(), left.end(), [](const auto& each) { return !each.second.isZero(); }));
}

KnownFile summary(const SieFile& file) {
  std::set<std::string_view> series;
  std::map<std::string, std::size_t> n{
      {"unbalanced_vouchers", 0}, {"vouchers_without_number", 0}, {"rows", 0}, {"added_rows", 0},
      {"removed_rows", 0},        {"max_dimensions_per_row", 0}};
  Decimal debit;
  for (const SieVoucher& voucher : file.vouchers) {
    series.insert(voucher.series);
    n["vouchers_without_number"] += voucher.number.empty() ? 1U : 0U;
    n["unbalanced_vouchers"] += file.difference(voucher).isZero() ? 0U : 1U;
    for (const SieRow& row : file.rowsOf(voucher)) {
      n["added_rows"] += row.kind == SieRowKind::Added ? 1U : 0U;
      n["removed_rows"] += row.counts() ? 0U : 1U;
      n["rows"] += row.counts() ? 1U : 0U;
      n["max_dimensions_per_row"] =
          std::max(n["max_dimensions_per_row"], file.objectsOf(row).size());
      if (row.counts() && row.amount.sign() > 0) debit += row.amount;
    }
  }
  n["series"] = series.size();
  n["vouchers"] = file.vouchers.size();
  n["type"] = static_cast<std::size_t>(file.header.type);
  n["import_flag"] = file.header.alreadyImported ? 1U : 0U;
  n["accounts"] = static_cast<std::size_t>(std::count_if(file.accounts.begin(), file.accounts.end(),
                                                         [](auto& a) { return a.declared; }));
  n["accounts_where_opening_plus_rows_differs_from_closing"] = accountsThatDiffer(file);
  KnownFile result;
  for (const auto& [name, count] : n) result[name] = std::to_string(count);
  result["encoding"] = file.charset == SieCharset::Cp437  ? "cp437"
                       : file.charset == SieCharset::Utf8 ? "utf-8"
                                                          : "other";
  result["debit_total"] = debit.toString();
  result["opening_sum"] = yearSum(file.openingBalances).toString();
  result["closing_sum"] = yearSum(file.closingBalances).toString();
  result["result_sum"] = yearSum(file.results).toString();
  result["checksum"] = file.checksum == SieChecksum::Verified ? "ok" : "";
  return result;
}

class SieFiles : public testing::Test {
 protected:
  void SetUp() override {
    if (!files_.areHere()) GTEST_SKIP() << "the files are not on this machine";
  }

  KnownSieFiles files_{BOKFOLIO_SHARED_DATA};
};

TEST_F(SieFiles, AgreeWithWhatIsKnownOfThem) {
  const auto all = files_.all();
  ASSERT_EQ(all.size(), 28U);
  for (const KnownFile& expected : all) {
    SCOPED_TRACE(expected.at("file"));
    const std::string bytes = files_.contents(expected.at("file"));
    std::optional<Error> error;
    const auto file = readSie(bytes, &error);
    ASSERT_TRUE(file) << error->localizedDescription();
    KnownFile found = summary(*file);
    found["file"] = expected.at("file");
    found["bytes"] = std::to_string(bytes.size());
    for (const auto& [name, value] : expected) {
      const bool unknown = value.empty() && name.starts_with("accounts_where");
      if (unknown) continue;
      EXPECT_EQ(KnownSieFiles::plain(found[name]), KnownSieFiles::plain(value)) << name;
    }
    EXPECT_TRUE(file->notKept.unknownLabels.empty());
    EXPECT_TRUE(file->remarks.empty()) << file->remarks.front().line;
  }
}

TEST_F(SieFiles, NoPrefixOfAFileIsReadAsAnotherFile) {
  const std::string bytes = files_.contents("t4i_checksum.si");
  for (std::size_t length = bytes.size() - 400; length + 11 < bytes.size(); ++length) {
    EXPECT_FALSE(readSie(std::string_view(bytes).substr(0, length))) << length;
  }
}

}  // namespace
}  // namespace bokfolio::test
