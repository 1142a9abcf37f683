#include "bokfolio/platform/postal_address.hpp"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <tuple>

namespace bokfolio {
namespace {

TEST(AttributedTextTest, RunsFollowTheTextWhateverIsInserted) {
  // Beside the runs, a letter per byte that says how it is styled.
  std::mt19937 random(3);
  AttributedText text;
  std::string plain;
  std::string styles;
  EXPECT_THROW(text.attributesAt(0), std::out_of_range);
  for (int i = 0; i < 200; ++i) {
    const std::size_t position = random() % (plain.size() + 1);
    const std::string piece(random() % 4, static_cast<char>('a' + i % 26));
    const char style = static_cast<char>('0' + random() % 3);
    text.insert(position, piece, {{"style", std::string(1, style)}});
    plain.insert(position, piece);
    styles.insert(position, std::string(piece.size(), style));
    std::string told;
    for (std::size_t at = 0; at < plain.size(); ++at) told += text.attributesAt(at).at("style");
    ASSERT_EQ(text.text(), plain);
    ASSERT_EQ(told, styles);
  }
  // Equal neighbours are one run.
  std::size_t changes = 1;
  for (std::size_t at = 1; at < styles.size(); ++at) changes += styles[at] != styles[at - 1];
  EXPECT_EQ(text.runs().size(), changes);
  EXPECT_THROW(text.attributesAt(plain.size()), std::out_of_range);
}

TEST(AttributedTextTest, InsertsOnlyBetweenCharacters) {
  AttributedText text("å", {{"style", "x"}});
  EXPECT_THROW(text.insert(1, "b"), std::out_of_range);
  EXPECT_THROW(text.insert(3, "b"), std::out_of_range);
  text.append("b", {{"style", "x"}});
  EXPECT_EQ(text, AttributedText("åb", {{"style", "x"}}));
  EXPECT_NE(text, AttributedText("åb"));
}

TEST(PostalAddressTest, LinesStandInTheOrderOfTheCountry) {
  const std::tuple<const char*, const char*> cases[] = {
      {"SE", "street\nzip city\ncounty\nSweden"},
      {"se", "street\nzip city\ncounty\nSweden"},
      {"DE", "street\nzip city\ncounty\nGermany"},
      {"US", "street\ncity, county zip\nUnited States"},
      {"CA", "street\ncity county  zip\nCanada"},
      {"gb", "street\ncity\ncounty\nzip\nUnited Kingdom"},
      {"uk", "street\ncity\ncounty\nzip\nUnited Kingdom"},
      {"HU", "city\nstreet\nzip\ncounty\nHungary"},
      {"IT", "street\nzip city county\nItaly"},
      {"BR", "street\ncity - county\nzip\nBrazil"},
      {"QX", "street\nzip city\ncounty\nQX"},
  };
  for (const auto& [country, lines] : cases) {
    const PostalAddress address{"street", "zip", "city", "county", country};
    EXPECT_EQ(formatPostalAddress(address, true, Locale("en_US")).text(), lines);
    const std::string whole = lines;
    EXPECT_EQ(formatPostalAddress(address, false, Locale("en_US")).text(),
              whole.substr(0, whole.rfind('\n')));
  }
}

TEST(PostalAddressTest, WhatIsMissingLeavesNoMarks) {
  const std::tuple<PostalAddress, const char*, const char*> cases[] = {
      {{"street", "zip", "city", {}, "US"}, "en_US", "street\ncity zip\nUnited States"},
      {{"street", "zip", {}, "county", "US"}, "sv_SE", "street\ncounty zip\nUSA"},
      {{{}, "zip", "", "county", "BR"}, "en_US", "county\nzip\nBrazil"},
      {{{}, {}, "city", {}, "LV"}, "en_US", "city\nLatvia"},
      {{"a\nb", {}, "city", {}, {}}, "en_US", "a\nb\ncity"},
      {{"street", "zip", "city", "county", {}}, "en_US", "street\ncity, county zip"},
      {{"street", "zip", "city", {}, {}}, "C", "street\nzip city"},
      {{{}, {}, {}, {}, "NO"}, "sv_SE", "Norge"},
      {{{}, {}, {}, {}, ""}, "sv_SE", ""},
      {{}, "sv_SE", ""},
  };
  for (const auto& [address, locale, lines] : cases)
    EXPECT_EQ(formatPostalAddress(address, true, Locale(locale)).text(), lines);
}

TEST(PostalAddressTest, EveryCharacterCarriesTheAttributes) {
  const PostalAddress address{"street", "zip", "city", {}, "SE"};
  const TextAttributes own{{"font", "serif"}};
  const AttributedText block = formatPostalAddress(address, true, Locale("sv_SE"), own);
  EXPECT_EQ(block, AttributedText("street\nzip city\nSverige", own));
  EXPECT_EQ(formatPostalAddress(address, true, Locale("sv_SE")).attributesAt(0),
            postalAddressAttributes());
}

}  // namespace
}  // namespace bokfolio
