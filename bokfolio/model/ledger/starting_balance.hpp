// StartingBalance: what one balance account holds when one fiscal year begins. It is added to the
// account's rows when balances are computed; income and cost accounts have none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Account;
class FiscalYear;

class BOKFOLIO_EXPORT StartingBalance : public Record {
 public:
  static constexpr std::string_view kEntityName = "StartingBalance";
  struct Slots {
    static constexpr ToOneSlot<Account> account{0};
    static constexpr Slot<Decimal> balance{1};
    static constexpr ToOneSlot<FiscalYear> fiscalYear{2};
  };
  static EntityDescription table();

  using Record::Record;

  Account* account() const;
  // An account, an account number or a text holding one, or nil; a number that no account has
  // clears.
  void setAccount(const Value& account);
  // Debit-positive, like every amount of the ledger.
  std::optional<Decimal> balance() const { return get(Slots::balance); }
  void setBalance(const std::optional<Decimal>& balance) { set(Slots::balance, balance); }
  FiscalYear* fiscalYear() const;
  void setFiscalYear(FiscalYear* year);

  // The account's number, nil without an account. Setting it is setAccount.
  std::optional<std::int64_t> number() const;
  void setNumber(const Value& number);

  // For messages: account number, fiscal year, and the balance with six decimals in the precision
  // of a float.
  std::string description() const override;

  // Hook: no account, or a balance account (types 0, 1 and 4). Otherwise an error of the store's
  // domain, code 24, key "account".
  bool validateAccount(Account*& proposed, ErrorOut error = nullptr);
};

}  // namespace bokfolio
