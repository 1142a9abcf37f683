#include "bokfolio/interchange/sie/internal/import_comparison.hpp"

#include <functional>
#include <map>
#include <set>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"

namespace bokfolio::sie_internal {

namespace {

struct Statements {
  std::vector<const SieBalance*> closings;
  std::vector<const SieBalance*> results;
};

// Latest year first.
std::map<int, Statements, std::greater<>> statementsByYear(const SieFile& file) {
  std::map<int, Statements, std::greater<>> years;
  for (const SieBalance& each : file.closingBalances) years[each.year].closings.push_back(&each);
  for (const SieBalance& each : file.results) years[each.year].results.push_back(&each);
  return years;
}

class Comparison {
 public:
  Comparison(int number, FiscalYear* year, const ImportAccounts& accounts, SieImportReport& report)
      : number_(number), year_(year), accounts_(accounts), report_(report) {}

  void compare(SieStatement statement, const std::vector<const SieBalance*>& stated) {
    if (stated.empty()) return;
    std::set<std::int64_t> seen;
    for (const SieBalance* each : stated) {
      const Account* account = accounts_.find(each->account);
      const Decimal computed = account == nullptr ? Decimal() : balanceOf(*account);
      if (computed != each->amount)
        list(statement, each->account, each->amount, computed, each->line);
      seen.insert(each->account);
    }
    for (const auto& [number, account] : accounts_.all()) {
      const bool isOfThisKind = account->balanceAccount() == (statement == SieStatement::Closing);
      if (!isOfThisKind || seen.contains(number)) continue;
      const Decimal computed = balanceOf(*account);
      if (!computed.isZero()) list(statement, number, std::nullopt, computed, 0);
    }
  }

 private:
  Decimal balanceOf(const Account& account) const {
    return account.balanceByDate(std::nullopt, year_);
  }

  void list(SieStatement statement, std::int64_t account, const std::optional<Decimal>& stated,
            const Decimal& computed, std::uint32_t line) {
    report_.differences.push_back({statement, number_, account, stated, computed, line});
  }

  int number_;
  FiscalYear* year_;
  const ImportAccounts& accounts_;
  SieImportReport& report_;
};

SieComparability comparability(const SieFile& file, int number, const FiscalYear* year) {
  constexpr int kTypeWithVouchers = 4;
  if (year == nullptr) return SieComparability::NoYear;
  if (file.header.type < kTypeWithVouchers) return SieComparability::NoVouchers;
  return number == 0 || !year->entries().empty() ? SieComparability::Compared
                                                 : SieComparability::NoVouchers;
}

}  // namespace

void compareWithStatements(const SieFile& file, const ImportYears& years,
                           const ImportAccounts& accounts, SieImportReport& report) {
  for (const auto& [number, stated] : statementsByYear(file)) {
    FiscalYear* year = years.numbered(number);
    SieYearComparison& comparison = report.comparisons.emplace_back();
    comparison.year = number;
    comparison.comparability = comparability(file, number, year);
    comparison.closings = stated.closings.size();
    comparison.results = stated.results.size();
    if (comparison.comparability != SieComparability::Compared) continue;
    const std::size_t before = report.differences.size();
    Comparison compared(number, year, accounts, report);
    compared.compare(SieStatement::Closing, stated.closings);
    compared.compare(SieStatement::Result, stated.results);
    comparison.differing = report.differences.size() - before;
  }
}

}  // namespace bokfolio::sie_internal
