#include "bokfolio/currency/reference_rates.hpp"
#include "bokfolio/model/ledger/book.hpp"

namespace bokfolio {

std::optional<Decimal> Book::exchangeRate(std::optional<std::string_view> code,
                                          ErrorOut error) const {
  const std::optional<std::string> home = currency();
  return exchangeRateBetween(home, code, error, environment());
}

std::optional<Decimal> Book::exchangeRateBetween(std::optional<std::string_view> codeA,
                                                 std::optional<std::string_view> codeB,
                                                 ErrorOut error, const Environment& environment) {
  const std::optional<ReferenceRates> rates = loadReferenceRates(environment, error);
  if (!rates || !codeA || !codeB) return std::nullopt;
  return rates->crossRate(*codeA, *codeB, error);
}

}  // namespace bokfolio
