// Decimal arithmetic beyond the quick paths of the header, which meet amounts of one scale.
// Whatever is wider goes through 128-bit and, where even that is too small, 256-bit integers, and
// is rounded in one place, so that nothing is rounded twice.
#include "bokfolio/platform/decimal.hpp"

#include <algorithm>
#include <limits>

#include "bokfolio/platform/internal/decimal_digits.hpp"
#include "bokfolio/platform/internal/wide_integer.hpp"

namespace bokfolio {

using namespace internal;

namespace {

const char* describe(DecimalError::Kind kind) {
  switch (kind) {
    case DecimalError::Kind::Overflow:
      return "decimal overflow";
    case DecimalError::Kind::Underflow:
      return "decimal underflow";
    case DecimalError::Kind::DivisionByZero:
      return "decimal division by zero";
  }
  return "decimal error";
}

struct Rounded {
  UInt128 mantissa = 0;
  std::int64_t exponent = 0;
};

// Half away from zero to 38 digits. For values below 10^76; a fraction below the last unit of a
// value of 39 digits or more does not change the outcome and may be cut off before.
Rounded roundToLimit(const UInt256& value, std::int64_t exponent) {
  if (value.high == 0 && value.low < kMantissaLimit) return {value.low, exponent};
  const int drop = digitCount(value) - kMaxDigits;
  const UInt128 unit = powerOf10(drop);
  Quotient128 result = divide(value, unit);
  if (2 * result.remainder >= unit) ++result.quotient;
  if (result.quotient == kMantissaLimit) return {powerOf10(kMaxDigits - 1), exponent + drop + 1};
  return {result.quotient, exponent + drop};
}

// upper * 10^distance +- lower, where the scaled upper mantissa has more than 38 digits. It is cut
// at 76 digits; what `lower` loses thereby only matters as "there is more".
Rounded addFarApart(UInt128 upper, UInt128 lower, int distance, std::int64_t exponent,
                    bool subtracting) {
  const int scaling = std::min(distance, 2 * kMaxDigits - digitCount(upper));
  const int cut = distance - scaling;
  const UInt256 scaled = timesPowerOf10(upper, scaling);
  const UInt128 unit = powerOf10(std::min(cut, kMaxDigits));
  const UInt128 kept = lower / unit;
  const bool inexact = kept * unit != lower;
  if (!subtracting) return roundToLimit(add(scaled, kept), exponent + cut);
  return roundToLimit(subtract(scaled, kept + (inexact ? 1U : 0U)), exponent + cut);
}

// The quotient of two mantissas to 38 digits, as mantissa and exponent. The dividend is scaled so
// that the quotient has exactly 38 digits, and the remainder decides the one rounding.
Rounded divideWide(UInt128 dividend, UInt128 divisor) {
  const int surplus = digitCount(divisor) - digitCount(dividend);
  const bool smaller = surplus >= 0 ? dividend * powerOf10(surplus) < divisor
                                    : dividend < divisor * powerOf10(-surplus);
  const int scaling = kMaxDigits - 1 + surplus + (smaller ? 1 : 0);
  Quotient128 result = divide(timesPowerOf10(dividend, scaling), divisor);
  int exponent = -scaling;
  if (result.remainder == 0) {
    stripTrailingZeros(result.quotient, exponent);
  } else if (result.remainder >= divisor - result.remainder) {
    ++result.quotient;
  }
  if (result.quotient == kMantissaLimit) return {powerOf10(kMaxDigits - 1), exponent + 1};
  return {result.quotient, exponent};
}

// The same in two steps of 19 digits. A quotient that ends within the first, as those by a VAT
// rate mostly do, needs no second.
constexpr std::uint64_t kDivideLimit = wordPowerOf10(18);
Rounded divideSmall(std::uint64_t dividend, std::uint64_t divisor) {
  const int surplus = wordDigitCount(divisor) - wordDigitCount(dividend);
  const bool smaller = surplus >= 0 ? dividend * wordPowerOf10(surplus) < divisor
                                    : dividend < divisor * wordPowerOf10(-surplus);
  const int scaling = kWordDigits - 1 + surplus + (smaller ? 1 : 0);
  const UInt128 scaled = dividend * powerOf10(scaling);  // below 10^19 * divisor
  std::uint64_t rest = 0;
  std::uint64_t leading = divideWords(highWord(scaled), lowWord(scaled), divisor, rest);
  if (rest == 0) {
    int exponent = -scaling;
    stripTrailingZeros(leading, exponent);
    return {leading, exponent};
  }
  const UInt128 next = static_cast<UInt128>(rest) * wordPowerOf10(kWordDigits);
  const std::uint64_t trailing = divideWords(highWord(next), lowWord(next), divisor, rest);
  UInt128 quotient = static_cast<UInt128>(leading) * wordPowerOf10(kWordDigits) + trailing;
  int exponent = -scaling - kWordDigits;
  if (rest == 0) {
    stripTrailingZeros(quotient, exponent);
  } else if (rest >= divisor - rest) {
    ++quotient;
  }
  if (quotient == kMantissaLimit) return {powerOf10(kMaxDigits - 1), exponent + 1};
  return {quotient, exponent};
}

bool roundsAway(UInt128 quotient, UInt128 remainder, UInt128 unit, bool negative,
                Rounding rounding) {
  if (remainder == 0) return false;
  switch (rounding) {
    case Rounding::Plain:
      return remainder >= unit - remainder;
    case Rounding::Bankers:
      return remainder > unit - remainder ||
             (remainder == unit - remainder && (lowWord(quotient) & 1) != 0);
    case Rounding::Up:
      return !negative;
    case Rounding::Down:
      return negative;
  }
  return false;
}

std::strong_ordering reversed(std::strong_ordering order) {
  if (std::is_eq(order)) return order;
  return std::is_lt(order) ? std::strong_ordering::greater : std::strong_ordering::less;
}

}  // namespace

DecimalError::DecimalError(Kind kind) : std::runtime_error(describe(kind)), kind_(kind) {}

Decimal Decimal::finish(UInt128 mantissa, std::int64_t exponent, bool negative) {
  if (const auto problem = fitExponent(mantissa, exponent)) throw DecimalError(*problem);
  return make(mantissa, static_cast<int>(exponent), negative);
}

Decimal Decimal::fromParts(UInt128 mantissa, int exponent, bool negative) {
  std::int64_t wideExponent = exponent;
  if (mantissa >= kMantissaLimit) {
    if (mantissa % 10 != 0) throw DecimalError(DecimalError::Kind::Overflow);
    mantissa /= 10;
    ++wideExponent;
  }
  return finish(mantissa, wideExponent, negative);
}

Decimal Decimal::addGeneral(const Decimal& a, const Decimal& b) {
  const bool ordered = a.exponent_ >= b.exponent_;
  const Decimal& upper = ordered ? a : b;
  const Decimal& lower = ordered ? b : a;
  const int distance = upper.exponent() - lower.exponent();
  if (upper.fitsWord() && lower.fitsWord() && distance <= kWordDigits) {
    const Int128 scaled = upper.signedMantissa() * wordPowerOf10(distance);
    return Decimal(scaled + lower.signedMantissa(), lower.exponent_);  // below 10^38
  }
  if (lower.isZero()) return upper;
  if (upper.isZero()) return lower;
  const UInt128 top = upper.mantissa();
  const UInt128 other = lower.mantissa();
  const bool subtracting = upper.isNegative() != lower.isNegative();
  if (distance > kMaxDigits - digitCount(top)) {
    const Rounded sum = addFarApart(top, other, distance, lower.exponent(), subtracting);
    return finish(sum.mantissa, sum.exponent, upper.isNegative());
  }
  const UInt128 scaled = top * powerOf10(distance);
  if (subtracting) {
    return scaled >= other ? make(scaled - other, lower.exponent(), upper.isNegative())
                           : make(other - scaled, lower.exponent(), lower.isNegative());
  }
  const Rounded sum = roundToLimit({0, scaled + other}, lower.exponent());
  return finish(sum.mantissa, sum.exponent, upper.isNegative());
}

Decimal Decimal::multiplyGeneral(const Decimal& a, const Decimal& b) {
  const Rounded product =
      roundToLimit(multiply(a.mantissa(), b.mantissa()), a.exponent() + b.exponent());
  return finish(product.mantissa, product.exponent, a.isNegative() != b.isNegative());
}

Decimal operator/(const Decimal& a, const Decimal& b) {
  if (b.isZero()) throw DecimalError(DecimalError::Kind::DivisionByZero);
  if (a.isZero()) return Decimal();
  const UInt128 dividend = a.mantissa();
  const UInt128 divisor = b.mantissa();
  const Rounded result = dividend < kDivideLimit && divisor < kDivideLimit
                             ? divideSmall(lowWord(dividend), lowWord(divisor))
                             : divideWide(dividend, divisor);
  return Decimal::finish(result.mantissa, result.exponent + a.exponent() - b.exponent(),
                         a.isNegative() != b.isNegative());
}

std::strong_ordering Decimal::compareGeneral(const Decimal& a, const Decimal& b) noexcept {
  const int distance = a.exponent() - b.exponent();
  if (distance < 0) return reversed(compareGeneral(b, a));
  if (a.fitsWord() && b.fitsWord() && distance <= kWordDigits) {
    return a.signedMantissa() * wordPowerOf10(distance) <=> b.signedMantissa();
  }
  if (a.isZero() || a.sign() != b.sign()) return a.sign() <=> b.sign();
  std::strong_ordering sizes = std::strong_ordering::greater;
  if (distance <= kMaxDigits) {
    const UInt256 scaled = multiply(a.mantissa(), powerOf10(distance));
    if (scaled.high == 0) sizes = scaled.low <=> b.mantissa();
  }
  return a.isNegative() ? reversed(sizes) : sizes;
}

Decimal Decimal::scaledByPowerOf10(int power) const {
  return finish(mantissa(), std::int64_t{exponent()} + power, isNegative());
}

Decimal Decimal::rounded(int scale, Rounding rounding) const {
  const std::int64_t drop = -std::int64_t{scale} - exponent();
  if (drop <= 0 || isZero()) return *this;
  UInt128 quotient = 0;
  bool away = false;
  if (drop <= kMaxDigits) {
    const UInt128 unit = powerOf10(static_cast<int>(drop));
    quotient = mantissa() / unit;
    away = roundsAway(quotient, mantissa() - quotient * unit, unit, isNegative(), rounding);
  } else {
    // Less than a tenth of a unit: only the directed modes leave zero.
    away = roundsAway(0, 1, 10, isNegative(), rounding);
  }
  return finish(quotient + (away ? 1U : 0U), -std::int64_t{scale}, isNegative());
}

Decimal Decimal::normalized() const noexcept {
  if (isZero()) return Decimal();
  if ((low_ & 1) != 0) return *this;
  int exponent = this->exponent();
  UInt128 mantissa = this->mantissa();
  stripTrailingZeros(mantissa, exponent);
  return make(mantissa, exponent, isNegative());
}

std::optional<std::int64_t> Decimal::toInteger() const {
  UInt128 magnitude = mantissa();
  const int exponent = this->exponent();
  if (exponent < 0) {
    magnitude = exponent < -kMaxDigits ? 0 : magnitude / powerOf10(-exponent);
  } else if (magnitude != 0) {
    if (exponent > kMaxDigits - digitCount(magnitude)) return std::nullopt;
    magnitude *= powerOf10(exponent);
  }
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  if (magnitude > kMax + (isNegative() ? 1U : 0U)) return std::nullopt;
  return static_cast<std::int64_t>(isNegative() ? 0 - lowWord(magnitude) : lowWord(magnitude));
}

std::size_t Decimal::hash() const noexcept {
  const Decimal key = normalized();
  std::uint64_t mixed = key.low_ ^ (static_cast<std::uint64_t>(key.high_) * 0x9E3779B97F4A7C15U) ^
                        (static_cast<std::uint64_t>(key.exponent_) * 0xC2B2AE3D27D4EB4FU);
  // Finaliser of a 64-bit mixer: amounts differ in few low bits, tables index by low bits.
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
  return static_cast<std::size_t>(mixed ^ (mixed >> 31));
}

}  // namespace bokfolio
