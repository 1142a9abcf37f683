#include <filesystem>

#include "bokfolio/store/persistence/sqlite/internal/sqlite_engine.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
using internal::Connection;
using internal::DocumentFormat;

// Formats that were never in use: 4 counts in dozens, 5 rebuilds a table.
const DocumentFormat& laterFormat() {
  static const DocumentFormat format{
      5,
      {{3, [](Connection& document) { document.execute("UPDATE Paper SET count = count * 12"); }},
       {4,
        [](Connection& document) {
          document.execute(
              "CREATE TABLE other(id INTEGER PRIMARY KEY, version INTEGER NOT NULL, "
              "name TEXT, motto TEXT DEFAULT 'ora et labora') STRICT");
          document.execute(
              "INSERT INTO other(id, version, name) SELECT id, version, name FROM Folder");
          document.execute("DROP TABLE Folder");
          document.execute("ALTER TABLE other RENAME TO Folder");
        }}},
      5};
  return format;
}

class SqliteMigration : public SqliteFile {
 protected:
  SqliteMigration() {
    const auto document = opened(OpenMode::Create);
    EXPECT_EQ(
        commit(*document,
               Draft(schema)
                   .insert("Folder", 1, {{"name", std::string("A")}})
                   .insert("Paper", 1, {{"count", std::int64_t{2}}, {"folder", Reference{1}}})),
        std::nullopt);
    before = contentOf(*document, *schema);
  }

  std::unique_ptr<Persistence> later(OpenMode mode, const DocumentFormat& format) const {
    auto clock = std::make_shared<ManualClock>(Date::fromSeconds(1'795'219'200));  // 2026-11-21
    return internal::makeSqliteEngine({path, mode, "2", clock, 0}, format);
  }

  Content before;
};

TEST_F(SqliteMigration, ConvertsAfterACopyWasMade) {
  Content after = before;
  after["Paper"][1].cells["count"] = std::int64_t{24};
  for (int round = 0; round < 2; ++round) {
    const auto document = later(OpenMode::ReadWrite, laterFormat());
    std::optional<Error> error;
    ASSERT_TRUE(document->open(*schema, &error)) << error->localizedDescription();
    EXPECT_EQ(contentOf(*document, *schema), after);
    EXPECT_TRUE(document->verify(nullptr));
    // References hold as before.
    EXPECT_EQ(commit(*document, Draft(schema).remove("Folder", 1, 1)), Refused);
  }
  EXPECT_EQ(raw("SELECT motto FROM Folder"), "ora et labora");
  const std::string copy = "document.v3-2026-11-21.bak";
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"document", copy}));
  const auto old = engineAt(folder / copy, OpenMode::ReadOnly);
  ASSERT_TRUE(old->open(*schema, nullptr));
  EXPECT_EQ(contentOf(*old, *schema), before);
  EXPECT_EQ(opening(OpenMode::ReadWrite), NewerFormat);
}

// A document from before sums were kept, with records and without most indexes.
TEST_F(SqliteMigration, FromFormat1KeepsSumsOnceTheyWereBrought) {
  std::filesystem::remove(path);
  schema = sumSchema(Keeping::Sums);
  raw(R"(PRAGMA application_id=1112229455; PRAGMA user_version=1;
    CREATE TABLE bokfolio_document(name TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL) STRICT;
    CREATE TABLE bokfolio_entity(name TEXT PRIMARY KEY NOT NULL, next_id INTEGER NOT NULL) STRICT;
    INSERT INTO bokfolio_entity VALUES('Period', 3), ('Holder', 2), ('Line', 5);
    CREATE TABLE Period(id INTEGER PRIMARY KEY, version INTEGER NOT NULL) STRICT;
    INSERT INTO Period VALUES(2, 1);
    CREATE TABLE Holder(id INTEGER PRIMARY KEY, version INTEGER NOT NULL) STRICT;
    INSERT INTO Holder VALUES(1, 1);
    CREATE TABLE Line(id INTEGER PRIMARY KEY, version INTEGER NOT NULL, "in" TEXT, state INTEGER,
      holder INTEGER REFERENCES Holder(id) DEFERRABLE INITIALLY DEFERRED) STRICT;
    CREATE INDEX "Line.holder" ON Line(holder);
    INSERT INTO Line VALUES(4, 1, '12.5', 0, 1);)");
  const Entity& line = schema->entity("Line");
  const SumLine sum{2, 1, 0, {}, "12.5"};
  const auto reader = opened(OpenMode::ReadOnly);
  EXPECT_FALSE(keepsSums(*reader, line));
  EXPECT_EQ(idsOf(*reader, Question(line).is("holder", 1).isNil("sheet")),
            std::vector<RecordId>{4});
  EXPECT_EQ(raw("PRAGMA user_version"), "1");

  auto document = later(OpenMode::ReadWrite, DocumentFormat::current());
  ASSERT_TRUE(document->open(*schema, nullptr));
  EXPECT_EQ(raw("PRAGMA user_version"), "3");
  EXPECT_EQ(raw("SELECT name FROM sqlite_schema WHERE tbl_name='Line' AND type='index' ORDER BY 1"),
            "Line.holder|Line.mark|Line.sheet");
  EXPECT_FALSE(keepsSums(*document, line));
  EXPECT_EQ(commit(*document, Draft(schema).sums("Line", {sum})), Refused);
  ASSERT_EQ(commit(*document, Draft(schema).insert("Sheet", 1, {})), std::nullopt);
  EXPECT_FALSE(keepsSums(*document, line));
  ASSERT_EQ(commit(*document, Draft(schema).sums("Line", {sum}, true)), std::nullopt);
  EXPECT_TRUE(keepsSums(*document, line));
  document.reset();
  EXPECT_TRUE(keepsSums(*opened(OpenMode::ReadOnly), line));
  EXPECT_TRUE(opened(OpenMode::ReadWrite)->verify(nullptr));
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"document", "document.v1-2026-11-21.bak"}));
}

TEST_F(SqliteMigration, ThatFailsChangesNothing) {
  DocumentFormat broken = laterFormat();
  broken.migrations[1].apply = [](Connection& document) { document.execute("DELETE FROM Folder"); };
  DocumentFormat missing = laterFormat();
  missing.migrations.pop_back();
  for (const auto& [format, code] :
       {std::pair{broken, Damaged}, std::pair{missing, NotADocument}}) {
    std::optional<Error> error;
    EXPECT_FALSE(later(OpenMode::ReadWrite, format)->open(*schema, &error));
    EXPECT_EQ(codeOf(error), code);
    EXPECT_EQ(contentOf(*opened(OpenMode::ReadWrite), *schema), before);
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"document", "document.v3-2026-11-21-2.bak",
                                                      "document.v3-2026-11-21.bak"}));
}

TEST_F(SqliteMigration, IsNotForReaders) {
  std::optional<Error> error;
  EXPECT_FALSE(later(OpenMode::ReadOnly, laterFormat())->open(*schema, &error));
  EXPECT_EQ(codeOf(error), ReadOnly);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"document"});
}

}  // namespace

}  // namespace bokfolio::test
