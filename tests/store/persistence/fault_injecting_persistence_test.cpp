#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"

#include <gtest/gtest.h>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/conformance/draft.hpp"

namespace bokfolio::test {

namespace {

using Operation = PersistenceOperation;

class Faults : public testing::Test {
 protected:
  Faults() : engine(makeFaultInjectingPersistence(makeMemoryPersistence(document), faults)) {
    EXPECT_TRUE(engine->open(*schema, nullptr));
  }

  std::shared_ptr<const Schema> schema = paperSchema();
  std::shared_ptr<MemoryDocument> document = std::make_shared<MemoryDocument>();
  std::shared_ptr<PersistenceFaults> faults = std::make_shared<PersistenceFaults>();
  std::unique_ptr<Persistence> engine;
};

TEST_F(Faults, MeetTheCallThatTheyWaitFor) {
  faults->add({2, Operation::Commit, PersistenceError::Full, "The disk is full.", 0});
  faults->add({4, std::nullopt, PersistenceError::Damaged, "A page is lost.", 0});
  RecordId id = 0;
  EXPECT_EQ(commit(*engine, Draft(schema).insert("Paper", 1, {})), std::nullopt);
  EXPECT_TRUE(engine->nextId(schema->entity("Paper"), id, nullptr));
  EXPECT_EQ(commit(*engine, Draft(schema).insert("Paper", 2, {})), PersistenceError::Full);
  std::optional<Error> error;
  EXPECT_FALSE(engine->verify(&error));
  EXPECT_EQ(codeOf(error), PersistenceError::Damaged);
  EXPECT_TRUE(engine->verify(nullptr));
  EXPECT_EQ(commit(*engine, Draft(schema).insert("Paper", 2, {})), std::nullopt);
  EXPECT_EQ(faults->fired(), 2U);
  EXPECT_EQ(faults->calls(Operation::Commit), 3U);
  EXPECT_EQ(faults->calls(), 7U);  // opening was the first
  // What failed was not handed on.
  EXPECT_EQ(contentOf(*engine, *schema)["Paper"].size(), 2U);
}

TEST_F(Faults, ThatLastEndWhenTheyAreCleared) {
  faults->add({0, Operation::Backup, PersistenceError::ReadOnly, "The folder is locked.", 0});
  EXPECT_FALSE(engine->backup("copy", nullptr));
  EXPECT_FALSE(engine->backup("copy", nullptr));
  faults->clear();
  EXPECT_TRUE(engine->backup("copy", nullptr));
  EXPECT_NE(document->backup("copy"), nullptr);
}

TEST_F(Faults, QuestionsFailBeforeOrInTheMiddleOfTheirAnswer) {
  const auto lines = sumSchema(Keeping::Sums);
  const Entity& line = lines->entity("Line");
  ASSERT_TRUE(engine->open(*lines, nullptr));
  ASSERT_EQ(commit(*engine, Draft(lines)
                                .insert("Line", 1, {})
                                .insert("Line", 2, {})
                                .insert("Line", 3, {})
                                .sums("Line", {{1, 1, 0, {}, "1"}, {1, 2, 0, {}, "2"}})),
            std::nullopt);
  const SumLineQuestion totals{SumLineQuestion::Kind::TotalsOfPeriod, 1, 0, 0, {}};
  struct Counting final : SumLineSink {
    void line(const SumLine& /*line*/) override { ++count; }
    std::size_t count = 0;
  };
  const auto failing = [&](Operation operation, std::uint64_t delivered) {
    faults->add({2, operation, PersistenceError::Damaged, "A page is lost.", delivered});
  };
  for (std::uint64_t delivered = 0; delivered < 2; ++delivered) {
    failing(Operation::Find, delivered);
    failing(Operation::Count, 0);
    failing(Operation::KeepsSums, 0);
    failing(Operation::Sums, delivered);
    for (const bool fails : {false, true, false}) {
      SCOPED_TRACE(fails);
      const auto expected = fails ? std::optional(PersistenceError::Damaged) : std::nullopt;
      Answer answer;
      EXPECT_EQ(finding(*engine, Question(line).inRange("id", 2, 3), answer), expected);
      EXPECT_EQ(answer.size(), fails ? delivered : 2U);
      std::size_t count = 0;
      EXPECT_EQ(engine->count(Question(line), count, nullptr), !fails);
      EXPECT_EQ(count, fails ? 0U : 3U);
      bool kept = false;
      EXPECT_EQ(engine->keepsSums(line, kept, nullptr), !fails);
      EXPECT_EQ(kept, !fails);
      Counting sink;
      EXPECT_EQ(engine->sums(line, totals, sink, nullptr), !fails);
      EXPECT_EQ(sink.count, fails ? delivered : 2U);
    }
  }
  EXPECT_EQ(faults->calls(Operation::Find), 6U);
  EXPECT_EQ(faults->fired(), 8U);
}

// Fails each call of a scenario in turn until it passes untouched: nothing is ever half done.
TEST_F(Faults, AContextOutlivesAFailureAtAnyCall) {
  bool untouched = false;
  for (std::uint64_t call = 1; !untouched; ++call) {
    ASSERT_LT(call, 50U);
    SCOPED_TRACE(call);
    document = std::make_shared<MemoryDocument>();
    faults = std::make_shared<PersistenceFaults>();
    faults->add({call, std::nullopt, PersistenceError::Failed, "The engine failed.", 1});
    auto context = Context::open(
        schema, makeFaultInjectingPersistence(makeMemoryPersistence(document), faults),
        Environment::system());
    const auto attempt = [&](int papers) {
      try {
        Record* folder = context->insertNewObject("Folder");
        for (int i = 0; i < papers; ++i) {
          context->insertNewObject("Paper")->setValueForKey(folder, "folder");
        }
        std::optional<Error> error;
        if (context->save(&error)) return true;
        EXPECT_EQ(codeOf(error), PersistenceError::Failed);
      } catch (const LoadError&) {
      }
      context->rollback();
      return false;
    };
    if (context == nullptr) continue;
    const bool first = attempt(3);
    const bool second = attempt(2);
    untouched = faults->fired() == 0;
    EXPECT_TRUE(!untouched || (first && second));
    context.reset();
    const auto again = makeMemoryPersistence(document);
    ASSERT_TRUE(again->open(*schema, nullptr));
    const Content content = contentOf(*again, *schema);
    EXPECT_EQ(content.at("Paper").size(), (first ? 3U : 0U) + (second ? 2U : 0U));
    EXPECT_EQ(content.at("Folder").size(), (first ? 1U : 0U) + (second ? 1U : 0U));
  }
}

TEST_F(Faults, LoadingMayFailHalfWayAndIsMadeGoodByTheNext) {
  ASSERT_EQ(commit(*engine, Draft(schema).insert("Folder", 1, {}).insert("Folder", 2, {})),
            std::nullopt);
  auto context =
      Context::open(schema, makeFaultInjectingPersistence(makeMemoryPersistence(document), faults),
                    Environment::system());
  faults->add({1, Operation::Load, PersistenceError::Failed, "The engine failed.", 1});
  EXPECT_THROW(context->count("Folder"), LoadError);
  EXPECT_EQ(context->count("Folder"), 2U);
  EXPECT_TRUE(context->verify().empty());
}

}  // namespace

}  // namespace bokfolio::test
