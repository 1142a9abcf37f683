// Charts of accounts that come with the library: what a new document may begin with. A chart is the
// resource "chart/<name>.accounts", UTF-8 text with fields divided by "|":
//   # a comment
//   languages | sv | en
//   1510 | asset | Kundfordringar | Owed by customers | accountsReceivable
// the number, the type (asset, debt, income, cost, equity), the name in each language, and, for an
// account that the book refers to, the book's key.
#pragma once

#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

class Context;

inline constexpr std::string_view kChartErrorDomain = "BokfolioChartErrorDomain";

enum class ChartErrorCode : int {
  NotFound = 1,   // no chart of that name among the resources
  Malformed = 2,  // the chart has a line that cannot be read
};

// The chart for a small business in Sweden.
inline constexpr std::string_view kSwedishChart = "sweden";

// Inserts the chart's accounts, named in the language of the environment's locale (else in English,
// else in the chart's first language). Accounts whose number the document has already are left as
// they are. Where the current book has no account for one of its keys yet, the chart's is set.
// false, and nothing changed, when the chart is missing or any line of it is faulty. Saves nothing.
BOKFOLIO_EXPORT bool installChart(Context& context, std::string_view name,
                                  ErrorOut error = nullptr);

}  // namespace bokfolio
