// Text and binary floating point to Decimal and back. Plain "C" digits only; what a user types or
// reads goes through the locale first.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/internal/decimal_digits.hpp"
#include "bokfolio/platform/internal/wide_integer.hpp"

namespace bokfolio {

using namespace internal;

namespace {

// Texts of this length cannot hold more digits than a word.
constexpr std::size_t kWordDigits = 19;
// Beyond any exponent that matters, and far from where adding lengths of texts could wrap.
constexpr std::int64_t kExponentCap = std::int64_t{1} << 60;

bool isDigit(char character) { return static_cast<unsigned char>(character - '0') <= 9; }

// A number as read: mantissa * 10^exponent with what the mantissa had no room for.
struct Scan {
  UInt128 mantissa = 0;
  std::int64_t exponent = 0;
  bool negative = false;
  bool hasDigits = false;
  bool cut = false;      // digits other than zero lie beyond the 38th
  bool roundUp = false;  // the first of them is 5 or more
  const char* end = nullptr;
};

class Scanner {
 public:
  Scanner(const char* begin, const char* end) : position_(begin), end_(end) {}

  // The longest number at the start.
  Scan scan() {
    if (position_ != end_ && (*position_ == '-' || *position_ == '+')) {
      result_.negative = *position_++ == '-';
    }
    readDigits(false);
    if (position_ != end_ && *position_ == '.') {
      const char* const point = position_++;
      readDigits(true);
      if (!result_.hasDigits) position_ = point;
    }
    if (result_.hasDigits) readExponent();
    result_.end = position_;
    return result_;
  }

 private:
  void readDigits(bool fraction) {
    for (; position_ != end_ && isDigit(*position_); ++position_) {
      result_.hasDigits = true;
      take(static_cast<unsigned>(*position_ - '0'));
      if (fraction) --result_.exponent;
    }
  }

  void take(unsigned digit) {
    if (count_ < kMaxDigits) {
      result_.mantissa = result_.mantissa * 10 + digit;
      if (result_.mantissa != 0) ++count_;
      return;
    }
    if (!dropped_) result_.roundUp = digit >= 5;
    dropped_ = true;
    result_.cut = result_.cut || digit != 0;
    ++result_.exponent;
  }

  // "E" counts only with a digit behind it; otherwise the number ended before.
  void readExponent() {
    const char* next = position_;
    if (next == end_ || (*next != 'e' && *next != 'E')) return;
    ++next;
    bool negative = false;
    if (next != end_ && (*next == '-' || *next == '+')) negative = *next++ == '-';
    if (next == end_ || !isDigit(*next)) return;
    std::int64_t exponent = 0;
    for (; next != end_ && isDigit(*next); ++next) {
      if (exponent < kExponentCap / 16) exponent = exponent * 10 + (*next - '0');
    }
    result_.exponent += negative ? -exponent : exponent;
    position_ = next;
  }

