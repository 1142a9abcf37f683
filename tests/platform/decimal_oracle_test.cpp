// 100 000 operations against the answers of an independent implementation, as written by
// tools/decimal_oracle.py. Operands are made by the same generator on both sides.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kOperations = "+-*/+*/r/c";
constexpr int kCases = 100'000;

UInt128 tenTo(std::uint64_t power) {
  UInt128 result = 1;
  for (; power > 0; --power) result *= 10;
  return result;
}

int digitsOf(UInt128 value) {
  int digits = 1;
  while ((value /= 10) != 0) ++digits;
  return digits;
}

int clip(int exponent) { return std::clamp(exponent, -128, 127); }

class Generator {
 public:
  explicit Generator(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15U) {}
  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15U);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
  }
  int below(unsigned limit) { return static_cast<int>(next() % limit); }
  UInt128 mantissa(int digits) {
    const auto high = static_cast<UInt128>(next()) << 64;
    return (high + next()) % tenTo(static_cast<std::uint64_t>(digits));
  }

 private:
  std::uint64_t state_;
};

struct Parts {
  UInt128 mantissa = 0;
  int exponent = 0;
  bool negative = false;
};

struct Case {
  explicit Case(int index)
      : random(static_cast<std::uint64_t>(index)),
        operation(kOperations[static_cast<std::size_t>(index) % kOperations.size()]) {
    a = operand();
    b = partner();
    scale = -a.exponent - random.below(42) + 2;
    if (random.below(16) == 0) scale = -100 - random.below(100);
    mode = static_cast<Rounding>(random.below(4));
  }

  Parts operand() {
    const int shape = random.below(8);
    Parts parts;
    parts.negative = random.below(2) == 1;
    if (shape < 3) {
      parts.mantissa = random.mantissa(1 + random.below(12));
      parts.exponent = -random.below(5);
    } else if (shape == 3) {
      parts.mantissa = random.mantissa(1 + random.below(38));
      parts.exponent = random.below(256) - 128;
    } else if (shape == 4) {
      parts.mantissa = random.mantissa(38);
      parts.exponent = -random.below(40);
    } else if (shape == 5) {
      parts.mantissa = tenTo(random.next() % 39) - 1;
      parts.exponent = random.below(256) - 128;
    } else if (shape == 6) {
      parts.mantissa = tenTo(random.next() % 38);
      parts.mantissa *= 1 + random.next() % 9;
      const int edge = random.below(2) == 1 ? 127 : -128;
      parts.exponent = clip(edge + random.below(7) - 3);
    } else {
      parts.mantissa = 5 * tenTo(random.next() % 37);
      parts.mantissa += random.next() % 2;
      parts.exponent = -random.below(80);
    }
    return parts;
  }

  Parts partner() {
    const int relation = random.below(6);
    if (relation < 2) return operand();
    Parts parts;
    if (relation == 2) {
      const UInt128 near = a.mantissa + random.next() % 3;
      parts.mantissa = near == 0 ? 0 : (near - 1) % tenTo(38);
      parts.exponent = clip(a.exponent + random.below(3) - 1);
    } else if (relation == 3) {
      const int zeros = random.below(37);
      parts.mantissa = 5 * tenTo(static_cast<std::uint64_t>(zeros)) + random.next() % 3 - 1;
      const int place = a.exponent + digitsOf(a.mantissa) - 38 - 1 - zeros;
      parts.exponent = clip(place + random.below(2));
    } else if (relation == 4) {
      parts.mantissa = 1 + random.next() % 256;
      parts.exponent = -random.below(3);
    } else {
      parts.mantissa = random.mantissa(38);
      parts.exponent = clip(a.exponent + random.below(120) - 60);
    }
    parts.negative = random.below(2) == 1;
    return parts;
  }

  Generator random;
  char operation;
  Parts a;
  Parts b;
  int scale = 0;
  Rounding mode = Rounding::Plain;
};

Decimal number(const Parts& parts) {
  return Decimal::fromParts(parts.mantissa, parts.exponent, parts.negative);
}

std::string base64(UInt128 value, std::size_t width) {
  std::string text;
  for (; value != 0 || text.size() < width; value /= 64) {
    text.insert(text.begin(), kAlphabet[static_cast<std::size_t>(value % 64)]);
  }
  return text;
}

std::string encode(const Decimal& value) {
  const Decimal shortest = value.normalized();
  if (shortest.isZero()) return shortest.isNegative() ? "-." : ".";
  return (shortest.isNegative() ? "-" : "") + base64(shortest.mantissa(), 1) +
         base64(static_cast<unsigned>(shortest.exponent() + 128), 2);
}

std::string compare(const Decimal& a, const Decimal& b) {
  const auto order = a <=> b;
  if ((order == 0) != (a == b)) return "== and <=> disagree";
  if (order == 0) return a.hash() == b.hash() ? "=" : "hashes differ";
  return order < 0 ? "<" : ">";
}

std::string answer(const Case& test) {
  const Decimal a = number(test.a);
  const Decimal b = number(test.b);
  try {
    switch (test.operation) {
      case '+':
        return encode(a + b);
      case '-':
        return encode(a - b);
      case '*':
        return encode(a * b);
      case '/':
        return encode(a / b);
      case 'r':
        return encode(a.rounded(test.scale, test.mode));
      default:
        return compare(a, b);
    }
  } catch (const DecimalError& error) {
    constexpr std::string_view kKinds[] = {"!O", "!U", "!Z"};
    return std::string(kKinds[static_cast<std::size_t>(error.kind())]);
  }
}

TEST(DecimalOracle, AgreesWithAnIndependentImplementation) {
  std::ifstream file(BOKFOLIO_SOURCE_DIR "/tests/platform/decimal_oracle.txt");
  ASSERT_TRUE(file) << "decimal_oracle.txt is missing";
  int index = 0;
  int failures = 0;
  for (std::string expected; std::getline(file, expected); ++index) {
    const Case test(index);
    const std::string actual = answer(test);
    if (actual == expected) continue;
    ADD_FAILURE() << "line " << index + 1 << ": " << number(test.a).toString() << " "
                  << test.operation << " " << number(test.b).toString() << " (scale " << test.scale
                  << ", mode " << static_cast<int>(test.mode) << ") gave " << actual << ", not "
                  << expected;
    if (++failures == 10) break;
  }
  EXPECT_TRUE(failures > 0 || index == kCases) << "only " << index << " answers";
}

}  // namespace
}  // namespace bokfolio
