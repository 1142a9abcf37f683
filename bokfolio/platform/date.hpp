// Date: an instant, counted in microseconds since 1970-01-01 00:00 UTC. It knows no calendar and no
// zone; years, months and days are the business of platform/calendar.hpp.
#pragma once

#include <compare>
#include <cstdint>

namespace bokfolio {

class Date {
 public:
  constexpr Date() noexcept = default;

  static constexpr Date fromMicroseconds(std::int64_t sinceEpoch) noexcept {
    return Date(sinceEpoch);
  }
  static constexpr Date fromSeconds(std::int64_t sinceEpoch) noexcept {
    return Date(sinceEpoch * kMicrosecondsPerSecond);
  }
  // The first instant of the year 1, UTC: earlier than every date a book holds.
  static constexpr Date distantPast() noexcept { return fromSeconds(-62135596800); }

  constexpr std::int64_t microseconds() const noexcept { return microseconds_; }
  // Whole seconds since 1970, rounded toward the past.
  constexpr std::int64_t seconds() const noexcept {
    const std::int64_t whole = microseconds_ / kMicrosecondsPerSecond;
    return microseconds_ % kMicrosecondsPerSecond < 0 ? whole - 1 : whole;
  }
  // Whole seconds since 2001-01-01 00:00 UTC, truncated toward zero: the time stamp from which rows
  // and invoice lines take their first number.
  constexpr std::int64_t secondsSinceReferenceDate() const noexcept {
    return (microseconds_ - kReferenceDate) / kMicrosecondsPerSecond;
  }

  constexpr Date addingSeconds(std::int64_t seconds) const noexcept {
    return Date(microseconds_ + seconds * kMicrosecondsPerSecond);
  }
  constexpr Date addingMicroseconds(std::int64_t microseconds) const noexcept {
    return Date(microseconds_ + microseconds);
  }

  friend constexpr auto operator<=>(Date, Date) noexcept = default;

 private:
  static constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
  static constexpr std::int64_t kReferenceDate = 978'307'200 * kMicrosecondsPerSecond;

  explicit constexpr Date(std::int64_t microseconds) noexcept : microseconds_(microseconds) {}

  std::int64_t microseconds_ = 0;
};

}  // namespace bokfolio
