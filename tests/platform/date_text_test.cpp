#include "bokfolio/platform/date_text.hpp"

#include <gtest/gtest.h>

#include "tests/world/world.hpp"

namespace bokfolio {
namespace {

using test::cetDate;

TEST(DateText, IsoDaysAreAsciiAndPadded) {
  const TimeZone cet = TimeZone::cet();
  EXPECT_EQ(isoDay(cetDate(2009, 3, 31, 0, 30), cet), "2009-03-31");
  EXPECT_EQ(isoDay(cetDate(2009, 3, 31, 0, 30), TimeZone::utc()), "2009-03-30");
  EXPECT_EQ(isoDay(Date::distantPast(), TimeZone::utc()), "0001-01-01");
  EXPECT_EQ(isoDay(CivilDate{12009, 3, 1}), "12009-03-01");
  EXPECT_EQ(isoDay(CivilDate{-44, 3, 15}), "-0044-03-15");
}

TEST(DateText, ShortDatesFollowTheLocale) {
  struct Case {
    const char* locale;
    const char* expected;
  };
  for (const auto& [locale, expected] :
       {Case{"sv_SE", "2009-03-31"}, Case{"en_US", "3/31/09"}, Case{"en_GB", "31/03/2009"},
        Case{"nb_NO", "31.03.2009"}, Case{"de_CH", "31.03.09"}, Case{"fi_FI", "31.3.2009"},
        Case{"C", "2009-03-31"}, Case{"", "2009-03-31"}}) {
    EXPECT_EQ(shortDate(cetDate(2009, 3, 31, 0, 30), Locale(locale), TimeZone::cet()), expected)
        << locale;
  }
  EXPECT_EQ(shortDate(cetDate(1500, 3, 1), Locale("en_GB"), TimeZone::cet()), "01/03/1500");
}

TEST(DateText, ReadsIsoFirstThenTheShortStyleStrictly) {
  struct Case {
    const char* locale;
    const char* text;
    CivilDate expected;
  };
  constexpr CivilDate kDay{2009, 3, 31};
  const Case cases[] = {
      {"sv_SE", "2009-03-31", kDay},
      {"en_US", "2009-03-31", kDay},
      {"C", "2009-03-31", kDay},
      {"en_US", "3/31/09", kDay},
      {"en_US", "3/31/2009", kDay},
      {"nb_NO", "31.03.2009", kDay},
      {"nb_NO", "31.3.2009", kDay},
      {"de_CH", "31.03.09", kDay},
      {"sv_SE", "09-03-31", kDay},
      {"en_US", "3/31/68", CivilDate{2068, 3, 31}},
      {"en_US", "3/31/69", CivilDate{1969, 3, 31}},
      {"sv_SE", "2008-02-29", CivilDate{2008, 2, 29}},
      {"sk_SK", "31. 3. 2009", kDay},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(parseDay(c.text, Locale(c.locale)), c.expected) << c.locale << " \"" << c.text << '"';
  }
  const std::pair<const char*, std::vector<const char*>> refused[] = {
      {"sv_SE",
       {"2009-02-29", "2009-02-30", "2009-13-01", "0000-01-01", "20090331", " 2009-03-31",
        "2009-03-31 ", "2009-03-31T10:00", "31/03/2009", "2009-3x-31"}},
      {"en_US", {"31/3/09", "2/30/09", "3/31/09 x", "3/ 31/09", " 3/31/09", "", "\xFF\xFE"}},
      {"nb_NO", {"3/31/09"}},
      {"C", {"3/31/09"}},
  };
  for (const auto& [locale, texts] : refused)
    for (const char* text : texts) EXPECT_FALSE(parseDay(text, Locale(locale))) << text;
  EXPECT_FALSE(parseDay(std::string(100'000, '1'), Locale("en_US")));
}

TEST(DateText, WhatIsWrittenIsReadAgain) {
  for (const char* name : {"sv_SE", "en_US", "nb_NO", "de_CH", "fi_FI", "fr_FR"}) {
    const Locale locale(name);
    for (Date instant = cetDate(1969, 1, 1, 12); instant < cetDate(2068, 12, 1);
         instant = addingDays(instant, 97, TimeZone::cet())) {
      const CivilDate day = civilDate(instant, TimeZone::cet());
      ASSERT_EQ(parseDay(isoDay(day), locale), day) << name;
      ASSERT_EQ(parseDay(shortDate(instant, locale, TimeZone::cet()), locale), day) << name;
    }
  }
}

}  // namespace
}  // namespace bokfolio