  const char* position_;
  const char* end_;
  Scan result_;
  int count_ = 0;
  bool dropped_ = false;
};

void roundToMantissa(Scan& number) {
  if (!number.roundUp) return;
  ++number.mantissa;
  if (number.mantissa == kMantissaLimit) {
    number.mantissa = powerOf10(kMaxDigits - 1);
    ++number.exponent;
  }
}

constexpr std::array<char, 200> kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// Writes the digits so that they end at `end`, and answers where they begin.
char* writeWordBackward(std::uint64_t value, char* end) {
  while (value >= 100) {
    end -= 2;
    std::memcpy(end, &kDigitPairs[2 * (value % 100)], 2);
    value /= 100;
  }
  if (value >= 10) {
    end -= 2;
    std::memcpy(end, &kDigitPairs[2 * value], 2);
    return end;
  }
  if (value != 0) *--end = static_cast<char>('0' + value);
  return end;
}

char* writeBackward(UInt128 value, char* end) {
  while (highWord(value) != 0) {
    constexpr std::uint64_t kChunk = 10'000'000'000'000'000'000U;  // 19 digits
    const UInt128 rest = value / kChunk;
    char* const chunk = end - kWordDigits;
    char* const begin = writeWordBackward(lowWord(value - rest * kChunk), end);
    std::fill(chunk, begin, '0');
    end = chunk;
    value = rest;
  }
  return writeWordBackward(lowWord(value), end);
}

}  // namespace

std::optional<Decimal> Decimal::parse(std::string_view text) {
  Scan number = Scanner(text.data(), text.data() + text.size()).scan();
  if (!number.hasDigits || number.cut || number.end != text.data() + text.size()) {
    return std::nullopt;
  }
  if (fitExponent(number.mantissa, number.exponent)) return std::nullopt;
  return Decimal(lowWord(number.mantissa), highWord(number.mantissa),
                 static_cast<int>(number.exponent), number.negative && number.mantissa != 0);
}

Decimal Decimal::parsePrefix(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string_view::npos) return Decimal();
  Scan number = Scanner(text.data() + start, text.data() + text.size()).scan();
  if (!number.hasDigits) return Decimal();
  roundToMantissa(number);
  if (fitExponent(number.mantissa, number.exponent)) return Decimal();
  return Decimal(lowWord(number.mantissa), highWord(number.mantissa),
                 static_cast<int>(number.exponent), number.negative && number.mantissa != 0);
}

std::optional<Decimal> Decimal::fromDouble(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  std::array<char, 32> buffer{};
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                     std::chars_format::scientific);
  return parse({buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data())});
}

double Decimal::toDouble() const {
  // Up to 2^53 and 10^22 both operands are exact doubles, so one operation rounds once.
  constexpr std::array<double, 23> kExactPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  if (high_ == 0 && low_ <= (std::uint64_t{1} << 53) && exponent_ >= -22 && exponent_ <= 22) {
    const auto size = static_cast<double>(low_);
    const double scaled = exponent_ < 0 ? size / kExactPowers[static_cast<std::size_t>(-exponent_)]
                                        : size * kExactPowers[static_cast<std::size_t>(exponent_)];
    return negative_ ? -scaled : scaled;
  }
  std::array<char, 48> buffer{};
  char* const digitsEnd = buffer.data() + kMaxDigits + 2;
  char* begin = writeBackward(mantissa(), digitsEnd);
  if (negative_) *--begin = '-';
  *digitsEnd = 'e';
  const auto end = std::to_chars(digitsEnd + 1, buffer.data() + buffer.size(), int{exponent_}).ptr;
  double result = 0;
  std::from_chars(begin, end, result);
  return result;
}

std::size_t Decimal::toChars(char* out) const noexcept {
  char* position = out;
  if (isZero()) {
    *position = '0';
    return 1;
  }
  if (negative_) *position++ = '-';
  std::array<char, kMaxDigits + 2> buffer;
  const char* end = buffer.data() + buffer.size();
  const char* const begin = writeBackward(mantissa(), buffer.data() + buffer.size());
  int scale = -exponent_;
  for (; scale > 0 && end[-1] == '0'; --end) --scale;
  const auto digits = static_cast<int>(end - begin);
  if (scale <= 0) {
    position = std::copy(begin, end, position);
    position = std::fill_n(position, -scale, '0');
  } else if (digits > scale) {
    position = std::copy(begin, end - scale, position);
    *position++ = '.';
    position = std::copy(end - scale, end, position);
  } else {
    *position++ = '0';
    *position++ = '.';
    position = std::fill_n(position, scale - digits, '0');
    position = std::copy(begin, end, position);
  }
  return static_cast<std::size_t>(position - out);
}

std::string Decimal::toString() const {
  std::array<char, kMaxTextLength> buffer;
  return std::string(buffer.data(), toChars(buffer.data()));
}

}  // namespace bokfolio
