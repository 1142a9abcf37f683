// Decimal arithmetic on the numbers of a business: amounts in cents, quantities, rates, and
// 38-digit quotients. The floors do the same by hand on 128-bit integers; where both are compared
// in the table they have given the same results before.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/micro/plain_decimal.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::bench {
namespace {

constexpr std::size_t kCount = 1024;  // stays in the first cache

std::vector<std::int64_t> cents() {
  std::mt19937_64 random(1);
  std::vector<std::int64_t> values(kCount);
  for (auto& value : values) {
    value = static_cast<std::int64_t>(random() % 10'000'000) - 5'000'000;
    if (value == 0) value = 1;
  }
  return values;
}

std::vector<Decimal> amounts() {
  std::vector<Decimal> values;
  for (const auto value : cents()) values.push_back(Decimal(value).scaledByPowerOf10(-2));
  return values;
}

// Amounts as they come from hands and files: some whole, some in tens, with few or many digits.
std::vector<Decimal> mixedAmounts() {
  std::vector<Decimal> values = amounts();
  for (std::size_t i = 0; i < values.size(); i += 3) {
    values[i] = values[i].rounded(static_cast<int>(i % 2), Rounding::Plain);
  }
  return values;
}

std::vector<Decimal> quotients() {
  std::vector<Decimal> values = amounts();
  for (Decimal& value : values) value = value / *Decimal::parse("8.7235");
  return values;
}

std::vector<PlainDecimal> plainAmounts() {
  std::vector<PlainDecimal> values;
  for (const auto value : cents()) values.push_back({value, -2});
  return values;
}

std::vector<std::string> texts() {
  std::vector<std::string> made;
  for (const Decimal& value : amounts()) made.push_back(value.toString());
  return made;
}

template <typename Values, typename Operation>
void pairwise(benchmark::State& state, const Values& a, const Values& b, Operation operation) {
  std::size_t i = 0;
  for (auto _ : state) {
    auto result = operation(a[i % kCount], b[(i + 7) % kCount]);
    benchmark::DoNotOptimize(result);
    ++i;
  }
}

void addAmounts(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto& b) { return a + b; });
}
void addMixedScales(benchmark::State& state) {
  pairwise(state, mixedAmounts(), mixedAmounts(),
           [](const auto& a, const auto& b) { return a + b; });
}
void addQuotients(benchmark::State& state) {
  pairwise(state, quotients(), amounts(), [](const auto& a, const auto& b) { return a + b; });
}
void multiplyAmounts(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto& b) { return a * b; });
}
void multiplyQuotients(benchmark::State& state) {
  pairwise(state, quotients(), amounts(), [](const auto& a, const auto& b) { return a * b; });
}
void divideAmounts(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto& b) { return a / b; });
}
void divideExactly(benchmark::State& state) {
  const std::vector<Decimal> rates(kCount, *Decimal::parse("1.25"));
  pairwise(state, amounts(), rates, [](const auto& a, const auto& b) { return a / b; });
}
void divideQuotients(benchmark::State& state) {
  pairwise(state, amounts(), quotients(), [](const auto& a, const auto& b) { return a / b; });
}
void compareMixedScales(benchmark::State& state) {
  pairwise(state, mixedAmounts(), mixedAmounts(),
           [](const auto& a, const auto& b) { return a < b; });
}
void roundToCents(benchmark::State& state) {
  pairwise(state, quotients(), quotients(),
           [](const auto& a, const auto&) { return a.rounded(2, Rounding::Bankers); });
}
void sumAmounts(benchmark::State& state) {
  const std::vector<Decimal> values = amounts();
  for (auto _ : state) {
    Decimal sum;
    for (const Decimal& value : values) sum += value;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}
void hashAmounts(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto&) { return a.hash(); });
}
void toText(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto&) { return a.toString(); });
}
void toCharacters(benchmark::State& state) {
  std::array<char, Decimal::kMaxTextLength> buffer{};
  pairwise(state, amounts(), amounts(), [&buffer](const auto& a, const auto&) {
    const std::size_t length = a.toChars(buffer.data());
    benchmark::DoNotOptimize(buffer.data());
    return length;
  });
}
void toTextQuotients(benchmark::State& state) {
  pairwise(state, quotients(), quotients(),
           [](const auto& a, const auto&) { return a.toString(); });
}
void fromText(benchmark::State& state) {
  pairwise(state, texts(), texts(), [](const auto& a, const auto&) { return Decimal::parse(a); });
}
void fromTextQuotients(benchmark::State& state) {
  std::vector<std::string> digits;
  for (const Decimal& value : quotients()) digits.push_back(value.toString());
  pairwise(state, digits, digits, [](const auto& a, const auto&) { return Decimal::parse(a); });
}
void toDouble(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto&) { return a.toDouble(); });
}

