// The integers beneath Decimal at the words where carries and estimates of quotients go wrong,
// which decimals alone reach too rarely.
#include "bokfolio/platform/internal/wide_integer.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

#include "bokfolio/platform/internal/decimal_digits.hpp"

namespace bokfolio::internal {
namespace {

// Words at which estimates and carries go wrong come up as often as all others.
std::uint64_t word(std::mt19937_64& random) {
  const std::uint64_t edges[] = {0,         1, 2, ~0ULL, ~0ULL - 1, 1ULL << 63, (1ULL << 63) - 1,
                                 1ULL << 32};
  const auto pick = random() % 16;
  if (pick < 8) return edges[pick];
  return pick < 12 ? random() : random() >> (random() % 64);
}

TEST(WideInteger, DivisionUndoesMultiplication) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 200'000; ++i) {
    const UInt128 quotient = joinWords(word(random), word(random));
    const UInt128 divisor = joinWords(word(random), word(random));
    if (divisor == 0) continue;
    const UInt128 remainder = joinWords(word(random), word(random)) % divisor;
    const UInt256 product = multiply(quotient, divisor);
    const UInt256 dividend = add(product, remainder);
    const UInt256 back = subtract(dividend, remainder);
    ASSERT_TRUE(back.high == product.high && back.low == product.low);
    const Quotient128 result = divide(dividend, divisor);
    ASSERT_TRUE(result.quotient == quotient && result.remainder == remainder)
        << highWord(divisor) << ':' << lowWord(divisor) << " times " << highWord(quotient) << ':'
        << lowWord(quotient);
  }
}

TEST(WideInteger, CountsAndStripsDecimalDigits) {
  for (int power = 0; power <= 76; ++power) {
    const UInt256 value = timesPowerOf10(1, power);
    EXPECT_EQ(digitCount(value), power + 1);
    EXPECT_EQ(digitCount(subtract(value, 1)), power);
    if (power > kMaxDigits) continue;
    for (int zeros = 0; zeros + power < kMaxDigits; ++zeros) {
      // 10^power - 1 with zeros behind it; from exponent 117 on only ten may go.
      UInt128 mantissa = (10 * powerOf10(power) - 1) * powerOf10(zeros);
      UInt128 capped = mantissa;
      int exponent = -7;
      int cappedExponent = kMaxExponent - 10;
      stripTrailingZeros(mantissa, exponent);
      stripTrailingZeros(capped, cappedExponent);
      EXPECT_TRUE(mantissa == 10 * powerOf10(power) - 1) << power << ' ' << zeros;
      EXPECT_EQ(exponent, zeros - 7);
      EXPECT_EQ(cappedExponent, kMaxExponent - 10 + std::min(zeros, 10));
    }
  }
}

}  // namespace
}  // namespace bokfolio::internal
