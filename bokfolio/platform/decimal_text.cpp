// Text and binary floating point to Decimal and back. Plain "C" digits only; what a user types or
// reads goes through the locale first.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/internal/decimal_digits.hpp"
#include "bokfolio/platform/internal/wide_integer.hpp"

namespace bokfolio {

using namespace internal;

namespace {

// Beyond any exponent that matters, and far from where adding lengths of texts could wrap.
constexpr std::int64_t kExponentCap = std::int64_t{1} << 60;

bool isDigit(char character) { return static_cast<unsigned char>(character - '0') <= 9; }

// The text that most numbers have: digits that fit a word, perhaps with a point, no exponent. When
// it is anything else, `complete` is false and nothing is said.
struct ShortScan {
  ShortScan(const char* position, const char* end) {
    if (end - position > kWordDigits) return;
    if (position != end && (*position == '-' || *position == '+')) negative = *position++ == '-';
    const char* const begin = position;
    position = takeDigits(position, end);
    if (position == end) {
      complete = position != begin;
      return;
    }
    if (*position != '.' || end - begin == 1) return;
    const char* const point = position;
    complete = takeDigits(position + 1, end) == end;
    scale = static_cast<int>(end - point) - 1;
  }

  const char* takeDigits(const char* position, const char* end) {
    for (; position != end && isDigit(*position); ++position) {
      mantissa = mantissa * 10 + static_cast<unsigned>(*position - '0');
    }
    return position;
  }

  std::uint64_t mantissa = 0;
  int scale = 0;
  bool negative = false;
  bool complete = false;
};

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
      ++position_;
      readDigits(true);
    }
    joinDigits();
    if (result_.hasDigits) readExponent();
    result_.end = position_;
    return result_;
  }

 private:
  // Digits gather in a word, since 128-bit multiplication for each would be slow.
  void readDigits(bool fraction) {
    const char* const start = position_;
    std::uint64_t word = word_;
    int count = count_;
    for (; position_ != end_ && isDigit(*position_); ++position_) {
      const auto digit = static_cast<unsigned>(*position_ - '0');
      if (count == kMaxDigits) {
        drop(digit);
        continue;
      }
      word = word * 10 + digit;
      if ((word | static_cast<unsigned>(count)) != 0) ++count;
      if (count == kWordDigits) {
        result_.mantissa = word;
        word = 0;
      }
    }
    word_ = word;
    count_ = count;
    if (position_ != start) result_.hasDigits = true;
    if (fraction) result_.exponent -= position_ - start;
  }

  void drop(unsigned digit) {
    if (!dropped_) result_.roundUp = digit >= 5;
    dropped_ = true;
    result_.cut = result_.cut || digit != 0;
    ++result_.exponent;
  }

  void joinDigits() {
    const int further = std::max(0, count_ - kWordDigits);
    result_.mantissa = result_.mantissa * wordPowerOf10(further) + word_;
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
  std::uint64_t word_ = 0;
  int count_ = 0;  // digits taken from the first other than zero on
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

// The eight digits of a value below 10^8, one a byte and the first in the lowest; halves, pairs and
// single digits are parted in one go each.
inline std::uint64_t digitBytes(std::uint64_t value) {
  const std::uint64_t halves = (value / 10'000) | ((value % 10'000) << 32);
  const std::uint64_t hundreds = ((halves * 10'486) >> 20) & 0x7F'0000'007FU;
  const std::uint64_t pairs = hundreds | ((halves - 100 * hundreds) << 16);
  const std::uint64_t tens = ((pairs * 103) >> 10) & 0x000F'000F'000F'000FU;
  return tens | ((pairs - 10 * tens) << 8);
}

constexpr std::uint64_t kZeroBytes = 0x3030'3030'3030'3030U;
constexpr int kBlockDigits = 8;
constexpr std::uint64_t kBlockLimit = wordPowerOf10(kBlockDigits);

inline void storeBlock(char* out, std::uint64_t characters) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(out, &characters, sizeof characters);
  } else {
    for (int i = 0; i < kBlockDigits; ++i) out[i] = static_cast<char>(characters >> (8 * i));
  }
}

// value * 10^-scale for 0 < value < 10^8 and 0 <= scale < 8: all digits travel in one register.
inline std::size_t writeBlock(std::uint64_t value, int scale, char* out) {
  const std::uint64_t digits = digitBytes(value);
  const int leadingZeros = std::countr_zero(digits) / 8;
  const int trailingZeros = std::countl_zero(digits) / 8;
  const int length = std::max(kBlockDigits - leadingZeros, scale + 1);
  const int whole = length - scale;
  const std::uint64_t characters = (digits | kZeroBytes) >> (8 * (kBlockDigits - length));
  storeBlock(out, characters);
  if (trailingZeros >= scale) return static_cast<std::size_t>(whole);
  out[whole] = '.';
  storeBlock(out + whole + 1, characters >> (8 * whole));
  return static_cast<std::size_t>(length + 1 - trailingZeros);
}

