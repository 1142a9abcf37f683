// Imports of real files, and of files made at random, against plain sums.
#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "bokfolio/platform/calendar.hpp"
#include "tests/interchange/sie/import_world.hpp"
#include "tests/interchange/sie/known_files.hpp"

namespace bokfolio::test {
namespace {

class SieImportedFiles : public ImportWorld {
 protected:
  void SetUp() override {
    if (!files_.areHere()) GTEST_SKIP() << "the files are not on this machine";
  }

  // The columns that a document can answer, after the import of a file.
  KnownFile found(const SieFile& file, const SieImportReport& report) {
    std::size_t rows = report.rowsMade + report.zeroRows.size();
    Decimal debit =
        context().count("Row") == 0
            ? Decimal()
            : RecordSet(context().fetchEntitiesWithName("Row", Row::noRemovedRows()).value())
                  .sum("debit");
    std::set<std::string_view> series;
    for (const SieVoucher& voucher : file.vouchers) series.insert(voucher.series);
    std::size_t unbalanced = 0;
    std::size_t undated = 0;
    for (const SieSkippedVoucher& skipped : report.skippedVouchers) {
      unbalanced += skipped.reason == SieSkipReason::Unbalanced ? 1U : 0U;
      undated += skipped.reason == SieSkipReason::NoYear ? 1U : 0U;
      const auto voucher = std::find_if(file.vouchers.begin(), file.vouchers.end(),
                                        [&](auto& each) { return each.line == skipped.line; });
      for (const SieRow& row : file.rowsOf(*voucher)) {
        rows += row.counts() ? 1U : 0U;
        if (row.counts() && row.amount.sign() > 0) debit += row.amount;
      }
    }
    EXPECT_EQ(undated, 0U);
    return {{"accounts", std::to_string(report.accountsMade - report.undeclaredAccounts.size())},
            {"type", std::to_string(report.type)},
            {"import_flag", report.alreadyImported ? "1" : "0"},
            {"vouchers", std::to_string(context().count("Entry") + report.skippedVouchers.size())},
            {"rows", std::to_string(rows)},
            {"added_rows", std::to_string(report.rowsAdded)},
            {"removed_rows", std::to_string(context().count("Row", Predicate("status == 1")))},
            {"vouchers_without_number", std::to_string(report.vouchersWithoutNumber)},
            {"unbalanced_vouchers", std::to_string(unbalanced)},
            {"debit_total", debit.toString()},
            {"series", std::to_string(series.size())},
            {"encoding", file.charset == SieCharset::Cp437 ? "cp437" : "utf-8"},
            {"checksum", file.checksum == SieChecksum::Verified ? "ok" : ""},
            {"opening_sum", openingSum(report)}};
  }

  FiscalYear* yearNull(const SieImportReport& report) {
    for (const SieImportedYear& each : report.years)
      if (each.number == 0) return yearNamed(each.name);
    return nullptr;
  }
  std::string openingSum(const SieImportReport& report) {
    const FiscalYear* year = yearNull(report);
    return year == nullptr ? "0" : year->startingBalances().sum("balance").toString();
  }
  // Of the accounts of the balance sheet, or of the others.
  std::string sumOfBalances(FiscalYear* year, bool ofBalanceSheet) {
    Decimal sum;
    for (const Account* account : context().fetch<Account>())
      if (account->balanceAccount() == ofBalanceSheet)
        sum += account->balanceByDate(std::nullopt, year);
    return sum.toString();
  }

  KnownSieFiles files_{BOKFOLIO_SHARED_DATA};
};

TEST_F(SieImportedFiles, AgreeWithWhatIsKnownOfThem) {
  const auto all = files_.all();
  ASSERT_EQ(all.size(), 28U);
  for (const KnownFile& expected : all) {
    SCOPED_TRACE(expected.at("file"));
    startOver();
    const SieFile file = read(files_.contents(expected.at("file")));
    EXPECT_TRUE(file.remarks.empty()) << file.remarks.front().line;
    EXPECT_TRUE(file.notKept.unknownLabels.empty());
    const auto report = tryImport(file, nullptr);
    ASSERT_TRUE(report);
    expectSound();
    saveAndReopen();
    for (const auto& [name, value] : found(file, *report))
      EXPECT_EQ(value, KnownSieFiles::plain(expected.at(name))) << name;
    expectNumberedWithoutGaps();

    const bool hasStatements = !file.closingBalances.empty() || !file.results.empty();
    EXPECT_EQ(report->comparisons.empty(), !hasStatements);
    if (!hasStatements) continue;
    const bool isComparable = report->type == 4;
    EXPECT_EQ(report->comparisons[0].comparability == SieComparability::Compared, isComparable);
    if (!isComparable) continue;
    if (expected.at("unbalanced_vouchers") == "0") {
      EXPECT_EQ(report->differences.size(), 0U);
      EXPECT_EQ(sumOfBalances(yearNull(*report), true),
                KnownSieFiles::plain(expected.at("closing_sum")));
      EXPECT_EQ(sumOfBalances(yearNull(*report), false),
                KnownSieFiles::plain(expected.at("result_sum")));
    } else {
      // What the voucher that was left out would have moved, but for the error in its amount.
      EXPECT_EQ(report->differences.size(), report->skippedVouchers.at(0).rows);
    }
  }
}

TEST_F(SieImportedFiles, NoPrefixOfAFileIsReadAsAnotherFile) {
  const std::string bytes = files_.contents("t4i_checksum.si");
  for (std::size_t length = bytes.size() - 400; length + 11 < bytes.size(); ++length)
    EXPECT_FALSE(readSie(std::string_view(bytes).substr(0, length))) << length;
}

// A file of two years with everything that an import must cope with, and beside it, in öre, what
// the ledger must come to.
class RandomBooks {
 public:
  explicit RandomBooks(std::uint32_t seed) : random_(seed) {
    text_ = "#FLAGGA 0\n#SIETYP 4\n#RAR 0 20100501 20110430\n#RAR -1 20090501 20100430\n";
    for (int account : kAccounts)
      if (account != 4010) text_ += "#KONTO " + std::to_string(account) + " \"x\"\n";
    for (int year : {0, -1})
      for (int account : {1910, 2440}) open(year, account, amount());
    for (int i = 0; i < 60; ++i) voucher();
  }

