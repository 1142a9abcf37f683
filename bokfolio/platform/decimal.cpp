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
  UInt128 kept = 0;
  bool inexact = true;
  if (cut < kMaxDigits) {
    const UInt128 unit = powerOf10(cut);
    kept = lower / unit;
    inexact = kept * unit != lower;
  }
  if (!subtracting) return roundToLimit(add(scaled, kept), exponent + cut);
  return roundToLimit(subtract(scaled, kept + (inexact ? 1U : 0U)), exponent + cut);
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

}  // namespace

DecimalError::DecimalError(Kind kind) : std::runtime_error(describe(kind)), kind_(kind) {}

Decimal Decimal::finish(UInt128 mantissa, std::int64_t exponent, bool negative) {
  if (const auto problem = fitExponent(mantissa, exponent)) throw DecimalError(*problem);
  return Decimal(lowWord(mantissa), highWord(mantissa), static_cast<int>(exponent),
                 negative && mantissa != 0);
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
  if (b.isZero()) return a;
  if (a.isZero()) return b;
  const bool ordered = a.exponent_ >= b.exponent_;
  const Decimal& upper = ordered ? a : b;
  const Decimal& lower = ordered ? b : a;
  const int distance = upper.exponent_ - lower.exponent_;
  const bool subtracting = a.negative_ != b.negative_;
  if (distance > kMaxDigits - digitCount(upper.mantissa())) {
    const Rounded sum =
        addFarApart(upper.mantissa(), lower.mantissa(), distance, lower.exponent_, subtracting);
    return finish(sum.mantissa, sum.exponent, upper.negative_);
  }
  const UInt128 scaled = upper.mantissa() * powerOf10(distance);
  const UInt128 other = lower.mantissa();
  if (!subtracting) {
    const Rounded sum = roundToLimit({0, scaled + other}, lower.exponent_);
    return finish(sum.mantissa, sum.exponent, upper.negative_);
  }
  return scaled >= other ? finish(scaled - other, lower.exponent_, upper.negative_)
                         : finish(other - scaled, lower.exponent_, lower.negative_);
}

Decimal Decimal::multiplyGeneral(const Decimal& a, const Decimal& b) {
  const Rounded product =
      roundToLimit(multiply(a.mantissa(), b.mantissa()), a.exponent_ + b.exponent_);
  return finish(product.mantissa, product.exponent, a.negative_ != b.negative_);
}

// Long division to 38 digits: the dividend is scaled so that the quotient has exactly 38, and the
// remainder decides the one rounding.
Decimal operator/(const Decimal& a, const Decimal& b) {
  if (b.isZero()) throw DecimalError(DecimalError::Kind::DivisionByZero);
  if (a.isZero()) return Decimal();
  const UInt128 dividend = a.mantissa();
  const UInt128 divisor = b.mantissa();
  const bool negative = a.negative_ != b.negative_;
  const int surplus = digitCount(divisor) - digitCount(dividend);
  const bool smaller = surplus >= 0 ? dividend * powerOf10(surplus) < divisor
                                    : dividend < divisor * powerOf10(-surplus);
  const int scaling = kMaxDigits - 1 + surplus + (smaller ? 1 : 0);
  Quotient128 result = divide(timesPowerOf10(dividend, scaling), divisor);
  int exponent = a.exponent_ - b.exponent_ - scaling;
  if (result.remainder == 0) {
    stripTrailingZeros(result.quotient, exponent);
  } else if (result.remainder >= divisor - result.remainder) {
    ++result.quotient;
  }
  if (result.quotient == kMantissaLimit)
    return Decimal::finish(powerOf10(37), exponent + 1, negative);
  return Decimal::finish(result.quotient, exponent, negative);
}

std::strong_ordering Decimal::compareGeneral(const Decimal& a, const Decimal& b) noexcept {
  if (a.sign() != b.sign()) return a.sign() <=> b.sign();
  const bool ordered = a.exponent_ >= b.exponent_;
  const Decimal& upper = ordered ? a : b;
  const Decimal& lower = ordered ? b : a;
  const int distance = upper.exponent_ - lower.exponent_;
  std::strong_ordering order = std::strong_ordering::greater;
  if (upper.isZero()) {
    order = std::strong_ordering::equal;
  } else if (distance <= kMaxDigits) {
    const UInt256 scaled = multiply(upper.mantissa(), powerOf10(distance));
    if (scaled.high == 0) order = scaled.low <=> lower.mantissa();
  }
  return ordered != a.negative_ ? order : 0 <=> order;
}

Decimal Decimal::scaledByPowerOf10(int power) const {
  return finish(mantissa(), std::int64_t{exponent_} + power, negative_);
}

Decimal Decimal::rounded(int scale, Rounding rounding) const {
  const std::int64_t drop = -std::int64_t{scale} - exponent_;
  if (drop <= 0 || isZero()) return *this;
  UInt128 quotient = 0;
  bool away = false;
  if (drop <= kMaxDigits) {
    const UInt128 unit = powerOf10(static_cast<int>(drop));
    quotient = mantissa() / unit;
    away = roundsAway(quotient, mantissa() - quotient * unit, unit, negative_, rounding);
  } else {
    // Less than a tenth of a unit: only the directed modes leave zero.
    away = roundsAway(0, 1, 10, negative_, rounding);
  }
  return finish(quotient + (away ? 1U : 0U), -std::int64_t{scale}, negative_);
}

Decimal Decimal::normalized() const noexcept {
  if (isZero()) return Decimal();
  UInt128 mantissa = this->mantissa();
  int exponent = exponent_;
  stripTrailingZeros(mantissa, exponent);
  return Decimal(lowWord(mantissa), highWord(mantissa), exponent, negative_);
}

std::optional<std::int64_t> Decimal::toInteger() const {
  UInt128 magnitude = mantissa();
  if (exponent_ < 0) {
    magnitude = exponent_ < -kMaxDigits ? 0 : magnitude / powerOf10(-exponent_);
  } else if (magnitude != 0) {
    if (exponent_ > kMaxDigits - digitCount(magnitude)) return std::nullopt;
    magnitude *= powerOf10(exponent_);
  }
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  if (magnitude > static_cast<std::uint64_t>(kMax) + (negative_ ? 1U : 0U)) return std::nullopt;
  return static_cast<std::int64_t>(negative_ ? 0 - lowWord(magnitude) : lowWord(magnitude));
}

std::size_t Decimal::hash() const noexcept {
  const Decimal key = normalized();
  std::uint64_t mixed = key.low_ ^ (key.high_ * 0x9E3779B97F4A7C15U);
  mixed ^= (static_cast<std::uint64_t>(key.exponent_) << 1) ^ (key.negative_ ? 1U : 0U);
  // Finaliser of a 64-bit mixer: amounts differ in few low bits, tables index by low bits.
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
  return static_cast<std::size_t>(mixed ^ (mixed >> 31));
}

}  // namespace bokfolio
