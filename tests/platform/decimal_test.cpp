// Decimal's promises as tables (each rounding rule, each limit, texts, conversions), and properties
// over random values. Arithmetic at large is compared in decimal_oracle_test.cpp.
#include "bokfolio/platform/decimal.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace bokfolio {
namespace {

const std::string kNines(38, '9');
constexpr auto kMaxInteger = std::numeric_limits<std::int64_t>::max();
constexpr auto kMinInteger = std::numeric_limits<std::int64_t>::min();

std::string zeros(std::string_view before, std::size_t count, std::string_view after = "") {
  std::string text(before);
  text.append(count, '0').append(after);
  return text;
}

Decimal dec(std::string_view text) {
  const auto value = Decimal::parse(text);
  if (!value) ADD_FAILURE() << "not a decimal: " << text;
  return value.value_or(Decimal());
}

// The text of a result, or the name of the error.
template <typename Compute>
std::string outcome(Compute compute) {
  try {
    return compute().toString();
  } catch (const DecimalError& error) {
    switch (error.kind()) {
      case DecimalError::Kind::Overflow:
        return "overflow";
      case DecimalError::Kind::Underflow:
        return "underflow";
      case DecimalError::Kind::DivisionByZero:
        return "division by zero";
    }
  }
  return "?";
}

std::string calculate(std::string_view a, char operation, std::string_view b) {
  return outcome([&] {
    const Decimal x = dec(a);
    const Decimal y = dec(b);
    if (operation == '+') return x + y;
    if (operation == '-') return x - y;
    return operation == '*' ? x * y : x / y;
  });
}

// Any parts within the limits; small amounts as often as anything else.
Decimal randomDecimal(std::mt19937_64& random) {
  UInt128 limit = 1;
  for (auto digits = random() % 39; digits > 0; --digits) limit *= 10;
  const UInt128 mantissa = ((static_cast<UInt128>(random()) << 64) | random()) % limit;
  const bool amount = random() % 2 == 0;
  const int exponent = amount ? -static_cast<int>(random() % 9) : static_cast<int>(random() % 256);
  return Decimal::fromParts(mantissa, amount ? exponent : exponent - 128, random() % 2 == 0);
}

std::string plainText(const Decimal& value) {
  if (value.isZero()) return "0";
  std::string text;
  for (UInt128 rest = value.mantissa(); rest != 0; rest /= 10) {
    text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(rest % 10)));
  }
  for (int i = 0; i < value.exponent(); ++i) text += '0';
  if (value.exponent() < 0) {
    const auto scale = static_cast<std::size_t>(-value.exponent());
    if (text.size() <= scale) text.insert(0, scale + 1 - text.size(), '0');
    text.insert(text.size() - scale, 1, '.');
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
  }
  if (value.isNegative()) text.insert(0, 1, '-');
  return text;
}

TEST(Decimal, RoundsToAScaleByEachRule) {
  struct Row {
    const char* value;
    int scale;
    const char *plain, *bankers, *up, *down;
  };
  const Row rows[] = {
      {"12.5", 0, "13", "12", "13", "12"},
      {"0.5", 0, "1", "0", "1", "0"},
      {"0.05", 0, "0", "0", "1", "0"},
      {"2.3450", 2, "2.35", "2.34", "2.35", "2.34"},
      {"1250", -2, "1300", "1200", "1300", "1200"},
      {"7", -3, "0", "0", "1000", "0"},
      {"1e-128", 3, "0", "0", "0.001", "0"},
      {"5e37", -38, "1e38", "0", "1e38", "0"},
      {"1", 1000000, "1", "1", "1", "1"},
  };
  for (const Row& row : rows) {
    const Decimal value = dec(row.value);
    const auto expect = [&](Rounding rule, const char* wanted, Rounding mirrored) {
      EXPECT_EQ(value.rounded(row.scale, rule), dec(wanted)) << row.value << " to " << row.scale;
      EXPECT_EQ((-value).rounded(row.scale, mirrored), -dec(wanted)) << '-' << row.value;
    };
    expect(Rounding::Plain, row.plain, Rounding::Plain);
    expect(Rounding::Bankers, row.bankers, Rounding::Bankers);
    expect(Rounding::Up, row.up, Rounding::Down);
    expect(Rounding::Down, row.down, Rounding::Up);
  }
  EXPECT_EQ(outcome([] { return Decimal(1).rounded(-170, Rounding::Up); }), "overflow");
  EXPECT_EQ(outcome([] { return Decimal(1).rounded(kMinInteger / (1LL << 32), Rounding::Plain); }),
            "0");
}

