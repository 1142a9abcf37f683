// Allowance: a rebate on a whole invoice or on one of its lines, as a percentage or as an amount in
// the invoice's currency. Users type it as text. The value is entered as a positive figure; the
// operations that compute an amount answer it negated, so that adding it to a sum lowers the sum.
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

class Context;
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

  // Parses a rebate and inserts it; nullptr, and nothing inserted, for a text (or nil) that is
  // neither a percentage nor an amount as a whole. A percentage ends with "%", perhaps after one
  // blank, and has "." before its decimals in every locale: "10%", "12.5 %". It is read as a binary
  // fraction times 100. Anything else is an amount in the environment's locale, exact, with the
  // currency's code, "$", "£" or "€" in front when the currency is that one, or the locale's own
  // symbol in front or behind: "50", "SEK 50", "50 kr". A minus is kept. Blanks and no-break spaces
  // around text and number do not matter. `currencyCode` is the invoice's; nil strips no mark of a
  // foreign currency.
  static Allowance* createAllowanceFromString(const std::optional<std::string>& text,
                                              const std::optional<std::string>& currencyCode,
                                              Context& context);

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

  // An amount: the value itself. A percentage: its text in the environment's locale.
  Value formattedValue() const;
  // As the invoice editor shows it: whole percent ("10 %"; a value of 12.5 shows as "12 %"), or an
  // amount in the style of the locale for the currency of the invoice, or of the line's invoice.
  // An amount that the locale writes with "kr" in front gets it behind ("50,00 kr").
  std::string description() const override;
  // The signed rebate on an amount: exact, and in binary floating point for the VAT summary, which
  // works in it. nil counts as zero. DecimalError when the product is no Decimal.
  Decimal amountOnDecimal(const Decimal& amount) const;
  double calculateAllowanceOn(double amount) const;
  // A copy in the same context that belongs to nothing yet.
  Allowance* duplicate() const;
};

}  // namespace bokfolio
