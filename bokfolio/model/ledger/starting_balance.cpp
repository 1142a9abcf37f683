#include "bokfolio/model/ledger/starting_balance.hpp"

#include <charconv>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/platform/environment.hpp"

namespace bokfolio {

EntityDescription StartingBalance::table() {
  EntityTable<StartingBalance> table{std::string(kEntityName)};
  table.toOne(Slots::account, "account", "Account", "startingBalances")
      .writtenBy<&StartingBalance::setAccount>()
      .validatedBy<&StartingBalance::validateAccount>();
  table.attribute(Slots::balance, "balance");
  table.toOne(Slots::fiscalYear, "fiscalYear", "FiscalYear", "startingBalances");
  table.derived<&StartingBalance::number, &StartingBalance::setNumber>("number");
  table.derived<&StartingBalance::description>("description");
  table.triggersChangeOf({"account", "balance", "fiscalYear"}, "description");
  table.triggersChangeOf({"account"}, "number");
  return table.description();
}

Account* StartingBalance::account() const { return get(Slots::account); }

void StartingBalance::setAccount(const Value& account) { setNumberedObject(account, "account"); }

FiscalYear* StartingBalance::fiscalYear() const { return get(Slots::fiscalYear); }

void StartingBalance::setFiscalYear(FiscalYear* year) { set(Slots::fiscalYear, year); }

std::optional<std::int64_t> StartingBalance::number() const {
  const Account* own = account();
  return own == nullptr ? std::nullopt : own->number();
}

void StartingBalance::setNumber(const Value& number) { setNumberedObject(number, "account"); }

std::string StartingBalance::description() const {
  const FiscalYear* year = fiscalYear();
  const auto single = static_cast<float>(balance().value_or(Decimal()).toDouble());
  // Not by printf: the point must not follow the process's locale.
  char amount[64];
  char* end = std::to_chars(amount, amount + sizeof amount, static_cast<double>(single),
                            std::chars_format::fixed, 6)
                  .ptr;
  return "account " + std::to_string(number().value_or(0)) + ", fyear " +
         (year == nullptr ? "(null)" : year->description()) + " and balance " +
         std::string(amount, end);
}

bool StartingBalance::validateAccount(Account*& proposed, ErrorOut error) {
  if (proposed == nullptr || proposed->balanceAccount()) return true;
  if (error == nullptr) return false;
  constexpr std::string_view kText =
      "Starting balances should not be defined on income and expenses.";
  *error = Error(kStoreErrorDomain, static_cast<int>(LedgerStoreError::NoBalanceAccount),
                 environment().text(kText))
               .with(kValidationKeyErrorKey, "account");
  return false;
}

}  // namespace bokfolio
