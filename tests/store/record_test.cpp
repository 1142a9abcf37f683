#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bokfolio/store/store_error.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

class RecordTest : public ::testing::Test, protected TestStore {};

TEST_F(RecordTest, BothSidesOfARelationshipChangeTogether) {
  auto* a = context->insert<Parent>();
  auto* b = context->insert<Parent>();
  auto* child = context->insert<Child>();
  child->setParent(a);
  EXPECT_EQ(a->children().snapshot(), std::vector<Record*>{child});
  child->setParent(b);
  EXPECT_TRUE(a->children().empty());
  EXPECT_EQ(b->children().count(), 1U);
  a->setValueForKey(RecordSet({child}), "children");
  EXPECT_EQ(child->parent(), a);
  a->setValueForKey(nullptr, "children");
  EXPECT_EQ(child->parent(), nullptr);
  EXPECT_TRUE(context->verify().empty());
}

TEST_F(RecordTest, OneToOneMovesAllFourEnds) {
  auto* a = context->insert<Parent>();
  auto* b = context->insert<Parent>();
  auto* x = context->insert<Label>();
  auto* y = context->insert<Label>();
  a->setLabel(x);
  b->setLabel(y);
  EXPECT_EQ(x->owner(), a);
  y->setOwner(a);
  EXPECT_EQ(a->label(), y);
  EXPECT_EQ(b->label(), nullptr);
  EXPECT_EQ(x->owner(), nullptr);
  EXPECT_TRUE(context->verify().empty());
}

TEST_F(RecordTest, DeletionFollowsItsRules) {
  auto* parent = context->insert<Parent>();
  auto* sponsored = context->insert<Child>();
  auto* owned = context->insert<Child>();
  auto* label = context->insert<Label>();
  owned->setParent(parent);
  sponsored->setSponsor(parent);
  parent->setLabel(label);
  context->deleteObject(parent);
  context->deleteObject(parent);
  EXPECT_TRUE(owned->isDeleted());
  EXPECT_EQ(sponsored->sponsor(), nullptr) << "a nameless inverse is cleared as well";
  EXPECT_EQ(label->owner(), nullptr);
  EXPECT_EQ(context->fetch<Child>(), std::vector<Child*>{sponsored});
  EXPECT_EQ(owned->amount(), Decimal(0)) << "readable until the next save";
  EXPECT_THROW(owned->setRank(1), RecordGoneError);
  EXPECT_THROW(sponsored->setSponsor(parent), RecordGoneError);
}

TEST_F(RecordTest, KeyAccessRunsTheSameAccessorsAndRefusesWhatDoesNotFit) {
  auto* parent = context->insert<Parent>();
  auto* child = context->insert<Child>();
  child->setValueForKey(3, "amount");
  child->setValueForKey(parent, "parent");
  parent->setNumber(5);
  EXPECT_EQ(child->valueForKey("doubled"), Value(6));
  EXPECT_EQ(child->valueForKeyPath("parent.number"), Value(5));
  EXPECT_EQ(child->valueForKeyPath("sponsor.number"), Value());
  EXPECT_EQ(parent->valueForKeyPath("children.@count"), Value(1));
  EXPECT_EQ(parent->valueForKeyPath("children.@sum.doubled"), Value(6));
  EXPECT_EQ(parent->valueForKeyPath("children.@sum.parent.number"), Value(5));
  EXPECT_THROW(child->setValueForKey("3", "amount"), ValueKindError);
  EXPECT_THROW(child->setValueForKey(child, "parent"), ValueKindError);
  EXPECT_THROW(child->setValueForKey(1, "doubled"), UndefinedKeyError);
  EXPECT_THROW(child->valueForKey("nothing"), UndefinedKeyError);
  EXPECT_THROW(context->insertNewObject("Nobody"), UndefinedKeyError);
  EXPECT_EQ(child->amount(), Decimal(3)) << "a refused value leaves the old one";
}

TEST_F(RecordTest, RelationshipsAreSetFromNumbersAndNames) {
  // The entity is named by the capitalised key: "parent" looks among Parent records.
  auto* first = context->insert<Parent>();
  first->setNumber(1930);
  first->setName("Kassa");
  auto* child = context->insert<Child>();
  const auto parentAfter = [&](const auto& set) {
    set();
    return child->parent();
  };
  EXPECT_EQ(parentAfter([&] { child->setNumberedObject("1930 kr", "parent"); }), first);
  EXPECT_EQ(parentAfter([&] { child->setObject(7, "parent"); }), nullptr);
  EXPECT_EQ(parentAfter([&] { child->setNamedObject("kAS*", "parent"); }), first);
  EXPECT_EQ(parentAfter([&] { child->setNamedObject("Kass", "parent"); }), nullptr);
  EXPECT_EQ(parentAfter([&] { child->setObject(first, "parent"); }), first);
  EXPECT_EQ(parentAfter([&] { child->setNumberedObject(nullptr, "parent"); }), nullptr);
  child->setNamedObject("kassa", "parent", "sponsor");
  EXPECT_EQ(child->sponsor(), first);
  first->setNumber(0);
  EXPECT_EQ(parentAfter([&] { child->setNumberedObject("letters", "parent"); }), first);
}

TEST_F(RecordTest, CopiesKeysAndPassesOverThoseThatAreMissing) {
  auto* parent = context->insert<Parent>();
  auto* from = context->insert<Child>();
  auto* to = context->insert<Child>();
  from->setAmount(4);
  from->setParent(parent);
  from->copyKeys({"amount", "missing", "parent"}, *to);
  EXPECT_EQ(to->amount(), Decimal(4));
  EXPECT_EQ(parent->children().count(), 2U);
}

