// The amounts of an invoice, computed from its lines and its rebate each time they are read.
#include <cmath>
#include <limits>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/internal/line_sums.hpp"
#include "bokfolio/model/invoicing/internal/summed_lines.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"

namespace bokfolio {

namespace {

using internal::LineSums;
using internal::SummedLine;

Decimal sumWithVat(const Invoice& invoice) {
  Decimal sum;
  LineSums sums(invoice.vatfree());
  invoice.lines().forEachStored([&](const InvoiceLine&, const SlotView& line) {
    if (const auto exclVat = LineSums::exclVat(line)) sum += sums.withVat(line, *exclVat);
  });
  return sum;
}

Decimal sumWithoutVat(const Invoice& invoice) {
  Decimal sum;
  invoice.lines().forEachStored([&](const InvoiceLine&, const SlotView& line) {
    if (const auto exclVat = LineSums::exclVat(line)) sum += *exclVat;
  });
  return sum;
}

struct BothSums {
  Decimal withVat;
  Decimal exclVat;
};

// Those two in one walk.
BothSums bothSums(const Invoice& invoice) {
  BothSums both;
  LineSums sums(invoice.vatfree());
  invoice.lines().forEachStored([&](const InvoiceLine&, const SlotView& line) {
    const auto exclVat = LineSums::exclVat(line);
    if (!exclVat) return;
    both.withVat += sums.withVat(line, *exclVat);
    both.exclVat += *exclVat;
  });
  return both;
}

Decimal lessRebate(const Decimal& sum, const Allowance* rebate) {
  return rebate == nullptr ? sum : sum + rebate->amountOnDecimal(sum);
}

// What the invoice comes to before its total is rounded.
Decimal unroundedTotal(const Invoice& invoice) {
  return lessRebate(sumWithVat(invoice), invoice.allowance());
}

Decimal wholeUnits(const Decimal& amount) { return amount.rounded(0, Rounding::Bankers); }

// Hundredths cut toward zero to a 32-bit integer; beyond that (21 474 836.47) the bound, and zero
// for what is no number.
Decimal cutHundredths(double hundredths) {
  using Integer = std::int32_t;
  constexpr double kLowest = std::numeric_limits<Integer>::min();
  constexpr double kHighest = std::numeric_limits<Integer>::max();
  if (std::isnan(hundredths)) return {};
  const double bounded = std::fmin(std::fmax(hundredths, kLowest), kHighest);
  return Decimal(static_cast<Integer>(bounded)).scaledByPowerOf10(-2);
}

double articleRate(const InvoiceLine& line) {
  const Article* article = line.article();
  const auto rate = article == nullptr ? std::nullopt : article->vat();
  return rate ? rate->toDouble() : 0;
}

Decimal lessFixedRebate(Decimal exclVat, const Invoice& invoice, const Decimal& rebate) {
  internal::walkRebate(
      internal::linesByFallingSum(invoice), rebate.toDouble(),
      [&](const SummedLine& covered) { exclVat -= covered.exclVatAsDecimal(); },
      [&](const SummedLine& reached, double rest) {
        exclVat -= cutHundredths((100 * rest) / (1 + 0.01 * articleRate(*reached.line)));
      });
  return exclVat;
}

}  // namespace

Decimal Invoice::totalAmount() const {
  const Decimal total = unroundedTotal(*this);
  return rounding() ? wholeUnits(total) : total;
}

Decimal Invoice::roundingAmount() const {
  if (!rounding()) return {};
  const Decimal total = unroundedTotal(*this);
  return wholeUnits(total) - total;
}

Decimal Invoice::rebateAmount() const {
  const Allowance* rebate = allowance();
  return rebate == nullptr ? Decimal() : rebate->amountOnDecimal(sumWithVat(*this));
}

Decimal Invoice::vatAmount() const {
  const Allowance* rebate = allowance();
  if (rebate != nullptr && rebate->absolute()) return unroundedTotal(*this) - totalAmountExclVat();
  const BothSums sums = bothSums(*this);
  return lessRebate(sums.withVat, rebate) - lessRebate(sums.exclVat, rebate);
}

Decimal Invoice::totalAmountExclVat() const {
  const Decimal sum = sumWithoutVat(*this);
  const Allowance* rebate = allowance();
  if (rebate == nullptr || !rebate->absolute()) return lessRebate(sum, rebate);
  return lessFixedRebate(sum, *this, rebate->value().value_or(Decimal()));
}

std::optional<Decimal> Invoice::amountRemaining() const {
  const auto owed = localAmount();
  const auto paid = paidAmount();
  return owed && paid ? std::optional(*owed - *paid) : owed;
}

Decimal Invoice::getExchangeRateAndCalculateLocalAmount() {
  Decimal rate = 1;
  if (foreignCurrency()) {
    const auto code = currency();
    const Book* own = book();
    std::optional<Error> failure;
    const auto found = own == nullptr ? std::nullopt : own->exchangeRate(code, &failure);
    if (!found || failure) return rate;
    rate = *found;
  }
  setLocalAmount(totalAmount() * rate);
  return rate;
}

}  // namespace bokfolio
