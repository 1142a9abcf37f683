// What people type: amounts, days, instants, rows of an entry, and files named on the command line.
// Each function answers what was meant or throws the Failure that says why it cannot tell; a text
// that has two sensible meanings is refused, never guessed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/locale.hpp"
#include "bokfolio/platform/time_zone.hpp"

namespace bokfolio::cli {

// "1234.5" in every locale, "1 234,50" in the locale's form; blanks may group thousands anywhere.
// Signs: '-', U+2212, '+', in front. Refused as doubtful: "1.500" unless the locale's decimals
// begin with a point.
Decimal amountFromText(std::string_view text, const Locale& locale);

// ISO form, or the locale's short style.
CivilDate dayFromText(std::string_view text, const Locale& locale);

// "2025-03-05", "2025-03-05T10:15" or "2025-03-05T10:15:30", on the zone's clocks; noon without a
// time.
Date instantFromText(std::string_view text, const TimeZone& zone);

// The whole text as a number from 0; nullopt when it is no such number.
std::optional<std::int64_t> numberFromText(std::string_view text);

// ACCOUNT[:AMOUNT[:TAG]], taken apart and not looked up. Without amount the row takes what balances
// the others.
struct RowText {
  std::string account;
  std::optional<Decimal> amount;
  std::string tag;
};
RowText rowFromText(std::string_view text, const Locale& locale);

// Three capital letters.
std::string currencyFromText(const std::string& text);

// Blanks and line ends at both ends taken away.
std::string_view trimmed(std::string_view text);

// The bytes of a file of at most `limit` bytes.
std::string readFile(const std::string& path, std::size_t limit);
// Replaces what the file holds.
void writeFile(const std::string& path, const Bytes& bytes);

}  // namespace bokfolio::cli
