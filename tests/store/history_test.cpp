// Random lives of a document, checked by the store itself. (Whether undo, redo and rollback are
// exact is asked of whole firms by the simulator.)
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "bokfolio/store/store_error.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

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

  using Ways = std::initializer_list<std::function<void()>>;
  void anyOf(const Ways& ways) { ways.begin()[below(ways.size())](); }

  void replayOrSave() {
    anyOf({[this] { context().undo(); }, [this] { context().undo(); }, [this] { context().redo(); },
           [this] { rollback(); }, [this] { context().setUndoEnabled(below(3) != 0); },
           [this] { observe(); }, [this] { disturb(); },
           [this] { store_.world.runLoop->advance(1); }, [this] { save(); }});
  }

  void change() {
    Parent* parent = any<Parent>();
    Child* child = any<Child>();
    Label* label = any<Label>();
    const auto write = [parent](Record* to, const char* key) {
      if (to != nullptr) to->setPrimitiveValueForKey(parent, key);
    };
    const auto defer = [&] {
      if (parent != nullptr) context().performAfterDelay(*parent, 1, [this](Record&) { change(); });
    };
    const auto link = [&] {
      if (parent != nullptr) parent->setObject(label, "label");
      if (child != nullptr) child->setParent(parent);
      if (below(3) == 0 && parent != nullptr)
        parent->setValueForKey(RecordSet({child, any<Child>()}), "children");
    };
    anyOf({[&] { context().insert<Parent>()->setLabel(label); },
           [&] { context().insert<Child>()->setSponsor(parent); },
           [&] { context().insert<Label>()->setText("label"); }, [&] { write(child, "parent"); },
           [&] { write(child, "sponsor"); }, [&] { write(label, "owner"); }, link, link, defer,
           [&] { context().deleteObject(below(3) == 0 ? parent : static_cast<Record*>(child)); },
           [&] { context().deleteObject(label); }, [&] { context().closeUndoGroup(); }});
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
