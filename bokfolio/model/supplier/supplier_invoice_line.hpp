// SupplierInvoiceLine: one cost item of a supplier invoice. An amount excluding VAT, a VAT rate,
// and the accounts debited with either.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Account;
class SupplierInvoice;

class BOKFOLIO_EXPORT SupplierInvoiceLine : public Record {
 public:
  static constexpr std::string_view kEntityName = "SupplierInvoiceLine";
  struct Slots {
    static constexpr Slot<Decimal> amount{0};
    static constexpr Slot<std::string> name{1};
    static constexpr Slot<Decimal> vat{2};
    static constexpr ToOneSlot<Account> account{3};
    static constexpr ToOneSlot<Account> vatAccount{4};
    static constexpr ToOneSlot<SupplierInvoice> invoice{5};
  };
  static EntityDescription table();

  using Record::Record;

  // Excluding VAT, in the invoice's currency.
  std::optional<Decimal> amount() const { return get(Slots::amount); }
  void setAmount(const std::optional<Decimal>& amount) { set(Slots::amount, amount); }
  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  // Percent: 25 is 25 %.
  std::optional<Decimal> vat() const { return get(Slots::vat); }
  void setVat(const std::optional<Decimal>& vat) { set(Slots::vat, vat); }

  // Accounts debited with the cost and with its VAT.
  Account* account() const;
  void setAccount(Account* account);
  Account* vatAccount() const;
  void setVatAccount(Account* vatAccount);
  SupplierInvoice* invoice() const;
  void setInvoice(SupplierInvoice* invoice);
};

}  // namespace bokfolio
