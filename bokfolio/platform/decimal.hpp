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
  constexpr Decimal() noexcept = default;
  // Integers are exact and convert silently; doubles never do.
  template <std::integral Integer>
  constexpr Decimal(Integer value) noexcept  // NOLINT(google-explicit-constructor)
      : low_(magnitude(value)), negative_(value < 0) {}

  // mantissa * 10^exponent. Throws DecimalError when the value cannot be held.
  static Decimal fromParts(UInt128 mantissa, int exponent, bool negative);
  // Reads the whole text: optional sign, digits with an optional ".", optional exponent ("1E-6").
  // nullopt for anything else, for more than 38 significant digits and for a value out of range.
  static std::optional<Decimal> parse(std::string_view text);
  // Reads the longest leading number after blanks, as parse does; zero when there is none. Digits
  // beyond the 38th are rounded.
  static Decimal parsePrefix(std::string_view text);
  // Through the double's shortest round-trip text: 0.1 gives 0.1. nullopt for NaN, infinity and what
  // lies out of range.
  static std::optional<Decimal> fromDouble(double value);

  UInt128 mantissa() const noexcept { return (static_cast<UInt128>(high_) << 64) | low_; }
  int exponent() const noexcept { return exponent_; }
  bool isNegative() const noexcept { return negative_; }
  bool isZero() const noexcept { return (high_ | low_) == 0; }
  // -1, 0 or 1.
  int sign() const noexcept { return isZero() ? 0 : (negative_ ? -1 : 1); }

  Decimal negated() const noexcept;
  Decimal absolute() const noexcept;
  // value * 10^power, exact.
  Decimal scaledByPowerOf10(int power) const;
  // Rounded to `scale` digits after the decimal point; a negative scale rounds to tens, hundreds...
  Decimal rounded(int scale, Rounding rounding) const;
  // The same value without trailing zeros in the mantissa; zero has exponent 0.
  Decimal normalized() const noexcept;

  // Nearest double (correctly rounded).
  double toDouble() const;
  // The value cut toward zero to 64 bits; nullopt when it does not fit.
  std::optional<std::int64_t> toInteger() const;
  // "-1234.5": plain digits, no exponent, no grouping, no trailing zeros after the point.
  std::string toString() const;

  friend BOKFOLIO_EXPORT Decimal operator+(const Decimal& a, const Decimal& b);
  friend BOKFOLIO_EXPORT Decimal operator-(const Decimal& a, const Decimal& b);
  friend BOKFOLIO_EXPORT Decimal operator*(const Decimal& a, const Decimal& b);
  friend BOKFOLIO_EXPORT Decimal operator/(const Decimal& a, const Decimal& b);
  Decimal operator-() const noexcept { return negated(); }
  Decimal& operator+=(const Decimal& other) { return *this = *this + other; }
  Decimal& operator-=(const Decimal& other) { return *this = *this - other; }

  friend BOKFOLIO_EXPORT bool operator==(const Decimal& a, const Decimal& b) noexcept;
  friend BOKFOLIO_EXPORT std::strong_ordering operator<=>(const Decimal& a,
                                                          const Decimal& b) noexcept;
  std::size_t hash() const noexcept;

 private:
  template <std::integral Integer>
  static constexpr std::uint64_t magnitude(Integer value) noexcept {
    return value < 0 ? ~static_cast<std::uint64_t>(value) + 1 : static_cast<std::uint64_t>(value);
  }

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
