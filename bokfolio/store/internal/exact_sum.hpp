// ExactSum: a running sum of decimals without any rounding, from which what was added can be taken
// away again. Decimal itself rounds beyond 38 digits, so that sums of it depend on the order; this
// one does not. Rounding happens once, when the sum is read.
//
// Amounts of a like size and scale, which is nearly all, are added in one wide integer; what does
// not fit goes into a fixed-point number that spans every decimal there is.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::internal {

class ExactSum {
 public:
  ExactSum() = default;
  ExactSum(const ExactSum& other);
  ExactSum(ExactSum&&) noexcept = default;
  ExactSum& operator=(const ExactSum& other);
  ExactSum& operator=(ExactSum&&) noexcept = default;
  ~ExactSum() = default;

  ExactSum& operator+=(const Decimal& amount) {
    return add(signedMantissa(amount), amount.exponent());
  }
  ExactSum& operator-=(const Decimal& amount) {
    return add(-signedMantissa(amount), amount.exponent());
  }
  ExactSum& operator+=(const ExactSum& other);
  ExactSum& operator-=(const ExactSum& other);

  bool isZero() const;
  // Rounded half away from zero where 38 digits do not hold it. Throws DecimalError when the sum is
  // no Decimal; it can still be added to.
  Decimal total() const;
  // The sum without any rounding, as a document keeps it: a plain decimal number where one integer
  // holds it, else "x" and the 272 hexadecimal digits of the fixed-point number.
  std::string text() const;
  static std::optional<ExactSum> parse(std::string_view text);

 private:
  __extension__ typedef __int128 Int128;

  // Two's complement, in units of 10^-128: room for any decimal times 2^64, and the sign.
  struct Wide {
    static constexpr std::size_t kWords = 17;
    std::array<std::uint64_t, kWords> words{};

    void add(UInt128 mantissa, int exponent, bool negative);
    void add(const Wide& other);
    void negate();
    bool isNegative() const { return (words.back() >> 63) != 0; }
    bool isZero() const;
    Decimal rounded() const;
    std::string text() const;
    static std::optional<Wide> parse(std::string_view digits);
  };

  static Int128 signedMantissa(const Decimal& amount) {
    const auto size = static_cast<Int128>(amount.mantissa());
    return amount.isNegative() ? -size : size;
  }
  ExactSum& add(Int128 units, int exponent) {
    Int128 sum = 0;
    if (!wide_ && exponent == exponent_ && !__builtin_add_overflow(units_, units, &sum)) {
      units_ = sum;
    } else {
      addUnlike(units, exponent);
    }
    return *this;
  }
  void addUnlike(Int128 units, int exponent);
  Wide& widen();

  Int128 units_ = 0;
  int exponent_ = 0;
  std::unique_ptr<Wide> wide_;  // once there is one, it is the whole sum
};

}  // namespace bokfolio::internal
