// What every persistence engine must do with the lines of kept sums.
#include <array>
#include <limits>
#include <map>
#include <random>
#include <tuple>

#include "tests/conformance/suite.hpp"

namespace bokfolio {

bool operator==(const SumLine& a, const SumLine& b) {
  return std::tie(a.period, a.owner, a.mark, a.instant, a.amount) ==
         std::tie(b.period, b.owner, b.mark, b.instant, b.amount);
}

void PrintTo(const SumLine& line, std::ostream* stream) {
  *stream << line.period << ' ' << line.owner << ' ' << line.mark << ' '
          << (line.instant ? std::to_string(*line.instant) : "all") << ": " << line.amount;
}

}  // namespace bokfolio

namespace bokfolio::test {

namespace {

using enum PersistenceError;
using Ends = std::numeric_limits<std::int64_t>;

SumLineQuestion totalsOf(RecordId period) {
  return {SumLineQuestion::Kind::TotalsOfPeriod, period, 0, 0, {}};
}
SumLineQuestion instantsOf(RecordId period, RecordId owner) {
  return {SumLineQuestion::Kind::InstantsOfOwner, period, owner, 0, {}};
}
SumLineQuestion oneOf(const SumLine& line) {
  return {SumLineQuestion::Kind::One, line.period, line.owner, line.mark, line.instant};
}

class SumConformance : public Conformance {
 protected:
  SumConformance() : Conformance(sumSchema(Keeping::Sums)) { insertPartners(*engine); }

  void insertPartners(Persistence& into) const {
    Draft draft(schema);
    for (RecordId id = 1; id <= 3; ++id)
      draft.insert("Period", id, {}).insert("Holder", id, {}).insert("Mark", id, {});
    ASSERT_EQ(test::commit(into, draft), std::nullopt);
  }