// Both sides of a comparison must have done the same.
template <typename Ours, typename Plain>
void compare(benchmark::State& state, const char* what, Ours ours, Plain plain) {
  const std::vector<Decimal> values = amounts();
  const std::vector<PlainDecimal> plainValues = plainAmounts();
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::size_t other = (i + 7) % kCount;
    if (ours(values[i], values[other]) != toDecimal(plain(plainValues[i], plainValues[other])))
      state.SkipWithError(what);
  }
}

void floorAdd(benchmark::State& state) {
  compare(
      state, "sums differ", [](const auto& a, const auto& b) { return a + b; }, plainAdd);
  pairwise(state, plainAmounts(), plainAmounts(),
           [](const auto& a, const auto& b) { return plainAdd(a, b); });
}
void floorMultiply(benchmark::State& state) {
  compare(
      state, "products differ", [](const auto& a, const auto& b) { return a * b; }, plainMultiply);
  pairwise(state, plainAmounts(), plainAmounts(),
           [](const auto& a, const auto& b) { return plainMultiply(a, b); });
}
void floorDivide(benchmark::State& state) {
  compare(
      state, "quotients differ", [](const auto& a, const auto& b) { return a / b; }, plainDivide);
  pairwise(state, plainAmounts(), plainAmounts(),
           [](const auto& a, const auto& b) { return plainDivide(a, b); });
}
void floorToText(benchmark::State& state) {
  const std::vector<PlainDecimal> values = plainAmounts();
  const std::vector<std::string> expected = texts();
  for (std::size_t i = 0; i < kCount; ++i) {
    if (plainText(values[i]) != expected[i]) state.SkipWithError("texts differ");
  }
  pairwise(state, values, values, [](const auto& a, const auto&) { return plainText(a); });
}
void floorFromText(benchmark::State& state) {
  const std::vector<Decimal> expected = amounts();
  const std::vector<std::string> given = texts();
  for (std::size_t i = 0; i < kCount; ++i) {
    if (toDecimal(plainParse(given[i]).value_or(PlainDecimal())) != expected[i])
      state.SkipWithError("values differ");
  }
  pairwise(state, given, given, [](const auto& a, const auto&) { return plainParse(a); });
}

BENCHMARK(floorAdd)->Name("decimal/floor/add");
BENCHMARK(addAmounts)->Name("decimal/add");
BENCHMARK(addMixedScales)->Name("decimal/add/mixed scales");
BENCHMARK(addQuotients)->Name("decimal/add/38 digits");
BENCHMARK(sumAmounts)->Name("decimal/sum of 1024");
BENCHMARK(floorMultiply)->Name("decimal/floor/multiply");
BENCHMARK(multiplyAmounts)->Name("decimal/multiply");
BENCHMARK(multiplyQuotients)->Name("decimal/multiply/38 digits");
BENCHMARK(floorDivide)->Name("decimal/floor/divide");
BENCHMARK(divideAmounts)->Name("decimal/divide");
BENCHMARK(divideExactly)->Name("decimal/divide/exact");
BENCHMARK(divideQuotients)->Name("decimal/divide/38 digits");
BENCHMARK(compareMixedScales)->Name("decimal/compare/mixed scales");
BENCHMARK(roundToCents)->Name("decimal/round/38 digits");
BENCHMARK(hashAmounts)->Name("decimal/hash");
BENCHMARK(floorToText)->Name("decimal/floor/to text");
BENCHMARK(toText)->Name("decimal/to text");
BENCHMARK(toCharacters)->Name("decimal/to characters");
BENCHMARK(toTextQuotients)->Name("decimal/to text/38 digits");
BENCHMARK(floorFromText)->Name("decimal/floor/from text");
BENCHMARK(fromText)->Name("decimal/from text");
BENCHMARK(fromTextQuotients)->Name("decimal/from text/38 digits");
BENCHMARK(toDouble)->Name("decimal/to double");

}  // namespace
}  // namespace bokfolio::bench