TEST(Decimal, KeepsItsLimits) {
  struct Row {
    std::string a;
    char operation;
    std::string b, result;
  };
  const Row rows[] = {
      // Results that fit are exact, at the edges of the quick paths too.
      {"9223372036854775807", '+', "1", "9223372036854775808"},
      {"-9223372036854775808", '*', "-9223372036854775808",
       "85070591730234615865843651857942052864"},
      {"42535295865117307932921825928971026431", '+', "42535295865117307932921825928971026431",
       "85070591730234615865843651857942052862"},
      // More than 38 digits are rounded once, half away from zero.
      {kNines, '+', "0.5", zeros("1", 38)},
      {kNines, '+', "0.49999999999999999999999999999999999999", kNines},
      {"10000000000000000000000000000000000005e1", '-', "1e-100",
       "100000000000000000000000000000000000050"},
      {"20000000000000000000000000000000000001", '/', "2",
       "10000000000000000000000000000000000001"},
      {"2", '/', "3", "0." + std::string(37, '6') + "7"},
      {"1", '/', "36028797018963968", zeros("0.", 16, "27755575615628913510590791702270507813")},
      // Zeros move between mantissa and exponent before anything is out of range.
      {"1e127", '*', "1e37", zeros("1", 164)},
      {"1e127", '*', "1e38", "overflow"},
      {kNines + "e127", '+', "5e126", "overflow"},
      {kNines + "e127", '+', "4e126", zeros(kNines, 127)},
      {"1e-100", '*', "1e-29", "underflow"},
      {"1e-100", '/', "3", "underflow"},
      {"1", '/', "0.00", "division by zero"},
      {"0", '/', "-3e127", "0"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(calculate(row.a, row.operation, row.b), row.result)
        << row.a << ' ' << row.operation << ' ' << row.b;
  }
  const UInt128 limit = dec(kNines).mantissa() + 1;
  const auto parts = [](UInt128 mantissa, int exponent) {
    return outcome([&] { return Decimal::fromParts(mantissa, exponent, true); });
  };
  EXPECT_EQ(parts(limit * 3, -39), "-0.3");
  EXPECT_EQ(parts(limit + 1, 0), "overflow");
  EXPECT_EQ(parts(1, std::numeric_limits<int>::max()), "overflow");
  EXPECT_EQ(parts(10, std::numeric_limits<int>::min()), "underflow");
  EXPECT_EQ(parts(0, std::numeric_limits<int>::min()), "0");
  EXPECT_FALSE(Decimal::fromParts(0, 0, true).isNegative());
  EXPECT_EQ(outcome([] { return dec("1.5").scaledByPowerOf10(-127); }), zeros("0.", 126, "15"));
  EXPECT_EQ(outcome([] { return dec("1.5").scaledByPowerOf10(-128); }), "underflow");
  EXPECT_EQ(outcome([] { return dec("7").scaledByPowerOf10(kMaxInteger >> 32); }), "overflow");
}

TEST(Decimal, ReadsWholeTexts) {
  const std::pair<std::string, const char*> good[] = {
      {"0", "0"},
      {"-0.00", "0"},
      {"+1.50", "1.5"},
      {"-.5", "-0.5"},
      {"5.", "5"},
      {"007", "7"},
      {"1E-6", "0.000001"},
      {"1.25e+3", "1250"},
      {"-12345678.9", "-12345678.9"},
      {"9999999999999999999", "9999999999999999999"},
      {"12345678901234567890", "12345678901234567890"},
      {"0.12345678901234567890123456789012345678", "0.12345678901234567890123456789012345678"},
      {"1234567890123456789.0123456789012345678000", "1234567890123456789.0123456789012345678"},
      {zeros("1", 40, ".000"), "10000000000000000000000000000000000000000"},
      {"0e99999999999999999999", "0"},
      {zeros(zeros("", 5000, "3"), 5000, "e-5000"), "3"},
  };
  for (const auto& [text, printed] : good) EXPECT_EQ(dec(text).toString(), printed) << text;
  for (const char* text : {"",
                           " 1",
                           "1 ",
                           "-",
                           "+-1",
                           ".",
                           "-.",
                           "1,5",
                           "1.2.3",
                           "abc",
                           "1e",
                           "1e+",
                           "e5",
                           "1e5.0",
                           "0x1",
                           "1_000",
                           "NaN",
                           "inf",
                           "1e166",
                           "1e-129",
                           "--1",
                           "1e99999",
                           "\u00A01",
                           "12345678901234567890123456789012345678.9",
                           "1e-99999999999999999999"})
    EXPECT_FALSE(Decimal::parse(text)) << text;
  for (const std::string& text : {kNines + "9", zeros("1.", 40, "1"), std::string("1\0", 2)})
    EXPECT_FALSE(Decimal::parse(text)) << text;
}

TEST(Decimal, ReadsTheNumberAtTheStart) {
  const std::pair<std::string, const char*> rows[] = {
      {" \t\r\n-250.50", "-250.5"},
      {"8000 kr", "8000"},
      {"1.2.3", "1.2"},
      {"12e", "12"},
      {"12e+x", "12"},
      {"1e2e3", "100"},
      {"-.5x", "-0.5"},
      {".", "0"},
      {"- 5", "0"},
      {"kr 5", "0"},
      {"", "0"},
      {"   ", "0"},
      {kNines + ".5", "100000000000000000000000000000000000000"},
      {"-0.123456789012345678901234567890123456785", "-0.12345678901234567890123456789012345679"},
      {"0.1234567890123456789012345678901234567849", "0.12345678901234567890123456789012345678"},
      {"1e400", "0"},
      {"1e-400", "0"},
  };
  for (const auto& [text, printed] : rows) {
    EXPECT_EQ(Decimal::parsePrefix(text).toString(), printed) << text;
  }
}

TEST(Decimal, ConvertsIntegersAndDoubles) {
  EXPECT_EQ(Decimal(kMinInteger).toString(), "-9223372036854775808");
  EXPECT_EQ(Decimal(~std::uint64_t{0}).toString(), "18446744073709551615");
  EXPECT_EQ((Decimal(std::int8_t{-128}) + true).toString(), "-127");

  const std::pair<const char*, std::optional<std::int64_t>> integers[] = {
      {"-1.99", -1},
      {"0.99e-90", 0},
      {"12e2", 1200},
      {"9223372036854775807.9", kMaxInteger},
      {"1e20", {}},
      {"34028236692093846346337460743176821146e1", {}},
      {"-9223372036854775808.9", kMinInteger},
      {"1e127", {}},
      {"9223372036854775808", {}},
      {"0e99", 0},
      {"-9223372036854775809", {}},
      {"1.5e18", 1500000000000000000},
  };
  for (const auto& [text, value] : integers) EXPECT_EQ(dec(text).toInteger(), value) << text;

  const std::pair<const char*, double> doubles[] = {
      {"0.1", 0.1},
      {"-1234.56", -1234.56},
      {"9007199254740993", 9007199254740992.0},                         // half-way: to even
      {"9007199254740993.0000000000000000000001", 9007199254740994.0},  // just above
      {"123456789012345678901234567890e-25", 12345.678901234567},
      {"9007199254740991e22", 9007199254740991e22},
      {"1e23", 1e23},
      {"900719925474099.5", 900719925474099.5},
      {"90071992547409.93", 90071992547409.93},
      {"1e-128", 1e-128},
      {"99999999999999999999999999999999999999e127", 1e165},
  };
  for (const auto& [text, value] : doubles) EXPECT_EQ(dec(text).toDouble(), value) << text;
  EXPECT_FALSE(std::signbit(dec("-0").toDouble()));

  const std::pair<double, const char*> shortest[] = {{0.1, "0.1"},
                                                     {-0.0, "0"},
                                                     {1e22, "10000000000000000000000"},
                                                     {-2.5e-7, "-0.00000025"},
                                                     {0.1 + 0.2, "0.30000000000000004"}};
  for (const auto& [value, text] : shortest) {
    EXPECT_EQ(Decimal::fromDouble(value), dec(text)) << text;
  }
  using Limits = std::numeric_limits<double>;
  for (const double value : {Limits::quiet_NaN(), -Limits::infinity(), 1e200, 5e-324}) {
    EXPECT_FALSE(Decimal::fromDouble(value)) << value;
  }
}

TEST(Decimal, TextOrderAndHashGoByValue) {
  std::mt19937_64 random(20240229);
  for (int i = 0; i < 20'000; ++i) {
    const Decimal a = randomDecimal(random);
    const Decimal b = i % 4 == 0 ? a.normalized() : randomDecimal(random);
    const std::string text = a.toString();
    ASSERT_EQ(text, plainText(a));
    ASSERT_LE(text.size(), Decimal::kMaxTextLength);
    ASSERT_EQ(Decimal::parse(text), a) << text;
    ASSERT_EQ(Decimal::parsePrefix(text), a) << text;
    ASSERT_EQ(a == b, text == b.toString()) << text << ' ' << b.toString();
    ASSERT_TRUE(a != b || a.hash() == b.hash()) << text;
    const std::string difference = outcome([&] { return a - b; });
    ASSERT_EQ(a < b, difference.front() == '-') << text << ' ' << b.toString();
    ASSERT_EQ(a == b, difference == "0") << text << ' ' << b.toString();
  }
}

}  // namespace
}  // namespace bokfolio
