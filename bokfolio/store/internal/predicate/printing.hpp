// Printing: a condition as a text that parses to the same condition. Only records, sets of records
// and bytes have no text of their own; they stand as descriptions.
#pragma once

#include <string>

#include "bokfolio/store/internal/predicate/node.hpp"

namespace bokfolio::predicate {

std::string print(const Node& node);

}  // namespace bokfolio::predicate
