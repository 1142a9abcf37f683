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

// The compiler's own; wide enough for every mantissa.
__extension__ typedef unsigned __int128 UInt128;

// Integers of up to 64 bits: wider ones need not fit a Decimal.
template <typename Type>
concept WordInteger = std::integral<Type> && sizeof(Type) <= sizeof(std::int64_t);

// Thrown where a result is no Decimal; the operands are untouched.
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
  template <WordInteger Integer>
  constexpr Decimal(Integer value) noexcept  // NOLINT(google-explicit-constructor)
      : low_(static_cast<std::uint64_t>(value)), high_(value < Integer{} ? -1 : 0) {}

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
  UInt128 mantissa() const noexcept {
    const Int128 value = signedMantissa();
    return static_cast<UInt128>(value < 0 ? -value : value);
  }
  int exponent() const noexcept { return static_cast<int>(exponent_); }
  bool isNegative() const noexcept { return high_ < 0; }
  bool isZero() const noexcept { return (low_ | static_cast<std::uint64_t>(high_)) == 0; }
  // -1, 0 or 1.
  int sign() const noexcept { return isNegative() ? -1 : (isZero() ? 0 : 1); }

  // The value times -1; zero stays zero.
  Decimal negated() const noexcept { return Decimal(-signedMantissa(), exponent_); }
  Decimal absolute() const noexcept { return isNegative() ? negated() : *this; }
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

  // All four are exact where the result fits and otherwise rounded as the limits above say; they
  // throw DecimalError. The result's exponent is not normalised: sums keep the smaller one,
  // products add them. On one-word mantissas (and equal exponents, for sums) they cost a few
  // instructions and are therefore inline; division and wide mantissas cost tens of nanoseconds.
  friend Decimal operator+(const Decimal& a, const Decimal& b) {
    if (!addsSimply(a, b)) return addGeneral(a, b);
    return Decimal(a.signedMantissa() + b.signedMantissa(), a.exponent_);
  }
  friend Decimal operator-(const Decimal& a, const Decimal& b) {
    if (!addsSimply(a, b)) return addGeneral(a, b.negated());
    return Decimal(a.signedMantissa() - b.signedMantissa(), a.exponent_);
  }
  friend Decimal operator*(const Decimal& a, const Decimal& b) {
    const std::int64_t exponent = a.exponent_ + b.exponent_;
    if (!(a.fitsWord() && b.fitsWord() && exponent >= -128 && exponent <= 127)) {
      return multiplyGeneral(a, b);
    }
    // At most 2^126, hence of at most 38 digits.
    return Decimal(
        static_cast<Int128>(static_cast<std::int64_t>(a.low_)) * static_cast<std::int64_t>(b.low_),
        exponent);
  }
  friend BOKFOLIO_EXPORT Decimal operator/(const Decimal& a, const Decimal& b);
  Decimal operator-() const noexcept { return negated(); }
  Decimal& operator+=(const Decimal& other) { return *this = *this + other; }
  Decimal& operator-=(const Decimal& other) { return *this = *this - other; }

  friend bool operator==(const Decimal& a, const Decimal& b) noexcept {
    if (a.exponent_ == b.exponent_) return a.low_ == b.low_ && a.high_ == b.high_;
    return std::is_eq(compareGeneral(a, b));
  }
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) noexcept {
    if (a.exponent_ == b.exponent_) return a.signedMantissa() <=> b.signedMantissa();
    return compareGeneral(a, b);
  }
  // Equal for equal values, whatever their parts. The same in every process.
  std::size_t hash() const noexcept;

 private:
  __extension__ typedef __int128 Int128;

  // For parts within the limits.
  Decimal(Int128 mantissa, std::int64_t exponent) noexcept
      : low_(static_cast<std::uint64_t>(mantissa)),
        high_(static_cast<std::int64_t>(mantissa >> 64)),
        exponent_(exponent) {}
  static Decimal make(UInt128 mantissa, int exponent, bool negative) noexcept {
    const auto value = static_cast<Int128>(mantissa);
    return Decimal(negative ? -value : value, exponent);
  }

  Int128 signedMantissa() const noexcept { return (static_cast<Int128>(high_) << 64) | low_; }
  bool fitsWord() const noexcept { return high_ == static_cast<std::int64_t>(low_) >> 63; }
  // One exponent and mantissas below 2^125, so that sum and difference stay below 10^38: what
  // nearly all amounts are.
  static bool addsSimply(const Decimal& a, const Decimal& b) noexcept {
    constexpr std::uint64_t kRange = std::uint64_t{1} << 61;
    const std::uint64_t sizes = (static_cast<std::uint64_t>(a.high_) + kRange) |
                                (static_cast<std::uint64_t>(b.high_) + kRange);
    return ((sizes >> 62) | static_cast<std::uint64_t>(a.exponent_ ^ b.exponent_)) == 0;
  }

  static Decimal addGeneral(const Decimal& a, const Decimal& b);
  static Decimal multiplyGeneral(const Decimal& a, const Decimal& b);
  static std::strong_ordering compareGeneral(const Decimal& a, const Decimal& b) noexcept;
  // A mantissa of at most 38 digits with any exponent; throws when the value is out of range.
  static Decimal finish(UInt128 mantissa, std::int64_t exponent, bool negative);

  // The signed mantissa in two's complement, of a size below 10^38, and the exponent. All three are
  // whole words, since a copy that follows short stores would have to wait for them.
  std::uint64_t low_ = 0;
  std::int64_t high_ = 0;
  std::int64_t exponent_ = 0;
};

static_assert(sizeof(Decimal) == 24, "records keep decimals inline");

}  // namespace bokfolio

template <>
struct std::hash<bokfolio::Decimal> {
  std::size_t operator()(const bokfolio::Decimal& value) const noexcept { return value.hash(); }
};
