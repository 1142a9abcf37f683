// Unsigned 256-bit integers as far as exact decimals need them: the full product of two 128-bit
// numbers, and the quotient and remainder of a 256-bit number by a 128-bit one. It is no general
// integer class; every operation states the range in which it is right.
#pragma once

#include <bit>
#include <cstdint>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::internal {

inline constexpr std::uint64_t lowWord(UInt128 value) { return static_cast<std::uint64_t>(value); }
inline constexpr std::uint64_t highWord(UInt128 value) {
  return static_cast<std::uint64_t>(value >> 64);
}
inline constexpr UInt128 joinWords(std::uint64_t high, std::uint64_t low) {
  return (static_cast<UInt128>(high) << 64) | low;
}
inline constexpr int bitWidth(UInt128 value) {
  return highWord(value) != 0 ? 64 + static_cast<int>(std::bit_width(highWord(value)))
                              : static_cast<int>(std::bit_width(lowWord(value)));
}
// Position of the lowest set bit; 128 for 0.
inline constexpr int lowestBit(UInt128 value) {
  return lowWord(value) != 0 ? std::countr_zero(lowWord(value))
                             : 64 + std::countr_zero(highWord(value));
}

struct UInt256 {
  UInt128 high = 0;
  UInt128 low = 0;
};

struct Quotient128 {
  UInt128 quotient = 0;
  UInt128 remainder = 0;
};

inline constexpr bool operator<(const UInt256& a, const UInt256& b) {
  return a.high != b.high ? a.high < b.high : a.low < b.low;
}

// Modulo 2^256, as the built-in unsigned types.
inline constexpr UInt256 add(const UInt256& a, UInt128 b) {
  const UInt128 low = a.low + b;
  return {a.high + (low < b ? 1U : 0U), low};
}
inline constexpr UInt256 subtract(const UInt256& a, UInt128 b) {
  return {a.high - (a.low < b ? 1U : 0U), a.low - b};
}

inline constexpr UInt256 multiply(UInt128 a, UInt128 b) {
  const UInt128 lowLow = static_cast<UInt128>(lowWord(a)) * lowWord(b);
  const UInt128 lowHigh = static_cast<UInt128>(lowWord(a)) * highWord(b);
  const UInt128 highLow = static_cast<UInt128>(highWord(a)) * lowWord(b);
  const UInt128 highHigh = static_cast<UInt128>(highWord(a)) * highWord(b);
  // Three words of at most 2^64 - 1 each: the sum cannot wrap.
  const UInt128 middle =
      static_cast<UInt128>(highWord(lowLow)) + lowWord(lowHigh) + lowWord(highLow);
  return {highHigh + highWord(lowHigh) + highWord(highLow) + highWord(middle),
          joinWords(lowWord(middle), lowWord(lowLow))};
}

// (high, low) / divisor. Requires high < divisor, so that the quotient fits a word.
inline std::uint64_t divideWords(std::uint64_t high, std::uint64_t low, std::uint64_t divisor,
                                 std::uint64_t& remainder) {
#if defined(__x86_64__)
  std::uint64_t quotient = 0;
  __asm__("divq %[divisor]"
          : "=a"(quotient), "=d"(remainder)
          : [divisor] "r"(divisor), "a"(low), "d"(high)
          : "cc");
  return quotient;
#else
  const UInt128 dividend = joinWords(high, low);
  remainder = lowWord(dividend % divisor);
  return lowWord(dividend / divisor);
#endif
}

// One word of a long division: (top, next) / divisor, where divisor has its highest bit set and
// top < divisor. The estimate from the leading words is at most two too large.
inline std::uint64_t divideStep(UInt128 top, std::uint64_t next, UInt128 divisor,
                                UInt128& remainder) {
  const std::uint64_t leading = highWord(divisor);
  std::uint64_t estimate = ~std::uint64_t{0};
  UInt128 rest = 0;
  if (highWord(top) < leading) {
    std::uint64_t word = 0;
    estimate = divideWords(highWord(top), lowWord(top), leading, word);
    rest = word;
  } else {
    rest = static_cast<UInt128>(lowWord(top)) + leading;
  }
  while (highWord(rest) == 0 &&
         static_cast<UInt128>(estimate) * lowWord(divisor) > joinWords(lowWord(rest), next)) {
    --estimate;
    rest += leading;
  }
  // The true remainder is below the divisor, so arithmetic modulo 2^128 gives it.
  remainder = joinWords(lowWord(top), next) - divisor * estimate;
  return estimate;
}

// Requires dividend.high < divisor, so that the quotient fits 128 bits.
inline Quotient128 divide(const UInt256& dividend, UInt128 divisor) {
  if (highWord(divisor) == 0) {
    const std::uint64_t word = lowWord(divisor);
    std::uint64_t rest = lowWord(dividend.high);
    const std::uint64_t high = divideWords(rest, highWord(dividend.low), word, rest);
    const std::uint64_t low = divideWords(rest, lowWord(dividend.low), word, rest);
    return {joinWords(high, low), rest};
  }
  const int shift = std::countl_zero(highWord(divisor));
  const UInt128 scaled = divisor << shift;
  UInt128 rest = dividend.high << shift;
  if (shift != 0) rest |= dividend.low >> (128 - shift);
  const UInt128 low = dividend.low << shift;
  const std::uint64_t highQuotient = divideStep(rest, highWord(low), scaled, rest);
  const std::uint64_t lowQuotient = divideStep(rest, lowWord(low), scaled, rest);
  return {joinWords(highQuotient, lowQuotient), rest >> shift};
}

}  // namespace bokfolio::internal
