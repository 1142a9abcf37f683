// How a line of an invoice comes to its sums: the one place of both formulas, and a reader for
// whoever goes through all lines of an invoice. That one takes the stored values where they lie and
// computes what a VAT rate multiplies with once a rate, because screens ask for totals all the
// time. Nothing outlives the walk: what lines, articles and invoice hold may change between two of
// them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/slot_view.hpp"

namespace bokfolio::internal {

inline Decimal lineExclVat(const Decimal& quantity, const Decimal& price, const Allowance* rebate) {
  const Decimal sum = quantity * price;
  return rebate == nullptr ? sum : sum + rebate->amountOnDecimal(sum);
}

// What a sum excluding VAT is multiplied with: 1.25 at a rate of 25.
inline Decimal vatFactor(const Decimal& rate) { return Decimal(1) + rate.scaledByPowerOf10(-2); }

class LineSums {
 public:
  // `vatfree`: the invoice's.
  explicit LineSums(bool vatfree) : vatfree_(vatfree) {}

  // InvoiceLine::lineSumExclVat of the line with these values.
  static std::optional<Decimal> exclVat(const SlotView& line) {
    using Slots = InvoiceLine::Slots;
    if (line.isNil(Slots::price.ordinal) || line.isNil(Slots::quantity.ordinal))
      return std::nullopt;
    const Allowance* rebate =
        line.isNil(Slots::allowance.ordinal)
            ? nullptr
            : static_cast<const Allowance*>(line.reference(Slots::allowance.ordinal));
    return lineExclVat(line.decimal(Slots::quantity.ordinal), line.decimal(Slots::price.ordinal),
                       rebate);
  }

  // InvoiceLine::lineSum, from the sum without.
  Decimal withVat(const SlotView& line, const Decimal& exclVat) {
    constexpr std::uint16_t kVat = InvoiceLine::Slots::vat.ordinal;
    if (vatfree_ || line.isNil(kVat)) return exclVat;
    return exclVat * factorOf(line.decimal(kVat));
  }

 private:
  // More rates than a country has; with still more the latest is computed again.
  static constexpr std::size_t kRates = 4;

  // Rates that are equal but written differently count as two, so that a product has the parts
  // that it would have without.
  const Decimal& factorOf(const Decimal& rate) {
    for (std::size_t at = 0; at < known_; ++at)
      if (rates_[at].exponent() == rate.exponent() && rates_[at] == rate) return factors_[at];
    const Decimal factor = vatFactor(rate);
    const std::size_t place = known_ < kRates ? known_++ : kRates - 1;
    rates_[place] = rate;
    factors_[place] = factor;
    return factors_[place];
  }

  bool vatfree_;
  std::size_t known_ = 0;
  std::array<Decimal, kRates> rates_;
  std::array<Decimal, kRates> factors_;
};

}  // namespace bokfolio::internal
