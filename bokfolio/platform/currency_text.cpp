#include "bokfolio/platform/currency_text.hpp"

#include "bokfolio/platform/internal/locale_state.hpp"
#include "bokfolio/platform/number_text.hpp"

namespace bokfolio {

namespace {

std::string toUtf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

}  // namespace

std::string currencyText(const Decimal& value, const std::optional<std::string>& currencyCode,
                         const Locale& locale) {
  const auto code = currencyCode ? currencyCode : locale.currencyCode();
  if (!code || code->size() != 3) return amountText(value, locale);
  UErrorCode status = U_ZERO_ERROR;
  auto units = icu::UnicodeString::fromUTF8(*code);
  const icu::CurrencyUnit currency(units.getTerminatedBuffer(), status);
  if (U_FAILURE(status)) return amountText(value, locale);
  const std::string digits = value.toString();
  const auto number = icu::number::NumberFormatter::withLocale(locale.state().icu)
                          .unit(currency)
                          .formatDecimal(digits, status);
  const icu::UnicodeString text = number.toString(status);
  return U_FAILURE(status) ? amountText(value, locale) : toUtf8(text);
}

std::string percentText(double fraction, const Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const auto number = icu::number::NumberFormatter::withLocale(locale.state().icu)
                          .unit(icu::NoUnit::percent())
                          .scale(icu::number::Scale::powerOfTen(2))
                          .precision(icu::number::Precision::integer())
                          .formatDouble(fraction, status);
  const icu::UnicodeString text = number.toString(status);
  return U_FAILURE(status) ? std::string() : toUtf8(text);
}

}  // namespace bokfolio
