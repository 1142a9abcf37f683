// Civil dates: years, months and days of the Gregorian calendar, extended unchanged to all times
// (also before 1582), and the way between them and instants in a time zone. Plain integer
// arithmetic; no object to set up and nothing cached beyond the zone's own table.
//
// Wall-clock times that a change of summer time skips are read as if the old offset still held,
// which makes them later by the change (02:30 becomes 03:30). Times that occur twice mean the later
// one. Instants that Date cannot hold (beyond the year 290 000 or so) are held at its ends.
#pragma once

#include <compare>
#include <cstdint>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/time_zone.hpp"

namespace bokfolio {

// Month 1..12, day 1..31. Year 0 is the year before year 1.
struct CivilDate {
  int year = 1;
  int month = 1;
  int day = 1;
  friend constexpr auto operator<=>(const CivilDate&, const CivilDate&) noexcept = default;
};

// 00:00:00 to 23:59:59.
struct CivilTime {
  int hour = 0;
  int minute = 0;
  int second = 0;
  friend constexpr auto operator<=>(const CivilTime&, const CivilTime&) noexcept = default;
};

// Whether the month exists and has that day.
BOKFOLIO_EXPORT bool isValid(CivilDate date) noexcept;

// The day, or the time of day (fractions of a second dropped), that the zone's clocks show.
BOKFOLIO_EXPORT CivilDate civilDate(Date instant, const TimeZone& zone);
BOKFOLIO_EXPORT CivilTime civilTime(Date instant, const TimeZone& zone);

// The instant at which the zone's clocks show the given day and time. A day or time outside its
// range is carried over (the 32nd of January is the 1st of February).
BOKFOLIO_EXPORT Date dateFromCivil(CivilDate date, CivilTime time, const TimeZone& zone);

// The same wall-clock time, fractions of a second included, so many calendar days later (earlier
// when negative). 0 days answers the instant itself.
BOKFOLIO_EXPORT Date addingDays(Date instant, std::int64_t days, const TimeZone& zone);

// The first instant of the instant's day: 00:00, or where clocks skip midnight the first moment
// after.
BOKFOLIO_EXPORT Date beginningOfDay(Date instant, const TimeZone& zone);

// Days from 1970-01-01 to a day, and back.
BOKFOLIO_EXPORT std::int64_t daysFromCivil(CivilDate date) noexcept;
BOKFOLIO_EXPORT CivilDate civilFromDays(std::int64_t days) noexcept;

}  // namespace bokfolio
