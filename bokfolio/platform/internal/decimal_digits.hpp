// The decimal side of binary mantissas: powers of ten, digit counts, trailing zeros and the limits
// of Decimal. Arithmetic and text both build on it; it knows nothing of signs or rounding names.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/internal/wide_integer.hpp"

namespace bokfolio::internal {

inline constexpr int kMaxDigits = 38;
inline constexpr int kWordDigits = 19;  // every number of so many digits fits 64 bits
inline constexpr int kMinExponent = -128;
inline constexpr int kMaxExponent = 127;

inline constexpr std::array<UInt128, kMaxDigits + 1> kPowersOf10 = [] {
  std::array<UInt128, kMaxDigits + 1> powers{};
  UInt128 power = 1;
  for (UInt128& entry : powers) {
    entry = power;
    power *= 10;
  }
  return powers;
}();

inline constexpr std::array<std::uint64_t, 20> kWordPowersOf10 = [] {
  std::array<std::uint64_t, 20> powers{};
  for (std::size_t i = 0; i < powers.size(); ++i) powers[i] = lowWord(kPowersOf10[i]);
  return powers;
}();

// 10^power for 0..38.
inline constexpr UInt128 powerOf10(int power) {
  return kPowersOf10[static_cast<std::size_t>(power)];
}
// The same for 0..19, as a word.
inline constexpr std::uint64_t wordPowerOf10(int power) {
  return kWordPowersOf10[static_cast<std::size_t>(power)];
}
inline constexpr UInt128 kMantissaLimit = powerOf10(kMaxDigits);

// value * 10^power for 0..76, where the product must be below 2^256 and, for powers above 38,
// value * 10^(power - 38) below 2^128.
inline constexpr UInt256 timesPowerOf10(UInt128 value, int power) {
  if (power <= kMaxDigits) return multiply(value, powerOf10(power));
  return multiply(value * powerOf10(power - kMaxDigits), kMantissaLimit);
}

// 1233 / 4096 approximates log10(2) closely enough that the estimate is never more than one short
// for numbers of up to 256 bits.
inline constexpr int digitEstimate(int bits) { return (bits * 1233) >> 12; }

// Decimal digits of a value; 0 has none.
inline constexpr int digitCount(UInt128 value) {
  const int estimate = digitEstimate(bitWidth(value));
  return estimate + (value >= powerOf10(estimate) ? 1 : 0);
}
inline constexpr int wordDigitCount(std::uint64_t value) {
  const int estimate = digitEstimate(static_cast<int>(std::bit_width(value)));
  return estimate + (value >= wordPowerOf10(estimate) ? 1 : 0);
}
// For values below 10^77.
inline constexpr int digitCount(const UInt256& value) {
  if (value.high == 0) return digitCount(value.low);
  const int estimate = digitEstimate(128 + bitWidth(value.high));
  return estimate + (value < timesPowerOf10(1, estimate) ? 0 : 1);
}

// What divides exactly by 5^power: the product with the inverse modulo the word's size is at most
// `limit` only when there is no remainder, and is the quotient then. No division is needed.
template <typename Word>
struct FiveDivisor {
  Word inverse = 0;
  Word limit = 0;
};

template <typename Word>
inline constexpr FiveDivisor<Word> fiveDivisor(int power) {
  Word value = 1;
  for (int i = 0; i < power; ++i) value *= 5;
  Word inverse = value;
  for (int i = 0; i < 7; ++i) inverse *= 2 - value * inverse;  // Newton: correct bits double
  return {inverse, ~static_cast<Word>(0) / value};
}

template <int kZeros, typename Word>
inline void stripZeros(Word& mantissa, int& exponent) {
  constexpr FiveDivisor<Word> kDivisor = fiveDivisor<Word>(kZeros);
  constexpr std::uint64_t kMask = (std::uint64_t{1} << kZeros) - 1;
  if ((static_cast<std::uint64_t>(mantissa) & kMask) != 0) return;
  const Word quotient = mantissa * kDivisor.inverse;
  if (quotient > kDivisor.limit || exponent > kMaxExponent - kZeros) return;
  mantissa = quotient >> kZeros;
  exponent += kZeros;
}

// Moves trailing zeros of a nonzero mantissa into the exponent, as far as kMaxExponent.
inline void stripTrailingZeros(std::uint64_t& mantissa, int& exponent) {
  if ((mantissa & 1) != 0) return;
  stripZeros<16>(mantissa, exponent);
  stripZeros<8>(mantissa, exponent);
  stripZeros<4>(mantissa, exponent);
  stripZeros<2>(mantissa, exponent);
  stripZeros<1>(mantissa, exponent);
}
inline void stripTrailingZeros(UInt128& mantissa, int& exponent) {
  if ((lowWord(mantissa) & 1) != 0) return;
  if (highWord(mantissa) != 0) {
    stripZeros<32>(mantissa, exponent);
    stripZeros<16>(mantissa, exponent);
    stripZeros<8>(mantissa, exponent);
    stripZeros<4>(mantissa, exponent);
    stripZeros<2>(mantissa, exponent);
    stripZeros<1>(mantissa, exponent);
    return;
  }
  std::uint64_t word = lowWord(mantissa);
  stripTrailingZeros(word, exponent);
  mantissa = word;
}

// Brings the exponent of a mantissa of at most 38 digits into its range by moving zeros. Answers
// what is wrong when that is not possible; mantissa and exponent are then meaningless.
inline std::optional<DecimalError::Kind> fitExponent(UInt128& mantissa, std::int64_t& exponent) {
  if (exponent >= kMinExponent && exponent <= kMaxExponent) return std::nullopt;
  if (mantissa == 0) {
    exponent = 0;
    return std::nullopt;
  }
  if (exponent > kMaxExponent) {
    const std::int64_t surplus = exponent - kMaxExponent;
    if (surplus > kMaxDigits - digitCount(mantissa)) return DecimalError::Kind::Overflow;
    mantissa *= powerOf10(static_cast<int>(surplus));
    exponent = kMaxExponent;
    return std::nullopt;
  }
  const std::int64_t missing = kMinExponent - exponent;
  if (missing >= kMaxDigits) return DecimalError::Kind::Underflow;
  const UInt128 power = powerOf10(static_cast<int>(missing));
  if (mantissa % power != 0) return DecimalError::Kind::Underflow;
  mantissa /= power;
  exponent = kMinExponent;
  return std::nullopt;
}

}  // namespace bokfolio::internal
