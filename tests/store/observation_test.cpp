#include "bokfolio/store/observation.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bokfolio/store/store_error.hpp"
#include "tests/store/describe.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {
namespace {

using Heard = std::vector<std::string>;

class ObservationTest : public ::testing::Test, protected TestStore {
 protected:
  // What observers noted while the work was done.
  template <class Work>
  Heard during(Work work) {
    heard.clear();
    work();
    return heard;
  }
  ObservationToken note(Record& record, std::string_view key) {
    return context->observe(record, key, [this](const Change& change) {
      heard.push_back((change.phase == Change::Phase::Will ? "will " : "did ") + *change.key);
    });
  }
  ObservationToken onWill(Record& record, std::string_view key, std::function<void()> work) {
    return context->observe(record, key, [work = std::move(work)](const Change& change) {
      if (change.phase == Change::Phase::Will) work();
    });
  }
  void expectSound() {
    const auto found = context->verify();
    EXPECT_TRUE(found.empty()) << found.front();
  }

  Heard heard;
};

TEST_F(ObservationTest, DependentKeysAreHeardOnceAndAcrossRelationships) {
  auto* parent = context->insert<Parent>();
  auto* other = context->insert<Parent>();
  auto* child = context->insert<Child>();
  const Heard once{"will family", "did family"};
  auto token = note(*child, "family");
  EXPECT_EQ(during([&] { child->setAmount(5); }), once);
  EXPECT_EQ(during([&] { child->setRank(5); }), Heard{});
  EXPECT_EQ(during([&] { child->setParent(parent); }), once);
  EXPECT_EQ(during([&] { parent->setName("x"); }), once);
  EXPECT_EQ(during([&] { child->setParent(other); }), once);
  EXPECT_EQ(during([&] { parent->setName("y"); }), Heard{}) << "no longer at the far end";
  EXPECT_EQ(during([&] { other->setNumber(3); }), once);
  const auto announceTitle = [&] {
    other->willChangeValueForKey("title");
    other->didChangeValueForKey("title");
  };
  EXPECT_EQ(during(announceTitle), once);
  token.end();
  EXPECT_EQ(during([&] { child->setAmount(6); }), Heard{});

  auto path = note(*child, "parent.name");
  EXPECT_EQ(during([&] { other->setName("z"); }), (Heard{"will parent.name", "did parent.name"}));
  EXPECT_THROW(note(*child, "parent.nonsense"), UndefinedKeyError);
  EXPECT_THROW(note(*child, "nonsense"), UndefinedKeyError);
}

TEST_F(ObservationTest, FarSidesAreHeardHoweverALinkChanges) {
  auto* parent = context->insert<Parent>();
  auto* label = context->insert<Label>();
  label->setText("saved");
  ASSERT_TRUE(context->save());
  auto members = note(*parent, "children");
  auto partner = note(*label, "owner");
  const Heard children{"will children", "did children"};
  const Heard owner{"will owner", "did owner"};

  Child* child = nullptr;
  EXPECT_EQ(during([&] { (child = context->insert<Child>())->setParent(parent); }), children);
  context->closeUndoGroup();
  EXPECT_EQ(during([&] { context->undo(); }), children) << "the insertion goes";
  EXPECT_EQ(during([&] { context->redo(); }), children);
  EXPECT_EQ(during([&] { child->setObject(nullptr, "parent"); }), children);
  EXPECT_EQ(during([&] { child->setParent(parent); }), children);
  EXPECT_EQ(during([&] { context->deleteObject(child); }), children);
  EXPECT_EQ(during([&] { context->undo(); }), children) << "all of it is one change";
  EXPECT_EQ(during([&] { child->setPrimitiveValueForKey(nullptr, "parent"); }), Heard{});
  child->setPrimitiveValueForKey(parent, "parent");
  EXPECT_EQ(during([&] { parent->setObject(label, "label"); }), owner);
  EXPECT_EQ(during([&] { context->rollback(); }),
            (Heard{"will children", "will owner", "did children", "did owner"}));
  EXPECT_EQ(parent->children().count(), 0U);
}

TEST_F(ObservationTest, ObserversMayChangeTheirOwnNumber) {
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

// The record that an observer is told about may be changed, deleted or rolled back in that call.
TEST_F(ObservationTest, ObserversMayInterveneBeforeAChange) {
  auto* a = context->insert<Parent>();
  auto* b = context->insert<Parent>();
  auto* c = context->insert<Parent>();
  auto* child = context->insert<Child>();
  child->setParent(a);
  bool again = true;
  auto rival = onWill(*child, "parent", [&] {
    if (std::exchange(again, false)) child->setParent(b);
  });
  child->setParent(c);
  EXPECT_EQ(child->parent(), c);
  expectSound();
  rival.end();

  auto* x = context->insert<Label>();
  auto* y = context->insert<Label>();
  a->setLabel(x);
  again = true;
  rival = onWill(*a, "label", [&] {
    if (std::exchange(again, false)) b->setLabel(y);
  });
  a->setLabel(y);
  EXPECT_EQ(y->owner(), a);
  expectSound();

  rival = onWill(*child, "parent", [&] { context->deleteObject(b); });
  EXPECT_THROW(child->setParent(b), RecordGoneError);
  EXPECT_EQ(child->parent(), c);
  rival = onWill(*child, "amount", [&] { context->rollback(); });
  EXPECT_THROW(child->setAmount(1), RecordGoneError);
  EXPECT_TRUE(child->isGone());
  expectSound();
}

TEST_F(ObservationTest, ObserversThatNeverComeToAnEndAreStopped) {
  auto* child = context->insert<Child>();
  const auto grows = context->observe(*child, "amount", [&](const Change& change) {
    if (change.phase == Change::Phase::Did) child->setAmount(child->amount().value_or(0) + 1);
  });
  EXPECT_THROW(child->setAmount(1), StoreError);
  auto* parent = context->insert<Parent>();
  const auto opens = onWill(*parent, "name", [&] { parent->setName("Karin"); });
  EXPECT_THROW(parent->setName("Olle"), StoreError);
  EXPECT_EQ(parent->name(), "Olle");
  expectSound();
}

TEST_F(ObservationTest, AnObserverThatThrowsStopsNothing) {
  auto* a = context->insert<Parent>();
  auto* b = context->insert<Parent>();
  auto* x = context->insert<Label>();
  auto* y = context->insert<Label>();
  auto* child = context->insert<Child>();
  child->setParent(a);
  child->setSponsor(a);
  a->setLabel(x);
  b->setLabel(y);
  context->closeUndoGroup();
  const auto throwing = [](const Change&) { throw std::runtime_error("observer"); };
  std::vector<ObservationToken> tokens;
  for (Record* record : std::vector<Record*>{a, b, x, y, child}) {
    for (const Property& property : record->entity().properties())
      if (property.name().front() != '~')
        tokens.push_back(context->observe(*record, property.name(), throwing));
  }
  auto quiet = note(*a, "label");
  const Heard label{"will label", "did label"};
  EXPECT_EQ(during([&] { EXPECT_THROW(b->setLabel(x), std::runtime_error); }), label);
  EXPECT_EQ(x->owner(), b);
  expectSound();
  EXPECT_THROW(a->setName("set"), std::runtime_error);
  EXPECT_EQ(a->name(), "set");
  EXPECT_THROW(a->setValueForKey(RecordSet(), "children"), std::runtime_error);
  EXPECT_EQ(child->parent(), nullptr);
  EXPECT_THROW(child->setParent(a), std::runtime_error);
  context->closeUndoGroup();
  EXPECT_THROW(context->deleteObject(a), std::runtime_error);
  EXPECT_TRUE(a->isDeleted());
  EXPECT_TRUE(child->isDeleted());
  expectSound();
  EXPECT_THROW(context->undo(), std::runtime_error);
  EXPECT_EQ(child->parent(), a);
  EXPECT_EQ(child->sponsor(), a);
  EXPECT_THROW(context->redo(), std::runtime_error);
  EXPECT_TRUE(child->isDeleted());
  EXPECT_THROW(context->undo(), std::runtime_error);
  EXPECT_THROW(context->undo(), std::runtime_error);
  EXPECT_EQ(a->label(), x);
  expectSound();
  EXPECT_THROW(a->setName("end"), std::runtime_error);
  tokens.clear();
  context->rollback();
  EXPECT_EQ(dump(*context), Dump{});
}

TEST_F(ObservationTest, WhatObserversChangeInARollbackIsAChange) {
  auto* parent = context->insert<Parent>();
  auto* other = context->insert<Parent>();
  parent->setNumber(1);
  other->setNumber(2);
  ASSERT_TRUE(context->save());
  int count = 0;
  auto token =
      context->observe(*parent, "number", [&](const Change&) { other->setNumber(++count); });
  parent->setNumber(5);
  context->rollback();
  EXPECT_EQ(parent->number(), 1);
  EXPECT_EQ(count, 4);
  EXPECT_EQ(other->number(), 4) << "after the rollback";
  EXPECT_EQ(context->updatedObjects(), std::vector<Record*>{other});
  token.end();
  context->rollback();
  EXPECT_EQ(other->number(), 2);
}

TEST_F(ObservationTest, DependenciesThatMeetAcrossAPairEnd) {
  EntityDescription man;
  man.name = "Man";
  man.properties = {attribute("name", PropertyKind::String),
                    relation("wife", PropertyKind::ToOne, "Woman", "husband")};
  EntityDescription woman;
  woman.name = "Woman";
  woman.properties = {attribute("name", PropertyKind::String),
                      relation("husband", PropertyKind::ToOne, "Man", "wife")};
  man.dependencies = {{"name", {"wife.name"}}};
  woman.dependencies = {{"name", {"husband.name"}}};
  Model model;
  model.add(man).add(woman);
  auto own = Context::open(model.freeze(), makeMemoryPersistence(), world.environment);
  auto* adam = own->insertNewObject("Man");
  auto* eve = own->insertNewObject("Woman");
  adam->setValueForKey(eve, "wife");
  int calls = 0;
  auto token = own->observe(*adam, "name", [&](const Change&) { ++calls; });
  eve->setValueForKey("Eve", "name");
  adam->setValueForKey("Adam", "name");
  EXPECT_EQ(calls, 4);
}

}  // namespace
}  // namespace bokfolio::test
