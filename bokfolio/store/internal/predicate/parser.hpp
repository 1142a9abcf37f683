// Parser: from a format text to a condition. Parsing knows no schema; it is done once for a text
// and the result kept. Arguments are filled in afterwards and stay values: they never become text.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "bokfolio/store/internal/predicate/node.hpp"

namespace bokfolio::predicate {

// A parsed format text whose places are still open.
struct Template {
  std::string text;
  NodePointer root;
  std::vector<Place> places;  // by index
};

// Throws PredicateError, with text and column, for a text that is no condition, and for one beyond
// the bounds of the lexer.
std::shared_ptr<const Template> parse(std::string_view format);
// The same through a store of recent texts that all threads share.
std::shared_ptr<const Template> parseCached(std::string_view format);
// Throws PredicateError for too few or too many arguments and for one of the wrong kind.
NodePointer instantiate(const Template& parsed, std::vector<Value> arguments);

}  // namespace bokfolio::predicate
