// How SQLite goes about the store's questions: by an index, never through a whole table, and
// without sorting where an index has the order.
#include <cstdint>
#include <filesystem>

#include "bokfolio/store/persistence/internal/saved_questions.hpp"
#include "bokfolio/store/persistence/internal/sql/questions.hpp"
#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/sum_lines.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

class SqlitePlan : public SqliteFile {
 protected:
  void SetUp() override { opened(OpenMode::Create); }

  // SQLite's own words, by "; ".
  std::string planOf(const std::string& sql) const {
    internal::Connection connection(path, internal::Connection::Access::ReadOnly, 0);
    internal::Statement statement = connection.prepare("EXPLAIN QUERY PLAN " + sql);
    std::string plan;
    while (statement.step()) plan += std::string(statement.text(3)) + "; ";
    return plan;
  }
  std::string planOf(const SavedQuestion& question) const {
    return planOf(internal::find(internal::sqliteDialect(), table(*question.entity), question));
  }
  static internal::SqlTable table(const Entity& entity) { return internal::sqlTable(entity); }
};

bool has(const std::string& plan, const std::string& words) {
  return plan.find(words) != std::string::npos;
}

TEST_F(SqlitePlan, FollowsTheIndexThatAQuestionIsMadeFor) {
  const Entity& paper = schema->entity("Paper");
  const auto ask = [&] { return Question(paper); };
  struct Case {
    const char* what;
    SavedQuestion question;
    const char* search;
    bool sorts = false;
  };
  const std::string text = "a";
  for (const Case& each : {
           Case{"ids", ask().inRange("id", 3, 9), "INTEGER PRIMARY KEY (rowid>? AND rowid<?)"},
           Case{"ids from", ask().inRange("id", 3, INT64_MAX), "INTEGER PRIMARY KEY (rowid>?)"},
           Case{"members", ask().is("folder", 1), "Paper.folder (folder=?)"},
           Case{"first members", ask().is("folder", 1).atMost(8), "Paper.folder (folder=?)"},
           Case{"members of several", ask().inRange("folder", 1, 9), "(folder>? AND folder<?)",
                true},
           Case{"the same as they lie", ask().inRange("folder", 1, 9).by("folder"),
                "Paper.folder (folder>? AND folder<?)"},
           Case{"up", ask().is("folder", 1).by("count").atMost(4), "Paper.folder.count (folder=?)"},
           Case{"down", ask().is("folder", 1).by("count", false).atMost(1, 3),
                "Paper.folder.count (folder=?)"},
           Case{"highest", ask().is("folder", 1).isNil("count", false).by("count", false).atMost(1),
                "Paper.folder.count (folder=? AND count>?)"},
           Case{"next lower",
                ask().is("folder", 1).inRange("count", INT64_MIN, 4).by("count", false),
                "Paper.folder.count (folder=? AND count<?)"},
           Case{"one group", ask().is("folder", 1).is("count", 4).atMost(4),
                "Paper.folder.count (folder=? AND count=?)"},
           Case{"without a count", ask().is("folder", 1).isNil("count"),
                "Paper.folder.count (folder=? AND count=?)"},
           Case{"some counts", ask().is("folder", 1).inRange("count", 2, 4),
                "Paper.folder.count (folder=? AND count>? AND count<?)", true},
           Case{"days", ask().inRange("date", 1, 9), "Paper.date (date>? AND date<?)", true},
           Case{"from a day", ask().inRange("date", 1, INT64_MAX), "Paper.date (date>?)", true},
           Case{"up to a day", ask().inRange("date", INT64_MIN, 9).atMost(4), "Paper.date (date<?)",
                true},
           Case{"any day", ask().isNil("date", false), "Paper.date (date>?)", true},
           Case{"no day", ask().isNil("date"), "Paper.date (date=?)"},
           Case{"latest", ask().isNil("date", false).by("date", false).atMost(1),
                "Paper.date (date>?)"},
           Case{"days in order", ask().inRange("date", 1, 9).by("date"),
                "Paper.date (date>? AND date<?)"},
           Case{"a text", ask().isText("order by", text), "Paper.order by (order by=?)"},
           Case{"some text", ask().isNil("order by", false), "Paper.order by (order by>?)", true},
       }) {
    SCOPED_TRACE(each.what);
    const std::string plan = planOf(each.question);
    EXPECT_TRUE(has(plan, "SEARCH Paper USING ")) << plan;
    EXPECT_TRUE(has(plan, each.search)) << plan;
    EXPECT_FALSE(has(plan, "SCAN")) << plan;
    EXPECT_EQ(has(plan, "TEMP B-TREE"), each.sorts) << plan;
    // Counting reads the index alone.
    const std::string counted =
        planOf(internal::count(internal::sqliteDialect(), table(paper), each.question));
    EXPECT_TRUE(has(counted, "SEARCH Paper USING ")) << counted;
    EXPECT_TRUE(has(counted, "COVERING INDEX") || has(counted, "PRIMARY KEY")) << counted;
    EXPECT_FALSE(has(counted, "SCAN Paper") || has(counted, "TEMP B-TREE")) << counted;
  }
  // A walk through all of them in an order follows the index too.
  const std::string walk = planOf(ask().by("date", false).atMost(4));
  EXPECT_EQ(walk, "SCAN Paper USING INDEX Paper.date; ");
}

// Else a stretch that is cut shorter and shorter would be read to its old end each time.
TEST_F(SqlitePlan, FollowsOneStretchOfAProperty) {
  const Entity& paper = schema->entity("Paper");
  SavedQuestion question = Question(paper)
                               .isNil("date", false)
                               .is("folder", 1)
                               .inRange("date", 0, 9)
                               .inRange("count", INT64_MIN, 5)
                               .inRange("date", 4, 20)
                               .isNil("count", false);
  ASSERT_TRUE(internal::hasStretchesToJoin(question));
  internal::joinStretches(question);
  EXPECT_FALSE(internal::hasStretchesToJoin(question));
  ASSERT_EQ(question.conditions.size(), 3U);
  EXPECT_EQ(question.conditions[0].low, 4);
  EXPECT_EQ(question.conditions[0].high, 9);
  EXPECT_EQ(question.conditions[2].low, INT64_MIN);
  EXPECT_EQ(question.conditions[2].high, 5);
  EXPECT_FALSE(internal::hasStretchesToJoin(
      Question(paper).isNil("date").isNil("date", false).isText("order by", "a")));
}

TEST_F(SqlitePlan, ReadsLinesOfSumsWhereTheyLie) {
  std::filesystem::remove(path);
  schema = sumSchema(Keeping::Sums);
  opened(OpenMode::Create);
  const internal::SqlTable line = table(schema->entity("Line"));
  using Kind = SumLineQuestion::Kind;
  for (const auto& [kind, key] :
       {std::pair{Kind::TotalsOfPeriod, "(dated=? AND period=?)"},
        std::pair{Kind::InstantsOfOwner, "(dated=? AND period=? AND owner=?)"},
        std::pair{Kind::One, "(dated=? AND period=? AND owner=? AND mark=? AND instant=?)"}}) {
    EXPECT_EQ(planOf(internal::findSums(line, kind)),
              std::string("SEARCH bokfolio_sum_Line USING PRIMARY KEY ") + key + "; ");
  }
}

}  // namespace

}  // namespace bokfolio::test
