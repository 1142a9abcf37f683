#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bokfolio/store/bindings.hpp"
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
  label->setText("kept");
  ASSERT_TRUE(context->save());
  EXPECT_TRUE(owned->isGone());
  EXPECT_THROW(owned->amount(), RecordGoneError);
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

  // Members that do not fit leave all as they were.
  auto* label = context->insert<Label>();
  auto elsewhere = Context::open(schema, makeMemoryPersistence(), world.environment);
  EXPECT_THROW(parent->setValueForKey(RecordSet({label}), "children"), ValueKindError);
  EXPECT_THROW(parent->setValueForKey(RecordSet({elsewhere->insert<Child>()}), "children"),
               StoreError);
  auto* gone = context->insert<Child>();
  context->deleteObject(gone);
  EXPECT_THROW(parent->setValueForKey(RecordSet({gone}), "children"), RecordGoneError);
  EXPECT_EQ(parent->children().snapshot(), std::vector<Record*>{child});
  EXPECT_THROW(elsewhere->deleteObject(child), StoreError);
}

TEST_F(RecordTest, WritingWhatIsThereChangesNothing) {
  auto* parent = context->insert<Parent>();
  auto* child = context->insert<Child>();
  child->setAmount(3);
  child->setParent(parent);
  ASSERT_TRUE(context->save());
  child->setAmount(3);
  child->setValueForKey(3, "amount");
  child->setParent(parent);
  child->setValueForKey(parent, "parent");
  child->setSponsor(nullptr);
  parent->setValueForKey(RecordSet({child}), "children");
  EXPECT_FALSE(child->isUpdated());
  EXPECT_FALSE(context->canUndo());
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
  EXPECT_THROW(child->setObject(Date(), "parent"), ValueKindError);
  EXPECT_EQ(child->parent(), first) << "what is no reference does not clear it";
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

TEST_F(RecordTest, BindingsAreSatisfied) {
  ArrayController controller;
  EXPECT_EQ(controller.singleSelectedObject(), nullptr);
  auto* first = context->insert<Parent>();
  controller.setSelectedObjects({context->insert<Child>(), first});
  EXPECT_EQ(controller.singleSelectedObject(), controller.selectedObjects().front());
  EXPECT_NE(controller.singleSelectedObject(), first);
  TableColumn column;
  column.setValueForUndefinedKey(5, "width");
  EXPECT_EQ(column.valueForUndefinedKey("width"), Value("Urk"));
}

TEST_F(RecordTest, ModelsReportAllTheirFaultsAtOnce) {
  Model model;
  auto parent = Parent::table();
  parent.properties[3].inverse = "nobody";
  parent.properties[1].name = "number";
  parent.indexes.push_back({{"missing"}});
  parent.dependencies.push_back({"number", {"title"}});
  parent.properties[2].defaultValue = "text";
  model.add(std::move(parent)).add(Child::table());
  const auto faults = model.faults();
  const auto mentions = [&](std::string_view text) {
    return std::any_of(faults.begin(), faults.end(), [&](const std::string& fault) {
      return fault.find(text) != std::string::npos;
    });
  };
  for (const auto* text : {"Parent.number: is declared twice", "its inverse nobody does not exist",
                           "unknown entity Label", "Parent.missing: is indexed but not stored",
                           "depends on itself", "Parent.scratch: cannot hold its default"})
    EXPECT_TRUE(mentions(text)) << text;
  EXPECT_THROW(model.freeze(), ModelError);
}

}  // namespace
}  // namespace bokfolio::test
