// Amounts of money and percentages as text for people, in the styles of a locale: where the
// currency's symbol stands, how many decimals the currency has. Rounded half to even, as such text
// customarily is; who needs every digit uses number_text.hpp.
#pragma once

#include <optional>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

// 1234.5 SEK is "1 234,50 kr" in sv_SE (with no-break spaces) and "SEK 1,234.50" in en_US. Without
// a code, in the locale's own currency; a code of other than three letters gives the amount alone.
BOKFOLIO_EXPORT std::string currencyText(const Decimal& value,
                                         const std::optional<std::string>& currencyCode,
                                         const Locale& locale);

// In whole percent: 0.1 is "10 %" in sv_SE and "10%" in en_US, 0.125 is "12%".
BOKFOLIO_EXPORT std::string percentText(double fraction, const Locale& locale);

}  // namespace bokfolio
