// Decimal: an exact base-10 number, mantissa * 10^exponent with a sign. Every amount, quantity,
// price, rate and balance of the library is one; binary floating point never touches money unless a
// rule says so.
//
// Limits. The mantissa holds up to 38 decimal digits, the exponent runs from -128 to 127. Results
// that fit are exact. A result of more than 38 digits is rounded once, half away from zero, to 38.
// A result whose exponent would leave its range after trailing zeros are moved into the mantissa
// (or out of it) is no Decimal: DecimalError says overflow or underflow. Division by zero throws as
// well. There is no NaN, no infinity and no negative zero.
//
// Equality, order and hash go by value (1.0 equals 1.00), and so does text: toString() writes the
// shortest plain form, equal values give equal texts.
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"

namespace bokfolio {

__extension__ typedef unsigned __int128 UInt128;

class BOKFOLIO_EXPORT DecimalError : public std::runtime_error {
 public:
  enum class Kind { Overflow, Underflow, DivisionByZero };
  explicit DecimalError(Kind kind);
  Kind kind() const noexcept { return kind_; }

 private:
  Kind kind_;
};

enum class Rounding {
  Plain,    // half away from zero
  Bankers,  // half to even
  Up,       // toward positive infinity
  Down,     // toward negative infinity
};

class BOKFOLIO_EXPORT Decimal {
 public:
  // Characters of the longest text: a sign, 38 digits and 127 zeros.
  static constexpr std::size_t kMaxTextLength = 166;

  constexpr Decimal() noexcept = default;
  // Integers are exact and convert silently; doubles never do.
  template <std::integral Integer>
  constexpr Decimal(Integer value) noexcept  // NOLINT(google-explicit-constructor)
      : low_(magnitude(value)), negative_(value < Integer{}) {}

  // mantissa * 10^exponent, exact. Zeros move between mantissa and exponent where that is needed to
  // keep both within the limits; a value that still cannot be held throws DecimalError.
  static Decimal fromParts(UInt128 mantissa, int exponent, bool negative);
  // Reads the whole text: optional sign, digits with an optional ".", optional exponent ("1E-6").
  // A digit on one side of the "." is enough. nullopt for anything else, for more than 38
  // significant digits (zeros before and after them do not count) and for a value out of range.
  static std::optional<Decimal> parse(std::string_view text);
  // Reads the longest leading number after blanks, as parse does; zero when there is none. Digits
  // beyond the 38th are rounded, half away from zero; a value out of range reads as zero.
  static Decimal parsePrefix(std::string_view text);
  // Through the double's shortest round-trip text: 0.1 gives 0.1. nullopt for NaN, infinity and
  // what lies out of range.
  static std::optional<Decimal> fromDouble(double value);

  // The parts as they are held, which need not be the shortest form: 1.00 may be 100 * 10^-2.
  UInt128 mantissa() const noexcept { return (static_cast<UInt128>(high_) << 64) | low_; }
  int exponent() const noexcept { return exponent_; }
  bool isNegative() const noexcept { return negative_; }
  bool isZero() const noexcept { return (high_ | low_) == 0; }
  // -1, 0 or 1.
  int sign() const noexcept { return isZero() ? 0 : (negative_ ? -1 : 1); }

  Decimal negated() const noexcept {
    return Decimal(low_, high_, exponent_, !negative_ && !isZero());
  }
  Decimal absolute() const noexcept { return Decimal(low_, high_, exponent_, false); }
  // value * 10^power, exact. Throws DecimalError when the result lies out of range.
  Decimal scaledByPowerOf10(int power) const;
  // Rounded to `scale` digits after the decimal point; a negative scale rounds to tens, hundreds...
  // A value without digits beyond the scale comes back as it is. Throws DecimalError only when
  // rounding away from zero gives a value out of range.
  Decimal rounded(int scale, Rounding rounding) const;
  // The same value without trailing zeros in the mantissa, as far as the exponent's range allows;
  // zero has exponent 0. Equal values have equal parts afterwards.
  Decimal normalized() const noexcept;

