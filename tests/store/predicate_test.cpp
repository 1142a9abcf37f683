// What conditions say about records: nil, kinds, paths, LIKE, accessors.
#include "bokfolio/store/predicate.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "bokfolio/store/store_error.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

class PredicateTest : public ::testing::Test, protected TestStore {
 protected:
  bool holds(const Record& record, std::string_view text, std::vector<Value> arguments = {}) {
    return Predicate(text, std::move(arguments)).evaluate(record);
  }
};

// Every comparison between two values, with the values as constants and as stored keys, must say
// the same; so must the comparison turned round.
TEST_F(PredicateTest, ComparesByTheTableOfValues) {
  struct Case {
    Value left;
    Value right;
    std::string holding;  // of == != < <= > >=
  };
  const Date early = Date::fromSeconds(1);
  const Date late = Date::fromSeconds(2);
  const Decimal tenth = *Decimal::parse("0.1");
  auto* parent = context->insert<Parent>();
  auto* other = context->insert<Parent>();
  const double infinite = std::numeric_limits<double>::infinity();
  const std::int64_t least = std::numeric_limits<std::int64_t>::min();
  const std::vector<Case> cases = {
      {nullptr, nullptr, "=="},
      {nullptr, 0, "!="},
      {nullptr, "", "!="},
      {nullptr, early, "!="},
      {nullptr, parent, "!="},
      {nullptr, Decimal(0), "!="},
      {0, 0, "== <= >="},
      {-1, 1, "!= < <="},
      {least, least + 1, "!= < <="},
      {least, -1e300, "!= > >="},
      {1, Decimal(1), "== <= >="},
      {1, *Decimal::parse("1.5"), "!= < <="},
      {-1, *Decimal::parse("-1.5"), "!= > >="},
      {tenth, 0.1, "== <= >="},
      {tenth, Decimal(0), "!= > >="},
      {2, 1.5, "!= > >="},
      {Decimal(1), infinite, "!= < <="},
      {"a", "a", "== <= >="},
      {"a", "A", "!= > >="},
      {"a", "ab", "!= < <="},
      {"", "a", "!= < <="},
      {"z", "å", "!= < <="},
      {"1", 1, "!="},
      {early, late, "!= < <="},
      {late, late, "== <= >="},
      {early, 1'000'000, "!="},
      {parent, parent, "== <= >="},
      {parent, other, "!="},
      {parent, "Parent", "!="},
      {RecordSet({parent}), RecordSet({parent, parent}), "=="},
      {RecordSet({parent}), RecordSet({other}), "!="},
      {RecordSet(), nullptr, "!="},
  };
  auto* child = context->insert<Child>();
  const auto keyFor = [](const Value& value) -> std::string {
    switch (value.kind()) {
      case ValueKind::Integer:
        return "rank";
      case ValueKind::Decimal:
        return "amount";
      case ValueKind::Double:
        return "parent.scratch";
      case ValueKind::String:
        return "parent.name";
      case ValueKind::Date:
        return "day";
      case ValueKind::Record:
        return "sponsor";
      default:
        return "";
    }
  };
  const std::vector<std::pair<std::string, std::string>> signs = {
      {"==", "=="}, {"!=", "!="}, {"<", ">"}, {"<=", ">="}, {">", "<"}, {">=", "<="}};
  child->setParent(parent);
  for (const Case& each : cases) {
    SCOPED_TRACE(each.left.description() + " and " + each.right.description());
    const std::string key = keyFor(each.left);
    if (key.rfind("parent.", 0) == 0) {
      parent->setValueForKey(each.left, key.substr(7));
    } else if (!key.empty()) {
      child->setValueForKey(each.left, key);
    }
    for (const auto& [sign, turned] : signs) {
      const bool expected = (" " + each.holding + " ").find(" " + sign + " ") != std::string::npos;
      EXPECT_EQ(holds(*child, "%@ " + sign + " %@", {each.left, each.right}), expected) << sign;
      EXPECT_EQ(holds(*child, "NOT %@ " + sign + " %@", {each.left, each.right}), !expected);
      EXPECT_EQ(holds(*child, "%@ " + turned + " %@", {each.right, each.left}), expected) << sign;
      if (key.empty()) continue;
      EXPECT_EQ(holds(*child, key + " " + sign + " %@", {each.right}), expected) << sign;
      EXPECT_EQ(holds(*child, "%@ " + turned + " " + key, {each.right}), expected) << sign;
      EXPECT_EQ(holds(*child, key + " " + sign + " SELF." + key),
                sign.back() == '=' && sign != "!=");
    }
  }
}

