// Days as text: the ISO form for machines and for keys, the locale's short style for people, and
// the way back from what people type. Times of day are not its business.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/locale.hpp"
#include "bokfolio/platform/time_zone.hpp"

namespace bokfolio {

// "2009-03-31": ASCII digits and the Gregorian calendar whatever the locale. The year has at least
// four digits, and a minus in front before the year 0.
BOKFOLIO_EXPORT std::string isoDay(Date instant, const TimeZone& zone);
BOKFOLIO_EXPORT std::string isoDay(CivilDate day);

// The locale's short style, without time: "2009-03-31" in sv_SE, "3/31/09" in en_US. A locale that
// is not known writes the ISO form.
BOKFOLIO_EXPORT std::string shortDate(Date instant, const Locale& locale, const TimeZone& zone);

// Reads a day: first the ISO form (exactly ten characters), then the locale's short style, strictly
// and to the last character. Years of two digits are 1969 to 2068. nullopt for everything else,
// days that do not exist and years outside 1 to 9999 included.
BOKFOLIO_EXPORT std::optional<CivilDate> parseDay(std::string_view text, const Locale& locale);

}  // namespace bokfolio
