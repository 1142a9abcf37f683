// Decimals as text for people: the locale's decimal separator, minus sign, digits and grouping.
// Exact to the last of a decimal's 38 digits. Text for machines is Decimal::toString.
#pragma once

#include <functional>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

// A host's way to write a number.
using NumberFormatter = std::function<std::string(const Decimal&)>;

// Every digit of the value, without grouping and without trailing zeros: -1234.50 is "−1234,5" in
// sv_SE (the minus is U+2212 there) and "-1234.5" in en_US.
BOKFOLIO_EXPORT std::string decimalDescription(const Decimal& value, const Locale& locale);

// Grouped, with two decimals, or as many as the value has when it has more: 1234.5 is "1 234,50" in
// sv_SE (grouped by U+00A0). For amounts in tables.
BOKFOLIO_EXPORT std::string amountText(const Decimal& value, const Locale& locale);

}  // namespace bokfolio
