#include "bokfolio/model/invoicing/allowance.hpp"

#include <gtest/gtest.h>

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class AllowanceTest : public LedgerWorld {
 protected:
  void useLocale(const std::string& locale) {
    world.useLocale(locale);
    open();
  }
  Allowance* parsed(const std::optional<std::string>& text,
                    const std::optional<std::string>& currency = "SEK") {
    return Allowance::createAllowanceFromString(text, currency, context());
  }
  Allowance* rebate(const char* value, bool absolute) {
    auto* made = context().insert<Allowance>();
    made->setValue(dec(value));
    made->setAbsolute(absolute);
    return made;
  }
};

constexpr const char* kEverywhere[] = {"en_US", "en_GB", "sv_SE", "de_CH", "nb_NO", "ar_EG", "C"};

TEST_F(AllowanceTest, PercentagesAreTypedTheSameEverywhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"10%", "10"},
      {"10 %", "10"},
      {"12.5%", "12.5"},
      {" 12.5 % ", "12.5"},
      {"10\u00A0%", "10"},
      {"-5%", "-5"},
      {".5%", "0.5"},
      {"100%", "100"},
      {"0%", "0"},
      {"10\u202F%", "10"},
      {"0.07%", "0.06999999999999999"},
  };
  for (const char* locale : kEverywhere) {
    useLocale(locale);
    for (const auto& [typed, value] : cases) {
      const Allowance* made = parsed(typed);
      ASSERT_NE(made, nullptr) << locale << typed;
      EXPECT_EQ(made->value(), dec(value)) << locale << typed;
      EXPECT_FALSE(made->absolute());
    }
    for (const char* none : {"10,5%", "10  %", "10%%", "%", "% 10", "10% off", "1e3%"})
      EXPECT_EQ(parsed(none), nullptr) << locale << none;
  }
}

TEST_F(AllowanceTest, AmountsAreTypedAsInTheCountry) {
  struct Case {
    const char* locale;
    const char* currency;
    const char* typed;
    const char* value;  // nullptr: no rebate
  };
  const Case cases[] = {
      {"en_US", "SEK", "50", "50"},
      {"en_US", "SEK", "SEK 20", "20"},
      {"en_US", "SEK", "SEK20.50", "20.5"},
      {"en_US", "USD", "$20", "20"},
      {"en_US", "USD", "USD$ 20", "20"},
      {"en_US", "EUR", "€\u00A05", "5"},
      {"en_US", "EUR", "5€", nullptr},  // behind, only the locale's own
      {"en_US", "EUR", "USD 5", nullptr},
      {"en_US", "SEK", "sek 20", nullptr},
      {"en_GB", "SEK", "£20", "20"},  // the locale's own, whatever the currency
      {"sv_SE", "SEK", "kr 50", "50"},
      {"sv_SE", "SEK", "50 kr", "50"},
      {"sv_SE", "SEK", "SEK 1 234,50 kr", "1234.5"},
      {"sv_SE", "USD", "kr 20,5", "20.5"},
      {"sv_SE", "SEK", "-50", "-50"},
      {"sv_SE", "SEK", "kr 50 kr", nullptr},
      {"sv_SE", "SEK", "SEK SEK 50", nullptr},
      {"de_CH", "CHF", "CHF 1’234.50", "1234.5"},
      {"nb_NO", "NOK", "kr 50,25", "50.25"},
      {"ar_EG", "EGP", "٥٠٫٥ ج.م.", "50.5"},
      {"sv_SE", "SEK", "12345678901234567890123456789012345,678",
       "12345678901234567890123456789012345.678"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + ' ' + c.currency + ' ' + c.typed);
    useLocale(c.locale);
    const Allowance* made = parsed(c.typed, c.currency);
    EXPECT_EQ(context().count("Allowance"), c.value == nullptr ? 0U : 1U);
    ASSERT_EQ(made != nullptr, c.value != nullptr);
    if (made == nullptr) continue;
    EXPECT_EQ(made->value(), dec(c.value));
    EXPECT_TRUE(made->absolute());
    EXPECT_EQ(made->invoice(), nullptr);
  }
  EXPECT_EQ(parsed(std::nullopt), nullptr);
  EXPECT_EQ(parsed("SEK 50", std::nullopt), nullptr);
  EXPECT_NE(parsed("50", std::nullopt), nullptr);
}

