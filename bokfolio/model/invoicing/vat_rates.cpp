#include "bokfolio/model/invoicing/vat_rates.hpp"

#include <unordered_map>

namespace bokfolio {

namespace {

using Rates = std::unordered_map<std::string, Decimal>;

Rates makeRates() {
  const auto withTenths = [](unsigned tenths) { return Decimal::fromParts(tenths, -1, false); };
  return {
      {"se", 25}, {"be", 21},
      {"bg", 20}, {"dk", 25},
      {"cz", 20}, {"de", 19},
      {"ee", 18}, {"es", 18},
      {"ie", 21}, {"it", 20},
      {"cy", 15}, {"lv", 18},
      {"lt", 18}, {"no", 25},
      {"gr", 23}, {"nl", 19},
      {"at", 20}, {"pl", 22},
      {"pt", 21}, {"ro", 24},
      {"si", 20}, {"sk", 19},
      {"fi", 23}, {"fr", withTenths(196)},
      {"uk", 25}, {"gb", withTenths(175)},
  };
}

std::string lowerCase(std::string text) {
  constexpr char kCase = 'a' - 'A';
  for (char& letter : text)
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + kCase);
  return text;
}

}  // namespace

Decimal vatRateForCountry(const std::optional<std::string>& countryCode) {
  static const Rates kRates = makeRates();
  if (!countryCode) return {};
  const auto rate = kRates.find(lowerCase(*countryCode));
  return rate == kRates.end() ? Decimal() : rate->second;
}

}  // namespace bokfolio
