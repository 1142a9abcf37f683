// The document of reference rates: every published rate is the one that comes out, and rates there
// and back are each other's inverse.
#include "bokfolio/currency/reference_rates.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

void checkRate(const ReferenceRates& rates, const std::string& code,
               const std::optional<Decimal>& published) {
  std::optional<Error> error;
  const auto rate = rates.crossRate(code, "EUR", &error);
  fuzz::expectExplained(rate.has_value(), error);
  if (code == "EUR") return expect(rate == Decimal(1), "a euro is a euro");
  expect(rate == published, "a rate is the published one", code);
  error.reset();
  const auto back = rates.crossRate("EUR", code, &error);
  fuzz::expectExplained(back.has_value(), error);
  expect(!back || (published && !published->isZero()), "nothing is divided by nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<Error> error;
  const auto rates = ReferenceRates::read(fuzz::textOf(data, size), &error);
  fuzz::expectExplained(rates.has_value(), error);
  if (!rates) return 0;
  for (const auto& [code, published] : rates->table()) checkRate(*rates, code, published);
  expect(rates->table().contains("no such") || !rates->crossRate("no such", "EUR"),
         "a code that is not there has no rate");
  return 0;
}
