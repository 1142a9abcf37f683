// What every persistence engine must answer when it is asked for some records.
#include <algorithm>
#include <limits>
#include <random>
#include <set>

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
      {"everything", papers(), {1, 2, 3, 4, 6, 7, 8}},
      {"an id", papers().is("id", 4), {4}},
      {"no such id", papers().is("id", 5), {}},
      {"no id at all", papers().is("id", -1), {}},
      {"ids", papers().inRange("id", 3, 6), {3, 4, 6}},
      {"ids from anywhere", papers().inRange("id", Ends::min(), 2), {1, 2}},
      {"an id is never nil", papers().isNil("id"), {}},
      {"and always something", papers().isNil("id", false).is("id", 7), {7}},
      {"nil", papers().isNil("folder"), {1, 6, 7, 8}},
      {"nil number", papers().isNil("count"), {3}},
      {"not nil", papers().isNil("order by", false), {1, 3, 7}},
      {"not nil, also the lowest", papers().isNil("count", false), {1, 2, 4, 6, 7, 8}},
      {"nil of a kind without order", papers().isNil("amount").is("id", 1), {1}},
      {"all numbers", papers().inRange("count", Ends::min(), Ends::max()), {1, 2, 4, 6, 7, 8}},
      {"the lowest number", papers().is("count", Ends::min()), {1}},
      {"the highest number", papers().is("count", Ends::max()), {6}},
      {"numbers from", papers().inRange("count", 5, Ends::max()), {2, 4, 6, 8}},
      {"numbers up to", papers().inRange("count", Ends::min(), 4), {1, 7}},
      {"a stretch that is none", papers().inRange("count", 6, 4), {}},
      {"dates", papers().inRange("date", Ends::min(), -1), {6, 8}},
      {"a to-one", papers().is("folder", 2), {2, 4}},
      {"to-ones", papers().inRange("folder", 1, 2).by("folder"), {3, 2, 4}},
      {"a text", papers().isText("order by", "a"), {3}},
      {"a text with a zero byte", papers().isText("order by", zero), {1}},
      {"the empty text", papers().isText("order by", ""), {7}},
      {"capitals count", papers().isText("order by", "A"), {}},
      {"two conditions", papers().is("folder", 2).is("count", 5).inRange("id", 3, 9), {4}},
      {"two on one property", papers().inRange("count", 4, 9).inRange("count", 0, 4), {7}},
      {"by number", papers().by("count"), {3, 1, 7, 2, 4, 8, 6}},
      {"by number, turned", papers().by("count", false), {6, 8, 4, 2, 7, 1, 3}},
      {"by id, turned", papers().isNil("folder").by("id", false), {8, 7, 6, 1}},
      {"the last of a kind", papers().is("count", 5).by("count", false).atMost(1), {8}},
      {"the greatest", papers().isNil("count", false).by("count", false).atMost(1), {6}},
      {"the earliest", papers().isNil("date", false).by("date").atMost(1), {8}},
      {"the second and third", papers().by("count").atMost(2, 1), {1, 7}},
      {"all but some", papers().by("id").atMost(all, 5), {7, 8}},
      {"beyond the end", papers().atMost(3, 7), {}},
      {"none wanted", papers().atMost(0), {}},
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

