// What every persistence engine must do. A new engine is finished when this passes for it.
#include <gtest/gtest.h>

#include <limits>

#include "bokfolio/store/context.hpp"
#include "tests/conformance/history.hpp"
#include "tests/conformance/suite.hpp"

namespace bokfolio::test {

namespace {

std::string everyByte(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

// Each property with the values that are easily lost on the way.
const std::vector<std::pair<std::string, std::vector<Cell>>>& fragileValues() {
  using Integers = std::numeric_limits<std::int64_t>;
  using Doubles = std::numeric_limits<double>;
  const auto decimal = [](const char* text) { return Cell(Decimal::parse(text).value()); };
  const auto date = [](std::int64_t value) { return Cell(Date::fromMicroseconds(value)); };
  static const std::vector<std::pair<std::string, std::vector<Cell>>> values = {
      {"count", {std::int64_t{0}, std::int64_t{-1}, Integers::min(), Integers::max()}},
      {"weight",
       {0.0, 0.1, -1e300, 3.0, Doubles::denorm_min(), Doubles::max(), Doubles::infinity()}},
      {"amount",
       {Decimal(0), decimal("0.10"), decimal("-1234.56"),
        decimal("99999999999999999999999999999999999999"),
        decimal("-12345678901234567890.123456789012345678"), decimal("1E127"), decimal("1E-128"),
        decimal("99999999999999999999999999999999999999E90")}},
      {"order by",
       {std::string(), std::string("Räksmörgås"),
        std::string("Ελληνικά עברית 日本語 हिन्दी 🧾"),
        std::string("a\0b", 3), std::string("\0", 1), std::string("'\";--\n"),
        std::string(200'000, 'x')}},
      {"date", {date(0), date(-1), date(Integers::min()), Cell(Date::distantPast())}},
      {"scan", {Blob{}, Blob{std::string("\0", 1)}, Blob{everyByte(5'000'000)}}},
  };
  return values;
}

TEST_P(Conformance, EveryValueComesBackAndNilIsNone) {
  Content expected = {{"Folder", {}}, {"Paper", {}}};
  Draft draft(schema);
  RecordId id = 0;
  const auto insert = [&](const Cells& cells) {
    draft.insert("Paper", ++id, cells);
    expected["Paper"][id] = {1, cells};
  };
  insert({});
  for (const auto& [name, values] : fragileValues())
    for (const Cell& value : values) insert({{name, value}});
  ASSERT_EQ(commit(draft), std::nullopt);
  reopen();
  EXPECT_EQ(content(), expected);
  EXPECT_TRUE(engine->verify(nullptr));

  // An update can take any value away again.
  Draft clearing(schema);
  for (auto& [paper, saved] : expected["Paper"]) {
    if (saved.cells.empty()) continue;
    clearing.update("Paper", paper, 1, {}, {saved.cells.begin()->first});
    saved = {2, {}};
  }
  ASSERT_EQ(commit(clearing), std::nullopt);
  reopen();
  EXPECT_EQ(content(), expected);
}

TEST_P(Conformance, TransientValuesStayInMemory) {
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 1, {{"mood", 0.5}})), std::nullopt);
  EXPECT_EQ(content()["Paper"], (std::map<RecordId, Saved>{{1, {1, {}}}}));
}

TEST_P(Conformance, AnUpdateWritesWhatChangedAndNothingElse) {
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 1,
                                        {{"count", std::int64_t{1}}, {"amount", Decimal(1)}})),
            std::nullopt);
  ASSERT_EQ(commit(Draft(schema).update(
                "Paper", 1, 1, {{"count", std::int64_t{2}}, {"amount", Decimal(2)}}, {"amount"})),
            std::nullopt);
  const Saved saved{2, {{"count", std::int64_t{1}}, {"amount", Decimal(2)}}};
  EXPECT_EQ(content()["Paper"][1], saved);
}

TEST_P(Conformance, ReferencesMayComeInAnyOrderAndInCircles) {
  Draft draft(schema);
  draft.insert("Paper", 1, {{"folder", Reference{1}}, {"next", Reference{2}}})
      .insert("Paper", 2, {{"next", Reference{1}}})
      .insert("Paper", 3, {{"next", Reference{3}}})
      .insert("Folder", 1, {});
  ASSERT_EQ(commit(draft), std::nullopt);
  reopen();
  const Content saved = content();
  EXPECT_EQ(saved.at("Paper").at(1).cells,
            (Cells{{"folder", Reference{1}}, {"next", Reference{2}}}));
  Draft removal(schema);
  removal.remove("Paper", 3, 1)
      .remove("Folder", 1, 1)
      .remove("Paper", 1, 1)
      .update("Paper", 2, 1, {}, {"next"});
  ASSERT_EQ(commit(removal), std::nullopt);
  reopen();
  EXPECT_EQ(content(), (Content{{"Folder", {}}, {"Paper", {{2, {2, {}}}}}}));
}

