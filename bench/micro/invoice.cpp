// What an invoice's amounts cost to read, beside the same arithmetic on plain structs, and that the
// next number costs the same after ten invoices as after many.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/books.hpp"
#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"

namespace bokfolio::bench {
namespace {

constexpr int kLines = 20;
const Decimal kPercentOff = 10;
const Decimal kAmountOff = 4'000;

std::unique_ptr<Context> emptyDocument() {
  auto context = openInMemory(environment());
  context->setUndoEnabled(false);
  return context;
}

Decimal rateOf(int line) { return line % 3 == 0 ? 12 : 25; }
Decimal quantityOf(int line) { return 1 + line % 7; }
Decimal priceOf(int line) { return Decimal(10'050 + 1'995 * line).scaledByPowerOf10(-2); }

enum class Rebate { None, Percentage, Amount };

Invoice& invoice(Rebate rebate) {
  static const std::unique_ptr<Context> context = emptyDocument();
  static std::map<Rebate, Invoice*> made;
  Invoice*& found = made[rebate];
  if (found != nullptr) return *found;
  found = context->insert<Invoice>();
  for (int at = 0; at < kLines; ++at) {
    auto* line = context->insert<InvoiceLine>();
    line->setArticle(context->insert<Article>());
    line->article()->setVat(rateOf(at));
    line->setQuantity(quantityOf(at));
    line->setPrice(priceOf(at));
    line->setVat(rateOf(at));
    line->setInvoice(found);
  }
  found->setRounding(true);
  if (rebate == Rebate::None) return *found;
  const bool absolute = rebate == Rebate::Amount;
  found->setAllowance(context->insert<Allowance>());
  found->allowance()->setAbsolute(absolute);
  found->allowance()->setValue(absolute ? kAmountOff : kPercentOff);
  return *found;
}

// The floor: the same decimals in a vector.
struct PlainLine {
  std::optional<Decimal> quantity, price, vat;
  Decimal exclVat() const { return *quantity * *price; }
  Decimal sum() const { return exclVat() * (Decimal(1) + vat->scaledByPowerOf10(-2)); }
};

const std::vector<PlainLine>& plainLines() {
  static const std::vector<PlainLine> lines = [] {
    std::vector<PlainLine> made;
    for (int at = 0; at < kLines; ++at) made.push_back({quantityOf(at), priceOf(at), rateOf(at)});
    return made;
  }();
  return lines;
}

struct PlainAmounts {
  Decimal total, vat, rounding;
  friend bool operator==(const PlainAmounts&, const PlainAmounts&) = default;
};

PlainAmounts plainAmounts(const std::vector<PlainLine>& lines) {
  Decimal sum;
  Decimal net;
  for (const PlainLine& line : lines) {
    const Decimal exclVat = line.exclVat();
    net += exclVat;
    sum += exclVat * (Decimal(1) + line.vat->scaledByPowerOf10(-2));
  }
  const Decimal total = sum.rounded(0, Rounding::Bankers);
  return {total, sum - net, total - sum};
}

PlainAmounts amountsOf(const Invoice& of) {
  return {of.totalAmount(), of.vatAmount(), of.roundingAmount()};
}

Decimal plainTotal(const std::vector<PlainLine>& lines) {
  Decimal total;
  for (const PlainLine& line : lines) total += line.sum();
  total -= (total * kPercentOff).scaledByPowerOf10(-2);
  return total.rounded(0, Rounding::Bankers);
}

Decimal plainNetLessAmount(const std::vector<PlainLine>& lines) {
  std::vector<std::pair<Decimal, const PlainLine*>> sorted;
  Decimal net;
  for (const PlainLine& line : lines) {
    sorted.emplace_back(line.sum(), &line);
    net += line.exclVat();
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  double rest = kAmountOff.toDouble();
  for (const auto& [sum, line] : sorted) {
    const double covered = sum.toDouble();
    if (rest <= covered) {
      const double factor = 1 + 0.01 * line->vat->toDouble();
      return net - Decimal(static_cast<std::int32_t>(100 * rest / factor)).scaledByPowerOf10(-2);
    }
    rest -= covered;
    net -= line->exclVat();
  }
  return net;
}

std::string plainSummary(const std::vector<PlainLine>& lines, const NumberFormatter& formatter) {
  std::map<Decimal, double> bases;
  for (const PlainLine& line : lines) bases[*line.vat] += line.exclVat().toDouble();
  std::string summary;
  for (auto& [rate, base] : bases) {
    base -= -kPercentOff.toDouble() * 0.01 * base;
    summary += rate.toString() + "%:\t" + formatter(*Decimal::fromDouble(base)) + "\n";
  }
  return summary;
}

std::string plainText(const Decimal& value) { return value.toString(); }

void amounts(benchmark::State& state) {
  const Invoice& of = invoice(Rebate::None);
  for (auto _ : state) benchmark::DoNotOptimize(amountsOf(of));
}
BENCHMARK(amounts)->Name("invoice/total, VAT and rounding");

void amountsFloor(benchmark::State& state) {
  if (amountsOf(invoice(Rebate::None)) != plainAmounts(plainLines()))
    state.SkipWithError("amounts differ");
  for (auto _ : state) benchmark::DoNotOptimize(plainAmounts(plainLines()));
}
BENCHMARK(amountsFloor)->Name("invoice/floor/total, VAT and rounding");

void lineSum(benchmark::State& state) {
  const InvoiceLine* line = invoice(Rebate::Percentage).lines().first();
  for (auto _ : state) benchmark::DoNotOptimize(line->lineSum());
}
BENCHMARK(lineSum)->Name("invoice/sum of a line");

void lineSumFloor(benchmark::State& state) {
  const PlainLine& line = plainLines().front();
  for (auto _ : state) benchmark::DoNotOptimize(line.sum());
}
BENCHMARK(lineSumFloor)->Name("invoice/floor/sum of a line");

void totalLessPercentage(benchmark::State& state) {
  const Invoice& of = invoice(Rebate::Percentage);
  for (auto _ : state) benchmark::DoNotOptimize(of.totalAmount());
}
BENCHMARK(totalLessPercentage)->Name("invoice/total less a percentage");

void totalLessPercentageFloor(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(plainTotal(plainLines()));
}
BENCHMARK(totalLessPercentageFloor)->Name("invoice/floor/total less a percentage");

void netLessAmount(benchmark::State& state) {
  const Invoice& of = invoice(Rebate::Amount);
  for (auto _ : state) benchmark::DoNotOptimize(of.totalAmountExclVat());
}
BENCHMARK(netLessAmount)->Name("invoice/net less an amount");

void netLessAmountFloor(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(plainNetLessAmount(plainLines()));
}
BENCHMARK(netLessAmountFloor)->Name("invoice/floor/net less an amount");

void vatSummary(benchmark::State& state) {
  const Invoice& of = invoice(Rebate::Percentage);
  for (auto _ : state) benchmark::DoNotOptimize(of.vatSummaryUsingFormatter(plainText));
}
BENCHMARK(vatSummary)->Name("invoice/VAT summary");

void vatSummaryFloor(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(plainSummary(plainLines(), plainText));
}
BENCHMARK(vatSummaryFloor)->Name("invoice/floor/VAT summary");

void nextNumber(benchmark::State& state) {
  const auto context = emptyDocument();
  for (std::int64_t number = 1; number <= state.range(0); ++number)
    context->insert<Invoice>()->setNumber(number);
  auto* next = context->insert<Invoice>();
  next->setPropertiesFromLatestInvoice();  // the index is built when it is first asked
  for (auto _ : state) {
    next->setNumber(std::nullopt);
    next->setPropertiesFromLatestInvoice();
  }
  if (next->number() != state.range(0) + 1) state.SkipWithError("not the next number");
}
BENCHMARK(nextNumber)->Name("invoice/next number")->Arg(10)->Arg(100'000);

}  // namespace
}  // namespace bokfolio::bench
