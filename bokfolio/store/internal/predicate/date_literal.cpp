#include "bokfolio/store/internal/predicate/date_literal.hpp"

#include <cstdint>

#include "bokfolio/platform/calendar.hpp"

namespace bokfolio::predicate {

namespace {

constexpr std::string_view kShape = "dddd-dd-ddTdd:dd:dd";
constexpr std::int64_t kMicroseconds = 1'000'000;
constexpr std::int64_t kSecondsOfDay = 86'400;
constexpr std::size_t kDecimals = 6;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

int digits(std::string_view text, std::size_t from, std::size_t count) {
  int value = 0;
  for (const char c : text.substr(from, count)) value = value * 10 + (c - '0');
  return value;
}

void append(std::string& text, std::int64_t value, std::size_t width) {
  const std::string plain = std::to_string(value);
  text.append(width > plain.size() ? width - plain.size() : 0, '0').append(plain);
}

}  // namespace

std::size_t dateLiteralLength(std::string_view text) {
  if (text.size() <= kShape.size()) return 0;
  for (std::size_t at = 0; at < kShape.size(); ++at)
    if (kShape[at] == 'd' ? !isDigit(text[at]) : text[at] != kShape[at]) return 0;
  std::size_t end = kShape.size();
  if (text[end] == '.') {
    const std::size_t first = ++end;
    while (end < text.size() && isDigit(text[end])) ++end;
    if (end == first || end - first > kDecimals) return 0;
  }
  return end < text.size() && text[end] == 'Z' ? end + 1 : 0;
}

std::optional<Date> parseDateLiteral(std::string_view text) {
  const CivilDate day{digits(text, 0, 4), digits(text, 5, 2), digits(text, 8, 2)};
  const int hour = digits(text, 11, 2);
  const int minute = digits(text, 14, 2);
  const int second = digits(text, 17, 2);
  if (!isValid(day) || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  std::int64_t fraction = 0;
  std::string decimals(text.substr(kShape.size(), text.size() - kShape.size() - 1));
  if (!decimals.empty()) {
    decimals.resize(1 + kDecimals, '0');
    fraction = digits(decimals, 1, kDecimals);
  }
  const std::int64_t seconds =
      daysFromCivil(day) * kSecondsOfDay + hour * 3600 + minute * 60 + second;
  return Date::fromMicroseconds(seconds * kMicroseconds + fraction);
}

std::optional<std::string> dateLiteral(Date date) {
  const std::int64_t seconds = date.seconds();
  std::int64_t days = seconds / kSecondsOfDay;
  std::int64_t clock = seconds % kSecondsOfDay;
  if (clock < 0) {
    clock += kSecondsOfDay;
    --days;
  }
  const CivilDate day = civilFromDays(days);
  if (day.year < 0 || day.year > 9999) return std::nullopt;
  std::string text;
  append(text, day.year, 4);
  append(text.append("-"), day.month, 2);
  append(text.append("-"), day.day, 2);
  append(text.append("T"), clock / 3600, 2);
  append(text.append(":"), clock / 60 % 60, 2);
  append(text.append(":"), clock % 60, 2);
  // seconds() rounds toward the past, so that the rest is never negative; no multiplication that
  // could overflow at the ends of the range.
  std::int64_t fraction = date.microseconds() % kMicroseconds;
  if (fraction < 0) fraction += kMicroseconds;
  if (fraction != 0) {
    std::string decimals;
    append(decimals, fraction, kDecimals);
    decimals.erase(decimals.find_last_not_of('0') + 1);
    text.append(".").append(decimals);
  }
  return text.append("Z");
}

}  // namespace bokfolio::predicate
