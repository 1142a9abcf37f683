// What every persistence engine must answer when it is asked for some records.
#include <algorithm>
#include <limits>

#include "tests/conformance/history.hpp"
#include "tests/conformance/suite.hpp"

namespace bokfolio::test {

namespace {

using Ends = std::numeric_limits<std::int64_t>;
using Ids = std::vector<RecordId>;

class QuestionConformance : public Conformance {
 protected:
  Question papers() const { return Question(schema->entity("Paper")); }
  Ids ids(const SavedQuestion& question) { return idsOf(*engine, question); }
};

Cell integer(std::int64_t value) { return value; }
Cell date(std::int64_t microseconds) { return Date::fromMicroseconds(microseconds); }

TEST_P(QuestionConformance, ConditionsOrderAndSlicesMeanWhatTheySay) {
  const std::string zero("a\0", 2);
  ASSERT_EQ(
      commit(Draft(schema)
                 .insert("Folder", 1, {})
                 .insert("Folder", 2, {})
                 .insert("Paper", 1, {{"count", integer(Ends::min())}, {"order by", zero}})
                 .insert("Paper", 2, {{"count", integer(5)}, {"folder", Reference{2}}})
                 .insert("Paper", 3, {{"folder", Reference{1}}, {"order by", std::string("a")}})
                 .insert("Paper", 4, {{"count", integer(5)}, {"folder", Reference{2}}})
                 .insert("Paper", 6, {{"count", integer(Ends::max())}, {"date", date(-1)}})
                 .insert("Paper", 7, {{"count", integer(4)}, {"order by", std::string()}})
                 .insert("Paper", 8, {{"count", integer(5)}, {"date", date(Ends::min())}})),
      std::nullopt);
  struct Case {
    const char* what;
    SavedQuestion question;
    Ids ids;
  };
  const std::size_t all = std::numeric_limits<std::size_t>::max();
  const std::vector<Case> cases = {
      {"no such id", papers().is("id", 5), {}},
      {"no id at all", papers().is("id", -1), {}},
      {"ids from anywhere", papers().inRange("id", Ends::min(), 2), {1, 2}},
      {"and always something", papers().isNil("id", false).is("id", 7), {7}},
      {"nil of a kind without order", papers().isNil("amount").is("id", 1), {1}},
      {"all numbers", papers().inRange("count", Ends::min(), Ends::max()), {1, 2, 4, 6, 7, 8}},
      {"the lowest number", papers().is("count", Ends::min()), {1}},
      {"a stretch that is none", papers().inRange("count", 6, 4), {}},
      {"a text with a zero byte", papers().isText("order by", zero), {1}},
      {"two conditions", papers().is("folder", 2).is("count", 5).inRange("id", 3, 9), {4}},
      {"by number, turned", papers().by("count", false), {6, 8, 4, 2, 7, 1, 3}},
      {"by id, turned", papers().isNil("folder").by("id", false), {8, 7, 6, 1}},
      {"the greatest", papers().isNil("count", false).by("count", false).atMost(1), {6}},
      {"all but some", papers().by("id").atMost(all, 5), {7, 8}},
      {"beyond the end", papers().atMost(3, 7), {}},
  };
  for (const bool again : {false, true}) {
    if (again) reopen();
    for (Case each : cases) {
      SCOPED_TRACE(each.what);
      EXPECT_EQ(ids(each.question), each.ids);
      each.question.skip = 0;
      EXPECT_EQ(countOf(*engine, each.question), ids(each.question).size());
    }
  }
}

TEST_P(QuestionConformance, WhatHasNoAnswerIsAnError) {
  const Entity& paper = schema->entity("Paper");
  for (const SavedQuestion& question :
       {papers().inRange("amount", 0, 1), papers().inRange("order by", 0, 1),
        papers().isText("count", "1"), papers().isText("id", "1"), papers().is("mood", 1),
        papers().isNil("mood"), papers().by("amount"), papers().by("order by"),
        Question(schema->entity("Folder")).isNil("papers")}) {
    Answer answer;
    EXPECT_EQ(finding(*engine, question, answer), PersistenceError::Failed);
    std::size_t count = 0;
    EXPECT_FALSE(engine->count(question, count, nullptr));
  }
  SavedQuestion beyond = papers();
  beyond.order = static_cast<std::uint16_t>(paper.properties().size());
  Answer answer;
  EXPECT_EQ(finding(*engine, beyond, answer), PersistenceError::Failed);
  // And the engine goes on answering.
  EXPECT_EQ(countOf(*engine, papers()), 0U);
}

TEST_P(QuestionConformance, WhatAPlugInAddsIsFound) {
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 1, {}).insert("Paper", 2, {})), std::nullopt);
  reopen(paperSchema(true));
  EXPECT_EQ(ids(papers().isNil("colour")), (Ids{1, 2}));
  ASSERT_EQ(commit(Draft(schema)
                       .update("Paper", 2, 1, {{"cover", Reference{1}}}, {"cover"})
                       .insert("Stamp", 1, {{"paper", Reference{2}}})),
            std::nullopt);
  EXPECT_EQ(ids(papers().is("cover", 1)), Ids{2});
  EXPECT_EQ(ids(Question(schema->entity("Stamp")).is("paper", 2)), Ids{1});
}

