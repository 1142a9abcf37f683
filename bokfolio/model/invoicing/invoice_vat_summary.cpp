// The bases of VAT as they are printed, in binary floating point throughout.
#include <cmath>
#include <map>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/internal/summed_lines.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"

namespace bokfolio {

namespace {

using internal::SummedLine;
using BasesByRate = std::map<Decimal, double>;

std::optional<Decimal> articleRate(const InvoiceLine& line) {
  const Article* article = line.article();
  return article == nullptr ? std::nullopt : article->vat();
}

BasesByRate basesOf(const Invoice& invoice) {
  BasesByRate bases;
  for (const InvoiceLine* line : invoice.lines().members())
    if (const auto rate = articleRate(*line))
      bases[*rate] += line->lineSumExclVat().value_or(Decimal()).toDouble();
  return bases;
}

// Takes an amount including VAT out of the base of the line's rate. A line without a rate has no
// base, and what it takes of the rebate is not shown.
void takeOut(BasesByRate& bases, const InvoiceLine& line, double amount) {
  if (const auto rate = articleRate(line)) bases[*rate] -= amount / (1 + 0.01 * rate->toDouble());
}

void applyRebate(BasesByRate& bases, const Invoice& invoice, const Allowance& rebate) {
  if (rebate.absolute()) {
    internal::walkRebate(
        internal::linesByFallingSum(invoice), rebate.value().value_or(Decimal()).toDouble(),
        [&](const SummedLine& covered) { takeOut(bases, *covered.line, covered.sumAsDouble()); },
        [&](const SummedLine& reached, double rest) { takeOut(bases, *reached.line, rest); });
    return;
  }
  // The rebate on a base is negative, so this raises the base: as printed invoices have it.
  for (auto& [rate, base] : bases) base -= rebate.calculateAllowanceOn(base);
}

std::string amountText(double amount, const NumberFormatter& formatter) {
  if (const auto exact = Decimal::fromDouble(amount)) return formatter(*exact);
  if (std::fabs(amount) < 1) return formatter(Decimal());
  if (std::isnan(amount)) return "NaN";
  return amount < 0 ? "-∞" : "∞";
}

}  // namespace

std::string Invoice::vatSummaryUsingFormatter(const NumberFormatter& formatter) const {
  if (vatfree()) return " 0%:\t" + formatter(totalAmount());
  BasesByRate bases = basesOf(*this);
  if (const Allowance* rebate = allowance(); rebate != nullptr) applyRebate(bases, *this, *rebate);
  std::string summary;
  for (const auto& [rate, base] : bases) {
    if (!summary.empty()) summary += '\n';
    summary += rate.toString() + "%:\t" + amountText(base, formatter);
  }
  return summary;
}

}  // namespace bokfolio
