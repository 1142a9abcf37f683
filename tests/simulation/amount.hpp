// Amount: the plain book's own numbers, whole counts of 10^-12 in 128 bits. It is exact or it
// throws: the firm only does what can be reckoned exactly, so that predictions need no tolerance.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <tuple>
#include <utility>

#include "bokfolio/platform/decimal.hpp"
#include "tests/simulation/step.hpp"

namespace bokfolio::simulation {

__extension__ typedef __int128 Amount;

inline constexpr Amount kUnit = 1'000'000'000'000;
inline constexpr Amount kOre = kUnit / 100;

inline Amount whole(std::int64_t count) { return count * kUnit; }
inline Amount ore(std::int64_t count) { return count * kOre; }

// What was planned has no exact amount; the firm then leaves it.
class Unreckonable : public std::exception {};

inline Amount share(Amount a, Amount numerator, Amount denominator) {
  Amount common = numerator;
  for (Amount rest = denominator; rest != 0;)
    std::tie(common, rest) = std::pair(rest, common % rest);
  if (denominator == 0 || a % (denominator / common) != 0) throw Unreckonable();
  return a / (denominator / common) * (numerator / common);
}
inline Amount percent(Amount a, std::int64_t rate) { return share(a, rate, 100); }

// To whole units, half to even.
inline Amount roundedHalfEven(Amount a) {
  const Amount down = (a - ((a % kUnit + kUnit) % kUnit)) / kUnit;
  const Amount rest = a - down * kUnit;
  const bool up = rest * 2 > kUnit || (rest * 2 == kUnit && down % 2 != 0);
  return (down + (up ? 1 : 0)) * kUnit;
}

inline Decimal decimal(Amount a) {
  return Decimal::fromParts(static_cast<UInt128>(a < 0 ? -a : a), -12, a < 0);
}
// What the library holds, as parts of a number. Throws when it is finer than 10^-12.
inline Amount amount(const Decimal& value) {
  auto parts = static_cast<Amount>(value.mantissa());
  int exponent = value.exponent();
  for (; exponent > -12; --exponent) parts *= 10;
  for (; exponent < -12; ++exponent) {
    if (parts % 10 != 0) throw Disagreement("an amount is not exact: " + value.toString());
    parts /= 10;
  }
  return value.isNegative() ? -parts : parts;
}
inline std::string textOf(Amount a) { return decimal(a).toString(); }

}  // namespace bokfolio::simulation
