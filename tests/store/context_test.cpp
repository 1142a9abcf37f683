#include "bokfolio/store/context.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

// Everything that a document holds, as text by record.
using Dump = std::map<std::string, std::string>;

std::string textOf(const Value& value) {
  if (const Record* record = value.record())
    return record->entityName() + std::to_string(record->id());
  return value.isNil() ? "nil" : value.description();
}

Dump dump(Context& context) {
  Dump all;
  for (const Entity& entity : context.schema().entities()) {
    const auto records = context.fetchEntitiesWithName(entity.name());
    for (const Record* record : *records) {
      std::string& text = all[entity.name() + std::to_string(record->id())];
      for (const Property& property : entity.properties()) {
        if (property.transient()) continue;
        text += property.name() + '=';
        const Value value = record->primitiveValueForKey(property.name());
        if (const auto* members = value.records()) {
          for (const Record* member : members->snapshot()) text += textOf(member) + ',';
        } else {
          text += textOf(value);
        }
        text += ';';
      }
    }
  }
  return all;
}

class ContextTest : public ::testing::Test, protected TestStore {};

TEST_F(ContextTest, SavesAndReadsBackEveryKind) {
  auto* parent = context->insert<Parent>();
  auto* child = context->insert<Child>();
  auto* label = context->insert<Label>();
  parent->setName("Årsbokslut \xF0\x9F\x93\x92");
  parent->setNumber(-1);
  child->setAmount(Decimal::parse("-12345678901234567890123456789012345.678"));
  child->setDay(Date::fromMicroseconds(-1));
  child->setParent(parent);
  child->setSponsor(parent);
  label->setText("");
  label->setOwner(parent);
  label->setValueForKey(Bytes{0, 1, 255}, "picture");
  const Dump before = dump(*context);
  std::optional<Error> error;
  ASSERT_TRUE(context->save(&error));
  EXPECT_FALSE(context->hasChanges());
  EXPECT_FALSE(context->canUndo()) << "what is saved can not be undone";
  reopen();
  EXPECT_EQ(dump(*context), before);
  EXPECT_EQ(context->fetch<Label>().front()->valueForKey("picture"), Value(Bytes{0, 1, 255}));
  EXPECT_TRUE(context->verify().empty());
}

TEST_F(ContextTest, RollingBackRestoresRecordsRelationshipsAndShells) {
  auto* parent = context->insert<Parent>();
  auto* child = context->insert<Child>();
  child->setParent(parent);
  parent->setName("saved");
  ASSERT_TRUE(context->save());
  const Dump saved = dump(*context);

  auto* added = context->insert<Child>();
  added->setParent(parent);
  child->setSponsor(parent);
  context->deleteObject(parent);
  std::vector<std::string> heard;
  auto token = context->observe(*child, "sponsor",
                                [&](const Change& change) { heard.push_back(*change.key); });
  context->rollback();
  EXPECT_EQ(dump(*context), saved);
  EXPECT_EQ(parent->name(), "saved");
  EXPECT_TRUE(added->isGone());
  EXPECT_THROW(added->amount(), RecordGoneError);
  EXPECT_FALSE(context->hasChanges());
  EXPECT_TRUE(context->verify().empty());

  context->deleteObject(child);
  ASSERT_TRUE(context->save());
  EXPECT_TRUE(child->isGone());
  EXPECT_THROW(child->amount(), RecordGoneError);
}

TEST_F(ContextTest, AFailedSaveChangesNothing) {
  auto* parent = context->insert<Parent>();
  auto* bad = context->insert<Label>();
  std::optional<Error> error;
  EXPECT_FALSE(context->save(&error));
  EXPECT_EQ(error->code(), 1570);
  EXPECT_EQ(parent->number(), std::nullopt) << "the hook's repair is taken back";
  EXPECT_FALSE(context->save()) << "without an error pointer just as well";
  bad->setText("now valid");
  ASSERT_TRUE(context->save());
  EXPECT_EQ(parent->number(), 0);
  reopen();
  EXPECT_EQ(context->fetch<Parent>().front()->number(), 0) << "the repair was saved too";
}

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
  auto faults = std::make_shared<PersistenceFaults>();
  PersistenceFault fault;
  fault.operation = PersistenceOperation::Load;
  fault.afterRecords = 2;
  faults->add(fault);
  auto broken =
      Context::open(schema, makeFaultInjectingPersistence(makeMemoryPersistence(document), faults),
                    world.environment);
  EXPECT_EQ(broken->fetchEntitiesWithName("Parent"), std::nullopt);
  EXPECT_EQ(broken->fetchEntitiesWithName("Parent")->size(), 5U) << "the next try reads";
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

