// TimeZone: how far a place's clocks stand from UTC at any instant. A value: copies share one
// immutable table of transitions, so that asking for an offset is a lookup and safe from any
// thread. The rules are ICU's own, not those of the system, and so the same on every machine with
// the same ICU. Calendar arithmetic on top of it is platform/calendar.hpp.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT TimeZone {
 public:
  // The zone with an identifier such as "Europe/Stockholm", "CET" (which observes summer time) or
  // "UTC"; custom offsets such as "GMT+05:30" work too. nullopt when no zone has that name.
  // Builds the table: about a millisecond. Keep the value, do not ask again in a loop.
  static std::optional<TimeZone> named(std::string_view id);
  // Both are made once and cheap to ask for.
  static TimeZone utc();
  static TimeZone cet();
  // The zone of the process: TZ when it names one, otherwise the machine's setting; UTC when
  // neither names a zone that is known. POSIX rule texts in TZ ("CET-1CEST") are not read and count
  // as unknown.
  static TimeZone system();

  // The identifier as asked for.
  const std::string& id() const noexcept;
  // Seconds to add to UTC to get the wall clock, summer time included; positive east of Greenwich.
  std::int64_t offsetSeconds(Date instant) const;

  // Equal when the identifiers are.
  friend bool operator==(const TimeZone& a, const TimeZone& b) noexcept { return a.id() == b.id(); }

 private:
  struct Table;
  explicit TimeZone(std::shared_ptr<const Table> table) noexcept;

  std::shared_ptr<const Table> table_;
};

}  // namespace bokfolio
