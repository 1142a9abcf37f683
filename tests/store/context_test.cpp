#include "bokfolio/store/context.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bokfolio/store/store_error.hpp"
#include "tests/store/describe.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

class ContextTest : public ::testing::Test, protected TestStore {};

TEST_F(ContextTest, UndoTakesBackGroupsAndRedoBringsTheSameRecords) {
  auto* parent = context->insert<Parent>();
  parent->setName("first");
  context->closeUndoGroup();
  auto* child = context->insert<Child>();
  child->setParent(parent);
  child->setAmount(9);
  parent->setName("second");
  context->closeUndoGroup();

  ASSERT_TRUE(context->undo());
  EXPECT_EQ(parent->name(), "first");
  EXPECT_TRUE(parent->children().empty());
  EXPECT_TRUE(context->fetch<Child>().empty());
  ASSERT_TRUE(context->redo());
  EXPECT_EQ(context->fetch<Child>(), std::vector<Child*>{child});
  EXPECT_EQ(child->amount(), Decimal(9));
  EXPECT_EQ(child->rank(), 7) << "not woken a second time";
  EXPECT_EQ(parent->children().count(), 1U);
  EXPECT_EQ(parent->name(), "second");

  ASSERT_TRUE(context->undo());
  parent->setName("another way");
  EXPECT_FALSE(context->canRedo());
  EXPECT_TRUE(child->isGone()) << "nothing can bring it back";
  EXPECT_TRUE(context->undo());
  EXPECT_TRUE(context->undo());
  EXPECT_FALSE(context->undo());
  EXPECT_TRUE(dump(*context).empty());
}

TEST_F(ContextTest, PrimitiveWritesAreUndoneInsideTheirBracketsOnly) {
  auto* parent = context->insert<Parent>();
  parent->setNumber(1);
  context->closeUndoGroup();
  parent->willChangeValueForKey("number");
  parent->setPrimitiveValueForKey(2, "number");
  parent->didChangeValueForKey("number");
  context->closeUndoGroup();
  parent->setPrimitiveValueForKey("bare", "name");
  ASSERT_TRUE(context->undo());
  EXPECT_EQ(parent->number(), 1);
  EXPECT_EQ(parent->name(), "bare");
}

TEST_F(ContextTest, DeferredWorkBelongsToTheInsertionAndDiesWithItsRecord) {
  int ran = 0;
  auto* kept = context->insert<Parent>();
  auto* dropped = context->insert<Parent>();
  const auto work = [&](Record& record) {
    ++ran;
    record.setValueForKey(ran, "number");
  };
  context->performAfterDelay(*kept, 1000, work);
  context->performAfterDelay(*dropped, 1000, work);
  context->closeUndoGroup();
  context->deleteObject(dropped);
  context->closeUndoGroup();
  world.runLoop->advance(1000);
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(kept->number(), 1);
  ASSERT_TRUE(context->undo());
  EXPECT_EQ(kept->number(), 1) << "only the deletion was undone";
  context->performAfterDelay(*kept, 1000, work);
  context.reset();
  world.runLoop->advance(1000);
  EXPECT_EQ(ran, 1);
}

TEST_F(ContextTest, FetchesSeeUnsavedChangesAndLimitsAndFailures) {
  std::vector<Parent*> parents;
  for (int number = 0; number < 5; ++number) {
    parents.push_back(context->insert<Parent>());
    parents.back()->setNumber(number % 3);
  }
  const SortDescriptor descending("number", false);
  const auto found = context->fetch<Parent>(Predicate("number >= %d", {1}), {{descending}});
  EXPECT_EQ(found, (std::vector<Parent*>{parents[2], parents[1], parents[4]}))
      << "equals stay in the order of their ids";
  EXPECT_EQ(context->fetch<Parent>(std::nullopt, std::nullopt, 1).size(), 1U);
  EXPECT_EQ(context->fetch<Parent>(std::nullopt, std::nullopt, -1).size(), 5U);
  EXPECT_EQ(context->fetch<Parent>(std::nullopt, std::nullopt, 0).size(), 5U) << "0 is no limit";
  EXPECT_THROW(context->fetch<Parent>(Predicate("unknown == 1")), UndefinedKeyError);

  ASSERT_TRUE(context->save());
  reopen();
  PersistenceFault fault;
  fault.operation = PersistenceOperation::Load;
  fault.afterRecords = 2;
  engineFaults->add(fault);
  EXPECT_EQ(context->fetchEntitiesWithName("Parent"), std::nullopt);
  EXPECT_EQ(context->fetchEntitiesWithName("Parent")->size(), 5U) << "the next try reads";
}

