#include "bokfolio/address/code_to_name_transformer.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "tests/world/world.hpp"

namespace bokfolio::test {
namespace {

using Text = std::optional<std::string>;

TEST(CodeToName, NamesEveryCodeOfTheListsInTheUsersLanguage) {
  ASSERT_EQ(CountryCodeToNameTransformer::codes().size(), 187U);
  ASSERT_EQ(LanguageCodeToNameTransformer::codes().size(), 69U);
  // A locale with names of a country, a retired country and a language. None has a name for "ira".
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"en_US", "Germany", "Serbia", "Norwegian Bokmål"},
      {"sv_SE", "Tyskland", "Serbien", "Norskt Bokmål"},
      {"de_DE", "Deutschland", "Serbien", "Norwegisch (Bokmål)"},
      {"C", "Germany", "Serbia", "Norwegian Bokmål"},
  };
  for (const auto& [locale, de, yu, nb] : cases) {
    const Environment environment = makeTestEnvironment(locale);
    const CountryCodeToNameTransformer countries(environment);
    const LanguageCodeToNameTransformer languages(environment);
    EXPECT_EQ(countries.transformedValue("DE"), de) << locale;
    EXPECT_EQ(countries.transformedValue("yu"), yu) << locale;
    EXPECT_EQ(languages.transformedValue("nb"), nb) << locale;
    EXPECT_EQ(countries.sortedNames().size(), 187U) << locale;
    EXPECT_EQ(languages.sortedNames().size(), 68U) << locale;
    for (const CodeToNameTransformer* both :
         std::initializer_list<const CodeToNameTransformer*>{&countries, &languages}) {
      const auto& names = both->sortedNames();
      EXPECT_TRUE(std::is_sorted(names.begin(), names.end())) << locale;
      for (const auto& [code, name] : both->lookupDictionary()) {
        EXPECT_EQ(both->reverseTransformedValue(name), code) << locale;
      }
    }
  }
  // Swedish writes languages small and countries in capitals; only the former are changed.
  const CountryCodeToNameTransformer swedish(makeTestEnvironment("sv_SE"));
  EXPECT_EQ(swedish.transformedValue("BA"), "Bosnien och Hercegovina");
  EXPECT_EQ(swedish.sortedNames().back(), "Österrike");
}

TEST(CodeToName, PassesOnWhatItDoesNotKnow) {
  const CountryCodeToNameTransformer countries(makeTestEnvironment("en_US"));
  const std::tuple<Text, Text, Text> cases[] = {
      {"SE", "Sweden", "SE"},
      {"se", "Sweden", "se"},
      {"sE", "Sweden", "sE"},
      {"xx", "Xx", "xx"},
      {"qX", "Qx", "qX"},
      {"RS", "Rs", "RS"},
      {"north SEA", "North Sea", "north SEA"},
      {"", "", ""},
      {"Sweden", "Sweden", "se"},
      {"sweden", "Sweden", "sweden"},
      {std::nullopt, std::nullopt, std::nullopt},
  };
  for (const auto& [value, shown, back] : cases) {
    EXPECT_EQ(countries.transformedValue(value), shown) << value.value_or("nil");
    EXPECT_EQ(countries.reverseTransformedValue(value), back) << value.value_or("nil");
  }
  EXPECT_TRUE(countries.allowsReverseTransformation());
  EXPECT_EQ(countries.transformedValueClass(), typeid(std::string));
  // Turkish has a capital of its own for "i", which is for names and not for codes.
  const LanguageCodeToNameTransformer turkish(makeTestEnvironment("tr_TR"));
  EXPECT_EQ(turkish.transformedValue("it"), "İtalyanca");
  EXPECT_EQ(turkish.transformedValue("ix"), "Ix");
}

TEST(CodeToName, TwoCodesOfOneNameAnswerTheFirst) {
  class Doubled final : public CodeToNameTransformer {
   public:
    Doubled() : CodeToNameTransformer({{"yu", "Serbia"}, {"rs", "Serbia"}, {"se", "Sweden"}}) {}
  };
  const Doubled doubled;
  EXPECT_EQ(doubled.reverseTransformedValue("Serbia"), "rs");
  EXPECT_EQ(doubled.sortedNames(), (std::vector<std::string>{"Serbia", "Serbia", "Sweden"}));
}

TEST(ValueTransformers, AreKnownByTheLatestOfTheirName) {
  const auto english =
      std::make_shared<const CountryCodeToNameTransformer>(makeTestEnvironment("en_US"));
  const auto swedish =
      std::make_shared<const CountryCodeToNameTransformer>(makeTestEnvironment("sv_SE"));
  ValueTransformer::setValueTransformer(english, "TestCountries");
  const auto earlier = ValueTransformer::valueTransformerForName("TestCountries");
  ValueTransformer::setValueTransformer(swedish, "TestCountries");
  EXPECT_EQ(earlier->transformedValue("de"), "Germany");
  EXPECT_EQ(ValueTransformer::valueTransformerForName("TestCountries"), swedish);
  const auto names = ValueTransformer::valueTransformerNames();
  EXPECT_EQ(std::count(names.begin(), names.end(), "TestCountries"), 1);
  ValueTransformer::setValueTransformer(nullptr, "TestCountries");
  EXPECT_EQ(ValueTransformer::valueTransformerForName("TestCountries"), nullptr);
  EXPECT_EQ(ValueTransformer::valueTransformerForName("testcountries"), nullptr);
}

}  // namespace
}  // namespace bokfolio::test
