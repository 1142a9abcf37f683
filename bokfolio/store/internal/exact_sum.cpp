#include "bokfolio/store/internal/exact_sum.hpp"

#include <algorithm>
#include <charconv>

namespace bokfolio::internal {

namespace {

constexpr int kLowestExponent = -128;
constexpr std::size_t kDigits = 38;
// The largest power of ten in a word.
constexpr std::uint64_t kChunk = 10'000'000'000'000'000'000U;
constexpr int kChunkDigits = 19;

std::uint64_t powerOfTen(int exponent) {
  std::uint64_t power = 1;
  for (; exponent > 0; --exponent) power *= 10;
  return power;
}

template <class Words>
void multiply(Words& words, std::uint64_t factor) {
  UInt128 carry = 0;
  for (std::uint64_t& word : words) {
    carry += static_cast<UInt128>(word) * factor;
    word = static_cast<std::uint64_t>(carry);
    carry >>= 64;
  }
}

// Answers the remainder.
template <class Words>
std::uint64_t divide(Words& words, std::uint64_t divisor) {
  UInt128 rest = 0;
  for (auto word = words.rbegin(); word != words.rend(); ++word) {
    rest = (rest << 64) | *word;
    *word = static_cast<std::uint64_t>(rest / divisor);
    rest %= divisor;
  }
  return static_cast<std::uint64_t>(rest);
}

template <class Words>
bool allZero(const Words& words) {
  return std::all_of(words.begin(), words.end(), [](std::uint64_t word) { return word == 0; });
}

// Plain digits, without leading zeros.
template <class Words>
std::string digitsOf(Words words) {
  std::string digits;
  while (!allZero(words)) {
    std::string chunk = std::to_string(divide(words, kChunk));
    chunk.insert(0, static_cast<std::size_t>(kChunkDigits) - chunk.size(), '0');
    digits.insert(0, chunk);
  }
  return digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
}

}  // namespace

// --- The fixed-point number

void ExactSum::Wide::add(UInt128 mantissa, int exponent, bool negative) {
  Wide amount;
  amount.words[0] = static_cast<std::uint64_t>(mantissa);
  amount.words[1] = static_cast<std::uint64_t>(mantissa >> 64);
  int power = exponent - kLowestExponent;
  for (; power >= kChunkDigits; power -= kChunkDigits) multiply(amount.words, kChunk);
  multiply(amount.words, powerOfTen(power));
  if (negative) amount.negate();
  add(amount);
}

void ExactSum::Wide::add(const Wide& other) {
  UInt128 carry = 0;
  for (std::size_t i = 0; i < kWords; ++i) {
    carry += static_cast<UInt128>(words[i]) + other.words[i];
    words[i] = static_cast<std::uint64_t>(carry);
    carry >>= 64;
  }
}

void ExactSum::Wide::negate() {
  for (std::uint64_t& word : words) word = ~word;
  Wide one;
  one.words[0] = 1;
  add(one);
}

bool ExactSum::Wide::isZero() const { return allZero(words); }

Decimal ExactSum::Wide::rounded() const {
  Wide size = *this;
  if (isNegative()) size.negate();
  std::string digits = digitsOf(size.words);
  int exponent = kLowestExponent;
  bool up = false;
  if (digits.size() > kDigits) {
    exponent += static_cast<int>(digits.size() - kDigits);
    up = digits[kDigits] >= '5';
    digits.resize(kDigits);
  }
  UInt128 mantissa = 0;
  for (const char digit : digits) mantissa = mantissa * 10 + static_cast<unsigned>(digit - '0');
  mantissa += up ? 1 : 0;
  // Nines that all went over: one digit too many, and it is a zero.
  if (digits.size() == kDigits && mantissa % 10 == 0) {
    mantissa /= 10;
    ++exponent;
  }
  return Decimal::fromParts(mantissa, exponent, isNegative()).normalized();
}

std::string ExactSum::Wide::text() const {
  constexpr char kDigit[] = "0123456789abcdef";
  std::string digits;
  for (auto word = words.rbegin(); word != words.rend(); ++word)
    for (int shift = 60; shift >= 0; shift -= 4) digits += kDigit[(*word >> shift) & 15U];
  return digits;
}

std::optional<ExactSum::Wide> ExactSum::Wide::parse(std::string_view digits) {
  constexpr std::size_t kDigitsOfWord = 16;
  if (digits.size() != kWords * kDigitsOfWord) return std::nullopt;
  Wide wide;
  for (auto word = wide.words.rbegin(); word != wide.words.rend(); ++word) {
    const char* end = digits.data() + kDigitsOfWord;
    const auto read = std::from_chars(digits.data(), end, *word, 16);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    digits.remove_prefix(kDigitsOfWord);
  }
  return wide;
}

// --- The sum

ExactSum::ExactSum(const ExactSum& other)
    : units_(other.units_),
      exponent_(other.exponent_),
      wide_(other.wide_ ? std::make_unique<Wide>(*other.wide_) : nullptr) {}

ExactSum& ExactSum::operator=(const ExactSum& other) {
  ExactSum copy(other);
  return *this = std::move(copy);
}

void ExactSum::addUnlike(Int128 units, int exponent) {
  if (units == 0) return;
  if (!wide_) {
    if (units_ == 0) {
      units_ = units;
      exponent_ = exponent;
      return;
    }
    // At the finer of the two scales, if both fit there.
    Int128 fine = exponent < exponent_ ? units : units_;
    Int128 coarse = exponent < exponent_ ? units_ : units;
    bool fits = true;
    for (int step = std::abs(exponent - exponent_); step > 0 && fits; --step)
      fits = !__builtin_mul_overflow(coarse, 10, &coarse);
    if (fits && !__builtin_add_overflow(fine, coarse, &fine)) {
      units_ = fine;
      exponent_ = std::min(exponent, exponent_);
      return;
    }
  }
  const bool negative = units < 0;
  const auto size = static_cast<UInt128>(units);
  widen().add(negative ? -size : size, exponent, negative);
}

ExactSum::Wide& ExactSum::widen() {
  if (!wide_) {
    wide_ = std::make_unique<Wide>();
    const bool negative = units_ < 0;
    const auto size = static_cast<UInt128>(units_);
    wide_->add(negative ? -size : size, exponent_, negative);
    units_ = 0;
  }
  return *wide_;
}

ExactSum& ExactSum::operator+=(const ExactSum& other) {
  if (!other.wide_) return add(other.units_, other.exponent_);
  widen().add(*other.wide_);
  return *this;
}

ExactSum& ExactSum::operator-=(const ExactSum& other) {
  Int128 opposite = 0;
  if (!other.wide_ && !__builtin_sub_overflow(opposite, other.units_, &opposite))
    return add(opposite, other.exponent_);
  ExactSum wide(other);
  wide.widen().negate();
  return *this += wide;
}

bool ExactSum::isZero() const { return wide_ ? wide_->isZero() : units_ == 0; }

Decimal ExactSum::total() const {
  if (wide_) return wide_->rounded();
  const bool negative = units_ < 0;
  const auto bits = static_cast<UInt128>(units_);
  const UInt128 size = negative ? -bits : bits;
  constexpr UInt128 kBound = static_cast<UInt128>(kChunk) * kChunk;  // 10^38
  if (size < kBound) return Decimal::fromParts(size, exponent_, negative);
  return Decimal::fromParts(size / 10 + (size % 10 >= 5 ? 1 : 0), exponent_ + 1, negative);
}

// --- As text

std::string ExactSum::text() const {
  constexpr UInt128 kBound = static_cast<UInt128>(kChunk) * kChunk;  // 10^38
  const bool negative = units_ < 0;
  const auto bits = static_cast<UInt128>(units_);
  const UInt128 size = negative ? -bits : bits;
  if (!wide_ && size < kBound) return Decimal::fromParts(size, exponent_, negative).toString();
  ExactSum wide(*this);
  return "x" + wide.widen().text();
}

std::optional<ExactSum> ExactSum::parse(std::string_view text) {
  ExactSum sum;
  if (!text.empty() && text.front() == 'x') {
    const auto wide = Wide::parse(text.substr(1));
    if (!wide) return std::nullopt;
    sum.wide_ = std::make_unique<Wide>(*wide);
    return sum;
  }
  const auto decimal = Decimal::parse(text);
  if (!decimal) return std::nullopt;
  return sum += *decimal;
}

}  // namespace bokfolio::internal
