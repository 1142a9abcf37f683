#include "bokfolio/platform/calendar.hpp"

#include <algorithm>
#include <limits>

namespace bokfolio {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::int64_t kLastSecond =
    std::numeric_limits<std::int64_t>::max() / kMicrosecondsPerSecond - 1;

constexpr std::int64_t floorDivide(std::int64_t value, std::int64_t by) noexcept {
  return value / by - (value % by < 0 ? 1 : 0);
}

constexpr bool isLeapYear(int year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

std::int64_t localSeconds(Date instant, const TimeZone& zone) {
  return instant.seconds() + zone.offsetSeconds(instant);
}

Date fromSecondsHeld(std::int64_t seconds) noexcept {
  return Date::fromSeconds(std::clamp(seconds, -kLastSecond, kLastSecond));
}

struct WallClockInstants {
  Date before;  // by the offset in force a day earlier
  Date after;   // by the offset in force a day later
  bool beforeFits = false;
  bool afterFits = false;
};

// No zone is further than a day from UTC, so a day to either side lies beyond the change of offset,
// if there is one near.
WallClockInstants instantsShowing(std::int64_t local, const TimeZone& zone) {
  const std::int64_t earlier = zone.offsetSeconds(fromSecondsHeld(local - kSecondsPerDay));
  const std::int64_t later = zone.offsetSeconds(fromSecondsHeld(local + kSecondsPerDay));
  WallClockInstants result;
  result.before = fromSecondsHeld(local - earlier);
  result.after = fromSecondsHeld(local - later);
  result.beforeFits = zone.offsetSeconds(result.before) == earlier;
  result.afterFits = zone.offsetSeconds(result.after) == later;
  return result;
}

Date fromLocalSeconds(std::int64_t local, const TimeZone& zone) {
  const WallClockInstants found =
      instantsShowing(std::clamp(local, -kLastSecond, kLastSecond), zone);
  return found.afterFits ? found.after : found.before;
}

// Where clocks jump over a local time: the jump lies between the two readings of that time.
Date firstInstantPast(std::int64_t local, const WallClockInstants& skipped, const TimeZone& zone) {
  std::int64_t low = skipped.after.seconds();
  std::int64_t high = skipped.before.seconds();
  while (low < high) {
    const std::int64_t middle = low + (high - low) / 2;
    if (localSeconds(Date::fromSeconds(middle), zone) >= local) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return Date::fromSeconds(high);
}

}  // namespace

bool isValid(CivilDate date) noexcept {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (date.month < 1 || date.month > 12 || date.day < 1) return false;
  const int last = date.month == 2 && isLeapYear(date.year) ? 29 : kDays[date.month - 1];
  return date.day <= last;
}

// Both conversions count years from March, so that the leap day comes last, in eras of 400 years
// (146 097 days); 719 468 is the day number of 0000-03-01 before 1970.
std::int64_t daysFromCivil(CivilDate date) noexcept {
  const std::int64_t months = std::int64_t{date.month} - 1;
  const std::int64_t monthIndex = months - 12 * floorDivide(months, 12);
  std::int64_t year = date.year + floorDivide(months, 12);
  if (monthIndex < 2) --year;
  const std::int64_t era = floorDivide(year, 400);
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t monthFromMarch = (monthIndex + 10) % 12;
  const std::int64_t dayOfYear = (153 * monthFromMarch + 2) / 5;
  const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146'097 + dayOfEra - 719'468 + date.day - 1;
}

CivilDate civilFromDays(std::int64_t days) noexcept {
  const std::int64_t shifted = days + 719'468;
  const std::int64_t era = floorDivide(shifted, 146'097);
  const std::int64_t dayOfEra = shifted - era * 146'097;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  const std::int64_t day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
  const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  const std::int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
  return {static_cast<int>(year), static_cast<int>(month), static_cast<int>(day)};
}

CivilDate civilDate(Date instant, const TimeZone& zone) {
  return civilFromDays(floorDivide(localSeconds(instant, zone), kSecondsPerDay));
}

CivilTime civilTime(Date instant, const TimeZone& zone) {
  const std::int64_t local = localSeconds(instant, zone);
  const auto second = static_cast<int>(local - floorDivide(local, kSecondsPerDay) * kSecondsPerDay);
  return {second / 3600, second / 60 % 60, second % 60};
}

Date dateFromCivil(CivilDate date, CivilTime time, const TimeZone& zone) {
  const std::int64_t timeOfDay =
      std::int64_t{time.hour} * 3600 + std::int64_t{time.minute} * 60 + time.second;
  return fromLocalSeconds(daysFromCivil(date) * kSecondsPerDay + timeOfDay, zone);
}

Date addingDays(Date instant, std::int64_t days, const TimeZone& zone) {
  if (days == 0) return instant;
  constexpr std::int64_t kMostDays = 2 * kLastSecond / kSecondsPerDay;
  const std::int64_t local =
      localSeconds(instant, zone) + std::clamp(days, -kMostDays, kMostDays) * kSecondsPerDay;
  const std::int64_t remainder = instant.microseconds() % kMicrosecondsPerSecond;
  const std::int64_t fraction = remainder < 0 ? remainder + kMicrosecondsPerSecond : remainder;
  return fromLocalSeconds(local, zone).addingMicroseconds(fraction);
}

Date beginningOfDay(Date instant, const TimeZone& zone) {
  const std::int64_t day = floorDivide(localSeconds(instant, zone), kSecondsPerDay);
  const WallClockInstants midnight = instantsShowing(day * kSecondsPerDay, zone);
  if (midnight.beforeFits) return midnight.before;
  if (midnight.afterFits) return midnight.after;
  return firstInstantPast(day * kSecondsPerDay, midnight, zone);
}

}  // namespace bokfolio
