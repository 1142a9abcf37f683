#include "bokfolio/platform/time_zone.hpp"

#include <unicode/basictz.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unicode/ucal.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace bokfolio {

namespace {

constexpr std::int64_t kTableBegin = -2'208'988'800;  // 1900-01-01 00:00 UTC
constexpr std::int64_t kTableEnd = 4'102'444'800;     // 2100-01-01 00:00 UTC
constexpr int kBucketBits = 24;                       // 194 days: at most a few transitions each

std::int64_t icuOffset(const icu::TimeZone& zone, std::int64_t seconds) {
  std::int32_t raw = 0;
  std::int32_t summer = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(static_cast<UDate>(seconds) * 1000.0, false, raw, summer, status);
  return U_SUCCESS(status) ? (std::int64_t{raw} + summer) / 1000 : 0;
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

}  // namespace

// Offsets of the years 1900 to 2099 as a list of changes, found through buckets of time; ICU's own
// rules answer for the years outside.
struct TimeZone::Table {
  struct Change {
    std::int64_t from;
    std::int64_t offset;
  };

  Table(std::string name, std::unique_ptr<icu::TimeZone> icuZone)
      : id(std::move(name)), rules(std::move(icuZone)) {
    listChanges();
    fillBuckets();
  }

  void listChanges() {
    changes.push_back({kTableBegin, icuOffset(*rules, kTableBegin)});
    const auto* basic = dynamic_cast<const icu::BasicTimeZone*>(rules.get());
    if (basic == nullptr) return;
    icu::TimeZoneTransition next;
    UDate at = static_cast<UDate>(kTableBegin) * 1000.0;
    while (basic->getNextTransition(at, false, next) != 0) {
      at = next.getTime();
      const auto seconds = static_cast<std::int64_t>(at / 1000.0);
      if (seconds >= kTableEnd) break;
      const std::int64_t offset = icuOffset(*rules, seconds);
      if (offset != changes.back().offset) changes.push_back({seconds, offset});
    }
  }

  void fillBuckets() {
    std::size_t current = 0;
    for (std::int64_t from = kTableBegin; from < kTableEnd;
         from += std::int64_t{1} << kBucketBits) {
      while (current + 1 < changes.size() && changes[current + 1].from <= from) ++current;
      buckets.push_back(current);
    }
  }

  std::int64_t offsetAt(std::int64_t seconds) const {
    if (seconds < kTableBegin || seconds >= kTableEnd) return icuOffset(*rules, seconds);
    std::size_t i = buckets[static_cast<std::size_t>((seconds - kTableBegin) >> kBucketBits)];
    while (i + 1 < changes.size() && changes[i + 1].from <= seconds) ++i;
    return changes[i].offset;
  }

  std::string id;
  std::unique_ptr<icu::TimeZone> rules;
  std::vector<Change> changes;
  std::vector<std::size_t> buckets;
};

TimeZone::TimeZone(std::shared_ptr<const Table> table) noexcept : table_(std::move(table)) {}

std::optional<TimeZone> TimeZone::named(std::string_view id) {
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(
      icu::UnicodeString::fromUTF8({id.data(), static_cast<std::int32_t>(id.size())})));
  if (zone == nullptr) return std::nullopt;
  icu::UnicodeString found;
  if (utf8(zone->getID(found)) == UCAL_UNKNOWN_ZONE_ID) return std::nullopt;
  return TimeZone(std::make_shared<const Table>(std::string(id), std::move(zone)));
}

TimeZone TimeZone::utc() {
  static const TimeZone kUtc(std::make_shared<const Table>(
      "UTC", std::unique_ptr<icu::TimeZone>(icu::TimeZone::getGMT()->clone())));
  return kUtc;
}

TimeZone TimeZone::cet() {
  static const TimeZone kCet = named("CET").value_or(utc());
  return kCet;
}

TimeZone TimeZone::system() {
  if (const char* variable = std::getenv("TZ"); variable != nullptr) {
    std::string_view name = variable;
    if (name.substr(0, 1) == ":") name.remove_prefix(1);
    constexpr std::string_view kFolder = "/zoneinfo/";
    if (const auto at = name.find(kFolder); at != std::string_view::npos) {
      name.remove_prefix(at + kFolder.size());
    }
    return named(name).value_or(utc());
  }
  // ICU looks for it with buffers that are one for the process.
  static std::mutex looking;
  const std::lock_guard guard(looking);
  const std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
  if (host == nullptr) return utc();
  icu::UnicodeString id;
  return named(utf8(host->getID(id))).value_or(utc());
}

const std::string& TimeZone::id() const noexcept { return table_->id; }

std::int64_t TimeZone::offsetSeconds(Date instant) const {
  return table_->offsetAt(instant.seconds());
}

}  // namespace bokfolio