TEST_F(ContextTest, AnInsertionThatFailsToWakeLeavesNothing) {
  struct Fussy : Record {
    using Record::Record;
    void awakeFromInsert() override { throw std::runtime_error("not today"); }
  };
  EntityDescription fussy;
  fussy.name = "Fussy";
  fussy.make = [](const RecordInit& init) -> std::unique_ptr<Record> {
    return std::make_unique<Fussy>(init);
  };
  Model model;
  model.add(std::move(fussy));
  auto own = Context::open(model.freeze(), makeMemoryPersistence(), world.environment);
  EXPECT_THROW(own->insertNewObject("Fussy"), std::runtime_error);
  EXPECT_EQ(own->count("Fussy"), 0U);
  EXPECT_FALSE(own->hasChanges());
  EXPECT_FALSE(own->undo() && own->redo());
}

// Owners with items and one seal, neither of which lets its owner be deleted.
std::shared_ptr<const Schema> guardedSchema() {
  const auto entity = [](const char* name, std::vector<PropertyDescription> properties) {
    EntityDescription described;
    described.name = name;
    described.properties = std::move(properties);
    return described;
  };
  EntityDescription owner =
      entity("Owner", {relation("items", PropertyKind::ToMany, "Item", "owner"),
                       relation("seal", PropertyKind::ToOne, "Seal", "owner")});
  for (PropertyDescription& property : owner.properties) property.deleteRule = DeleteRule::Deny;
  Model model;
  model.add(owner)
      .add(entity("Item", {relation("owner", PropertyKind::ToOne, "Owner", "items")}))
      .add(entity("Seal", {relation("owner", PropertyKind::ToOne, "Owner", "seal")}));
  return model.freeze();
}

TEST_F(ContextTest, DeniedDeletionsAreRefusedUntilNothingRefersToTheRecord) {
  for (const auto* kind : {"Item", "Seal"}) {
    for (const bool saved : {false, true}) {
      SCOPED_TRACE(std::string(kind) + (saved ? ", saved" : ", unsaved"));
      auto own = Context::open(guardedSchema(), makeMemoryPersistence(), world.environment);
      Record* owner = own->insertNewObject("Owner");
      Record* other = own->insertNewObject("Owner");
      Record* guard = own->insertNewObject(kind);
      guard->setValueForKey(owner, "owner");
      if (saved) own->save();
      own->closeUndoGroup();
      own->deleteObject(owner);
      std::optional<Error> error;
      EXPECT_FALSE(own->save(&error));
      EXPECT_EQ(error->code(), 1600);
      EXPECT_TRUE(own->undo());
      EXPECT_FALSE(owner->isDeleted());
      EXPECT_EQ(guard->valueForKey("owner"), Value(owner));
      EXPECT_TRUE(own->redo());
      guard->setValueForKey(other, "owner");
      EXPECT_TRUE(own->verify().empty());
      EXPECT_TRUE(own->save());
      EXPECT_TRUE(owner->isGone());
      own->rollback();
      EXPECT_TRUE(own->verify().empty());
    }
  }
}

TEST_F(ContextTest, HooksThatChangeValidRecordsHaveThemJudgedAgain) {
  struct Chained : Record {
    using Record::Record;
    bool validateForUpdate(ErrorOut error) override {
      if (const auto* next = valueForKey("next").record()) {
        // The bad news arrives behind those that were judged before.
        const_cast<Record*>(next)->setValueForKey(13, "number");
      }
      return valueForKey("number") != Value(13) && Record::validateForUpdate(error);
    }
  };
  EntityDescription chained;
  chained.name = "Chained";
  chained.properties = {attribute("number", PropertyKind::Integer),
                        relation("next", PropertyKind::ToOne, "Chained")};
  chained.make = [](const RecordInit& init) -> std::unique_ptr<Record> {
    return std::make_unique<Chained>(init);
  };
  Model model;
  model.add(chained);
  auto own = Context::open(model.freeze(), makeMemoryPersistence(), world.environment);
  Record* first = own->insertNewObject("Chained");
  Record* second = own->insertNewObject("Chained");
  second->setValueForKey(first, "next");
  EXPECT_FALSE(own->save());
  EXPECT_EQ(first->valueForKey("number"), Value());
}

TEST_F(ContextTest, HooksCannotSaveOrReplay) {
  using Attempt = void (*)(Context&);
  for (const Attempt attempt :
       {Attempt([](Context& own) { own.save(); }), Attempt([](Context& own) { own.rollback(); }),
        Attempt([](Context& own) { own.undo(); }), Attempt([](Context& own) { own.redo(); })}) {
    auto* parent = context->insert<Parent>();
    context->closeUndoGroup();
    int calls = 0;
    auto token = context->observe(*parent, "number", [&](const Change&) {
      if (++calls <= 2) attempt(*context);
    });
    EXPECT_THROW(context->save(), StoreError) << "the hook's repair of the number is observed";
    token.end();
    EXPECT_FALSE(parent->isGone());
    EXPECT_EQ(parent->number(), std::nullopt);
    EXPECT_TRUE(context->save());
    EXPECT_TRUE(context->verify().empty());
  }
}

}  // namespace
}  // namespace bokfolio::test
