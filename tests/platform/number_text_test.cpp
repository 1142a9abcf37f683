#include "bokfolio/platform/number_text.hpp"

#include <gtest/gtest.h>

namespace bokfolio {
namespace {

struct Case {
  const char* value;
  const char* locale;
  const char* description;
  const char* amount;
};

TEST(NumberText, FollowsTheLocaleToTheLastDigit) {
  constexpr const char* kLong = "1234567890123456789012345678901234567.8";
  const Case cases[] = {
      {"-1234.50", "sv_SE", "−1234,5", "−1\u00A0234,50"},
      {"-1234.50", "en_US", "-1234.5", "-1,234.50"},
      {"1234.5678", "nb_NO", "1234,5678", "1\u00A0234,5678"},
      {"1234.5", "de_CH", "1234.5", "1’234.50"},
      {"1234.5", "C", "1234.5", "1,234.50"},
      {"0", "sv_SE", "0", "0,00"},
      {"1E-6", "sv_SE", "0,000001", "0,000001"},
      {"1E+6", "en_US", "1000000", "1,000,000.00"},
      {"200.00", "en_US", "200", "200.00"},
      {"0.005", "en_US", "0.005", "0.005"},
      {kLong, "en_US", kLong, "1,234,567,890,123,456,789,012,345,678,901,234,567.80"},
  };
  for (const Case& c : cases) {
    const Decimal value = Decimal::parse(c.value).value();
    EXPECT_EQ(decimalDescription(value, Locale(c.locale)), c.description) << c.value << c.locale;
    EXPECT_EQ(amountText(value, Locale(c.locale)), c.amount) << c.value << c.locale;
  }
}

}  // namespace
}  // namespace bokfolio
