#include "bokfolio/platform/number_parsing.hpp"

#include <unicode/decimfmt.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>

#include "bokfolio/platform/internal/locale_state.hpp"

namespace bokfolio {

namespace {

constexpr std::array<std::string_view, 6> kBlanks = {
    " ", "\t", "\u00A0", "\u2007", "\u2009", "\u202F",
};
// Left-to-right, right-to-left and Arabic letter marks.
constexpr std::array<std::string_view, 3> kDirectionMarks = {"\u200E", "\u200F", "\u061C"};

// 38 digits with everything that may group and surround them take less; the parser below needs time
// that grows with the square of the length.
constexpr std::size_t kLongestNumber = 500;

enum class Style { Plain, Percent };

// As strict as ICU is by default.
std::unique_ptr<icu::DecimalFormat> makeParser(Style style, const Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale& rules = locale.state().icu;
  std::unique_ptr<icu::NumberFormat> made(
      style == Style::Percent ? icu::NumberFormat::createPercentInstance(rules, status)
                              : icu::NumberFormat::createInstance(rules, status));
  auto* parser = dynamic_cast<icu::DecimalFormat*>(made.get());
  if (U_FAILURE(status) || parser == nullptr) return nullptr;
  static_cast<void>(made.release());
  parser->setParseNoExponent(true);
  return std::unique_ptr<icu::DecimalFormat>(parser);
}

enum class Extent { WholeText, Beginning };

bool parse(const icu::DecimalFormat* parser, std::string_view text, Extent extent,
           icu::Formattable& number) {
  if (parser == nullptr || text.size() > kLongestNumber) return false;
  const auto units =
      icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
  icu::ParsePosition position;
  parser->parse(units, number, position);
  if (position.getErrorIndex() != -1 || position.getIndex() == 0) return false;
  if (extent == Extent::WholeText && position.getIndex() != units.length()) return false;
  UErrorCode status = U_ZERO_ERROR;
  return std::isfinite(number.getDouble(status)) && U_SUCCESS(status);
}

std::optional<double> parsedDouble(const icu::DecimalFormat* parser, std::string_view text,
                                   Extent extent) {
  icu::Formattable number;
  if (!parse(parser, text, extent, number)) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  return number.getDouble(status);
}

std::string withoutDirectionMarks(std::string_view text) {
  std::string plain(text);
  for (const std::string_view mark : kDirectionMarks) {
    for (std::size_t at = plain.find(mark); at != std::string::npos; at = plain.find(mark, at))
      plain.erase(at, mark.size());
  }
  return plain;
}

std::string currencySymbol(const Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::DecimalFormatSymbols symbols(locale.state().icu, status);
  std::string symbol;
  if (U_SUCCESS(status))
    symbols.getConstSymbol(icu::DecimalFormatSymbols::kCurrencySymbol).toUTF8String(symbol);
  return withoutDirectionMarks(symbol);
}

}  // namespace

std::string_view trimmedOfBlanks(std::string_view text) noexcept {
  for (bool found = true; found;) {
    found = false;
    for (const std::string_view blank : kBlanks) {
      if (text.starts_with(blank)) {
        text.remove_prefix(blank.size());
        found = true;
      }
      if (text.ends_with(blank)) {
        text.remove_suffix(blank.size());
        found = true;
      }
    }
  }
  return text;
}

std::optional<Decimal> parseNumber(std::string_view text, const Locale& locale) {
  text = trimmedOfBlanks(text);
  if (text.size() > kLongestNumber) return std::nullopt;
  const std::string plain = withoutDirectionMarks(text);
  // A formattable keeps the text of its first number, hence a fresh one each time.
  icu::Formattable number;
  if (!parse(makeParser(Style::Plain, locale).get(), trimmedOfBlanks(plain), Extent::WholeText,
             number))
    return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  const auto digits = number.getDecimalNumber(status);
  if (U_FAILURE(status)) return std::nullopt;
  return Decimal::parse({digits.data(), static_cast<std::size_t>(digits.size())});
}

std::optional<Decimal> parseAmount(std::string_view text, const Locale& locale) {
  text = trimmedOfBlanks(text);
  if (text.size() > kLongestNumber) return std::nullopt;
  const std::string plain = withoutDirectionMarks(text);
  const std::string symbol = currencySymbol(locale);
  std::string_view number = trimmedOfBlanks(plain);
  if (number.ends_with(symbol)) {
    number.remove_suffix(symbol.size());
  } else if (number.starts_with(symbol)) {
    number.remove_prefix(symbol.size());
  }
  return parseNumber(number, locale);
}

std::optional<double> parsePercentage(std::string_view text, const Locale& locale) {
  text = trimmedOfBlanks(text);
  if (text.size() > kLongestNumber) return std::nullopt;
  const std::string plain = withoutDirectionMarks(text);
  return parsedDouble(makeParser(Style::Percent, locale).get(), trimmedOfBlanks(plain),
                      Extent::WholeText);
}

std::optional<double> scanNumber(std::string_view text, const Locale& locale) {
  const auto parser = makeParser(Style::Plain, locale);
  if (parser != nullptr) parser->setGroupingUsed(false);
  // A character cut in two reads as one that is part of no number.
  const std::string plain = withoutDirectionMarks(trimmedOfBlanks(text).substr(0, kLongestNumber));
  return parsedDouble(parser.get(), trimmedOfBlanks(plain), Extent::Beginning);
}

}  // namespace bokfolio
