// The three kinds of values in SIE fields. Each reads a whole field or nothing.
#pragma once

#include <optional>
#include <string_view>

#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::sie_internal {

// One to nine digits, "-" before them allowed.
std::optional<int> parseWhole(std::string_view text);

// Digits with an optional sign and an optional decimal point. At most 18 digits before the point
// and 20 after: sums over a file then stay within 38 digits and are exact.
std::optional<Decimal> parseAmount(std::string_view text);

// YYYYMMDD, a day that exists.
std::optional<CivilDate> parseDay(std::string_view text);

}  // namespace bokfolio::sie_internal
