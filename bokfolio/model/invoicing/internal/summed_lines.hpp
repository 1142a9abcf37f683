// The lines of an invoice in the order in which a rebate of a fixed amount consumes them, and the
// walk along them. Totals, VAT summary and sales rows walk alike but take different amounts out at
// each step, on purpose: they share the walk, never the steps.
#pragma once

#include <optional>
#include <type_traits>
#include <vector>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {

class Invoice;
class InvoiceLine;

namespace internal {

struct SummedLine {
  InvoiceLine* line;
  std::optional<Decimal> exclVat;  // lineSumExclVat
  std::optional<Decimal> sum;      // lineSum

  double sumAsDouble() const { return sum ? sum->toDouble() : 0; }
  Decimal sumAsDecimal() const { return sum.value_or(Decimal()); }
  Decimal exclVatAsDecimal() const { return exclVat.value_or(Decimal()); }
};

// The largest line sum first, equal sums in order of creation, lines without a sum last.
std::vector<SummedLine> linesByFallingSum(const Invoice& invoice);

// Calls covered(line) for each line that the rest of the rebate strictly exceeds and goes on with
// what is left of it, then reached(line, rest) for the first line that it does not exceed, if any.
// Amount is double or Decimal.
template <class Amount, class Covered, class Reached>
void walkRebate(const std::vector<SummedLine>& lines, Amount rest, Covered covered,
                Reached reached) {
  for (const SummedLine& each : lines) {
    Amount sum{};
    if constexpr (std::is_same_v<Amount, double>) {
      sum = each.sumAsDouble();
    } else {
      sum = each.sumAsDecimal();
    }
    if (!(rest > sum)) {
      reached(each, rest);
      return;
    }
    covered(each);
    rest -= sum;
  }
}

}  // namespace internal

}  // namespace bokfolio
