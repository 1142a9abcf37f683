#include "bokfolio/store/internal/predicate/node.hpp"

#include <algorithm>

#include "bokfolio/store/store_error.hpp"

namespace bokfolio::predicate {

namespace {

constexpr std::string_view kCount = "@count";

void checkNesting(std::size_t nesting) {
  if (nesting > kMaximumNesting) throw PredicateError("a condition is nested too deeply");
}

NodePointer join(Node::Kind kind, const std::vector<NodePointer>& parts) {
  Node node{kind, {}, {}, {}, {}, 0};
  for (const NodePointer& part : parts) {
    if (part->kind == kind) {
      node.parts.insert(node.parts.end(), part->parts.begin(), part->parts.end());
    } else {
      node.parts.push_back(part);
    }
  }
  if (node.parts.size() == 1) return node.parts.front();
  for (const NodePointer& part : node.parts) {
    // AND binds closer than OR: only an Or within an And needs parentheses.
    const bool enclosed = kind == Node::Kind::And && part->kind == Node::Kind::Or;
    node.nesting = std::max(node.nesting, part->nesting + (enclosed ? 1 : 0));
  }
  checkNesting(node.nesting);
  return std::make_shared<const Node>(std::move(node));
}

}  // namespace

NodePointer makeComparison(Comparison comparison, Operand left, Operand right) {
  return std::make_shared<const Node>(
      Node{Node::Kind::Compare, comparison, std::move(left), std::move(right), {}, 0});
}

NodePointer makeAnd(const std::vector<NodePointer>& parts) { return join(Node::Kind::And, parts); }

NodePointer makeOr(const std::vector<NodePointer>& parts) { return join(Node::Kind::Or, parts); }

NodePointer makeNot(NodePointer part) {
  const bool enclosed = part->kind == Node::Kind::And || part->kind == Node::Kind::Or;
  Node node{Node::Kind::Not, {}, {}, {}, {}, part->nesting + (enclosed ? 2 : 1)};
  checkNesting(node.nesting);
  node.parts.push_back(std::move(part));
  return std::make_shared<const Node>(std::move(node));
}

bool operator==(const Node& a, const Node& b) {
  if (a.kind != b.kind) return false;
  if (a.kind == Node::Kind::Compare)
    return a.comparison == b.comparison && a.left == b.left && a.right == b.right;
  return std::equal(a.parts.begin(), a.parts.end(), b.parts.begin(), b.parts.end(),
                    [](const NodePointer& x, const NodePointer& y) { return *x == *y; });
}

bool startsIdentifier(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         character == '_' || static_cast<unsigned char>(character) >= 0x80;
}

bool continuesIdentifier(char character) {
  return startsIdentifier(character) || (character >= '0' && character <= '9');
}

bool isIdentifier(std::string_view text) {
  return !text.empty() && startsIdentifier(text.front()) &&
         std::all_of(text.begin(), text.end(), continuesIdentifier);
}

KeyPath parseKeyPath(std::string_view text) {
  KeyPath path;
  std::size_t from = 0;
  while (true) {
    const std::size_t dot = std::min(text.find('.', from), text.size());
    const std::string_view key = text.substr(from, dot - from);
    const bool last = dot == text.size();
    if (key == kCount && last && !path.keys.empty()) {
      path.count = true;
    } else if (isIdentifier(key)) {
      path.keys.emplace_back(key);
    } else {
      throw PredicateError("\"" + std::string(text) + "\" is no key path");
    }
    if (last) return path;
    from = dot + 1;
  }
}

}  // namespace bokfolio::predicate