TEST_P(Conformance, ARefusedChangeSetLeavesNothing) {
  ASSERT_EQ(commit(Draft(schema)
                       .insert("Folder", 1, {})
                       .insert("Paper", 1, {{"folder", Reference{1}}})
                       .insert("Paper", 2, {})
                       .update("Paper", 2, 1, {{"count", std::int64_t{1}}}, {"count"})
                       .insert("Paper", 3, {})),
            std::nullopt);
  const Content before = content();
  struct Case {
    const char* what;
    PersistenceError code;
    void (*add)(Draft&);
  };
  const Cells count = {{"count", std::int64_t{9}}};
  using enum PersistenceError;
  const std::vector<Case> cases = {
      {"an old version updated", Stale,
       [](Draft& draft) { draft.update("Paper", 2, 1, {}, {"count"}); }},
      {"a version to come", Stale,
       [](Draft& draft) { draft.update("Paper", 2, 3, {}, {"count"}); }},
      {"an old version deleted", Stale, [](Draft& draft) { draft.remove("Paper", 2, 1); }},
      {"nothing there", Stale, [](Draft& draft) { draft.update("Paper", 7, 1, {}, {"count"}); }},
      {"nothing there to delete", Stale, [](Draft& draft) { draft.remove("Paper", 7, 1); }},
      {"an id that is taken", Refused, [](Draft& draft) { draft.insert("Paper", 1, {}); }},
      {"no id", Refused, [](Draft& draft) { draft.insert("Paper", 0, {}); }},
      {"a reference to nothing", Refused,
       [](Draft& draft) {
         draft.update("Paper", 1, 1, {{"next", Reference{8}}}, {"next"});
       }},
      {"what others refer to deleted", Refused, [](Draft& draft) { draft.remove("Folder", 1, 1); }},
      {"not a number", Refused,
       [](Draft& draft) {
         draft.insert("Paper", 5, {{"weight", std::nan("")}});
       }},
  };
  for (const Case& wrong : cases) {
    for (const bool first : {true, false}) {
      SCOPED_TRACE(wrong.what);
      Draft draft(schema);
      if (first) wrong.add(draft);
      draft.insert("Folder", 2, {}).insert("Paper", 4, {{"folder", Reference{2}}});
      draft.update("Paper", 3, 1, count, {"count"}).nextId("Paper", 100).nextId("Folder", 100);
      if (!first) wrong.add(draft);
      EXPECT_EQ(commit(draft), wrong.code);
      EXPECT_EQ(content(), before);
      EXPECT_EQ(nextIdOf(*engine, *schema, "Paper"), 4U);
    }
  }
  // The same document goes on taking changes.
  EXPECT_EQ(commit(Draft(schema).update("Paper", 2, 2, count, {"count"})), std::nullopt);
  reopen();
  EXPECT_EQ(content()["Paper"][2], (Saved{3, count}));
}

TEST_P(Conformance, IdsAreNeverGivenTwice) {
  EXPECT_EQ(nextIdOf(*engine, *schema, "Paper"), 1U);
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 1, {}).insert("Paper", 4, {}).nextId("Paper", 5)),
            std::nullopt);
  ASSERT_EQ(commit(Draft(schema).remove("Paper", 4, 1)), std::nullopt);
  // Ids that were used up without being saved; a lower claim takes nothing back.
  ASSERT_EQ(commit(Draft(schema).nextId("Folder", 7)), std::nullopt);
  ASSERT_EQ(commit(Draft(schema).nextId("Folder", 3)), std::nullopt);
  reopen();
  EXPECT_EQ(nextIdOf(*engine, *schema, "Paper"), 5U);
  EXPECT_EQ(nextIdOf(*engine, *schema, "Folder"), 7U);
}

