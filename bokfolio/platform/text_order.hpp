// Comparison of texts as people compare them, by the rules of a locale. Plain comparison of texts
// is std::string's own.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

// -1, 0 or 1. In the locale's order of letters, runs of digits by their value: "9" before "10",
// "a9" before "a10", "7" equal to "007".
BOKFOLIO_EXPORT int compareNumerically(std::string_view a, std::string_view b,
                                       const Locale& locale);

// Whether the first `length` characters of the text are `prefix` in any case, and then the text
// after them; nullopt when they are not or when the text is shorter. Characters are code points.
BOKFOLIO_EXPORT std::optional<std::string_view> textAfterPrefix(std::string_view text,
                                                                std::size_t length,
                                                                std::string_view prefix);

}  // namespace bokfolio
