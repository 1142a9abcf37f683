#include "bokfolio/store/internal/predicate/parser.hpp"

#include <mutex>
#include <unordered_map>

#include "bokfolio/store/internal/predicate/lexer.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::predicate {

namespace {

// condition   = conjunction { OR conjunction }
// conjunction = negation { AND negation }
// negation    = NOT negation | "(" condition ")" | truth | operand comparison operand
class Parser {
 public:
  explicit Parser(std::string_view text) : lexer_(text), token_(lexer_.next()) {}

  std::shared_ptr<const Template> run(std::string_view text) {
    auto parsed = std::make_shared<Template>();
    parsed->text = text;
    parsed->root = condition();
    if (token_.kind != TokenKind::End) lexer_.fail(token_.offset, "expected AND, OR or the end");
    parsed->places = std::move(places_);
    return parsed;
  }

 private:
  Token take() {
    Token taken = std::move(token_);
    token_ = lexer_.next();
    return taken;
  }

  NodePointer condition() {
    std::vector<NodePointer> parts{conjunction()};
    while (token_.kind == TokenKind::Or) {
      take();
      parts.push_back(conjunction());
    }
    return makeOr(parts);
  }

  NodePointer conjunction() {
    std::vector<NodePointer> parts{negation()};
    while (token_.kind == TokenKind::And) {
      take();
      parts.push_back(negation());
    }
    return makeAnd(parts);
  }

  NodePointer negation() {
    if (token_.kind != TokenKind::Not && token_.kind != TokenKind::Open) return comparison();
    if (++depth_ > kMaximumNesting) lexer_.fail(token_.offset, "nested too deeply");
    NodePointer node;
    if (take().kind == TokenKind::Not) {
      node = makeNot(negation());
    } else {
      node = condition();
      if (token_.kind != TokenKind::Close) lexer_.fail(token_.offset, "expected AND, OR or \")\"");
      take();
    }
    --depth_;
    return node;
  }

  NodePointer comparison() {
    const TokenKind kind = token_.kind;
    const Value truth = token_.value;
    Operand left = operand("expected a condition");
    if (token_.kind != TokenKind::Compare) {
      if (kind == TokenKind::Truth) return truth.asBool() ? makeAnd({}) : makeOr({});
      lexer_.fail(token_.offset, "expected a comparison");
    }
    const Comparison comparison = take().comparison;
    return makeComparison(comparison, std::move(left),
                          operand("expected a key, a value or an argument"));
  }

  Operand operand(std::string_view wanted) {
    switch (token_.kind) {
      case TokenKind::Path:
        return take().path;
      case TokenKind::Literal:
      case TokenKind::Truth:
        return take().value;
      case TokenKind::Place:
        places_.push_back({token_.place, places_.size(), token_.offset});
        take();
        return places_.back();
      default:
        lexer_.fail(token_.offset, wanted);
    }
  }

  Lexer lexer_;
  Token token_;
  std::vector<Place> places_;
  std::size_t depth_ = 0;
};

// Fills the places of one tree. Parts without places are shared with the template.
class Filling {
 public:
  Filling(const Template& parsed, std::vector<Value> arguments)
      : parsed_(parsed), arguments_(std::move(arguments)) {}

  NodePointer fill(const NodePointer& node) {
    if (node->kind == Node::Kind::Compare) return fillComparison(node);
    auto filled = std::make_shared<Node>(*node);
    for (NodePointer& part : filled->parts) part = fill(part);
    return filled;
  }

 private:
  NodePointer fillComparison(const NodePointer& node) {
    if (!std::holds_alternative<Place>(node->left) && !std::holds_alternative<Place>(node->right))
      return node;
    return makeComparison(node->comparison, fillOperand(node->left), fillOperand(node->right));
  }

  Operand fillOperand(const Operand& operand) {
    const auto* place = std::get_if<Place>(&operand);
    if (place == nullptr) return operand;
    Value& argument = arguments_[place->index];
    if (place->kind == Place::Kind::Value) return std::move(argument);
    if (place->kind == Place::Kind::Integer) {
      if (argument.integer() == nullptr) fail(*place, "%d takes an integer");
      return std::move(argument);
    }
    if (argument.string() == nullptr) fail(*place, "%K takes the name of a key");
    try {
      return parseKeyPath(*argument.string());
    } catch (const PredicateError& error) {
      fail(*place, error.what());
    }
  }

  [[noreturn]] void fail(const Place& place, std::string_view what) const {
    throw PredicateError(located(parsed_.text, place.offset, what));
  }

  const Template& parsed_;
  std::vector<Value> arguments_;
};

// Programs use few texts; whoever builds texts at run time shall not fill the memory with them.
class TemplateCache {
 public:
  std::shared_ptr<const Template> get(std::string_view format) {
    {
      const std::lock_guard lock(mutex_);
      const auto found = byText_.find(format);
      if (found != byText_.end()) return found->second;
    }
    auto parsed = parse(format);
    if (format.size() > kLongest) return parsed;
    const std::lock_guard lock(mutex_);
    if (byText_.size() >= kMost) byText_.clear();
    byText_.emplace(parsed->text, parsed);
    return parsed;
  }

 private:
  static constexpr std::size_t kMost = 512;
  static constexpr std::size_t kLongest = 1024;

  std::mutex mutex_;
  // The keys are the templates' own texts.
  std::unordered_map<std::string_view, std::shared_ptr<const Template>> byText_;
};

}  // namespace

std::shared_ptr<const Template> parse(std::string_view format) {
  if (format.size() > kMaximumBytes)
    throw PredicateError(located(format, 0, "a condition of more than 16 MiB"));
  return Parser(format).run(format);
}

std::shared_ptr<const Template> parseCached(std::string_view format) {
  // Never destroyed: predicates may be made while the process ends.
  static TemplateCache& cache = *new TemplateCache;
  return cache.get(format);
}

NodePointer instantiate(const Template& parsed, std::vector<Value> arguments) {
  if (arguments.size() != parsed.places.size()) {
    const std::size_t offset = arguments.size() < parsed.places.size()
                                   ? parsed.places[arguments.size()].offset
                                   : parsed.text.size();
    throw PredicateError(located(parsed.text, offset,
                                 std::to_string(arguments.size()) + " arguments for " +
                                     std::to_string(parsed.places.size()) + " places"));
  }
  if (arguments.empty()) return parsed.root;
  return Filling(parsed, std::move(arguments)).fill(parsed.root);
}

}  // namespace bokfolio::predicate