// --- Any question about any records has the answer of a filter over all records.

std::optional<std::int64_t> numberIn(const Saved& saved, const std::string& name) {
  const auto cell = saved.cells.find(name);
  if (cell == saved.cells.end()) return std::nullopt;
  if (const auto* value = std::get_if<std::int64_t>(&cell->second)) return *value;
  if (const auto* value = std::get_if<Date>(&cell->second)) return value->microseconds();
  if (const auto* value = std::get_if<Reference>(&cell->second))
    return static_cast<std::int64_t>(value->id);
  return std::nullopt;
}

Question randomQuestion(History& random, const Entity& paper) {
  Question question(paper);
  for (std::uint32_t left = random.pick(4); left > 0; --left) {
    const std::vector<std::string> names = {"id", "count", "date", "folder", "order by"};
    const std::string& name = names[random.pick(5)];
    const std::uint32_t kind = random.pick(6);
    if (kind < 2) {
      question.isNil(name, kind == 0);
    } else if (name == "order by") {
      question.isText(name, random.text());
    } else if (name == "id") {
      question.inRange(name, random.pick(60), 20 + random.pick(100));
    } else if (kind == 2) {
      question.is(name, random.number());
    } else {
      question.inRange(name, random.number(), random.number());
    }
  }
  const std::vector<std::string> orders = {"id", "count", "date", "folder"};
  question.by(orders[random.pick(4)], random.pick(2) != 0);
  const std::vector<std::size_t> limits = {std::numeric_limits<std::size_t>::max(), 0, 1, 3, 50};
  return question.atMost(limits[random.pick(5)], random.pick(2) != 0 ? 0 : random.pick(12));
}

bool holds(const SavedCondition& condition, const Entity& entity, RecordId id, const Saved& saved) {
  using Kind = SavedCondition::Kind;
  const bool isId = condition.ordinal == kIdOrdinal;
  const std::string name = isId ? "id" : entity.property(condition.ordinal).name();
  const auto number = isId ? std::optional(static_cast<std::int64_t>(id)) : numberIn(saved, name);
  const bool nil = !isId && saved.cells.count(name) == 0;
  if (condition.kind == Kind::IsNil) return nil;
  if (condition.kind == Kind::IsNotNil) return !nil;
  if (condition.kind == Kind::IsText)
    return !nil && std::get<std::string>(saved.cells.at(name)) == condition.text;
  return number && condition.low <= *number && *number <= condition.high;
}

// The answer without its slice.
Answer expected(const std::map<RecordId, Saved>& records, const SavedQuestion& question) {
  Answer answer;
  for (const auto& [id, saved] : records) {
    const bool all = std::all_of(question.conditions.begin(), question.conditions.end(),
                                 [&, id = id, &saved = saved](const SavedCondition& condition) {
                                   return holds(condition, *question.entity, id, saved);
                                 });
    if (all) answer.emplace_back(id, saved);
  }
  if (question.order != kIdOrdinal) {
    const std::string& name = question.entity->property(question.order).name();
    // nullopt is less than any number.
    std::stable_sort(answer.begin(), answer.end(), [&](const auto& a, const auto& b) {
      return numberIn(a.second, name) < numberIn(b.second, name);
    });
  }
  if (!question.ascending) std::reverse(answer.begin(), answer.end());
  return answer;
}

Answer sliced(const Answer& answer, const SavedQuestion& question) {
  const std::size_t begin = std::min(question.skip, answer.size());
  const std::size_t end = begin + std::min(question.limit, answer.size() - begin);
  return {answer.begin() + static_cast<std::ptrdiff_t>(begin),
          answer.begin() + static_cast<std::ptrdiff_t>(end)};
}

TEST_P(QuestionConformance, AnyAnswerIsThatOfAFilter) {
  for (std::uint32_t seed = 1; seed <= 4; ++seed) {
    place = GetParam().make();
    engine = place->create();
    ASSERT_TRUE(engine->open(*schema, nullptr));
    History history(seed, schema);
    for (int round = 0; round < 6; ++round) {
      for (int step = 0; step < 10; ++step) ASSERT_NO_FATAL_FAILURE(history.step(*engine));
      if (round == 4) reopen();
      const auto records = history.content()["Paper"];
      for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + "." +
                     std::to_string(i));
        const Question question = randomQuestion(history, schema->entity("Paper"));
        const Answer all = expected(records, question);
        Answer answer;
        ASSERT_EQ(finding(*engine, question, answer), std::nullopt);
        ASSERT_EQ(answer, sliced(all, question));
        ASSERT_EQ(countOf(*engine, question), std::min(all.size(), question.limit));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, QuestionConformance, testing::ValuesIn(placeKinds()), nameOfKind);

}  // namespace

}  // namespace bokfolio::test