TEST_F(AllowanceTest, WhatIsShownCanBeTypedBack) {
  const std::pair<const char*, const char*> homes[] = {{"en_US", "USD"}, {"en_GB", "GBP"},
                                                       {"sv_SE", "SEK"}, {"de_CH", "CHF"},
                                                       {"nb_NO", "NOK"}, {"ar_EG", "EGP"}};
  for (const auto& [locale, currency] : homes) {
    useLocale(locale);
    auto* invoice = context().insert<Invoice>();
    invoice->setCurrency(currency);
    for (const auto& [value, absolute] : {std::pair("1234.5", true), std::pair("12", false)}) {
      Allowance* shown = rebate(value, absolute);
      shown->setInvoice(invoice);
      const Allowance* again = parsed(shown->description(), currency);
      ASSERT_NE(again, nullptr) << shown->description();
      EXPECT_EQ(again->value(), dec(value)) << shown->description();
      EXPECT_EQ(again->absolute(), absolute);
    }
  }
}

TEST_F(AllowanceTest, ShowsAmountsInTheInvoicesCurrency) {
  struct Case {
    const char* locale;
    const char* currency;
    const char* value;
    const char* shown;
  };
  const Case cases[] = {
      {"sv_SE", "SEK", "50", "50,00\u00A0kr"},
      {"nb_NO", "NOK", "50", "50,00 kr"},  // written "kr 50,00" there
      {"nb_NO", "NOK", "-1234.5", "−1\u00A0234,50 kr"},
      {"en_US", "SEK", "50", "SEK\u00A050.00"},
      {"en_US", "USD", "0.005", "$0.00"},
      {"ar_EG", "EGP", "50", "\u200F٥٠٫٠٠\u00A0ج.م.\u200F"},
  };
  for (const Case& c : cases) {
    useLocale(c.locale);
    auto* invoice = context().insert<Invoice>();
    invoice->setCurrency(c.currency);
    Allowance* whole = rebate(c.value, true);
    whole->setInvoice(invoice);
    EXPECT_EQ(whole->description(), c.shown);
    EXPECT_EQ(whole->valueForKey("formattedValue"), Value(dec(c.value)));

    auto* line = context().insert<InvoiceLine>();
    Allowance* ofLine = rebate(c.value, true);
    line->setAllowance(ofLine);
    line->setInvoice(invoice);
    EXPECT_EQ(ofLine->valueForKey("description"), Value(c.shown));
  }
  useLocale("sv_SE");
  EXPECT_EQ(rebate("50", true)->description(), "50,00\u00A0kr") << "belongs to nothing";
  EXPECT_EQ(context().insert<Allowance>()->description(), "0\u00A0%");
}

TEST_F(AllowanceTest, ShowsPercentagesInTheStyleOfTheLocale) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"sv_SE", "10", "10\u00A0%"}, {"en_US", "10", "10%"},       {"en_US", "12.5", "12%"},
      {"en_US", "13.5", "14%"},     {"sv_SE", "-5", "−5\u00A0%"},
  };
  for (const auto& [locale, value, shown] : cases) {
    useLocale(locale);
    const Allowance* made = rebate(value, false);
    EXPECT_EQ(made->description(), shown);
    EXPECT_EQ(made->valueForKey("formattedValue"), Value(shown));
  }
}

TEST_F(AllowanceTest, LowersAmounts) {
  const std::tuple<const char*, bool, const char*, const char*> cases[] = {
      {"10", false, "200", "-20"},
      {"50", true, "200", "-50"},
      {"50", true, "0", "-50"},
      {"12.5", false, "0.01", "-0.00125"},
      {"10", false, "-200", "20"},
      {"-5", true, "7", "5"},
      {"0.1", false, "12345678901234567890123456789012345",
       "-12345678901234567890123456789012.345"},
  };
  for (const auto& [value, absolute, amount, expected] : cases) {
    const Allowance* made = rebate(value, absolute);
    EXPECT_EQ(made->amountOnDecimal(dec(amount)), dec(expected)) << value << amount;
    EXPECT_DOUBLE_EQ(made->calculateAllowanceOn(dec(amount).toDouble()), dec(expected).toDouble());
  }
  // The order of the binary products shows in the last bit.
  EXPECT_EQ(rebate("7", false)->calculateAllowanceOn(3.3), -7.0 * 0.01 * 3.3);
  EXPECT_EQ(context().insert<Allowance>()->amountOnDecimal(100), Decimal());
  EXPECT_THROW(rebate("1E+127", false)->amountOnDecimal(dec("1E+127")), DecimalError);
}

}  // namespace
}  // namespace bokfolio::test
