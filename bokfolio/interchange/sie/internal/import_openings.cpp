#include "bokfolio/interchange/sie/internal/import_openings.hpp"

#include <map>
#include <utility>

#include "bokfolio/interchange/sie/internal/failure.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::sie_internal {

namespace {

class Openings {
 public:
  Openings(Context& context, ImportAccounts& accounts, SieImportReport& report)
      : context_(context), accounts_(accounts), report_(report) {}

  void take(const SieBalance& stated, FiscalYear* year) {
    if (year == nullptr) return remark(SieOpeningNote::NoYear, stated);
    Account* account = accounts_.find(stated.account);
    StartingBalance* present = account == nullptr ? nullptr : find(year, account);
    if (present == nullptr && stated.amount.isZero()) {
      ++report_.openingBalancesZero;
      return;
    }
    if (account == nullptr) account = accounts_.need(stated.account, stated.line);
    if (!account->balanceAccount()) return remark(SieOpeningNote::OnResultAccount, stated);
    if (present == nullptr) {
      present = make(year, account);
    } else if (present->balance() && present->balance() != stated.amount) {
      remark(SieOpeningNote::Replaced, stated, present->balance());
    }
    present->setBalance(stated.amount);
    ++report_.openingBalancesSet;
  }

 private:
  using OfYear = std::map<const Account*, StartingBalance*>;

  OfYear& ofYear(FiscalYear* year) {
    const auto [place, isNew] = years_.try_emplace(year);
    if (isNew) {
      for (StartingBalance* each : year->startingBalances().members())
        place->second.try_emplace(each->account(), each);
    }
    return place->second;
  }

  StartingBalance* find(FiscalYear* year, const Account* account) {
    const OfYear& balances = ofYear(year);
    const auto found = balances.find(account);
    return found == balances.end() ? nullptr : found->second;
  }

  StartingBalance* make(FiscalYear* year, Account* account) {
    auto* balance = context_.insert<StartingBalance>();
    balance->setAccount(account);
    balance->setFiscalYear(year);
    ofYear(year).emplace(account, balance);
    return balance;
  }

  void remark(SieOpeningNote note, const SieBalance& stated,
              std::optional<Decimal> former = std::nullopt) {
    report_.openingRemarks.push_back(
        {note, stated.year, stated.account, stated.amount, former, stated.line});
  }

  Context& context_;
  ImportAccounts& accounts_;
  SieImportReport& report_;
  std::map<const FiscalYear*, OfYear> years_;
};

}  // namespace

void refuseConflictingOpenings(const SieFile& file) {
  std::map<std::pair<int, int>, const SieBalance*> seen;
  for (const SieBalance& balance : file.openingBalances) {
    const auto [place, isNew] = seen.try_emplace({balance.year, balance.account}, &balance);
    if (isNew || place->second->amount == balance.amount) continue;
    throw Failure(InterchangeErrorCode::ConflictingRecords, balance.line,
                  "account " + std::to_string(balance.account) +
                      " has another opening balance in line " +
                      std::to_string(place->second->line) + ". Keep the right one.");
  }
}

void importOpenings(Context& context, const SieFile& file, const ImportYears& years,
                    ImportAccounts& accounts, SieImportReport& report) {
  Openings openings(context, accounts, report);
  for (const SieBalance& stated : file.openingBalances)
    openings.take(stated, years.numbered(stated.year));
}

}  // namespace bokfolio::sie_internal
