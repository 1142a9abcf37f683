// Article: a product or service of the company's price list, with its price, its VAT rate and the
// accounts on which its sales are booked.
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
class InvoiceLine;

class BOKFOLIO_EXPORT Article : public Record {
 public:
  static constexpr std::string_view kEntityName = "Article";
  struct Slots {
    static constexpr Slot<std::string> name{0};
    static constexpr Slot<std::string> number{1};
    static constexpr Slot<std::string> unit{2};
    static constexpr Slot<Decimal> vat{3};
    static constexpr Slot<Decimal> price{4};
    static constexpr Slot<std::int64_t> isDependentTax{5};
    static constexpr Slot<double> dependentTaxLevel{6};
    static constexpr ToManySlot<InvoiceLine> invoiceLines{7};
    static constexpr ToOneSlot<Account> salesAccount{8};
    static constexpr ToOneSlot<Account> vatAccount{9};
  };
  static EntityDescription table();

  using Record::Record;

  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  // Text of digits.
  std::optional<std::string> number() const { return get(Slots::number); }
  void setNumber(const std::optional<std::string>& number) { set(Slots::number, number); }
  // What is counted: piece, hour...
  std::optional<std::string> unit() const { return get(Slots::unit); }
  void setUnit(const std::optional<std::string>& unit) { set(Slots::unit, unit); }
  // Percent: 25 is 25 %.
  std::optional<Decimal> vat() const { return get(Slots::vat); }
  void setVat(const std::optional<Decimal>& vat) { set(Slots::vat, vat); }
  // Of one unit, excluding VAT, in the invoice's currency.
  std::optional<Decimal> price() const { return get(Slots::price); }
  void setPrice(const std::optional<Decimal>& price) { set(Slots::price, price); }
  // Whether the price is a percentage of the line above, and which. nil reads as no.
  bool isDependentTax() const { return get(Slots::isDependentTax).value_or(0) != 0; }
  void setIsDependentTax(bool isDependentTax) {
    set(Slots::isDependentTax, isDependentTax ? 1 : 0);
  }
  std::optional<double> dependentTaxLevel() const { return get(Slots::dependentTaxLevel); }
  void setDependentTaxLevel(std::optional<double> dependentTaxLevel) {
    set(Slots::dependentTaxLevel, dependentTaxLevel);
  }

  RecordSetOf<InvoiceLine> invoiceLines() const;
  // Accounts credited with the sale and with its VAT.
  Account* salesAccount() const;
  void setSalesAccount(Account* salesAccount);
  Account* vatAccount() const;
  void setVatAccount(Account* vatAccount);
};

}  // namespace bokfolio
