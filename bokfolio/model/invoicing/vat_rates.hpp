// The table of standard VAT rates by country, built once for the process. It stands as it was
// agreed on and is not kept up to date: a rate is only the first proposal for a new article or a
// new line of a supplier's bill, which the user changes. Great Britain is there under two codes,
// with different rates.
#pragma once

#include <optional>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {

// Percent, for a country code in any case; zero for a country that the table lacks, and for nil.
BOKFOLIO_EXPORT Decimal vatRateForCountry(const std::optional<std::string>& countryCode);

}  // namespace bokfolio
