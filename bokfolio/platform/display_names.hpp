// Names of countries and languages as a reader of the locale writes them, from ICU's own data and
// so the same on every machine with the same ICU. Which codes are offered, and what is shown for
// one without a name, is decided by whoever asks. A locale whose language ICU does not have is
// answered in the language of the process.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

// The name of a country by its code of two letters, capital or not: "SE" is "Sverige" in Swedish.
// Retired codes answer the country of today ("YU" is "Serbia"). nullopt when the locale's language
// has no name for it. A microsecond or two.
BOKFOLIO_EXPORT std::optional<std::string> displayCountryName(std::string_view code,
                                                              const Locale& locale);

// The name of a language by its code of two or three small letters, in the capitals of running
// text: "sv" is "svenska" in Swedish. nullopt when the locale's language has no name for it.
BOKFOLIO_EXPORT std::optional<std::string> displayLanguageName(std::string_view code,
                                                               const Locale& locale);

// The text with the first letter of each word made a capital and the others small, by the rules of
// the locale's language: "norskt bokmål" becomes "Norskt Bokmål". An apostrophe inside a word does
// not begin another. A locale that is not known goes by the rules that languages share.
BOKFOLIO_EXPORT std::string capitalized(std::string_view text, const Locale& locale);

}  // namespace bokfolio
