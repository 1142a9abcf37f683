#include "bokfolio/platform/date_text.hpp"

#include <unicode/calendar.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "bokfolio/platform/internal/locale_state.hpp"

namespace bokfolio {

namespace {

constexpr double kMillisecondsPerDay = 86'400'000.0;

std::string padded(int value, std::size_t width) {
  std::string digits = std::to_string(value);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

bool isPlausible(CivilDate day) { return day.year >= 1 && day.year <= 9999 && isValid(day); }

std::optional<CivilDate> parseIso(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
  const auto number = [text](std::size_t from, std::size_t count) {
    int value = 0;
    for (const char c : text.substr(from, count)) {
      if (c < '0' || c > '9') return -1;
      value = value * 10 + (c - '0');
    }
    return value;
  };
  const CivilDate day{number(0, 4), number(5, 2), number(8, 2)};
  return isPlausible(day) ? std::optional(day) : std::nullopt;
}

bool hasBlank(const icu::UnicodeString& text) {
  for (std::int32_t i = 0; i < text.length(); ++i) {
    if (u_isUWhiteSpace(text[i]) != 0) return true;
  }
  return false;
}

// ICU skips blanks before every number, however strict it is told to be; here they are taken only
// inside, and only where the locale writes them.
bool hasForeignBlank(const icu::UnicodeString& text, const icu::SimpleDateFormat& format) {
  if (!hasBlank(text)) return false;
  icu::UnicodeString pattern;
  return !hasBlank(format.toPattern(pattern)) || u_isUWhiteSpace(text[0]) != 0;
}

std::optional<CivilDate> parseShort(std::string_view text, const Locale& locale) {
  constexpr std::size_t kLongest = 100;
  if (text.empty() || text.size() > kLongest) return std::nullopt;
  const auto wide =
      icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
  const std::scoped_lock lock(locale.state().dayMutex);
  const icu::SimpleDateFormat* format = locale.state().shortDay();
  if (format == nullptr || hasForeignBlank(wide, *format)) return std::nullopt;
  const std::unique_ptr<icu::Calendar> calendar(format->getCalendar()->clone());
  calendar->clear();
  icu::ParsePosition position(0);
  format->parse(wide, *calendar, position);
  if (position.getErrorIndex() != -1 || position.getIndex() != wide.length()) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  const double time = calendar->getTime(status);
  if (U_FAILURE(status)) return std::nullopt;
  const CivilDate day =
      civilFromDays(static_cast<std::int64_t>(std::floor(time / kMillisecondsPerDay)));
  return isPlausible(day) ? std::optional(day) : std::nullopt;
}

}  // namespace

std::string isoDay(CivilDate day) {
  return (day.year < 0 ? "-" : "") + padded(std::abs(day.year), 4) + "-" + padded(day.month, 2) +
         "-" + padded(day.day, 2);
}

std::string isoDay(Date instant, const TimeZone& zone) { return isoDay(civilDate(instant, zone)); }

std::string shortDate(Date instant, const Locale& locale, const TimeZone& zone) {
  const CivilDate day = civilDate(instant, zone);
  const auto milliseconds = static_cast<double>(daysFromCivil(day)) * kMillisecondsPerDay;
  if (!locale.isKnown()) return isoDay(day);
  const std::scoped_lock lock(locale.state().dayMutex);
  const icu::SimpleDateFormat* format = locale.state().shortDay();
  if (format == nullptr) return isoDay(day);
  icu::UnicodeString text;
  format->format(milliseconds, text);
  std::string result;
  text.toUTF8String(result);
  return result;
}

std::optional<CivilDate> parseDay(std::string_view text, const Locale& locale) {
  if (const auto day = parseIso(text); day || !locale.isKnown()) return day;
  return parseShort(text, locale);
}

}  // namespace bokfolio
