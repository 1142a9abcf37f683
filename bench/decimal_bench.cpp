// Decimal arithmetic on the numbers of a business: amounts in cents, quantities, rates, and
// 38-digit quotients. The floors do the same sums on a bare 128-bit integer with an exponent,
// without limits, rounding or text of any length: what exactness and checks cost is the distance to
// them.
#include <benchmark/benchmark.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bokfolio/platform/decimal.hpp"

namespace {

using bokfolio::Decimal;

__extension__ typedef __int128 Int128;

constexpr std::size_t kCount = 1024;  // stays in the first cache

struct Plain {
  Int128 mantissa;
  int exponent;
};

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
    values[i] = values[i].rounded(static_cast<int>(i % 2), bokfolio::Rounding::Plain);
  }
  return values;
}

std::vector<Decimal> quotients() {
  std::vector<Decimal> values = amounts();
  for (Decimal& value : values) value = value / *Decimal::parse("8.7235");
  return values;
}

std::vector<Plain> plainAmounts() {
  std::vector<Plain> values;
  for (const auto value : cents()) values.push_back({value, -2});
  return values;
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
           [](const auto& a, const auto&) { return a.rounded(2, bokfolio::Rounding::Bankers); });
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
  std::vector<std::string> texts;
  for (const Decimal& value : amounts()) texts.push_back(value.toString());
  pairwise(state, texts, texts, [](const auto& a, const auto&) { return Decimal::parse(a); });
}
void fromTextQuotients(benchmark::State& state) {
  std::vector<std::string> texts;
  for (const Decimal& value : quotients()) texts.push_back(value.toString());
  pairwise(state, texts, texts, [](const auto& a, const auto&) { return Decimal::parse(a); });
}
void toDouble(benchmark::State& state) {
  pairwise(state, amounts(), amounts(), [](const auto& a, const auto&) { return a.toDouble(); });
}

void floorAdd(benchmark::State& state) {
  pairwise(state, plainAmounts(), plainAmounts(), [](const Plain& a, const Plain& b) {
    return Plain{a.mantissa + b.mantissa, a.exponent};
  });
}
void floorSum(benchmark::State& state) {
  const std::vector<Plain> values = plainAmounts();
  for (auto _ : state) {
    Plain sum{0, -2};
    for (const Plain& value : values) {
      sum.mantissa += value.mantissa;
      benchmark::DoNotOptimize(sum);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
}
void floorMultiply(benchmark::State& state) {
  pairwise(state, plainAmounts(), plainAmounts(), [](const Plain& a, const Plain& b) {
    return Plain{a.mantissa * b.mantissa, a.exponent + b.exponent};
  });
}
// A quotient of 19 digits only, half of what a Decimal answers.
void floorDivide(benchmark::State& state) {
  constexpr Int128 kScale = 1'000'000'000'000'000'000;
  pairwise(state, plainAmounts(), plainAmounts(), [](const Plain& a, const Plain& b) {
    return Plain{a.mantissa * kScale / b.mantissa, a.exponent - b.exponent - 18};
  });
}
void floorToText(benchmark::State& state) {
  std::array<char, 32> buffer{};
  const std::vector<std::int64_t> values = cents();
  pairwise(state, values, values, [&buffer](std::int64_t a, std::int64_t) {
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), a).ptr;
    return std::string(buffer.data(), end);
  });
}
void floorFromText(benchmark::State& state) {
  std::vector<std::string> texts;
  for (const auto value : cents()) texts.push_back(std::to_string(value));
  pairwise(state, texts, texts, [](const std::string& a, const std::string&) {
    std::int64_t value = 0;
    std::from_chars(a.data(), a.data() + a.size(), value);
    return value;
  });
}

BENCHMARK(floorAdd)->Name("decimal/floor/add");
BENCHMARK(addAmounts)->Name("decimal/add");
BENCHMARK(addMixedScales)->Name("decimal/add/mixed scales");
BENCHMARK(addQuotients)->Name("decimal/add/38 digits");
BENCHMARK(floorSum)->Name("decimal/floor/sum of 1024");
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