// A random life, checked after each step against texts of earlier states.
class RandomLife {
 public:
  RandomLife(TestStore& store, unsigned seed) : store_(store), random_(seed) {
    saved_ = dump(*store_.context);
  }

  void run(int steps) {
    for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      takeStep();
      const auto faults = store_.context->verify();
      EXPECT_TRUE(faults.empty()) << faults.front();
    }
  }

 private:
  Context& context() { return *store_.context; }
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }

  template <class T>
  T* any() {
    const auto all = context().fetch<T>();
    return all.empty() ? nullptr : all[below(all.size())];
  }

  void takeStep() {
    switch (below(12)) {
      case 0:
        return undo();
      case 1:
        return redo();
      case 2:
        return save();
      case 3:
        return rollback();
      default:
        return change();
    }
  }

  void change() {
    const Dump before = dump(context());
    Parent* marked = any<Parent>();
    if (marked == nullptr) marked = context().insert<Parent>();
    marked->setNumber(++marks_);
    for (std::size_t count = below(4); count > 0; --count) changeOnce();
    context().closeUndoGroup();
    redo_.clear();
    undo_.push_back(before);
  }

  void changeOnce() {
    Parent* parent = any<Parent>();
    Child* child = any<Child>();
    Label* label = any<Label>();
    switch (below(12)) {
      case 0:
        context().insert<Parent>()->setNumber(static_cast<std::int64_t>(below(12)));
        break;
      case 1:
      case 2:
        context().insert<Child>()->setParent(parent);
        break;
      case 3:
        context().insert<Label>()->setText("label");
        break;
      case 4:
        if (child != nullptr) child->setSponsor(parent);
        break;
      case 5:
        if (child != nullptr)
          child->setDay(Date::fromSeconds(static_cast<std::int64_t>(below(50))));
        break;
      case 6:
        if (parent != nullptr) parent->setLabel(label);
        break;
      case 7:
        if (label != nullptr) label->setOwner(parent);
        break;
      case 8:
        if (parent != nullptr) parent->setName(std::string(below(3), 'n'));
        break;
      case 9:
        if (child != nullptr) child->setParent(below(3) == 0 ? nullptr : parent);
        break;
      case 10:
        context().deleteObject(below(2) == 0 ? static_cast<Record*>(child) : label);
        break;
      default:
        if (below(4) == 0) context().deleteObject(parent);
        break;
    }
  }

  void undo() {
    const Dump before = dump(context());
    ASSERT_EQ(context().undo(), !undo_.empty());
    if (undo_.empty()) return;
    EXPECT_EQ(dump(context()), undo_.back());
    undo_.pop_back();
    redo_.push_back(before);
  }

  void redo() {
    const Dump before = dump(context());
    ASSERT_EQ(context().redo(), !redo_.empty());
    if (redo_.empty()) return;
    EXPECT_EQ(dump(context()), redo_.back());
    redo_.pop_back();
    undo_.push_back(before);
  }

  void save() {
    std::optional<Error> error;
    ASSERT_TRUE(context().save(&error)) << error->localizedDescription();
    saved_ = dump(context());
    undo_.clear();
    redo_.clear();
    if (below(2) == 0) {
      store_.reopen();
      EXPECT_EQ(dump(context()), saved_);
    }
  }

  void rollback() {
    context().rollback();
    EXPECT_EQ(dump(context()), saved_);
    EXPECT_FALSE(context().hasChanges());
    undo_.clear();
    redo_.clear();
  }

  TestStore& store_;
  std::mt19937 random_;
  Dump saved_;
  std::vector<Dump> undo_;
  std::vector<Dump> redo_;
  std::int64_t marks_ = 100;  // so that no change is empty
};

TEST(ContextHistoryTest, UndoRollbackAndReopeningAreExact) {
  for (unsigned seed = 1; seed <= 40 && !::testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TestStore store;
    RandomLife(store, seed).run(120);
  }
}

}  // namespace
}  // namespace bokfolio::test
