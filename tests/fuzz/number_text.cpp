// Numbers and amounts as people type them, in several locales, and as machines write them: what is
// read can be written and read again as the same.
#include "bokfolio/platform/number_text.hpp"

#include <cmath>
#include <vector>

#include "bokfolio/platform/number_parsing.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

const std::vector<Locale>& locales() {
  static const std::vector<Locale> all = {Locale("sv_SE"), Locale("en_US"), Locale("de_CH"),
                                          Locale("ar_EG"), Locale("hi_IN"), Locale("C")};
  return all;
}

void checkMachine(std::string_view text) {
  if (const auto value = Decimal::parse(text)) {
    const std::string canonical = value->toString();
    expect(canonical.size() <= Decimal::kMaxTextLength, "a decimal's text has its bound");
    expect(Decimal::parse(canonical) == value, "a decimal survives its text", canonical);
    expect(Decimal::parsePrefix(text) == *value, "a whole number is its own beginning", canonical);
    expect(std::isfinite(value->toDouble()), "a decimal is finite", canonical);
  }
  static_cast<void>(Decimal::parsePrefix(text).toString());
}

void checkLocale(std::string_view text, const Locale& locale) {
  const auto number = parseNumber(text, locale);
  const auto amount = parseAmount(text, locale);
  expect(!number || amount == number, "a number is an amount", text);
  if (amount) {
    const std::string digits = decimalDescription(*amount, locale);
    const std::string grouped = amountText(*amount, locale);
    expect(parseNumber(digits, locale) == amount, "digits are read again", digits);
    expect(parseNumber(grouped, locale) == amount, "grouped digits are read again", grouped);
  }
  for (const auto& value : {parsePercentage(text, locale), scanNumber(text, locale)}) {
    expect(!value || std::isfinite(*value), "a number is finite", text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  checkMachine(text);
  for (const Locale& locale : locales()) checkLocale(text, locale);
  return 0;
}