TEST_F(PredicateTest, ReadsNilThroughNil) {
  auto* child = context->insert<Child>();
  child->setRank(std::nullopt);
  const std::vector<std::pair<std::string, bool>> cases = {
      {"parent == nil", true},
      {"parent.number == nil", true},
      {"parent.label.text == nil", true},
      {"parent.number != nil", false},
      {"parent.number != 5", true},
      {"parent.number == 5", false},
      {"parent.number < 5", false},
      {"NOT parent.number < 5", true},
      {"parent.name LIKE '*'", false},
      {"parent.name != 'x'", true},
      {"parent.children.@count == 0", false},
      {"parent.children.@count == nil", true},
      {"rank == nil", true},
      {"rank <= 0", false},
      {"rank == 0", false},
      {"rank != 0", true},
      {"day >= 2009-01-01T00:00:00Z", false},
      {"rank == parent.number", true},
      {"rank < parent.number", false},
      {"nil == rank AND 1 != rank", true},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(holds(*child, text), expected) << text;
}

TEST_F(PredicateTest, FollowsPathsAndCounts) {
  auto* parent = context->insert<Parent>();
  auto* child = context->insert<Child>();
  auto* label = context->insert<Label>();
  child->setParent(parent);
  child->setAmount(Decimal(4));
  label->setOwner(parent);
  label->setText("x");
  parent->setNumber(2);
  EXPECT_TRUE(holds(*child, "parent.label.text == 'x' AND parent.label == %@", {label}));
  EXPECT_TRUE(holds(*parent, "children.@count == 1 AND 1.0 >= children.@count"));
  EXPECT_FALSE(holds(*parent, "children.@count > 1 OR children.@count == 1.5"));
  EXPECT_TRUE(holds(*child, "parent.children.@count < parent.number"));
  EXPECT_TRUE(holds(*child, "SELF == %@ AND parent == %@", {child, parent}));
  EXPECT_TRUE(holds(*parent, "children == %@", {RecordSet({child})}));
  // Derived keys mean their accessor; announced ones hold nothing.
  EXPECT_TRUE(holds(*child, "doubled == 8 AND family == nil"));
  context->deleteObject(child);
  EXPECT_TRUE(holds(*parent, "children.@count == 0"));
  EXPECT_EQ(Predicate("number == 2").filtered({parent, context->insert<Parent>(), parent}),
            (std::vector<Record*>{parent, parent}));
}

TEST_F(PredicateTest, RefusesKeysThatAreNotThere) {
  auto* child = context->insert<Child>();
  for (const auto* text : {"colour == 1", "parent.colour == 1", "amount == colour",
                           "rank == 1 AND colour == 1", "doubled.colour == 1"})
    EXPECT_THROW(holds(*child, text), UndefinedKeyError) << text;
  for (const auto* text : {"parent.children.rank == 1", "amount.rank == 1", "amount.@count == 1",
                           "parent.@count == 1"})
    EXPECT_THROW(holds(*child, text), PredicateError) << text;
  EXPECT_THROW(context->fetchEntitiesWithName("Child", Predicate("colour == 1")),
               UndefinedKeyError);
}

TEST_F(PredicateTest, MatchesPatterns) {
  struct Case {
    std::string text;
    std::string pattern;
    bool like;
    bool likeAnyCase;
  };
  const std::vector<Case> cases = {
      {"", "", true, true},
      {"", "*", true, true},
      {"", "?", false, false},
      {"Kassa", "Kassa", true, true},
      {"Kassa", "kASSA", false, true},
      {"Kassa", "Kass", false, false},
      {"Kassa", "K*", true, true},
      {"Kassa", "*a", true, true},
      {"Kassa", "*S*", false, true},
      {"Kassa", "K??s?", true, true},
      {"Kassa", "K???????", false, false},
      {"Kassa", "**K**a**", true, true},
      {"abcabd", "*ab?", true, true},
      {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "*a*a*a*a*a*a*a*a*a*b", false, false},
      {"50%", "50%", true, true},
      {"a_b", "a.b", false, false},
      // Escapes.
      {"a*b", "a\\*b", true, true},
      {"axb", "a\\*b", false, false},
      {"a?b", "a\\?b", true, true},
      {"a\\b", "a\\\\b", true, true},
      {"a\\", "a\\", true, true},
      {"X", "\\x", false, true},
      // Beyond ASCII: whole characters, folded by Unicode.
      {"ÅÄÖ", "åäö", false, true},
      {"åäö", "ÅÄÖ", false, true},
      {"Överskott", "?verskott", true, true},
      {"\xF0\x9F\x93\x92", "?", true, true},
      {"\xF0\x9F\x93\x92x", "?X", false, true},
      {"\xF0\x9F\x93\x92\xF0\x9F\x93\x92", "*\xF0\x9F\x93\x92", true, true},
      {"Straße", "STRASSE", false, true},
      {"STRASSE", "stra?e", false, false},
      {"Kassa", "*å*", false, false},
      {"K", "\xE2\x84\xAA", false, true},  // the Kelvin sign folds to k
      {"i", "İ", false, false},
  };
  auto* parent = context->insert<Parent>();
  for (const Case& each : cases) {
    SCOPED_TRACE(each.text + " and " + each.pattern);
    parent->setName(each.text);
    EXPECT_EQ(holds(*parent, "name LIKE %@", {each.pattern}), each.like);
    EXPECT_EQ(holds(*parent, "name LIKE[c] %@", {each.pattern}), each.likeAnyCase);
    EXPECT_EQ(holds(*parent, "%@ LIKE[c] %@", {each.text, each.pattern}), each.likeAnyCase);
    auto* label = context->insert<Label>();
    label->setText(each.pattern);
    parent->setLabel(label);
    EXPECT_EQ(holds(*parent, "name LIKE[c] label.text"), each.likeAnyCase);
  }
  parent->setName(std::nullopt);
  parent->setNumber(1930);
  for (const auto* text : {"name LIKE '*'", "name LIKE[c] nil", "'x' LIKE name", "number LIKE '*'",
                           "'1930' LIKE number", "nil LIKE nil"})
    EXPECT_FALSE(holds(*parent, text)) << text;
}

}  // namespace
}  // namespace bokfolio::test
