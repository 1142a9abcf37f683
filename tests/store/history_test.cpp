// Random lives of a document, checked by the store itself and against texts of earlier states.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "bokfolio/store/store_error.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

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
      if (below(2) == 0) context().releaseUnused();
      if (below(2) == 0) continue;
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
        return below(2) == 0 ? rollback() : failToSave();
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
    // What was deferred joins the group that was just closed.
    store_.world.runLoop->advance(1);
    redo_.clear();
    undo_.push_back(before);
  }

  void changeOnce() {
    Parent* parent = any<Parent>();
    Child* child = any<Child>();
    Label* label = any<Label>();
    switch (below(15)) {
      case 0:
        context().insert<Parent>()->setNumber(static_cast<std::int64_t>(below(12)));
        break;
      case 11:
        // By number, in brackets.
        if (child != nullptr) child->setObject(below(12), "parent");
        break;
      case 12:
        if (parent != nullptr)
          parent->setValueForKey(RecordSet({child, any<Child>(), any<Child>()}), "children");
        break;
      case 13:
        defer();
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

  void defer() {
    auto* inserted = context().insert<Parent>();
    context().performAfterDelay(*inserted, 1, [this, inserted](Record&) {
      inserted->setName("deferred");
      inserted->setLabel(any<Label>());
      if (Child* child = any<Child>()) child->setParent(inserted);
    });
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

  // By the engine or by a hook that refuses, after others have repaired what they found.
  void failToSave() {
    Parent* refused = below(2) == 0 ? nullptr : any<Parent>();
    if (refused != nullptr) {
      refused->setPrimitiveValueForKey(13, "number");
    } else {
      PersistenceFault fault;
      fault.operation = PersistenceOperation::Commit;
      store_.engineFaults->add(fault);
    }
    const bool changed = context().hasChanges();
    const Dump before = dump(context());
    EXPECT_EQ(context().save(), !changed);
    store_.engineFaults->clear();
    EXPECT_EQ(context().hasChanges(), changed);
    EXPECT_EQ(dump(context()), before);
    if (!changed) undo_.clear(), redo_.clear();
    if (refused != nullptr) rollback();
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

TEST(HistoryTest, UndoRollbackAndReopeningAreExact) {
  for (unsigned seed = 1; seed <= 40 && !::testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TestStore store(seed % 8);
    RandomLife(store, seed).run(120);
  }
}

// A life in which nothing is foreseen: entities are read one by one and not always, values are
// written past undo, undo is switched off and on, observers delete and link what they hear of. What
// must hold all the same: the store is sound, a rollback finds the document, saving keeps it.
class WildLife {
 public:
  WildLife(TestStore& store, unsigned seed) : store_(store), random_(seed) {}

  void run(int steps) {
    for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      takeStep();
      if (below(3) == 0) context().releaseUnused();
      if (below(4) != 0) continue;
      store_.engineFaults->clear();
      const auto faults = context().verify();
      EXPECT_TRUE(faults.empty()) << faults.front();
    }
  }

 private:
  Context& context() { return *store_.context; }
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }

  // By id, so that no more is read than the record's entity.
  template <class T>
  T* any() {
    return static_cast<T*>(context().find(T::kEntityName, 1 + below(12)));
  }

  void takeStep() {
    try {
      if (below(3) == 0) {
        replayOrSave();
      } else {
        change();
      }
    } catch (const StoreError&) {
      // What observers did first left nothing to change.
    } catch (const LoadError&) {
      // Told to fail below.
    }
  }

  void replayOrSave() {
    switch (below(9)) {
      case 0:
      case 1:
        context().undo();
        return;
      case 2:
        context().redo();
        return;
      case 3:
        return rollback();
      case 4:
        context().setUndoEnabled(below(3) != 0);
        return;
      case 5:
        return observe();
      case 6:
        return disturb();
      case 7:
        store_.world.runLoop->advance(1);
        return;
      default:
        return save();
    }
  }

  void change() {
    Parent* parent = any<Parent>();
    Child* child = any<Child>();
    Label* label = any<Label>();
    switch (below(12)) {
      case 0:
        context().insert<Parent>()->setLabel(label);
        break;
      case 1:
        context().insert<Child>()->setSponsor(parent);
        break;
      case 2:
        context().insert<Label>()->setText("label");
        break;
      case 3:
        if (child != nullptr) child->setPrimitiveValueForKey(parent, "parent");
        break;
      case 4:
        if (child != nullptr) child->setPrimitiveValueForKey(parent, "sponsor");
        break;
      case 5:
        if (label != nullptr) label->setPrimitiveValueForKey(parent, "owner");
        break;
      case 6:
        if (parent != nullptr) parent->setObject(label, "label");
        break;
      case 7:
        if (child != nullptr) child->setParent(parent);
        break;
      case 8:
        if (parent != nullptr)
          context().performAfterDelay(*parent, 1, [this](Record&) { change(); });
        break;
      case 9:
        context().deleteObject(below(3) == 0 ? parent : static_cast<Record*>(child));
        break;
      case 10:
        context().deleteObject(label);
        break;
      default:
        context().closeUndoGroup();
        break;
    }
  }

  // Watches a record and now and then meddles.
  void observe() {
    if (tokens_.size() > 3) tokens_.clear();
    Record* record = below(2) == 0 ? any<Parent>() : static_cast<Record*>(any<Child>());
    if (record == nullptr) return;
    const char* key = record->entityName() == "Parent" ? (below(2) == 0 ? "children" : "label")
                                                       : (below(2) == 0 ? "family" : "sponsor");
    tokens_.push_back(context().observe(*record, key, [this](const Change&) {
      if (meddling_ || below(3) != 0) return;
      meddling_ = true;
      try {
        below(8) == 0 ? replayOrSave() : change();
      } catch (...) {
        meddling_ = false;
        throw;
      }
      meddling_ = false;
    }));
  }

  // Lets a call of the engine fail.
  void disturb() {
    PersistenceFault fault;
    fault.call = 1 + below(4);
    fault.afterRecords = below(3);
    store_.engineFaults->add(fault);
  }

  // Without those who would change something right after.
  void rollback() {
    if (meddling_) return context().rollback();
    tokens_.clear();
    store_.engineFaults->clear();
    context().rollback();
    EXPECT_FALSE(context().hasChanges());
    TestStore other;
    other.document = store_.document;
    other.reopen();
    EXPECT_EQ(dump(context()), dump(*other.context));
  }

  void save() {
    const bool saved = context().save();
    if (meddling_ || !saved || below(2) == 0) return;
    tokens_.clear();
    store_.engineFaults->clear();
    if (below(2) == 0) {
      const Dump before = dump(context());
      store_.reopen();
      EXPECT_EQ(dump(context()), before);
    } else {
      store_.reopen();
    }
  }

  TestStore& store_;
  std::mt19937 random_;
  std::vector<ObservationToken> tokens_;
  bool meddling_ = false;
};

TEST(HistoryTest, WhateverHappensTheStoreIsSound) {
  for (unsigned seed = 1; seed <= 60 && !::testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    TestStore store(seed % 8);
    WildLife(store, seed).run(200);
  }
}

}  // namespace
}  // namespace bokfolio::test