  // Nearest double (correctly rounded, ties to even).
  double toDouble() const;
  // The value cut toward zero to 64 bits; nullopt when it does not fit.
  std::optional<std::int64_t> toInteger() const;
  // "-1234.5": plain digits, no exponent, no grouping, no trailing zeros after the point.
  std::string toString() const;
  // Writes that text, without a terminating zero, and answers its length. `out` must have room for
  // kMaxTextLength characters; those after the text may be overwritten.
  std::size_t toChars(char* out) const noexcept;

  friend Decimal operator+(const Decimal& a, const Decimal& b) {
    if (sameSmallScale(a, b)) return fromSigned(a.signedLow() + b.signedLow(), a.exponent_);
    return addGeneral(a, b);
  }
  friend Decimal operator-(const Decimal& a, const Decimal& b) {
    if (sameSmallScale(a, b)) return fromSigned(a.signedLow() - b.signedLow(), a.exponent_);
    return addGeneral(a, b.negated());
  }
  friend Decimal operator*(const Decimal& a, const Decimal& b) {
    // Two factors below 2^63 have a product below 2^126, hence of at most 38 digits.
    const int exponent = a.exponent_ + b.exponent_;
    if ((a.high_ | b.high_ | ((a.low_ | b.low_) >> 63)) != 0 || exponent < -128 || exponent > 127) {
      return multiplyGeneral(a, b);
    }
    const UInt128 product = static_cast<UInt128>(a.low_) * b.low_;
    return Decimal(static_cast<std::uint64_t>(product), static_cast<std::uint64_t>(product >> 64),
                   exponent, a.negative_ != b.negative_ && product != 0);
  }
  friend BOKFOLIO_EXPORT Decimal operator/(const Decimal& a, const Decimal& b);
  Decimal operator-() const noexcept { return negated(); }
  Decimal& operator+=(const Decimal& other) { return *this = *this + other; }
  Decimal& operator-=(const Decimal& other) { return *this = *this - other; }

  friend bool operator==(const Decimal& a, const Decimal& b) noexcept {
    if (a.exponent_ != b.exponent_) return compareGeneral(a, b) == 0;
    return a.low_ == b.low_ && a.high_ == b.high_ && a.negative_ == b.negative_;
  }
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) noexcept {
    if (sameSmallScale(a, b)) return a.signedLow() <=> b.signedLow();
    return compareGeneral(a, b);
  }
  std::size_t hash() const noexcept;

 private:
  constexpr Decimal(std::uint64_t low, std::uint64_t high, int exponent, bool negative) noexcept
      : low_(low),
        high_(high),
        exponent_(static_cast<std::int16_t>(exponent)),
        negative_(negative) {}

  template <std::integral Integer>
  static constexpr std::uint64_t magnitude(Integer value) noexcept {
    return value < Integer{} ? ~static_cast<std::uint64_t>(value) + 1
                             : static_cast<std::uint64_t>(value);
  }

  // The small values that nearly all amounts are: one exponent, mantissas below 2^62, so that sum
  // and difference fit a signed word.
  static bool sameSmallScale(const Decimal& a, const Decimal& b) noexcept {
    return a.exponent_ == b.exponent_ && (a.high_ | b.high_ | ((a.low_ | b.low_) >> 62)) == 0;
  }
  std::int64_t signedLow() const noexcept {
    const auto value = static_cast<std::int64_t>(low_);
    return negative_ ? -value : value;
  }
  static Decimal fromSigned(std::int64_t value, int exponent) noexcept {
    return Decimal(magnitude(value), 0, exponent, value < 0);
  }

  static Decimal addGeneral(const Decimal& a, const Decimal& b);
  static Decimal multiplyGeneral(const Decimal& a, const Decimal& b);
  static std::strong_ordering compareGeneral(const Decimal& a, const Decimal& b) noexcept;
  // A mantissa of at most 38 digits with any exponent; throws when the value is out of range.
  static Decimal finish(UInt128 mantissa, std::int64_t exponent, bool negative);

  // Invariants: the mantissa is below 10^38, the exponent within its range, zero is not negative.
  std::uint64_t low_ = 0;
  std::uint64_t high_ = 0;
  std::int16_t exponent_ = 0;
  bool negative_ = false;
};

static_assert(sizeof(Decimal) == 24, "records keep decimals inline");

}  // namespace bokfolio

template <>
struct std::hash<bokfolio::Decimal> {
  std::size_t operator()(const bokfolio::Decimal& value) const noexcept { return value.hash(); }
};
