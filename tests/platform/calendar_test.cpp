#include "bokfolio/platform/calendar.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

#include "tests/world/world.hpp"

namespace bokfolio {
namespace {

using test::cetDate;

constexpr std::int64_t kHour = 3600;

TEST(TimeZone, UnknownNamesAreNoZone) {
  for (const char* name : {"", "Nowhere", "Etc/Unknown", "CET-1CEST", "Europe/Stockholm "}) {
    EXPECT_FALSE(TimeZone::named(name)) << name;
  }
  for (const char* name : {"CET", "UTC", "Europe/Stockholm", "GMT+05:30"}) {
    ASSERT_TRUE(TimeZone::named(name)) << name;
    EXPECT_EQ(TimeZone::named(name)->id(), name);
  }
}

TEST(TimeZone, OffsetsAgreeWithTheEuropeanRuleAcrossTheTableAndBeyond) {
  using namespace std::chrono;
  const auto change = [](int y, month m) {
    return sys_seconds(sys_days(year(y) / m / Sunday[last])).time_since_epoch().count() + kHour;
  };
  const TimeZone cet = TimeZone::cet();
  for (int y = 1996; y < 2120; ++y) {
    const std::int64_t spring = change(y, March);
    const std::int64_t autumn = change(y, October);
    EXPECT_EQ(cet.offsetSeconds(Date::fromSeconds(spring - 1)), kHour) << y;
    EXPECT_EQ(cet.offsetSeconds(Date::fromSeconds(spring)), 2 * kHour) << y;
    EXPECT_EQ(cet.offsetSeconds(Date::fromSeconds(autumn - 1)), 2 * kHour) << y;
    EXPECT_EQ(cet.offsetSeconds(Date::fromSeconds(autumn)), kHour) << y;
  }
}

TEST(Calendar, MissingWallTimesMoveOnAndRepeatedOnesAreTheLater) {
  EXPECT_EQ(cetDate(2009, 3, 29, 2, 30), cetDate(2009, 3, 29, 3, 30));
  EXPECT_EQ(cetDate(2009, 10, 25, 2, 30).seconds(), 1256434200);  // 01:30 UTC
  EXPECT_EQ(dateFromCivil({2009, 1, 32}, {}, TimeZone::cet()), cetDate(2009, 2, 1));
  EXPECT_EQ(dateFromCivil({2009, 14, 1}, {}, TimeZone::cet()), cetDate(2010, 2, 1));
}

TEST(Calendar, AddingDaysKeepsTheWallClock) {
  struct Case {
    Date from;
    std::int64_t days;
    Date expected;
  };
  const Date noon = cetDate(2009, 3, 28, 12);
  const Date firstHalfPastTwo = Date::fromSeconds(1256430600);  // 00:30 UTC, still summer time
  for (const auto& [from, days, expected] :
       {Case{noon, 1, noon.addingSeconds(23 * kHour)},
        Case{cetDate(2009, 3, 28, 2, 30), 1, cetDate(2009, 3, 29, 3, 30)},
        Case{cetDate(2009, 10, 24, 12), 1, cetDate(2009, 10, 25, 12)},
        Case{cetDate(2009, 12, 1), 30, cetDate(2009, 12, 31)},
        Case{cetDate(2009, 1, 1, 8), -1, cetDate(2008, 12, 31, 8)},
        Case{firstHalfPastTwo, 0, firstHalfPastTwo},
        Case{noon.addingMicroseconds(7), 365, cetDate(2010, 3, 28, 12).addingMicroseconds(7)},
        Case{Date::fromMicroseconds(-1), 1, Date::fromSeconds(86400).addingMicroseconds(-1)}}) {
    EXPECT_EQ(addingDays(from, days, TimeZone::cet()), expected) << from.seconds() << " + " << days;
  }
}

TEST(Calendar, TheYearOneIsProlepticGregorian) {
  EXPECT_EQ(civilDate(Date::distantPast(), TimeZone::utc()), (CivilDate{1, 1, 1}));
  EXPECT_EQ(dateFromCivil({1, 1, 1}, {}, TimeZone::utc()), Date::distantPast());
  EXPECT_EQ(civilDate(Date::distantPast().addingSeconds(-1), TimeZone::utc()),
            (CivilDate{0, 12, 31}));
}

TEST(Calendar, ValidDaysFollowTheLeapYears) {
  for (const CivilDate& day : {CivilDate{2008, 2, 29}, {2000, 2, 29}, {2009, 12, 31}, {0, 2, 29}}) {
    EXPECT_TRUE(isValid(day));
  }
  for (const CivilDate& day : {CivilDate{2009, 2, 29},
                               {1900, 2, 29},
                               {2009, 4, 31},
                               {2009, 0, 1},
                               {2009, 13, 1},
                               {2009, 1, 0},
                               {2009, 1, -1}}) {
    EXPECT_FALSE(isValid(day));
  }
}

TEST(Calendar, DayNumbersAgreeWithTheStandardLibrary) {
  using namespace std::chrono;
  for (std::int64_t days = -800'000; days < 800'000; days += 37) {
    const year_month_day expected{sys_days(std::chrono::days(days))};
    const CivilDate day = civilFromDays(days);
    ASSERT_EQ(day.year, static_cast<int>(expected.year()));
    ASSERT_EQ(day.month, static_cast<int>(static_cast<unsigned>(expected.month())));
    ASSERT_EQ(day.day, static_cast<int>(static_cast<unsigned>(expected.day())));
    ASSERT_EQ(daysFromCivil(day), days);
  }
}

void expectDayIsConsistent(Date instant, const TimeZone& zone) {
  const CivilDate day = civilDate(instant, zone);
  const Date begin = beginningOfDay(instant, zone);
  ASSERT_LE(begin, instant);
  ASSERT_EQ(civilDate(begin, zone), day) << begin.seconds();
  ASSERT_LT(civilDate(begin.addingSeconds(-1), zone), day) << begin.seconds();
  const Date again = dateFromCivil(day, civilTime(instant, zone), zone);
  ASSERT_GE(again, instant) << instant.seconds();
  ASSERT_EQ(civilDate(again, zone), day) << instant.seconds();
  ASSERT_EQ(civilTime(again, zone), civilTime(instant, zone)) << instant.seconds();
}

// Around every change of offset of two centuries. Among these zones are days that begin late,
// because clocks jump at midnight or across it, days that come twice in part, and a day that never
// was.
TEST(Calendar, DaysBeginAtTheirFirstInstantAndWallTimesMeanTheLastOne) {
  for (const char* name : {"CET", "America/Sao_Paulo", "America/Toronto", "Asia/Beirut",
                           "Pacific/Apia", "America/Havana", "Africa/Casablanca"}) {
    const TimeZone zone = TimeZone::named(name).value();
    int changes = 0;
    for (std::int64_t day = -2'208'000'000; day < 4'102'000'000; day += 86'400) {
      const Date from = Date::fromSeconds(day);
      if (zone.offsetSeconds(from) == zone.offsetSeconds(from.addingSeconds(86'400))) continue;
      ++changes;
      for (std::int64_t t = -86'400; t <= 2 * 86'400; t += 900) {
        expectDayIsConsistent(from.addingSeconds(t), zone);
        if (HasFatalFailure()) FAIL() << name;
      }
    }
    EXPECT_GT(changes, 20) << name;
  }
}

TEST(Calendar, TheEndsOfTimeAreHeld) {
  constexpr auto kLast = std::numeric_limits<std::int64_t>::max();
  for (const std::int64_t end : {kLast, std::numeric_limits<std::int64_t>::min()}) {
    const Date instant = Date::fromMicroseconds(end);
    EXPECT_EQ(civilDate(instant, TimeZone::utc()).year > 0, end > 0);
    EXPECT_GT(addingDays(instant, kLast, TimeZone::cet()).seconds(), 0);
    EXPECT_LT(addingDays(instant, -kLast, TimeZone::cet()).seconds(), 0);
    beginningOfDay(instant, TimeZone::cet());
  }
  EXPECT_GT(dateFromCivil({std::numeric_limits<int>::max(), 12, 31}, {}, TimeZone::cet()).seconds(),
            0);
  EXPECT_LT(dateFromCivil({std::numeric_limits<int>::min(), 1, 1}, {}, TimeZone::cet()).seconds(),
            0);
}

}  // namespace
}  // namespace bokfolio
