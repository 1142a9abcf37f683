// The floor of decimal arithmetic: what one writes by hand for amounts over a 128-bit mantissa and
// a power of ten. It gives a Decimal's results for the operands of the measurements, checks what
// one would check by hand, and has no general cases: no operands of different scales, no limits of
// the exponent, no texts of more than 18 digits.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::bench {

__extension__ typedef __int128 Int128;

// Whole words: a copy would have to wait for two half stores of one 128-bit member.
struct PlainDecimal {
  std::uint64_t low = 0;
  std::int64_t high = 0;
  std::int64_t exponent = 0;

  PlainDecimal() = default;
  PlainDecimal(Int128 mantissa, std::int64_t power)
      : low(static_cast<std::uint64_t>(mantissa)),
        high(static_cast<std::int64_t>(mantissa >> 64)),
        exponent(power) {}
  Int128 mantissa() const { return static_cast<Int128>(high) << 64 | low; }
};

inline Decimal toDecimal(const PlainDecimal& value) {
  const bool negative = value.high < 0;
  return Decimal::fromParts(static_cast<UInt128>(negative ? -value.mantissa() : value.mantissa()),
                            static_cast<int>(value.exponent), negative);
}

// For equal scales; nothing otherwise, or when the sum overflows.
inline PlainDecimal plainAdd(const PlainDecimal& a, const PlainDecimal& b) {
  Int128 sum = 0;
  if (a.exponent != b.exponent || __builtin_add_overflow(a.mantissa(), b.mantissa(), &sum))
    return {};
  return {sum, a.exponent};
}

// For mantissas of one word; nothing otherwise.
inline PlainDecimal plainMultiply(const PlainDecimal& a, const PlainDecimal& b) {
  const auto left = static_cast<std::int64_t>(a.low);
  const auto right = static_cast<std::int64_t>(b.low);
  if (((left >> 63 ^ a.high) | (right >> 63 ^ b.high)) != 0) return {};
  return {static_cast<Int128>(left) * right, a.exponent + b.exponent};
}

// 38 digits, rounded half away from zero: the product of 128 by 128 bits, then long division of its
// 256 bits by 128, word by word.
PlainDecimal plainDivide(const PlainDecimal& a, const PlainDecimal& b);

// "-1234.5", without trailing zeros; for scales from 0 to 18 and mantissas of one word.
inline std::string plainText(const PlainDecimal& value) {
  const auto word = static_cast<std::int64_t>(value.low);
  const auto digits = static_cast<std::uint64_t>(word < 0 ? -word : word);
  std::array<char, 64> buffer;
  char* at = buffer.data();
  *at = '-';
  if (word < 0) ++at;
  std::uint64_t power = 1;
  for (std::int64_t place = value.exponent; place < 0; ++place) power *= 10;
  at = std::to_chars(at, buffer.data() + buffer.size(), digits / power).ptr;
  std::uint64_t fraction = digits % power;
  if (fraction != 0) *at++ = '.';
  while (fraction != 0) {
    power /= 10;
    *at++ = static_cast<char>('0' + fraction / power);
    fraction %= power;
  }
  return {buffer.data(), at};
}

// An optional sign, digits with an optional point between, 18 at most.
inline std::optional<PlainDecimal> plainParse(std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  if (end - at > 19 || at == end) return std::nullopt;
  std::int64_t mantissa = 0;
  const char* point = nullptr;
  for (; at != end; ++at) {
    const auto digit = static_cast<unsigned>(*at - '0');
    if (digit <= 9) {
      mantissa = mantissa * 10 + static_cast<std::int64_t>(digit);
    } else if (*at == '.' && point == nullptr) {
      point = at;
    } else {
      return std::nullopt;
    }
  }
  return PlainDecimal{negative ? -mantissa : mantissa,
                      point == nullptr ? 0 : -static_cast<std::int64_t>(end - point - 1)};
}

}  // namespace bokfolio::bench