TEST_F(RecordTest, MergesValidationErrors) {
  const auto merge = [&](const std::optional<Error>& error, std::vector<Error>* list) {
    return Record::mergeValidationError(error, list, world.environment);
  };
  const Error one("D", 1, "one");
  Error several("D", 2, "several");
  several.with(kDetailedErrorsKey,
               std::vector<Error>{one, Error("D", 3, "two"), Error("D", 4, "three")});
  std::vector<Error> list;
  EXPECT_EQ(merge(one, nullptr), std::nullopt) << "without a list even an error is lost";
  EXPECT_EQ(merge(std::nullopt, &list), std::nullopt);
  EXPECT_EQ(merge(one, &list), one);
  list.clear();
  const auto merged = merge(several, &list);
  ASSERT_TRUE(merged);
  EXPECT_EQ(merged->domain(), "NSCocoaErrorDomain");
  EXPECT_EQ(merged->code(), 1550);
  EXPECT_EQ(merged->localizedDescription(), "one\ntwo\nthree");
  EXPECT_EQ(merged->userInfo().size(), 1U);
  EXPECT_EQ(world.log->lines(), std::vector<std::string>{"Merging validation errors."});
}

TEST_F(RecordTest, HooksJudgeAndRepairProposals) {
  auto* parent = context->insert<Parent>();
  std::optional<Error> error;
  EXPECT_FALSE(parent->setValidated("number", 13, &error));
  EXPECT_EQ(error->code(), 13);
  EXPECT_EQ(parent->number(), std::nullopt);
  EXPECT_TRUE(parent->setValidated("number", nullptr));
  EXPECT_EQ(parent->number(), 0) << "the hook's replacement is what is stored";

  auto* label = context->insert<Label>();
  EXPECT_FALSE(label->validateForUpdate(&error));
  EXPECT_EQ(error->domain(), "NSCocoaErrorDomain");
  EXPECT_EQ(error->code(), 1570);
  EXPECT_EQ(error->text(kValidationKeyErrorKey), "text");
  label->setText("");
  EXPECT_TRUE(label->validateForUpdate()) << "empty is not nil";
}

TEST_F(RecordTest, ObserversHearOfDependentKeysOnceAndAcrossRelationships) {
  auto* parent = context->insert<Parent>();
  auto* other = context->insert<Parent>();
  auto* child = context->insert<Child>();
  std::vector<std::string> heard;
  const auto note = [&](const Change& change) {
    heard.push_back((change.phase == Change::Phase::Will ? "will " : "did ") + *change.key);
  };
  const auto changes = [&](const auto& work) {
    heard.clear();
    work();
    return heard;
  };
  using Heard = std::vector<std::string>;
  const Heard once{"will family", "did family"};
  auto token = context->observe(*child, "family", note);
  EXPECT_EQ(changes([&] { child->setAmount(5); }), once);
  EXPECT_EQ(changes([&] { child->setRank(5); }), Heard{});
  EXPECT_EQ(changes([&] { child->setParent(parent); }), once);
  EXPECT_EQ(changes([&] { parent->setName("x"); }), once);
  EXPECT_EQ(changes([&] { child->setParent(other); }), once);
  EXPECT_EQ(changes([&] { parent->setName("y"); }), Heard{}) << "no longer at the far end";
  EXPECT_EQ(changes([&] { other->setNumber(3); }), once);
  EXPECT_EQ(
      changes([&] { other->willChangeValueForKey("title"), other->didChangeValueForKey("title"); }),
      once);
  token.end();
  EXPECT_EQ(changes([&] { child->setAmount(6); }), Heard{});

  auto members = context->observe(*parent, "children", note);
  EXPECT_EQ(changes([&] { child->setParent(parent); }), (Heard{"will children", "did children"}));
  auto path = context->observe(*child, "parent.name", note);
  EXPECT_EQ(changes([&] { parent->setName("z"); }), (Heard{"will parent.name", "did parent.name"}));
}

TEST_F(RecordTest, ObserversMayChangeTheirOwnNumber) {
  auto* parent = context->insert<Parent>();
  int calls = 0;
  ObservationToken first;
  ObservationToken second;
  first = context->observe(*parent, "name", [&](const Change& change) {
    ++calls;
    if (change.phase != Change::Phase::Will) return;
    first.end();
    second = context->observe(*parent, "name", [&](const Change&) { ++calls; });
  });
  parent->setName("a");
  EXPECT_EQ(calls, 1) << "ended within the call, and the new one heard no beginning";
  parent->setName("b");
  EXPECT_EQ(calls, 3);
  auto survivor = context->observe(*parent, "name", [](const Change&) {});
  context.reset();
}

TEST_F(RecordTest, ModelsReportAllTheirFaultsAtOnce) {
  Model model;
  auto parent = Parent::table();
  parent.properties[3].inverse = "nobody";
  parent.properties[1].name = "number";
  parent.indexes.push_back({{"missing"}});
  parent.dependencies.push_back({"number", {"title"}});
  model.add(std::move(parent)).add(Child::table());
  const auto faults = model.faults();
  const auto mentions = [&](std::string_view text) {
    return std::any_of(faults.begin(), faults.end(), [&](const std::string& fault) {
      return fault.find(text) != std::string::npos;
    });
  };
  for (const auto* text :
       {"Parent.number: is declared twice", "its inverse nobody does not exist",
        "unknown entity Label", "Parent.missing: is indexed but not stored", "depends on itself"})
    EXPECT_TRUE(mentions(text)) << text;
  EXPECT_THROW(model.freeze(), ModelError);
}

}  // namespace
}  // namespace bokfolio::test
