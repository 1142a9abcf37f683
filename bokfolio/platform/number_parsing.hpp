// Numbers as people type them, read by the rules of a locale: its decimal separator, its grouping,
// its digits (and those of 0 to 9 everywhere). Whole texts only, unless said otherwise: what is
// half a number is none, for "50,00" where "." stands before the decimals must not become 5000.
// A text of more than 500 bytes, blanks around it apart, is no number. Texts of machines are read
// by Decimal::parse.
#pragma once

#include <optional>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

// "-1 234,50" in sv_SE, exact. Blanks and no-break spaces around the number and marks of writing
// direction in it do not matter. nullopt for anything else, among it exponents, a plus sign,
// infinity, digits grouped otherwise than the locale does, and more than 38 significant digits.
BOKFOLIO_EXPORT std::optional<Decimal> parseNumber(std::string_view text, const Locale& locale);

// The same with the symbol of the locale's own currency in front or behind, or without it: "50 kr",
// "kr 50" and "50" in sv_SE.
BOKFOLIO_EXPORT std::optional<Decimal> parseAmount(std::string_view text, const Locale& locale);

// A number and a percent sign as the locale joins them, as a fraction: "12.5%" in en_GB is 0.125.
BOKFOLIO_EXPORT std::optional<double> parsePercentage(std::string_view text, const Locale& locale);

// The number at the beginning of the text, after any blanks; what follows it, and what follows the
// first 500 bytes, is not looked at. No grouping, no exponent. nullopt when the text begins
// otherwise.
BOKFOLIO_EXPORT std::optional<double> scanNumber(std::string_view text, const Locale& locale);

// The text without blanks, tabs and no-break spaces at both ends.
BOKFOLIO_EXPORT std::string_view trimmedOfBlanks(std::string_view text) noexcept;

}  // namespace bokfolio
