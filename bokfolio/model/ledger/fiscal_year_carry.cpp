// The carry-forward of balances from one fiscal year to the next.
#include <map>

#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/internal/failed_fetch.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

// Accounts are matched by number, not by identity; the nil number is one of them.
using SumsByNumber = std::map<std::optional<std::int64_t>, Decimal>;

// Each number's amounts are added in ascending record id.
SumsByNumber openingBalances(const FiscalYear& year) {
  SumsByNumber sums;
  for (const StartingBalance* opening : year.startingBalances().members())
    sums[opening->number()] += opening->balance().value_or(Decimal());
  return sums;
}

SumsByNumber netsOfRows(const FiscalYear& year, const std::vector<Record*>& balanceAccounts) {
  SumsByNumber sums;
  for (const Record* each : balanceAccounts) {
    const auto* account = static_cast<const Account*>(each);
    sums[account->number()] += account->sumOfNets(year);
  }
  return sums;
}

// Openings and nets are each added up before they are added to one another.
SumsByNumber closingBalances(const FiscalYear& year, const std::vector<Record*>& balanceAccounts) {
  SumsByNumber sums = openingBalances(year);
  for (const auto& [number, net] : netsOfRows(year, balanceAccounts)) sums[number] += net;
  return sums;
}

void removeAll(const RecordSetOf<StartingBalance>& openings, Context& context) {
  for (StartingBalance* opening : openings.members()) {
    opening->setFiscalYear(nullptr);
    context.deleteObject(opening);
  }
}

}  // namespace

bool FiscalYear::updateStartingBalances(ErrorOut error) {
  const FiscalYear* former = previous();
  if (former == nullptr)
    return internal::refuse(error, LedgerError::NoPrecedingYear,
                            "There is no fiscal year preceding this year.", environment());
  Context& context = managedObjectContext();
  // All that can fail is read before anything is changed.
  const auto accounts =
      context.fetchEntitiesWithName(Account::kEntityName, Account::balanceAccountPredicate());
  if (!accounts) return internal::refuseUnreadable(error, context);
  SumsByNumber sums = closingBalances(*former, *accounts);
  removeAll(startingBalances(), context);
  for (Record* account : *accounts) {
    // Taken out, so that one account of several with this number opens with the sum.
    const auto sum = sums.extract(static_cast<const Account*>(account)->number());
    if (sum.empty() || sum.mapped().isZero()) continue;
    auto* opening = context.insert<StartingBalance>();
    opening->setAccount(account);
    opening->setFiscalYear(this);
    opening->setBalance(sum.mapped());
  }
  return true;
}

}  // namespace bokfolio
