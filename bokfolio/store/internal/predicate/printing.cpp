#include "bokfolio/store/internal/predicate/printing.hpp"

#include <array>
#include <charconv>

#include "bokfolio/store/internal/predicate/date_literal.hpp"
#include "bokfolio/store/internal/predicate/lexer.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio::predicate {

namespace {

std::string_view sign(Comparison comparison) {
  switch (comparison) {
    case Comparison::Equal:
      return " == ";
    case Comparison::NotEqual:
      return " != ";
    case Comparison::Less:
      return " < ";
    case Comparison::LessOrEqual:
      return " <= ";
    case Comparison::Greater:
      return " > ";
    case Comparison::GreaterOrEqual:
      return " >= ";
    case Comparison::Like:
      return " LIKE ";
    case Comparison::LikeAnyCase:
      return " LIKE[c] ";
  }
  return {};
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\r':
        out += "\\r";
        break;
      case '"':
      case '\\':
        out += '\\';
        [[fallthrough]];
      default:
        out += c;
    }
  }
  return out += '"';
}

std::string printReal(double real) {
  if (const auto exact = Decimal::fromDouble(real)) return exact->toString();
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), real);
  return {text.data(), written.ptr};
}

std::string printValue(const Value& value) {
  switch (value.kind()) {
    case ValueKind::String:
      return quoted(*value.string());
    case ValueKind::Double:
      return printReal(*value.real());
    case ValueKind::Date:
      return dateLiteral(*value.date()).value_or(value.description());
    case ValueKind::Record:
      return value.record()->entityName() + ":" + std::to_string(value.record()->id());
    default:
      return value.description();
  }
}

std::string printPath(const KeyPath& path) {
  if (path.keys.empty()) return "SELF";
  std::string text;
  for (const std::string& key : path.keys) {
    if (!text.empty()) text += '.';
    text += key;
  }
  if (path.count) text += ".@count";
  // A reserved word in front of a dot is read as a key, but for SELF.
  return isReservedWord(path.keys.front()) ? "#" + text : text;
}

std::string printOperand(const Operand& operand) {
  if (const auto* path = std::get_if<KeyPath>(&operand)) return printPath(*path);
  if (const auto* value = std::get_if<Value>(&operand)) return printValue(*value);
  constexpr std::array<std::string_view, 3> kPlaces = {"%@", "%d", "%K"};
  return std::string(kPlaces[static_cast<std::size_t>(std::get<Place>(operand).kind)]);
}

std::string enclosed(const Node& part, bool needed) {
  return needed ? "(" + print(part) + ")" : print(part);
}

}  // namespace

std::string print(const Node& node) {
  const bool isAnd = node.kind == Node::Kind::And;
  switch (node.kind) {
    case Node::Kind::Compare:
      return printOperand(node.left) + std::string(sign(node.comparison)) +
             printOperand(node.right);
    case Node::Kind::Not: {
      const Node& part = *node.parts.front();
      const bool joined = part.kind == Node::Kind::And || part.kind == Node::Kind::Or;
      return "NOT " + enclosed(part, joined && !part.parts.empty());
    }
    case Node::Kind::And:
    case Node::Kind::Or:
      break;
  }
  if (node.parts.empty()) return isAnd ? "TRUE" : "FALSE";
  std::string text;
  for (const NodePointer& part : node.parts) {
    if (!text.empty()) text += isAnd ? " AND " : " OR ";
    text += enclosed(*part, isAnd && part->kind == Node::Kind::Or && !part->parts.empty());
  }
  return text;
}

}  // namespace bokfolio::predicate
