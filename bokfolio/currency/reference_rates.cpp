#include "bokfolio/currency/reference_rates.hpp"

#include <utility>
#include <vector>

#include "bokfolio/platform/xml.hpp"

namespace bokfolio {

namespace {

constexpr std::string_view kEuro = "EUR";

std::nullopt_t unusable(ErrorOut error, std::string description) {
  if (error != nullptr) {
    *error = Error(kCurrencyErrorDomain, static_cast<int>(CurrencyErrorCode::RateUnusable),
                   std::move(description));
  }
  return std::nullopt;
}

// nullptr when the code is not in the table.
const std::optional<Decimal>* perEuro(const ReferenceRates::Table& table, std::string_view code) {
  static const std::optional<Decimal> one = Decimal(1);
  if (code == kEuro) return &one;
  const auto found = table.find(code);
  return found == table.end() ? nullptr : &found->second;
}

std::string noNumber(std::string_view code) {
  return "The reference rate of " + std::string(code) + " is not a number.";
}

}  // namespace

std::optional<ReferenceRates> ReferenceRates::read(std::string_view document, ErrorOut error) {
  const std::optional<XmlDocument> xml = XmlDocument::parse(document, {}, error);
  if (!xml) return std::nullopt;
  ReferenceRates rates;
  for (const XmlElement* element : xml->root().select("./Cube/Cube/Cube")) {
    const std::vector<XmlAttribute>& attributes = element->attributes();
    if (attributes.empty()) continue;
    rates.table_[attributes[0].value] =
        attributes.size() < 2 ? std::nullopt : Decimal::parse(attributes[1].value);
  }
  return rates;
}

std::optional<Decimal> ReferenceRates::crossRate(std::string_view codeA, std::string_view codeB,
                                                 ErrorOut error) const {
  const std::optional<Decimal>* rateA = perEuro(table_, codeA);
  const std::optional<Decimal>* rateB = perEuro(table_, codeB);
  if (rateA == nullptr || rateB == nullptr) return std::nullopt;
  if (!rateA->has_value()) return unusable(error, noNumber(codeA));
  if (!rateB->has_value()) return unusable(error, noNumber(codeB));
  try {
    return **rateA / **rateB;
  } catch (const DecimalError& failure) {
    if (failure.kind() == DecimalError::Kind::DivisionByZero) {
      return unusable(error, "The reference rate of " + std::string(codeB) + " is zero.");
    }
    return unusable(error, "The reference rates of " + std::string(codeA) + " and " +
                               std::string(codeB) + " are too far apart.");
  }
}

std::optional<ReferenceRates> loadReferenceRates(const Environment& environment, ErrorOut error) {
  const ReferenceRateSource& source = environment.referenceRateSource();
  HttpRequest request;
  request.url = source.scheme + "://" + source.host + std::string(kReferenceRatePath);
  request.timeout = source.timeout;
  request.connectTimeout = source.timeout;
  request.maximumBytes = source.maximumBytes;
  request.schemes = {"https"};
  if (source.scheme == "http") request.schemes.emplace_back("http");
  const std::optional<std::string> document = environment.httpClient().get(request, error);
  if (!document) return std::nullopt;
  std::optional<ReferenceRates> rates = ReferenceRates::read(*document, error);
  if (rates && rates->table().empty()) {
    environment.log().write("The document of reference rates holds no rates.");
  }
  return rates;
}

}  // namespace bokfolio
