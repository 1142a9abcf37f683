#include "bokfolio/platform/localization.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bokfolio/platform/internal/text_table.hpp"

namespace bokfolio {
namespace {

using testing::ElementsAre;

TEST(Localization, FormatsAreFilledAndHostileOnesAreHarmless) {
  struct Case {
    const char* format;
    const char* expected;
  };
  const std::vector<std::string> arguments = {"A", "B%@", "C"};
  for (const auto& [format, expected] :
       {Case{"", ""}, Case{"plain", "plain"}, Case{"%@ by %@", "A by B%@"},
        Case{"%2$@, %1$@", "B%@, A"}, Case{"%2$@ %@ %@", "B%@ A B%@"}, Case{"100%% %@", "100% A"},
        Case{"%@%@%@%@|%9$@|", "AB%@C||"}, Case{"%", "%"}, Case{"%1", "%1"}, Case{"%1$", "%1$"},
        Case{"%0$@", "%0$@"}, Case{"%99999999999999999999$@", "%99999999999999999999$@"},
        Case{"%s %n %d %@", "%s %n %d A"}, Case{"%-1$@", "%-1$@"}, Case{"%%@", "%@"},
        Case{"%%%@", "%A"}, Case{"å%@ö", "åAö"}}) {
    EXPECT_EQ(fillFormat(format, arguments), expected) << format;
  }
  EXPECT_EQ(fillFormat("%@-%1$@", {}), "-");
}

TEST(Localization, TablesKeepTheirGoodLinesAndReportTheOthers) {
  const TextTable table = parseTextTable(
      "# comment\n\r\n  \"a\" = \"one\"  \r\n\"q\\\"\\\\\" = \"\\t\\n\"\n\"a\" = "
      "\"two\"\nnonsense\n"
      "\"b\" \"x\"\n\"c\" = x\n\"d\" = \"open\n\"e\" = \"x\" y\n\"\" = \"x\"\n\"f\" = \"\\z\"\n"
      "\"g\" = \"\xFF\"\n\"h\" = \"last\"");
  EXPECT_THAT(table.texts, ElementsAre(std::pair("a", "one"), std::pair("h", "last"),
                                       std::pair("q\"\\", "\t\n")));
  EXPECT_EQ(table.problems.size(), 9U);
  EXPECT_EQ(table.problems.front(), "line 5: the key occurs a second time");
  EXPECT_EQ(table.problems.back(), "line 13: not UTF-8");

  const TextTable huge = parseTextTable(std::string(TextTable::kMaximumBytes + 1, '#'));
  EXPECT_EQ(huge.problems.size(), 1U);
}

TEST(Localization, LooksFromTheSpecialToTheGeneralKeyByKey) {
  const auto resources = std::make_shared<MemoryResources>();
  resources->add("localization/sv_SE/default", "texts", "\"a\" = \"a sv_SE\"\nbad");
  resources->add("localization/sv/default", "texts", "\"a\" = \"a sv\"\n\"b\" = \"b sv\"");
  resources->add("localization/en/default", "texts",
                 "\"a\" = \"a en\"\n\"b\" = \"b en\"\n\"c\" = \"c en\"");
  resources->add("localization/en/invoice", "texts", "\"a\" = \"a of invoice\"");

  struct Case {
    const char* locale;
    std::vector<std::string> expected;
  };
  for (const auto& [locale, expected] :
       {Case{"sv_SE", {"a sv_SE", "b sv", "c en", "d"}},
        Case{"sv-SE.UTF-8", {"a sv_SE", "b sv", "c en", "d"}},
        Case{"sv_FI", {"a sv", "b sv", "c en", "d"}}, Case{"en_GB", {"a en", "b en", "c en", "d"}},
        Case{"C", {"a en", "b en", "c en", "d"}},
        Case{"../../etc", {"a en", "b en", "c en", "d"}}}) {
    const CatalogLocalizer localizer(resources, Locale(locale));
    std::vector<std::string> texts;
    for (const char* key : {"a", "b", "c", "d"}) texts.push_back(localizer.text(key));
    EXPECT_EQ(texts, expected) << locale;
    EXPECT_EQ(localizer.text("a", "invoice"), "a of invoice");
    EXPECT_EQ(localizer.text("a", "no such table"), "a");
    EXPECT_EQ(localizer.text("a", "../en/default"), "a");
  }
  const CatalogLocalizer localizer(resources, Locale("sv_SE"));
  localizer.text("a");
  EXPECT_THAT(localizer.problems(),
              ElementsAre("localization/sv_SE/default: line 2: no quoted key"));
}

}  // namespace
}  // namespace bokfolio
