#include "bokfolio/platform/number_text.hpp"

#include "bokfolio/platform/internal/locale_state.hpp"

namespace bokfolio {

namespace {

std::string formatted(const icu::number::LocalizedNumberFormatter& formatter,
                      const Decimal& value) {
  const std::string digits = value.toString();
  UErrorCode status = U_ZERO_ERROR;
  const auto number =
      formatter.formatDecimal({digits.data(), static_cast<std::int32_t>(digits.size())}, status);
  const icu::UnicodeString text = number.toString(status);
  if (U_FAILURE(status)) return digits;
  std::string result;
  text.toUTF8String(result);
  return result;
}

}  // namespace

std::string decimalDescription(const Decimal& value, const Locale& locale) {
  return formatted(locale.state().numbers().plain, value);
}

std::string amountText(const Decimal& value, const Locale& locale) {
  return formatted(locale.state().numbers().grouped, value);
}

}  // namespace bokfolio
