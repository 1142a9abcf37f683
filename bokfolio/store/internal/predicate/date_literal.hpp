// Dates as predicates write them: instants in UTC, "2009-03-31T22:00:00Z" or with up to six
// decimals of a second.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/platform/date.hpp"

namespace bokfolio::predicate {

// Length of the date that the text begins with; 0 when it begins with none.
std::size_t dateLiteralLength(std::string_view text);
// nullopt for a day or time that does not exist.
std::optional<Date> parseDateLiteral(std::string_view text);
// nullopt outside the years 0 to 9999, which the form cannot write.
std::optional<std::string> dateLiteral(Date date);

}  // namespace bokfolio::predicate