// Nineteen characters, leading zeros included.
void writeWord(std::uint64_t value, char* out) {
  const std::uint64_t upper = value / kBlockLimit;
  const std::uint64_t top = upper / kBlockLimit;
  out[0] = static_cast<char>('0' + top / 100);
  out[1] = static_cast<char>('0' + top / 10 % 10);
  out[2] = static_cast<char>('0' + top % 10);
  storeBlock(out + 3, digitBytes(upper % kBlockLimit) | kZeroBytes);
  storeBlock(out + 11, digitBytes(value % kBlockLimit) | kZeroBytes);
}

// The digits of a mantissa; `digits` and `end` hold them without leading zeros.
struct MantissaText {
  explicit MantissaText(UInt128 mantissa) {
    std::uint64_t low = lowWord(mantissa);
    if (mantissa >= wordPowerOf10(kWordDigits)) {
      writeWord(divideWords(highWord(mantissa), low, wordPowerOf10(kWordDigits), low),
                buffer.data());
    }
    writeWord(low, buffer.data() + kWordDigits);
    begin = buffer.data() + kMaxDigits - digitCount(mantissa);
  }

  std::array<char, kMaxDigits> buffer;
  const char* begin;
  const char* end = buffer.data() + kMaxDigits;
};

char* append(char* out, const char* begin, std::ptrdiff_t count) {
  std::memcpy(out, begin, static_cast<std::size_t>(count));
  return out + count;
}
char* appendZeros(char* out, std::ptrdiff_t count) {
  std::memset(out, '0', static_cast<std::size_t>(count));
  return out + count;
}

// Apart from the quick path, which would otherwise pay for its registers.
[[gnu::noinline]] std::size_t writeAny(UInt128 mantissa, int scale, char* out) {
  if (mantissa == 0) {
    *out = '0';
    return 1;
  }
  const MantissaText text(mantissa);
  const char* end = text.end;
  for (; scale > 0 && end[-1] == '0'; --end) --scale;
  const std::ptrdiff_t whole = end - text.begin - scale;
  char* position = out;
  if (scale <= 0) {
    position = append(position, text.begin, end - text.begin);
    position = appendZeros(position, -scale);
  } else if (whole > 0) {
    position = append(position, text.begin, whole);
    *position++ = '.';
    position = append(position, text.begin + whole, scale);
  } else {
    *position++ = '0';
    *position++ = '.';
    position = appendZeros(position, -whole);
    position = append(position, text.begin, end - text.begin);
  }
  return static_cast<std::size_t>(position - out);
}

}  // namespace

std::optional<Decimal> Decimal::parse(std::string_view text) {
  const char* const end = text.data() + text.size();
  ShortScan brief(text.data(), end);
  if (brief.complete) return make(brief.mantissa, -brief.scale, brief.negative);
  Scan number = Scanner(text.data(), end).scan();
  if (!number.hasDigits || number.cut || number.end != end) return std::nullopt;
  if (fitExponent(number.mantissa, number.exponent)) return std::nullopt;
  return make(number.mantissa, static_cast<int>(number.exponent), number.negative);
}

Decimal Decimal::parsePrefix(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string_view::npos) return Decimal();
  Scan number = Scanner(text.data() + start, text.data() + text.size()).scan();
  if (!number.hasDigits) return Decimal();
  roundToMantissa(number);
  if (fitExponent(number.mantissa, number.exponent)) return Decimal();
  return make(number.mantissa, static_cast<int>(number.exponent), number.negative);
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
  const int exponent = this->exponent();
  const UInt128 size = mantissa();
  if (size <= (std::uint64_t{1} << 53) && exponent >= -22 && exponent <= 22) {
    const auto whole = static_cast<double>(lowWord(size));
    const double scaled = exponent < 0 ? whole / kExactPowers[static_cast<std::size_t>(-exponent)]
                                       : whole * kExactPowers[static_cast<std::size_t>(exponent)];
    return isNegative() ? -scaled : scaled;
  }
  const MantissaText digits(size);
  std::array<char, kMaxDigits + 8> buffer{};
  char* end = append(buffer.data(), digits.begin, digits.end - digits.begin);
  *end++ = 'e';
  end = std::to_chars(end, buffer.data() + buffer.size(), exponent).ptr;
  double result = 0;
  std::from_chars(buffer.data(), end, result);
  return isNegative() ? -result : result;
}

std::size_t Decimal::toChars(char* out) const noexcept {
  *out = '-';
  const std::size_t signs = isNegative() ? 1 : 0;
  const UInt128 size = mantissa();
  const int scale = -exponent();
  if (size - 1 < kBlockLimit - 1 && scale >= 0 && scale < kBlockDigits) {
    return signs + writeBlock(lowWord(size), scale, out + signs);
  }
  return signs + writeAny(size, scale, out + signs);
}

std::string Decimal::toString() const {
  std::array<char, kMaxTextLength> buffer;
  return std::string(buffer.data(), toChars(buffer.data()));
}

}  // namespace bokfolio
