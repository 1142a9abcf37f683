// Node: a condition as a tree, knowing no entity: its key paths are names. Parsing makes it,
// printing writes it, binding resolves it for an entity. Trees are shared and never change.
//
// Invariants: an And has no And among its parts, an Or no Or, neither has a single part; an And
// without parts is true, an Or without parts is false.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "bokfolio/store/value.hpp"

namespace bokfolio::predicate {

enum class Comparison : std::uint8_t {
  Equal,
  NotEqual,
  Less,
  LessOrEqual,
  Greater,
  GreaterOrEqual,
  Like,
  LikeAnyCase,
};

// The keys from the record onward; no keys is the record itself.
struct KeyPath {
  std::vector<std::string> keys;
  bool count = false;  // the number of members of the to-many that the keys lead to

  friend bool operator==(const KeyPath&, const KeyPath&) = default;
};

// A place that an argument takes. Trees that leave the parser's instantiate() have none.
struct Place {
  enum class Kind : std::uint8_t { Value, Integer, Key };
  Kind kind;
  std::size_t index;
  std::size_t offset;  // in the format text

  friend bool operator==(const Place&, const Place&) = default;
};

using Operand = std::variant<KeyPath, Value, Place>;

struct Node;
using NodePointer = std::shared_ptr<const Node>;

struct Node {
  enum class Kind : std::uint8_t { Compare, And, Or, Not };

  Kind kind;
  Comparison comparison = Comparison::Equal;  // Compare
  Operand left;
  Operand right;
  std::vector<NodePointer> parts;  // And, Or: any number; Not: one
  // Levels of NOT and of parentheses that the condition's text needs.
  std::size_t nesting = 0;
};

// Deeper conditions are refused, so that nothing that walks a tree can exhaust the stack.
inline constexpr std::size_t kMaximumNesting = 200;

NodePointer makeComparison(Comparison comparison, Operand left, Operand right);
// Throw PredicateError beyond the maximum nesting.
NodePointer makeAnd(const std::vector<NodePointer>& parts);
NodePointer makeOr(const std::vector<NodePointer>& parts);
NodePointer makeNot(NodePointer part);

// Same condition, written the same way. Values are equal as values: 1 equals 1.0.
bool operator==(const Node& a, const Node& b);

// Whether the text may stand for a key without more ado: a letter or '_', then letters, digits,
// '_'. Every character beyond ASCII counts as a letter.
bool isIdentifier(std::string_view text);
bool startsIdentifier(char character);
bool continuesIdentifier(char character);

// "entry.fiscalYear", "rows.@count". Throws PredicateError for a text that is no path.
KeyPath parseKeyPath(std::string_view text);

}  // namespace bokfolio::predicate