  static constexpr int kAccounts[] = {1910, 2440, 3010, 4010, 8310};
  const std::string& text() const { return text_; }
  std::size_t skipped() const { return skipped_; }
  // By year and account; by tag.
  const std::map<std::pair<int, int>, std::int64_t>& balances() const { return balances_; }
  const std::map<int, std::int64_t>& tags() const { return tags_; }

 private:
  int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
  std::int64_t amount() { return below(4) == 0 ? 0 : below(2'000'001) - 1'000'000; }
  static std::string kronor(std::int64_t ore) {
    return (Decimal(ore).scaledByPowerOf10(-2)).toString();
  }

  void open(int year, int account, std::int64_t ore) {
    text_ +=
        "#IB " + std::to_string(year) + " " + std::to_string(account) + " " + kronor(ore) + "\n";
    balances_[{year, account}] += ore;
  }

  struct Posting {
    int account;
    int tag;
    std::int64_t ore;
    bool struck;
  };

  void voucher() {
    std::vector<Posting> postings;
    std::int64_t left = 0;
    const int count = below(5);
    for (int i = 0; i < count; ++i) {
      postings.push_back({kAccounts[below(5)], below(4), amount(), below(6) == 0});
      if (!postings.back().struck) left -= postings.back().ore;
    }
    const bool isWrong = below(10) == 0;
    if (count > 0) postings.push_back({kAccounts[below(5)], 0, left + (isWrong ? 1 : 0), false});
    const CivilDate first{2009, 5, 1};
    const int day = below(730);
    write(postings, civilFromDays(daysFromCivil(first) + day));
    const bool hasAmount = std::any_of(postings.begin(), postings.end(),
                                       [](const Posting& each) { return each.ore != 0; });
    if ((isWrong && count > 0) || !hasAmount) {
      ++skipped_;
    } else {
      post(postings, day < 365 ? -1 : 0);
    }
  }

  void write(const std::vector<Posting>& postings, CivilDate date) {
    text_ +=
        "#VER A 1 " + std::to_string(date.year * 10000 + date.month * 100 + date.day) + " x\n{\n";
    for (const Posting& each : postings)
      text_ += std::string(each.struck ? "#BTRANS " : "#TRANS ") + std::to_string(each.account) +
               (each.tag == 0 ? " {} " : " {1 " + std::to_string(each.tag) + "} ") +
               kronor(each.ore) + "\n";
    text_ += "}\n";
  }

  void post(const std::vector<Posting>& postings, int year) {
    for (const Posting& each : postings) {
      if (each.struck) continue;
      balances_[{year, each.account}] += each.ore;
      if (each.tag != 0 && year == 0) tags_[each.tag] += each.ore;
    }
  }

  std::mt19937 random_;
  std::string text_;
  std::size_t skipped_ = 0;
  std::map<std::pair<int, int>, std::int64_t> balances_;
  std::map<int, std::int64_t> tags_;
};

using SieRandomFiles = ImportWorld;

TEST_F(SieRandomFiles, ComeToTheirPlainSums) {
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    startOver();
    const RandomBooks books(seed);
    const SieImportReport report = import(books.text());
    EXPECT_EQ(report.skippedVouchers.size(), books.skipped());
    expectSound();
    saveAndReopen();
    for (const auto& [key, ore] : books.balances()) {
      FiscalYear* year = yearNamed(key.first == 0 ? "2010/2011" : "2009/2010");
      EXPECT_EQ(balance(key.second, year), Decimal(ore).scaledByPowerOf10(-2)) << key.second;
    }
    for (const auto& [number, ore] : books.tags())
      EXPECT_EQ(Tag::tagWithNumber(number, context())->balance(),
                Decimal(ore).scaledByPowerOf10(-2));
    expectNumberedWithoutGaps();
  }
}

}  // namespace
}  // namespace bokfolio::test
