// Allowance: a rebate on a whole invoice or on one of its lines, as a percentage or as an amount in
// the invoice's currency.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Invoice;
class InvoiceLine;

class BOKFOLIO_EXPORT Allowance : public Record {
 public:
  static constexpr std::string_view kEntityName = "Allowance";
  struct Slots {
    static constexpr Slot<Decimal> value{0};
    static constexpr Slot<std::int64_t> absolute{1};
    static constexpr ToOneSlot<Invoice> invoice{2};
    static constexpr ToOneSlot<InvoiceLine> invoiceline{3};
  };
  static EntityDescription table();

  using Record::Record;

  // Percentage (10 is 10 %) or amount, normally positive.
  std::optional<Decimal> value() const { return get(Slots::value); }
  void setValue(const std::optional<Decimal>& value) { set(Slots::value, value); }
  // Yes: the value is an amount. No, and nil: a percentage.
  bool absolute() const { return get(Slots::absolute).value_or(0) != 0; }
  void setAbsolute(bool absolute) { set(Slots::absolute, absolute ? 1 : 0); }
  // One of the two is set.
  Invoice* invoice() const;
  void setInvoice(Invoice* invoice);
  InvoiceLine* invoiceline() const;
  void setInvoiceline(InvoiceLine* invoiceline);
};

}  // namespace bokfolio
