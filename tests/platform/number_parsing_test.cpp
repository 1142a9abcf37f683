#include "bokfolio/platform/number_parsing.hpp"

#include <gtest/gtest.h>

#include "bokfolio/platform/currency_text.hpp"
#include "bokfolio/platform/text_order.hpp"

namespace bokfolio {
namespace {

// nullptr: not a number. `digits` is what parsing yields, as plain text.
struct Case {
  const char* locale;
  const char* text;
  const char* digits;
};

void expectAmounts(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " \"" + c.text + '"');
    const auto amount = parseAmount(c.text, Locale(c.locale));
    EXPECT_EQ(amount ? amount->toString() : "none", c.digits == nullptr ? "none" : c.digits);
  }
}

TEST(NumberParsing, ReadsAmountsByTheLocale) {
  expectAmounts({
      {"en_US", "$ 1,234.50", "1234.5"},
      {"en_US", "50.5$", "50.5"},
      {"en_GB", "£-0.07", "-0.07"},
      {"sv_SE", "1 234,50 kr", "1234.5"},
      {"sv_SE", "\u00A01\u00A0234,50\u00A0kr\u00A0", "1234.5"},
      {"sv_SE", "kr\t50", "50"},
      {"sv_SE", "−50,00 kr", "-50"},
      {"de_CH", "1'234.50", "1234.5"},
      {"ar_EG", "\u200F١٬٢٣٤٫٥٠\u00A0ج.م.\u200F", "1234.5"},
      {"ar_EG", "50 ج.م.", "50"},
      {"sv_SE", "12345678901234567890123456789012345,678",
       "12345678901234567890123456789012345.678"},
  });
}

TEST(NumberParsing, TakesNothingForHalfANumber) {
  expectAmounts({
      {"sv_SE", "50.00", nullptr},  // 5000 to a lenient reader
      {"en_US", "50,00", nullptr},
      {"de_CH", "50,5", nullptr},
      {"ar_EG", "50.5", nullptr},
      {"en_US", "1,50", nullptr},
      {"sv_SE", "10%", nullptr},
      {"sv_SE", "5-", nullptr},
      {"sv_SE", "1e3", nullptr},
      {"en_US", "1E3", nullptr},
      {"en_US", "NaN", nullptr},
      {"en_US", "∞", nullptr},
      {"sv_SE", "kr", nullptr},
      {"sv_SE", "", nullptr},
      {"en_US", "\xFF", nullptr},
      {"en_US", "123456789012345678901234567890123456789", nullptr},
  });
}

TEST(NumberParsing, ScansTheNumberAtTheBeginning) {
  const std::tuple<const char*, const char*, std::optional<double>> cases[] = {
      {"sv_SE", "2,5 %", 2.5},       {"sv_SE", "2.5", 2.0},       {"en_US", " \u00A0 2.5x", 2.5},
      {"en_US", "1,000", 1.0},       {"ar_EG", "٢٫٥ ", 2.5},      {"en_US", "-3", -3.0},
      {"en_US", "x2", std::nullopt}, {"en_US", "", std::nullopt}, {"en_US", "NaN", std::nullopt},
  };
  for (const auto& [locale, text, expected] : cases)
    EXPECT_EQ(scanNumber(text, Locale(locale)), expected) << locale << ' ' << text;
}

TEST(CurrencyText, FollowsLocaleAndCurrency) {
  const std::tuple<const char*, const char*, std::optional<std::string>, const char*> cases[] = {
      {"sv_SE", "1234.5", "SEK", "1\u00A0234,50\u00A0kr"},
      {"en_US", "-50", "SEK", "-SEK\u00A050.00"},
      {"nb_NO", "50", std::nullopt, "kr\u00A050,00"},
      {"en_US", "0.125", "USD", "$0.12"},
      {"ja_JP", "50", "JPY", "￥50"},
      {"en_US", "12345678901234567890123456789012345.678", "USD",
       "$12,345,678,901,234,567,890,123,456,789,012,345.68"},
      {"en_US", "1234.5", "US", "1,234.50"},
      {"C", "5", std::nullopt, "5.00"},
  };
  for (const auto& [locale, value, code, expected] : cases)
    EXPECT_EQ(currencyText(Decimal::parse(value).value(), code, Locale(locale)), expected);
  EXPECT_EQ(percentText(0.1, Locale("sv_SE")), "10\u00A0%");
  EXPECT_EQ(percentText(-0.125, Locale("en_US")), "-12%");
}

TEST(TextOrder, TakesRunsOfDigitsByTheirValue) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"9", "10", -1}, {"007", "7", 0}, {"a9", "A10", -1}, {"99999999999999999999", "1", 1},
      {"", "0", -1},   {"B", "a1", 1},  {"٩", "10", -1},
  };
  for (const auto& [a, b, expected] : cases) {
    EXPECT_EQ(compareNumerically(a, b, Locale("en_US")), expected) << a << ' ' << b;
    EXPECT_EQ(compareNumerically(b, a, Locale("en_US")), -expected) << a << ' ' << b;
  }
  EXPECT_EQ(compareNumerically("z", "å", Locale("sv_SE")), -1);
  EXPECT_EQ(compareNumerically("z", "å", Locale("en_US")), 1);
}

}  // namespace
}  // namespace bokfolio
