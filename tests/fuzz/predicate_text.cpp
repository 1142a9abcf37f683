// Conditions as text: what is parsed is printed, and parses to itself again; with arguments in its
// places it holds for a record or does not, and its negation is the opposite.
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/store/internal/predicate/parser.hpp"
#include "bokfolio/store/internal/predicate/printing.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

// Values for the places, of each kind that has a text of its own.
std::vector<Value> argumentsFor(const predicate::Template& parsed, std::string_view text) {
  const std::vector<Value> all = {Value(nullptr),
                                  Value(1930),
                                  Value(std::string(text)),
                                  Value(*Decimal::parse("-12.50")),
                                  Value(1e300),
                                  Value(Date::fromSeconds(1'238'500'800))};
  std::vector<Value> arguments;
  for (const predicate::Place& place : parsed.places) {
    switch (place.kind) {
      case predicate::Place::Kind::Value:
        arguments.push_back(all[place.index % all.size()]);
        break;
      case predicate::Place::Kind::Integer:
        arguments.push_back(Value(-7));
        break;
      case predicate::Place::Kind::Key:
        arguments.push_back(Value(place.index % 2 == 0 ? "number" : "rows.@count"));
        break;
    }
  }
  return arguments;
}

void checkPrinting(const predicate::Template& parsed) {
  const std::string printed = predicate::print(*parsed.root);
  const auto again = predicate::parse(printed);
  expect(predicate::print(*again->root) == printed, "what is printed is printed again", printed);
  expect(again->places.size() == parsed.places.size(), "printing keeps the places", printed);
  if (parsed.places.empty()) {
    expect(*again->root == *parsed.root, "what is printed means the same", printed);
  }
}

void checkMeaning(const Predicate& condition) {
  Context& book = fuzz::book();
  try {
    const auto holding = book.fetchEntitiesWithName("Account", condition);
    const auto others = book.fetchEntitiesWithName("Account", Predicate::notPredicate(condition));
    expect(holding && others && holding->size() + others->size() == book.count("Account"),
           "a condition holds or does not", condition.description());
    for (const Record* record : *holding) {
      expect(condition.evaluate(*record), "a fetch and a question agree", condition.description());
    }
  } catch (const UndefinedKeyError&) {  // NOLINT(bugprone-empty-catch): it names no key of ours
  } catch (const PredicateError&) {     // NOLINT(bugprone-empty-catch): nested as deep as allowed
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  try {
    const auto parsed = predicate::parse(text);
    checkPrinting(*parsed);
    const Predicate condition(text, argumentsFor(*parsed, text));
    checkMeaning(condition);
  } catch (const PredicateError& refusal) {
    const std::string_view words = refusal.what();
    expect(!words.empty() && words.size() < 1000, "a refusal is a sentence", words);
  }
  return 0;
}