TEST_P(QuestionConformance, OnlyWhatIsSavedIsFound) {
  const Cells blue = {{"order by", std::string("blue")}, {"folder", Reference{1}}};
  const auto found = [&] {
    return std::pair(ids(papers().isText("order by", "blue")), ids(papers().is("folder", 1)));
  };
  using Both = std::pair<Ids, Ids>;
  EXPECT_EQ(found(), (Both{{}, {}}));
  ASSERT_EQ(commit(Draft(schema).insert("Folder", 1, {}).insert("Paper", 1, blue)), std::nullopt);
  EXPECT_EQ(found(), (Both{{1}, {1}}));
  // A save that is refused leaves what is found as it was.
  EXPECT_EQ(commit(Draft(schema)
                       .insert("Paper", 2, blue)
                       .update("Paper", 1, 1, {}, {"order by", "folder"})
                       .remove("Paper", 7, 1)),
            PersistenceError::Stale);
  EXPECT_EQ(found(), (Both{{1}, {1}}));
  ASSERT_EQ(commit(Draft(schema).insert("Paper", 3, {}).update("Paper", 1, 1, {}, {"order by"})),
            std::nullopt);
  EXPECT_EQ(found(), (Both{{}, {1}}));
  ASSERT_EQ(commit(Draft(schema).remove("Paper", 1, 2)), std::nullopt);
  EXPECT_EQ(found(), (Both{{}, {}}));
  EXPECT_EQ(ids(papers()), Ids{3});
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

class RandomQuestions {
 public:
  RandomQuestions(std::uint32_t seed, std::shared_ptr<const Schema> schema)
      : random_(seed), schema_(std::move(schema)) {}

  // A save of some new, changed and deleted papers.
  void change(Persistence& engine) {
    Draft draft(schema_);
    const std::vector<std::string> all = {"count", "date", "order by", "folder", "next"};
    for (int i = 0; i < 30; ++i) {
      const RecordId id = 1 + pick(80);
      const auto paper = versions_.find(id);
      if (paper == versions_.end()) {
        draft.insert("Paper", id, cells());
        versions_[id] = 1;
      } else if (!touched_.insert(id).second) {
        continue;
      } else if (pick(3) != 0) {
        draft.update("Paper", id, paper->second, cells(), all);
        ++paper->second;
      } else {
        draft.remove("Paper", id, paper->second);
        removed_.insert(id);
      }
      touched_.insert(id);
    }
    for (const RecordId id : removed_) versions_.erase(id);
    removed_.clear();
    touched_.clear();
    ASSERT_EQ(commit(engine, draft), std::nullopt);
  }

  void insertFolders(Persistence& engine) {
    Draft draft(schema_);
    for (RecordId id = 1; id <= 4; ++id) draft.insert("Folder", id, {});
    ASSERT_EQ(commit(engine, draft), std::nullopt);
  }

  Question question() {
    Question question(schema_->entity("Paper"));
    for (std::uint32_t left = pick(4); left > 0; --left) addCondition(question);
    const std::vector<std::string> orders = {"id", "count", "date", "folder"};
    question.by(orders[pick(4)], pick(2) != 0);
    const std::vector<std::size_t> limits = {std::numeric_limits<std::size_t>::max(), 0, 1, 3, 50};
    question.atMost(limits[pick(5)], pick(2) != 0 ? 0 : pick(12));
    return question;
  }

 private:
  std::uint32_t pick(std::uint32_t below) { return static_cast<std::uint32_t>(random_() % below); }

  std::int64_t number() {
    static const std::vector<std::int64_t> numbers = {Ends::min(), -2, -1, 0, 1, 2, Ends::max()};
    return numbers[pick(7)];
  }
  std::string text() {
    static const std::vector<std::string> texts = {"", "a", std::string("a\0", 2), "A", "ä"};
    return texts[pick(5)];
  }

  Cells cells() {
    Cells cells;
    if (pick(3) != 0) cells["count"] = number();
    if (pick(3) != 0) cells["date"] = Date::fromMicroseconds(number());
    if (pick(3) != 0) cells["order by"] = text();
    if (pick(3) != 0) cells["folder"] = Reference{1 + pick(4)};
    return cells;
  }

  void addCondition(Question& question) {
    const std::vector<std::string> names = {"id", "count", "date", "folder", "order by"};
    const std::string& name = names[pick(5)];
    const std::uint32_t kind = pick(6);
    if (kind < 2) {
      question.isNil(name, kind == 0);
    } else if (name == "order by") {
      question.isText(name, text());
    } else if (name == "id") {
      question.inRange(name, pick(60), 20 + pick(100));
    } else if (kind == 2) {
      question.is(name, number());
    } else {
      question.inRange(name, number(), number());
    }
  }

  std::mt19937 random_;
  std::shared_ptr<const Schema> schema_;
  std::map<RecordId, std::uint32_t> versions_;
  std::set<RecordId> touched_;
  std::set<RecordId> removed_;
};

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
    RandomQuestions random(seed, schema);
    random.insertFolders(*engine);
    for (int round = 0; round < 6; ++round) {
      random.change(*engine);
      if (round == 4) reopen();
      const auto records = content()["Paper"];
      for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + "." +
                     std::to_string(i));
        const Question question = random.question();
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
