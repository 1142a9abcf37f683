// Rebates as text: reading what users type, and writing it.
#include <initializer_list>
#include <utility>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/platform/currency_text.hpp"
#include "bokfolio/platform/number_parsing.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

void removePrefix(std::string_view& text, std::string_view prefix) {
  if (text.starts_with(prefix)) text.remove_prefix(prefix.size());
}

std::optional<Decimal> percentageIn(std::string_view text) {
  std::string joined(text);
  for (const std::string_view end : {" %", "\u00A0%", "\u202F%"}) {
    if (text.ends_with(end)) joined = std::string(text.substr(0, text.size() - end.size())) + "%";
  }
  const auto fraction = parsePercentage(joined, Locale("en_GB"));
  return fraction ? Decimal::fromDouble(*fraction * 100) : std::nullopt;
}

std::optional<Decimal> amountIn(std::string_view text,
                                const std::optional<std::string>& currencyCode,
                                const Locale& locale) {
  if (!currencyCode) return parseAmount(text, locale);
  removePrefix(text, *currencyCode);
  for (const auto& [code, symbol] : std::initializer_list<std::pair<const char*, const char*>>{
           {"USD", "$"}, {"GBP", "£"}, {"EUR", "€"}})
    if (*currencyCode == code) removePrefix(text, symbol);
  return parseAmount(text, locale);
}

std::optional<std::string> currencyOf(const Allowance& allowance) {
  const Invoice* invoice = allowance.invoice();
  if (invoice == nullptr && allowance.invoiceline() != nullptr)
    invoice = allowance.invoiceline()->invoice();
  return invoice == nullptr ? std::nullopt : invoice->currency();
}

std::string withCrownsBehind(std::string text) {
  constexpr std::string_view kCrowns = "kr";
  if (!text.starts_with(kCrowns)) return text;
  return std::string(trimmedOfBlanks(std::string_view(text).substr(kCrowns.size()))) + " kr";
}

}  // namespace

Allowance* Allowance::createAllowanceFromString(const std::optional<std::string>& text,
                                                const std::optional<std::string>& currencyCode,
                                                Context& context) {
  if (!text) return nullptr;
  const std::string_view typed = trimmedOfBlanks(*text);
  const auto percentage = percentageIn(typed);
  const auto value =
      percentage ? percentage : amountIn(typed, currencyCode, context.environment().locale());
  if (!value) return nullptr;
  auto* made = context.insert<Allowance>();
  made->setValue(value);
  made->setAbsolute(!percentage);
  return made;
}

Value Allowance::formattedValue() const {
  return absolute() ? Value(value()) : Value(description());
}

std::string Allowance::description() const {
  const Decimal own = value().value_or(Decimal());
  const Locale& locale = environment().locale();
  if (!absolute()) return percentText(own.toDouble() * 0.01, locale);
  return withCrownsBehind(currencyText(own, currencyOf(*this), locale));
}

}  // namespace bokfolio
