// The language of predicates: which texts are conditions, what they mean, how they are written
// back, and what is said about those that are none.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bokfolio/store/internal/predicate/node.hpp"
#include "bokfolio/store/internal/predicate/parser.hpp"
#include "bokfolio/store/internal/predicate/printing.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::test {
namespace {

std::string repeated(std::string_view text, std::size_t times) {
  std::string all;
  for (; times > 0; --times) all += text;
  return all;
}

Date instant(std::int64_t microseconds) { return Date::fromMicroseconds(microseconds); }

TEST(PredicateTextTest, WritesConditionsBackInOneForm) {
  struct Case {
    std::string text;
    std::vector<Value> arguments;
    std::string printed;
  };
  const std::vector<Case> cases = {
      // Comparisons and their spellings.
      {"number == %@", {1930}, "number == 1930"},
      {"number=1", {}, "number == 1"},
      {"a<>1", {}, "a != 1"},
      {"a=<1", {}, "a <= 1"},
      {"a=>-1", {}, "a >= -1"},
      {"a<-1", {}, "a < -1"},
      {" a\t>\r\n1 ", {}, "a > 1"},
      {"1 < a", {}, "1 < a"},
      {"a == b", {}, "a == b"},
      {"name like 'x'", {}, "name LIKE \"x\""},
      {"name LIKE [c] %@", {"x*"}, "name LIKE[c] \"x*\""},
      {"name LIKE[C]'x'", {}, "name LIKE[c] \"x\""},
      // Joining: NOT before AND before OR.
      {"a=1 || b=2 && !c=3", {}, "a == 1 OR b == 2 AND NOT c == 3"},
      {"(a=1 or b=2) and c=3", {}, "(a == 1 OR b == 2) AND c == 3"},
      {"((a=1 AND b=2)) AND (c=3)", {}, "a == 1 AND b == 2 AND c == 3"},
      {"a=1 OR (b=2 OR c=3)", {}, "a == 1 OR b == 2 OR c == 3"},
      {"NOT (a=1 AND b=2)", {}, "NOT (a == 1 AND b == 2)"},
      {"not not a=1", {}, "NOT NOT a == 1"},
      {"!(a=1)", {}, "NOT a == 1"},
      {"a!=1", {}, "a != 1"},
      {"TRUE", {}, "TRUE"},
      {"no", {}, "FALSE"},
      {"FALSE OR TRUE AND a=1", {}, "a == 1"},
      {"TRUE OR a=1", {}, "TRUE OR a == 1"},
      {"TRUE == a AND NOT FALSE", {}, "1 == a AND NOT FALSE"},
      // Operands.
      {"entry.fiscalYear == nil", {}, "entry.fiscalYear == nil"},
      {"rows.@count == 0", {}, "rows.@count == 0"},
      {"a.b_2.rows.@count >= b", {}, "a.b_2.rows.@count >= b"},
      {"%K = %@", {"vatAccount", nullptr}, "vatAccount == nil"},
      {"%K < %d", {"entry.rows.@count", 3}, "entry.rows.@count < 3"},
      {"%K == 1", {"nil"}, "#nil == 1"},
      {"#and.or == #NOT", {}, "#and.or == #NOT"},
      {"null.nil == NULL", {}, "#null.nil == nil"},
      {"SELF == %@", {nullptr}, "SELF == nil"},
      {"self.number == 1", {}, "number == 1"},
      {"#self.number == 1", {}, "#self.number == 1"},
      {"åäö == 'ÅÄÖ'", {}, "åäö == \"ÅÄÖ\""},
      {"flag == YES AND b == No", {}, "flag == 1 AND b == 0"},
      {"a == +5", {}, "a == 5"},
      {"a == .5", {}, "a == 0.5"},
      {"a == -2.50", {}, "a == -2.5"},
      {"a == 1e3 OR a == 1.5E-3", {}, "a == 1000 OR a == 0.0015"},
      {"a == 9223372036854775808", {}, "a == 9223372036854775808"},
      {"a == %@", {Decimal(7)}, "a == 7"},
      {"a == %@", {0.1}, "a == 0.1"},
      {"a == %@", {1e300}, "a == 1e+300"},
      {"a == 'it\\'s' AND b == \"\\\"\\\\\\n\"", {}, "a == \"it's\" AND b == \"\\\"\\\\\\n\""},
      {"a == '%@ \"quoted\"'", {}, "a == \"%@ \\\"quoted\\\"\""},
      {"a == %@", {"nil' OR '1'='1"}, "a == \"nil' OR '1'='1\""},
      {"d < %@", {instant(0)}, "d < 1970-01-01T00:00:00Z"},
      {"d < %@", {instant(-1)}, "d < 1969-12-31T23:59:59.999999Z"},
      {"d < 2009-03-31T22:00:00.50Z", {}, "d < 2009-03-31T22:00:00.5Z"},
      {"a == %@", {std::string("\t\r\\n\xF0\x9F\x93\x92")}, "a == \"\\t\\r\\\\n\xF0\x9F\x93\x92\""},
      {"NOT NOT (a=1 OR NOT (b=2 AND (c=3 OR d=4)))",
       {},
       "NOT NOT (a == 1 OR NOT (b == 2 AND (c == 3 OR d == 4)))"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.text);
    const Predicate parsed(each.text, each.arguments);
    EXPECT_EQ(parsed.description(), each.printed);
    EXPECT_TRUE(*Predicate(each.printed).root() == *parsed.root());
  }
}

TEST(PredicateTextTest, SaysWhatIsWrongAndWhere) {
  struct Case {
    std::string text;
    std::vector<Value> arguments;
    std::size_t column;
    std::string says;
  };
  const std::vector<Case> cases = {
      {"", {}, 1, "expected a condition"},
      {"   ", {}, 4, "expected a condition"},
      {"a", {}, 2, "expected a comparison"},
      {"nil", {}, 4, "expected a comparison"},
      {"5 AND a=1", {}, 3, "expected a comparison"},
      {"a ==", {}, 5, "expected a key, a value"},
      {"a == )", {}, 6, "expected a key, a value"},
      {"a == 1 b == 2", {}, 8, "expected AND, OR or the end"},
      {"a == 1)", {}, 7, "expected AND, OR or the end"},
      {"(a == 1", {}, 8, "expected AND, OR or \")\""},
      {"a == 1 AND", {}, 11, "expected a condition"},
      {"a == 1 AND OR b == 1", {}, 12, "expected a condition"},
      {"NOT", {}, 4, "expected a condition"},
      {"a == 1 == 1", {}, 8, "expected AND, OR or the end"},
      {"TRUE FALSE", {}, 6, "expected AND, OR or the end"},
      {"a = 'abc", {}, 5, "without its end"},
      {"a = 'abc\\'", {}, 5, "without its end"},
      {"a.b. == 1", {}, 1, "no key path"},
      {"a..b == 1", {}, 1, "no key path"},
      {"a == b.@count.c", {}, 6, "no key path"},
      {"a == b.@sum.c", {}, 6, "no key path"},
      {"@count == 1", {}, 1, "no meaning"},
      {"a == #", {}, 7, "a key is missing"},
      {"a == $b", {}, 6, "no meaning"},
      {"a & b", {}, 3, "no meaning"},
      {"é == 1 | b = 2", {}, 8, "no meaning"},
      {"a == %", {}, 6, "%@, %d and %K"},
      {"a == %s", {"x"}, 6, "%@, %d and %K"},
      {"a == %@.b", {1}, 8, "a whole operand"},
      {"a LIKE[cd] 'x'", {}, 7, "[c] only"},
      {"a == 1.2.3", {}, 6, "no number"},
      {"a == -", {}, 6, "no number"},
      {"a == 12ab", {}, 6, "no number"},
      {"a == 1e999", {}, 6, "no number"},
      {"a == 123456789012345678901234567890123456789.5", {}, 6, "more digits"},
      {"a == 2009-02-30T00:00:00Z", {}, 6, "does not exist"},
      {"a == 2009-02-28T24:00:00Z", {}, 6, "does not exist"},
      {"a == %@ AND b == %@", {1}, 18, "1 arguments for 2 places"},
      {"a == %@", {1, 2}, 8, "2 arguments for 1 places"},
      {"a == %d", {"1"}, 6, "an integer"},
      {"a == %d", {Decimal(1)}, 6, "an integer"},
      {"%K == 1", {1}, 1, "the name of a key"},
      {"%K == 1", {"a b"}, 1, "is no key path"},
      {"%K == 1", {""}, 1, "is no key path"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.text);
    try {
      const Predicate parsed(each.text, each.arguments);
      ADD_FAILURE() << "read as " << parsed.description();
    } catch (const PredicateError& error) {
      const std::string message = error.what();
      EXPECT_NE(message.find(each.says), std::string::npos) << message;
      const std::string place = "column " + std::to_string(each.column) + " of \"" + each.text;
      EXPECT_NE(message.find(place), std::string::npos) << message;
    }
  }
}

TEST(PredicateTextTest, RefusesWhatIsTooLongOrTooDeep) {
  const std::size_t deepest = predicate::kMaximumNesting;
  EXPECT_NO_THROW(Predicate(repeated("(", deepest) + "a=1" + repeated(")", deepest)));
  EXPECT_THROW(Predicate(repeated("(", deepest + 1) + "a=1" + repeated(")", deepest + 1)),
               PredicateError);
  EXPECT_THROW(Predicate(repeated("!", 100000)), PredicateError);
  EXPECT_THROW(Predicate(repeated("(", 60000)), PredicateError);
  EXPECT_THROW(Predicate("a = '" + repeated("x", 70000) + "'"), PredicateError);
  try {
    const Predicate parsed("a = 1 " + repeated("ö", 5000));
    ADD_FAILURE() << "read as " << parsed.description();
  } catch (const PredicateError& error) {
    EXPECT_LT(std::string_view(error.what()).size(), 300U) << "long texts are cut in messages";
  }

  // A condition that can be made can also be printed and read back.
  Predicate deep("a = 1");
  const Predicate other("b = 2");
  EXPECT_THROW(
      {
        for (std::size_t level = 0; level < 1000; ++level)
          deep = Predicate::notPredicate(Predicate::orPredicate({deep, other}));
      },
      PredicateError);
  EXPECT_TRUE(*Predicate(deep.description()).root() == *deep.root());
  Predicate wide("a = 1");
  for (int part = 0; part < 1000; ++part) wide = Predicate::andPredicate({wide, other});
  EXPECT_TRUE(*Predicate(wide.description()).root() == *wide.root());
}

TEST(PredicateTextTest, JoinsParts) {
  const Predicate a("a = 1");
  const Predicate both("b = 2 OR c = 3");
  EXPECT_EQ(Predicate::andPredicate({a, both}).description(), "a == 1 AND (b == 2 OR c == 3)");
  EXPECT_EQ(Predicate::orPredicate({a, both}).description(), "a == 1 OR b == 2 OR c == 3");
  EXPECT_EQ(Predicate::andPredicate({a}).description(), "a == 1");
  EXPECT_EQ(Predicate::andPredicate({}).description(), "TRUE");
  EXPECT_EQ(Predicate::orPredicate({}).description(), "FALSE");
  EXPECT_EQ(Predicate::notPredicate(both).description(), "NOT (b == 2 OR c == 3)");
}

TEST(PredicateTextTest, OneTextServesManyArguments) {
  const Predicate first("number == %@ AND name == %@", {1, "x"});
  const Predicate second("number == %@ AND name == %@", {2, "y"});
  EXPECT_EQ(first.description(), "number == 1 AND name == \"x\"");
  EXPECT_EQ(second.description(), "number == 2 AND name == \"y\"");
  for (int text = 0; text < 2000; ++text)
    EXPECT_EQ(Predicate("k" + std::to_string(text) + " = %d", {text}).description(),
              "k" + std::to_string(text) + " == " + std::to_string(text));
}

}  // namespace
}  // namespace bokfolio::test