TEST_P(Conformance, WhatTheModelLacksIsKept) {
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 1, {}).insert("Paper", 2, {})), std::nullopt);
  reopen(paperSchema(true));
  const Cells cells = {{"colour", std::string("blue")}, {"price", Decimal(3)}};
  ASSERT_EQ(commit(Draft(schema)
                       .update("Paper", 1, 1, cells, {"colour", "price"})
                       .insert("Stamp", 1, {{"paper", Reference{2}}})),
            std::nullopt);
  reopen(paperSchema());
  ASSERT_EQ(commit(Draft(schema)
                       .update("Paper", 1, 2, {{"count", std::int64_t{5}}}, {"count"})
                       .insert("Paper", 3, {})),
            std::nullopt);
  // A plug-in that is away still holds on to its partners.
  EXPECT_EQ(commit(Draft(schema).remove("Paper", 2, 1)), PersistenceError::Refused);
  reopen(paperSchema(true));
  Cells kept = cells;
  kept.emplace("count", std::int64_t{5});
  EXPECT_EQ(content(), (Content{{"Folder", {}},
                                {"Paper", {{1, {3, kept}}, {2, {1, {}}}, {3, {1, {}}}}},
                                {"Stamp", {{1, {1, {{"paper", Reference{2}}}}}}}}));
}

TEST_P(Conformance, APropertyOfAnotherKindIsRefused) {
  EntityDescription paper;
  paper.name = "Paper";
  PropertyDescription colour;
  colour.name = "colour";
  paper.properties.push_back(colour);
  PropertyDescription count;
  count.name = "count";
  count.kind = PropertyKind::Decimal;
  paper.properties.push_back(count);
  engine = nullptr;
  engine = place->again();
  std::optional<Error> error;
  EXPECT_FALSE(engine->open(Schema(std::vector{paper}), &error));
  EXPECT_EQ(codeOf(error), PersistenceError::Refused);
  EXPECT_NE(error->localizedDescription().find("Paper.count"), std::string::npos);
}

TEST_P(Conformance, ABackupIsTheStateOfItsMoment) {
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 1, {{"amount", Decimal(7)}}).nextId("Paper", 9)),
            std::nullopt);
  const Content before = content();
  ASSERT_TRUE(engine->backup(place->copyPath(), nullptr));
  ASSERT_EQ(commit(Draft(schema).remove("Paper", 1, 1)), std::nullopt);
  std::optional<Error> error;
  EXPECT_FALSE(engine->backup(place->copyPath(), &error));
  EXPECT_EQ(codeOf(error), PersistenceError::AlreadyExists);

  const auto copy = place->copy();
  ASSERT_TRUE(copy->open(*schema, nullptr));
  EXPECT_EQ(contentOf(*copy, *schema), before);
  EXPECT_EQ(nextIdOf(*copy, *schema, "Paper"), 9U);
  EXPECT_EQ(test::commit(*copy, Draft(schema).insert("Paper", 9, {})), std::nullopt);
  EXPECT_TRUE(content()["Paper"].empty());
}

TEST_P(Conformance, RandomHistoriesEqualPlainMaps) {
  for (std::uint32_t seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(seed);
    place = GetParam().make();
    engine = place->create();
    ASSERT_TRUE(engine->open(*schema, nullptr));
    History history(seed, schema);
    for (int step = 0; step < 60; ++step) {
      ASSERT_NO_FATAL_FAILURE(history.step(*engine));
      if (step % 20 == 19) reopen();
      ASSERT_EQ(content(), history.content()) << "step " << step;
    }
    EXPECT_TRUE(engine->verify(nullptr));
  }
}

TEST_P(Conformance, AContextFindsWhatAnotherSaved) {
  engine.reset();
  auto context = Context::open(schema, place->again(), Environment::system());
  ASSERT_NE(context, nullptr);
  Record* folder = context->insertNewObject("Folder");
  folder->setValueForKey("2009", "name");
  for (int i = 1; i <= 3; ++i) {
    Record* paper = context->insertNewObject("Paper");
    paper->setValueForKey(folder, "folder");
    paper->setValueForKey(Decimal(i), "amount");
  }
  ASSERT_TRUE(context->save());
  const RecordId id = folder->id();
  context.reset();

  context = Context::open(schema, place->again(), Environment::system());
  folder = context->find("Folder", id);
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->valueForKey("name"), Value("2009"));
  EXPECT_EQ(folder->valueForKeyPath("papers.@sum.amount"), Value(Decimal(6)));
  EXPECT_GT(context->insertNewObject("Folder")->id(), id);
}

INSTANTIATE_TEST_SUITE_P(Engines, Conformance, testing::ValuesIn(placeKinds()), nameOfKind);

}  // namespace

}  // namespace bokfolio::test
