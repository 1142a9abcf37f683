#include "bench/micro/plain_decimal.hpp"

#include <algorithm>
#include <bit>

namespace bokfolio::bench {

namespace {

constexpr int kDigits = 38;

constexpr std::array<UInt128, kDigits + 1> powersOf10() {
  std::array<UInt128, kDigits + 1> powers{};
  powers[0] = 1;
  for (std::size_t at = 1; at < powers.size(); ++at) powers[at] = powers[at - 1] * 10;
  return powers;
}
constexpr std::array<UInt128, kDigits + 1> kPowers = powersOf10();

std::uint64_t low(UInt128 value) { return static_cast<std::uint64_t>(value); }
std::uint64_t high(UInt128 value) { return static_cast<std::uint64_t>(value >> 64); }

int digitsOf(UInt128 value) {
  const int bits = high(value) != 0 ? 64 + static_cast<int>(std::bit_width(high(value)))
                                    : static_cast<int>(std::bit_width(low(value)));
  const int least = bits * 1233 >> 12;
  return least + (value >= kPowers[static_cast<std::size_t>(least)] ? 1 : 0);
}

struct Wide {
  UInt128 high;
  UInt128 low;
};

Wide product(UInt128 a, UInt128 b) {
  const UInt128 first = static_cast<UInt128>(low(a)) * low(b);
  const UInt128 second = static_cast<UInt128>(low(a)) * high(b);
  const UInt128 third = static_cast<UInt128>(high(a)) * low(b);
  const UInt128 middle = static_cast<UInt128>(high(first)) + low(second) + low(third);
  return {static_cast<UInt128>(high(a)) * high(b) + high(second) + high(third) + high(middle),
          middle << 64 | low(first)};
}

// (high, low) / divisor, where high < divisor.
std::uint64_t divideWords(UInt128 dividend, std::uint64_t divisor, UInt128& rest) {
#if defined(__x86_64__)
  std::uint64_t quotient = 0;
  std::uint64_t remainder = 0;
  __asm__("divq %4"
          : "=a"(quotient), "=d"(remainder)
          : "a"(low(dividend)), "d"(high(dividend)), "r"(divisor)
          : "cc");
  rest = remainder;
  return quotient;
#else
  rest = dividend % divisor;
  return low(dividend / divisor);
#endif
}

// One word of the quotient; `rest` and the divisor's highest bit as in any long division.
std::uint64_t step(UInt128& rest, std::uint64_t next, UInt128 divisor) {
  const std::uint64_t leading = high(divisor);
  UInt128 word = ~std::uint64_t{0};
  UInt128 left = 0;
  if (high(rest) < leading) {
    word = divideWords(rest, leading, left);
  } else {
    left = rest - word * leading;
  }
  while (high(left) == 0 && word * low(divisor) > (left << 64 | next)) {
    --word;
    left += leading;
  }
  rest = (rest << 64 | next) - word * divisor;
  return low(word);
}

UInt128 divide(const Wide& dividend, UInt128 divisor, UInt128& rest) {
  if (high(divisor) == 0) {
    const std::uint64_t word = low(divisor);
    const std::uint64_t first = divideWords(dividend.high << 64 | high(dividend.low), word, rest);
    const std::uint64_t second = divideWords(rest << 64 | low(dividend.low), word, rest);
    return static_cast<UInt128>(first) << 64 | second;
  }
  const int shift =
      high(divisor) != 0 ? std::countl_zero(high(divisor)) : 64 + std::countl_zero(low(divisor));
  const UInt128 scaled = divisor << shift;
  rest = dividend.high << shift;
  if (shift != 0) rest |= dividend.low >> (128 - shift);
  const UInt128 lower = dividend.low << shift;
  const std::uint64_t first = step(rest, high(lower), scaled);
  const std::uint64_t second = step(rest, low(lower), scaled);
  rest >>= shift;
  return static_cast<UInt128>(first) << 64 | second;
}

// Of the quotient that goes on after the point.
std::uint64_t nextDigit(UInt128& rest, UInt128 divisor) {
  if (high(divisor) == 0) return divideWords(rest * 10, low(divisor), rest);
  const UInt128 digit = rest * 10 / divisor;
  rest = rest * 10 - digit * divisor;
  return low(digit);
}

}  // namespace

PlainDecimal plainDivide(const PlainDecimal& a, const PlainDecimal& b) {
  if (b.mantissa() == 0) return {};
  const bool negative = (a.mantissa() < 0) != (b.mantissa() < 0);
  const auto dividend = static_cast<UInt128>(a.mantissa() < 0 ? -a.mantissa() : a.mantissa());
  const auto divisor = static_cast<UInt128>(b.mantissa() < 0 ? -b.mantissa() : b.mantissa());
  // A quotient of 37 or 38 digits, and in the first case one digit more.
  int power = kDigits - 1 + digitsOf(divisor) - digitsOf(dividend);
  UInt128 scaled = dividend;
  const int rest10 = std::max(power - kDigits, 0);
  scaled *= kPowers[static_cast<std::size_t>(rest10)];
  UInt128 rest = 0;
  UInt128 quotient =
      divide(product(scaled, kPowers[static_cast<std::size_t>(power - rest10)]), divisor, rest);
  if (quotient < kPowers[kDigits - 1]) {
    ++power;
    quotient = quotient * 10 + nextDigit(rest, divisor);
  }
  if (rest >= divisor - rest) ++quotient;
  const auto value = static_cast<Int128>(quotient);
  return {negative ? -value : value, a.exponent - b.exponent - power};
}

}  // namespace bokfolio::bench
