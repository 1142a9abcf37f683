#include "bokfolio/store/internal/exact_sum.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace bokfolio::internal {
namespace {

Decimal decimal(const char* text) { return Decimal::parse(text).value(); }

Decimal sumOf(const std::vector<const char*>& amounts) {
  ExactSum sum;
  for (const char* amount : amounts) sum += decimal(amount);
  return sum.total();
}

TEST(ExactSumTest, LosesNothingAndRoundsOnceWhenRead) {
  constexpr const char* kNines = "99999999999999999999999999999999999999";
  const struct {
    std::vector<const char*> amounts;
    const char* total;
  } cases[] = {
      {{}, "0"},
      {{"0.1", "0.2", "-0.3"}, "0"},
      {{"100", "0.005", "-0.001"}, "100.004"},
      // A decimal alone would have lost the small ones.
      {{"1E38", "0.01", "-1E38"}, "0.01"},
      {{"1E127", "1E-127", "-1E127"}, "1E-127"},
      {{"-1E100", "-1E-100", "1E100", "1E-100"}, "0"},
      // Thirty-nine digits, rounded half away from zero.
      {{kNines, "0.4"}, kNines},
      {{kNines, "0.5"}, "1E38"},
      {{"-99999999999999999999999999999999999999", "-0.5"}, "-1E38"},
      {{kNines, kNines, "6"}, "2E38"},
      {{kNines, kNines, "7"}, "2.0000000000000000000000000000000000001E38"},
  };
  for (const auto& each : cases) EXPECT_EQ(sumOf(each.amounts), decimal(each.total)) << each.total;
}

TEST(ExactSumTest, BeyondAllDecimalsItSaysSoOnlyWhenRead) {
  const Decimal huge = Decimal::fromParts(UInt128{9}, 127, false);
  const Decimal largest = huge.scaledByPowerOf10(37);
  ExactSum sum;
  for (int i = 0; i < 20; ++i) sum += largest;
  EXPECT_THROW(sum.total(), DecimalError);
  for (int i = 0; i < 19; ++i) sum -= largest;
  EXPECT_EQ(sum.total(), largest);
}

Decimal randomDecimal(std::mt19937_64& random) {
  // Mostly amounts, now and then anything that there is.
  const bool amount = random() % 4 != 0;
  const UInt128 mantissa = amount ? UInt128{random() % 1'000'000}
                                  : (static_cast<UInt128>(random() >> 3) << 64) | random();
  const int exponent =
      amount ? -static_cast<int>(random() % 4) : static_cast<int>(random() % 255) - 128;
  return Decimal::fromParts(
      mantissa % (static_cast<UInt128>(10'000'000'000'000'000'000U) * 10'000'000'000'000'000'000U),
      exponent, random() % 2 == 0);
}

TEST(ExactSumTest, NeitherOrderNorGroupingMatters) {
  std::mt19937_64 random(20090331);
  for (int round = 0; round < 300; ++round) {
    std::vector<Decimal> amounts(1 + random() % 20);
    std::generate(amounts.begin(), amounts.end(), [&] { return randomDecimal(random); });
    ExactSum inOrder;
    for (const Decimal& amount : amounts) inOrder += amount;
    std::shuffle(amounts.begin(), amounts.end(), random);
    ExactSum halves[2];
    for (std::size_t i = 0; i < amounts.size(); ++i) halves[i % 2] += amounts[i];
    ExactSum difference = halves[0];
    difference += halves[1];
    difference -= inOrder;
    ASSERT_TRUE(difference.isZero()) << "round " << round;
    for (const Decimal& amount : amounts) inOrder -= amount;
    ASSERT_TRUE(inOrder.isZero()) << "round " << round;
  }
}

}  // namespace
}  // namespace bokfolio::internal