  const Entity& line() const { return schema->entity("Line"); }
  Lines lines(const SumLineQuestion& question) {
    const auto found = linesOf(*engine, line(), question);
    EXPECT_TRUE(found);
    return found.value_or(Lines());
  }
  std::optional<PersistenceError> save(Lines lines, bool replacesAll = false) {
    return commit(Draft(schema).sums("Line", std::move(lines), replacesAll));
  }
};

TEST_P(SumConformance, ASaveChangesTheLinesThatItNamesOrAll) {
  const SumLine first{1, 1, 0, {}, "1"};
  const SumLine second{1, 2, 0, {}, "2"};
  const SumLine dated{1, 1, 0, 5, "3"};
  ASSERT_EQ(save({first, second, dated}), std::nullopt);
  SumLine changed = first;
  changed.amount = "10";
  SumLine gone = second;
  gone.amount = "";
  SumLine never{3, 3, 3, 3, ""};
  ASSERT_EQ(save({changed, gone, never}), std::nullopt);
  EXPECT_EQ(lines(totalsOf(1)), Lines{changed});
  EXPECT_EQ(lines(instantsOf(1, 1)), Lines{dated});
  ASSERT_TRUE(engine->backup(place->copyPath(), nullptr));
  ASSERT_EQ(save({second}, true), std::nullopt);
  reopen();
  EXPECT_EQ(lines(totalsOf(1)), Lines{second});
  EXPECT_EQ(lines(instantsOf(1, 1)), Lines());

  const auto copy = place->copy();
  ASSERT_TRUE(copy->open(*schema, nullptr));
  EXPECT_TRUE(keepsSums(*copy, line()));
  EXPECT_EQ(linesOf(*copy, line(), totalsOf(1)), Lines{changed});
}

TEST_P(SumConformance, ASaveThatFailsLeavesThem) {
  const SumLine first{1, 1, 0, {}, "1"};
  const SumLine other{1, 2, 0, {}, "2"};
  ASSERT_EQ(save({first}), std::nullopt);
  SumLine changed = first;
  changed.amount = "5";
  SumLine gone = first;
  gone.amount = "";
  const auto fail = [](Draft& draft) -> Draft& { return draft.remove("Holder", 9, 1); };
  for (const bool all : {false, true}) {
    for (const Lines& sums : {Lines{changed, other}, Lines{gone}, Lines{}}) {
      Draft draft(schema);
      EXPECT_EQ(commit(fail(draft.sums("Line", sums, all))), Stale);
      EXPECT_EQ(lines(totalsOf(1)), Lines{first});
    }
  }
  // What no sums can be, after what they can.
  for (const SumLine& wrong : {SumLine{0, 1, 0, {}, "1"}, SumLine{1, 0, 0, {}, "1"}}) {
    EXPECT_EQ(save({gone, other, wrong}), Refused);
    EXPECT_EQ(lines(totalsOf(1)), Lines{first});
  }
  EXPECT_EQ(commit(Draft(schema).sums("Sheet", {first}, true)), Refused);
  EXPECT_FALSE(keepsSums(*engine, schema->entity("Sheet")));
  EXPECT_EQ(linesOf(*engine, schema->entity("Sheet"), totalsOf(1)), std::nullopt);
}

TEST_P(SumConformance, TheyAreKeptFromTheFirstRecordOnOrWhenAllWereBrought) {
  EXPECT_TRUE(keepsSums(*engine, line()));
  struct Case {
    const char* what;
    std::shared_ptr<const Schema> before;
    bool kept;
  };
  for (const Case& each : {Case{"no such entity", sumSchema(Keeping::Nothing, false), true},
                           Case{"without sums", sumSchema(Keeping::Nothing), false},
                           Case{"with others", sumSchema(Keeping::OtherSums), false}}) {
    SCOPED_TRACE(each.what);
    place = GetParam().make();
    engine = place->create();
    ASSERT_TRUE(engine->open(*each.before, nullptr));
    reopen(sumSchema(Keeping::Sums));
    insertPartners(*engine);
    EXPECT_EQ(keepsSums(*engine, line()), each.kept);
    if (each.kept) continue;
    const SumLine first{1, 1, 0, {}, "1"};
    EXPECT_EQ(linesOf(*engine, line(), totalsOf(1)), std::nullopt);
    EXPECT_EQ(save({first}), Refused);
    EXPECT_EQ(commit(Draft(schema).remove("Holder", 9, 1).sums("Line", {first}, true)), Stale);
    EXPECT_FALSE(keepsSums(*engine, line()));
    ASSERT_EQ(save({first}, true), std::nullopt);
    EXPECT_TRUE(keepsSums(*engine, line()));
    reopen();
    EXPECT_TRUE(keepsSums(*engine, line()));
    EXPECT_EQ(lines(totalsOf(1)), Lines{first});
  }
}

TEST_P(SumConformance, AnotherModelsSaveEndsThem) {
  const SumLine first{1, 1, 0, {}, "1"};
  for (const auto& other : {sumSchema(Keeping::Nothing), sumSchema(Keeping::OtherSums),
                            sumSchema(Keeping::Nothing, false)}) {
    ASSERT_EQ(save({first}, true), std::nullopt);
    reopen(other);
    EXPECT_EQ(commit(Draft(schema).remove("Holder", 9, 1)), Stale);
    reopen(sumSchema(Keeping::Sums));
    EXPECT_TRUE(keepsSums(*engine, line()));  // nothing was saved
    EXPECT_EQ(lines(totalsOf(1)), Lines{first});
    reopen(other);
    ASSERT_EQ(commit(Draft(schema).nextId("Sheet", 9)), std::nullopt);
    reopen(sumSchema(Keeping::Sums));
    EXPECT_FALSE(keepsSums(*engine, line()));
  }
}

TEST_P(SumConformance, VerifyingFindsLinesAboutNothing) {
  for (const SumLine& wrong : {SumLine{9, 1, 0, {}, "1"}, SumLine{1, 9, 0, 4, "1"},
                               SumLine{1, 1, 9, {}, "1"}, SumLine{1, 0, 9, {}, "1"}}) {
    ASSERT_EQ(save({{1, 0, 1, {}, "1"}, {3, 3, 3, {}, "1"}}, true), std::nullopt);
    EXPECT_TRUE(engine->verify(nullptr));
    ASSERT_EQ(save({wrong}), std::nullopt);
    std::optional<Error> error;
    EXPECT_FALSE(engine->verify(&error));
    EXPECT_EQ(codeOf(error), Damaged);
  }
}

// Any history of saves, good and bad, with reopening between, gives what a map gives.
TEST_P(SumConformance, AnyHistoryGivesWhatAMapGives) {
  using Key = std::tuple<RecordId, RecordId, RecordId, std::optional<std::int64_t>>;
  std::mt19937 random(7);
  const auto pick = [&](std::uint32_t below) {
    return static_cast<std::uint32_t>(random() % below);
  };
  std::map<Key, std::string> known;
  for (int step = 0; step < 80; ++step) {
    Lines changes;
    std::map<Key, std::string> after;
    const bool all = pick(12) == 0;
    if (!all) after = known;
    for (std::uint32_t left = pick(20); left > 0; --left) {
      SumLine each{1 + pick(3), 1 + pick(3), pick(3), {}, ""};
      if (pick(2) != 0)
        each.instant = std::array{Ends::min(), std::int64_t{-1}, std::int64_t{0}, std::int64_t{7},
                                  Ends::max()}[pick(5)];
      if (!each.instant && each.mark != 0 && pick(4) == 0) each.owner = 0;
      if (pick(3) != 0) each.amount = std::to_string(1 + pick(1000));
      const Key key{each.period, each.owner, each.mark, each.instant};
      after.erase(key);
      if (!each.amount.empty()) after.emplace(key, each.amount);
      changes.push_back(each);
    }
    Draft draft(schema);
    const bool fails = pick(4) == 0;
    if (fails) draft.remove("Mark", 9, 1);
    draft.sums("Line", changes, all);
    ASSERT_EQ(commit(draft).has_value(), fails);
    if (!fails) known = after;
    if (step % 20 == 19) reopen();
    // By owner, mark and instant.
    const auto expected = [&](const SumLineQuestion& question) {
      Lines found;
      for (const auto& [key, amount] : known) {
        const auto& [period, owner, mark, instant] = key;
        const bool total = question.kind == SumLineQuestion::Kind::TotalsOfPeriod;
        if (period == question.period && total != instant.has_value() &&
            (total || owner == question.owner))
          found.push_back({period, owner, mark, instant, amount});
      }
      return found;
    };
    for (RecordId period = 1; period <= 3; ++period) {
      ASSERT_EQ(lines(totalsOf(period)), expected(totalsOf(period)));
      for (RecordId owner = 1; owner <= 3; ++owner)
        ASSERT_EQ(lines(instantsOf(period, owner)), expected(instantsOf(period, owner)));
    }
    for (const SumLine& each : changes)
      ASSERT_EQ(lines(oneOf(each)).size(),
                known.count({each.period, each.owner, each.mark, each.instant}));
    ASSERT_TRUE(engine->verify(nullptr));
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, SumConformance, testing::ValuesIn(placeKinds()), nameOfKind);

}  // namespace

}  // namespace bokfolio::test
