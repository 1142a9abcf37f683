#include "invoice_sums.hpp"

#include <algorithm>
#include <map>
#include <numeric>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"

namespace bokfolio::cli {

namespace {

Decimal orZero(const std::optional<Decimal>& amount) { return amount.value_or(Decimal()); }

Decimal sumOf(const std::vector<Decimal>& amounts) {
  return std::accumulate(amounts.begin(), amounts.end(), Decimal());
}

struct Share {
  Decimal base;
  Decimal gross;
};
using Shares = std::map<Decimal, Share>;

Decimal percentOf(const Invoice& invoice, const InvoiceLine& line) {
  return invoice.vatfree() ? Decimal() : orZero(line.vat());
}

// The largest first, equal ones as they were made: the order in which a fixed rebate takes them.
std::vector<InvoiceLine*> byFallingSum(const Invoice& invoice) {
  std::vector<InvoiceLine*> lines;
  for (InvoiceLine* line : invoice.lines().members()) lines.push_back(line);
  std::stable_sort(lines.begin(), lines.end(), [](const InvoiceLine* a, const InvoiceLine* b) {
    return orZero(a->lineSum()) > orZero(b->lineSum());
  });
  return lines;
}

// Takes a fixed rebate out of the lines as the invoice's totals do, and leaves the bases with the
// very sum that the totals have.
void takeFixedRebate(const Invoice& invoice, Shares& shares) {
  Decimal rest = orZero(invoice.allowance()->value());
  Share* last = nullptr;
  for (const InvoiceLine* line : byFallingSum(invoice)) {
    last = &shares[percentOf(invoice, *line)];
    if (rest <= orZero(line->lineSum())) break;
    last->base -= orZero(line->lineSumExclVat());
    last->gross -= orZero(line->lineSum());
    rest -= orZero(line->lineSum());
  }
  if (last == nullptr) return;
  last->gross -= rest;
  Decimal others;
  for (const auto& [percent, share] : shares) others += share.base;
  last->base += invoice.totalAmountExclVat() - others;
}

Shares sharesOf(const Invoice& invoice) {
  Shares shares;
  for (const InvoiceLine* line : invoice.lines().members()) {
    Share& share = shares[percentOf(invoice, *line)];
    share.base += orZero(line->lineSumExclVat());
    share.gross += orZero(line->lineSum());
  }
  const Allowance* rebate = invoice.allowance();
  if (rebate == nullptr) return shares;
  if (rebate->absolute()) {
    takeFixedRebate(invoice, shares);
  } else {
    for (auto& [percent, share] : shares) {
      share.base += rebate->amountOnDecimal(share.base);
      share.gross += rebate->amountOnDecimal(share.gross);
    }
  }
  if (invoice.vatfree()) {
    for (auto& [percent, share] : shares) share.base = share.gross;
  }
  return shares;
}

void divideByRates(InvoiceSums& sums, const Shares& shares, const Decimal& gross) {
  std::vector<Decimal> bases;
  std::vector<Decimal> vats;
  for (const auto& [percent, share] : shares) {
    bases.push_back(share.base);
    vats.push_back(share.gross - share.base);
  }
  sums.vat = toHundredths(sumOf(vats));
  sums.net = gross - sums.vat;
  bases = apportioned(bases, sums.net);
  vats = apportioned(vats, sums.vat);
  std::size_t at = 0;
  for (const auto& [percent, share] : shares) {
    sums.rates.push_back({percent, bases[at], vats[at]});
    ++at;
  }
}

void divideByLines(InvoiceSums& sums, const Invoice& invoice) {
  for (const InvoiceLine* line : invoice.sortedInvoiceLines()) {
    sums.lines.push_back(orZero(line->lineSumExclVat()));
  }
  sums.linesSum = invoice.allowance() == nullptr ? sums.net : toHundredths(sumOf(sums.lines));
  sums.lines = apportioned(sums.lines, sums.linesSum);
  sums.rebate = sums.net - sums.linesSum;
}

}  // namespace

Decimal toHundredths(const Decimal& amount) { return amount.rounded(2, Rounding::Plain); }

std::vector<Decimal> apportioned(const std::vector<Decimal>& exact, const Decimal& total) {
  std::vector<Decimal> rounded;
  for (const Decimal& amount : exact) rounded.push_back(toHundredths(amount));
  Decimal missing = total - sumOf(rounded);
  const Decimal step =
      missing.isNegative() ? Decimal(-1).scaledByPowerOf10(-2) : Decimal(1).scaledByPowerOf10(-2);
  // First to those that rounding changed most the other way.
  std::vector<std::size_t> order(exact.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    const Decimal lostA = exact[a] - rounded[a];
    const Decimal lostB = exact[b] - rounded[b];
    return step.isNegative() ? lostA < lostB : lostA > lostB;
  });
  for (std::size_t at = 0; !missing.isZero() && at < order.size(); ++at) {
    rounded[order[at]] += step;
    missing -= step;
  }
  // More than one each: the exact amounts do not come to the total at all, so all to the first.
  if (!order.empty()) rounded[order.front()] += missing;
  return rounded;
}

InvoiceSums InvoiceSums::of(const Invoice& invoice) {
  InvoiceSums sums;
  const Shares shares = sharesOf(invoice);
  Decimal exact;
  for (const auto& [percent, share] : shares) exact += share.gross;
  const Decimal gross = toHundredths(exact);
  divideByRates(sums, shares, gross);
  divideByLines(sums, invoice);
  sums.total = invoice.rounding() ? invoice.totalAmount() : gross;
  sums.rounding = sums.total - gross;
  return sums;
}

}  // namespace bokfolio::cli
