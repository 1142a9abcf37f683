#include <sys/stat.h>

#include <filesystem>
#include <random>

#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
constexpr PersistenceError kNone{};

class SqliteDocument : public SqliteFile {
 protected:
  void createSample() const {
    const auto made = opened(OpenMode::Create);
    Draft draft(schema);
    draft.insert("Folder", 1, {{"name", std::string("2009")}});
    for (RecordId id = 1; id <= 300; ++id) {
      draft.insert("Paper", id, {{"amount", Decimal(1)}, {"folder", Reference{1}}});
    }
    ASSERT_EQ(commit(*made, draft), std::nullopt);
  }
};

TEST_F(SqliteDocument, LooksAsTheFormatSays) {
  createSample();
  EXPECT_EQ(folder.names(), std::vector<std::string>{"document"});
  const std::string bytes = bytesOf(path);
  EXPECT_EQ(bytes.substr(68, 4), "BKFO");
  EXPECT_EQ(bytes.substr(60, 4), std::string("\0\0\0\3", 4));
  EXPECT_EQ(raw("SELECT value FROM bokfolio_document WHERE name='created_by'"), "1.2");
  EXPECT_EQ(raw("SELECT name || next_id FROM bokfolio_entity ORDER BY name"), "Folder2|Paper301");
  EXPECT_EQ(
      raw("SELECT sql FROM sqlite_schema WHERE tbl_name='Paper' ORDER BY type DESC, name"),
      R"(CREATE TABLE "Paper"("id" INTEGER PRIMARY KEY, "version" INTEGER NOT NULL, )"
      R"("count" INTEGER, "weight" REAL, "amount" TEXT, "order by" TEXT, "date" INTEGER, )"
      R"("scan" BLOB, "folder" INTEGER REFERENCES "Folder"("id") DEFERRABLE INITIALLY DEFERRED, )"
      R"("next" INTEGER REFERENCES "Paper"("id") DEFERRABLE INITIALLY DEFERRED) STRICT|)"
      R"(CREATE INDEX "Paper.date" ON "Paper"("date")|)"
      R"(CREATE INDEX "Paper.folder" ON "Paper"("folder")|)"
      R"(CREATE INDEX "Paper.folder.count" ON "Paper"("folder","count")|)"
      R"(CREATE INDEX "Paper.next" ON "Paper"("next")|)"
      R"(CREATE INDEX "Paper.order by" ON "Paper"("order by"))");
  EXPECT_EQ(raw("PRAGMA journal_mode"), "delete");
  // What a plug-in adds looks no different.
  schema = paperSchema(true);
  opened(OpenMode::ReadWrite);
  EXPECT_EQ(raw("SELECT name FROM sqlite_schema WHERE type='index' AND sql IS NOT NULL ORDER BY 1"),
            "Paper.cover|Paper.date|Paper.folder|Paper.folder.count|Paper.next|Paper.order by|"
            "Stamp.paper");
  EXPECT_EQ(raw("SELECT \"from\" || \"table\" FROM pragma_foreign_key_list('Paper') ORDER BY 1"),
            "coverPaper|folderFolder|nextPaper");
  EXPECT_EQ(raw("SELECT name FROM bokfolio_entity ORDER BY 1"), "Folder|Paper|Stamp");
}

TEST_F(SqliteDocument, OfFormat1IsReadAsItWasWritten) {
  raw(R"(PRAGMA application_id=1112229455; PRAGMA user_version=1;
    CREATE TABLE bokfolio_document(name TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL) STRICT;
    CREATE TABLE bokfolio_entity(name TEXT PRIMARY KEY NOT NULL, next_id INTEGER NOT NULL) STRICT;
    INSERT INTO bokfolio_entity VALUES('Folder', 7), ('Paper', 9);
    CREATE TABLE "Folder"("id" INTEGER PRIMARY KEY, "version" INTEGER NOT NULL, "name" TEXT) STRICT;
    INSERT INTO "Folder" VALUES(6, 2, 'År 2009');
    CREATE TABLE "Paper"("id" INTEGER PRIMARY KEY, "version" INTEGER NOT NULL, "count" INTEGER,
      "weight" REAL, "amount" TEXT, "date" INTEGER, "scan" BLOB,
      "folder" INTEGER REFERENCES "Folder"("id") DEFERRABLE INITIALLY DEFERRED) STRICT;
    INSERT INTO "Paper" VALUES(3, 1, -4, 0.5, '-1234.56', 1238500800000000, x'00FF', 6),
      (8, 4, NULL, NULL, NULL, NULL, NULL, NULL);)");
  const Content expected = {{"Folder", {{6, {2, {{"name", std::string("År 2009")}}}}}},
                            {"Paper",
                             {{3,
                               {1,
                                {{"count", std::int64_t{-4}},
                                 {"weight", 0.5},
                                 {"amount", Decimal::parse("-1234.56").value()},
                                 {"date", Date::fromSeconds(1'238'500'800)},
                                 {"scan", Blob{std::string("\0\xFF", 2)}},
                                 {"folder", Reference{6}}}}},
                              {8, {4, {}}}}}};
  for (const OpenMode mode : {OpenMode::ReadOnly, OpenMode::ReadWrite, OpenMode::ReadOnly}) {
    const auto document = opened(mode);
    EXPECT_EQ(contentOf(*document, *schema), expected);
    EXPECT_EQ(nextIdOf(*document, *schema, "Paper"), 9U);
    EXPECT_TRUE(document->verify(nullptr));
  }
}

TEST_F(SqliteDocument, WhatIsNoneIsToldApartAndLeftAlone) {
  createSample();
  const std::string good = bytesOf(path);
  raw("PRAGMA user_version=4");
  const std::string newer = bytesOf(path);
  raw("PRAGMA user_version=0");
  const std::string unversioned = bytesOf(path);
  raw("PRAGMA application_id=0");
  const std::string foreign = bytesOf(path);
  std::string beheaded = good;
  beheaded.replace(0, 100, 100, '\0');
  struct Case {
    const char* what;
    std::string bytes;
    PersistenceError code;
  };
  const std::vector<Case> cases = {
      {"empty", "", NotADocument},
      {"text", "Verifikation;Datum;Belopp\n", NotADocument},
      {"long text", std::string(20'000, 'x'), NotADocument},
      {"another program's", foreign, NotADocument},
      {"no version", unversioned, NotADocument},
      {"no header", beheaded, NotADocument},
      {"written by a later version", newer, NewerFormat},
      {"cut after the header", good.substr(0, 100), Damaged},
      {"cut after a page", good.substr(0, 4096), Damaged},
      {"cut short by one byte", good.substr(0, good.size() - 1), Damaged},
      {"whole", good, kNone},
  };
  for (const Case& file : cases) {
    for (const OpenMode mode : {OpenMode::ReadOnly, OpenMode::ReadWrite}) {
      SCOPED_TRACE(file.what);
      writeBytes(path, file.bytes);
      EXPECT_EQ(opening(mode), file.code);
      EXPECT_EQ(bytesOf(path), file.bytes);
      EXPECT_EQ(folder.names(), std::vector<std::string>{"document"});
    }
  }
  for (const OpenMode mode : {OpenMode::ReadOnly, OpenMode::ReadWrite}) {
    EXPECT_EQ(openingAt(folder.path(), mode), NotADocument);
    EXPECT_EQ(openingAt(folder / "nothing", mode), NotFound);
    EXPECT_EQ(openingAt("", mode), NotFound);
    EXPECT_EQ(openingAt(path + "/deeper", mode), NotFound);
    EXPECT_EQ(openingAt("/dev/null", mode), NotADocument);
    EXPECT_EQ(openingAt(path + std::string("\0x", 2), mode), NotFound);
  }
}

TEST_F(SqliteDocument, AppearsCompleteOrNotAtAll) {
  for (const char* name : {"file", "link"}) {
    if (name == std::string("file")) {
      writeBytes(folder / name, "precious");
    } else {
      std::filesystem::create_symlink(folder / "nowhere", folder / name);
    }
    EXPECT_EQ(openingAt(folder / name, OpenMode::Create), AlreadyExists);
  }
  EXPECT_EQ(openingAt(folder.path(), OpenMode::Create), AlreadyExists);
  EXPECT_EQ(openingAt(folder / "no/document", OpenMode::Create), NotFound);
  EXPECT_EQ(openingAt(folder / std::string(300, 'x'), OpenMode::Create), Failed);
  writeBytes(path + "-journal", "of a document that was here");
  EXPECT_EQ(opening(OpenMode::Create), AlreadyExists);
  std::filesystem::remove(path + "-journal");
  EntityDescription twice;
  twice.name = "Twice";
  twice.properties.resize(2);
  twice.properties[0].name = "name";
  twice.properties[1].name = "Name";
  EXPECT_FALSE(engine(OpenMode::Create)->open(Schema(std::vector{twice}), nullptr));
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"file", "link"}));
  EXPECT_EQ(bytesOf(folder / "file"), "precious");
}

TEST_F(SqliteDocument, AnEngineThatIsNotOpenSaysSo) {
  const auto closed = engine(OpenMode::ReadWrite);
  RecordId id = 0;
  std::optional<Error> error;
  EXPECT_FALSE(closed->nextId(schema->entity("Paper"), id, &error));
  EXPECT_EQ(codeOf(error), Failed);
  EXPECT_EQ(commit(*closed, Draft(schema).insert("Paper", 1, {})), Failed);
}

TEST_F(SqliteDocument, ValuesThatNoSaveWroteAreFound) {
  createSample();
  const std::string good = bytesOf(path);
  struct Case {
    const char* sql;
    bool loads;  // found by verify only
  };
  const std::vector<Case> cases = {
      {"UPDATE Paper SET amount='abc' WHERE id=7", false},
      {"UPDATE Paper SET amount='' WHERE id=7", false},
      {"UPDATE Paper SET amount='1.50' WHERE id=7", true},
      {"UPDATE Paper SET version=0 WHERE id=7", false},
      {"UPDATE Paper SET version=4294967296 WHERE id=7", false},
      {"UPDATE Paper SET id=-1 WHERE id=7", false},
      {"UPDATE Paper SET id=4294967296 WHERE id=7", false},
      {"UPDATE Paper SET folder=0 WHERE id=7", false},
      {"UPDATE Paper SET folder=4611686018427387904 WHERE id=7", false},
      {"UPDATE Paper SET folder=99 WHERE id=7", true},
      {"UPDATE bokfolio_entity SET next_id=300 WHERE name='Paper'", true},
      {"DELETE FROM bokfolio_entity", true},
  };
  for (const Case& tampering : cases) {
    SCOPED_TRACE(tampering.sql);
    writeBytes(path, good);
    raw(tampering.sql);
    const auto document = opened(OpenMode::ReadWrite);
    std::optional<Error> error;
    EXPECT_FALSE(document->verify(&error));
    EXPECT_EQ(codeOf(error), Damaged);
    EXPECT_EQ(loading(*document, schema->entity("Paper")),
              tampering.loads ? std::nullopt : std::optional(Damaged));
    // A question meets what is damaged in its answer, and nothing else.
    const Entity& paper = schema->entity("Paper");
    Answer answer;
    EXPECT_EQ(finding(*document, Question(paper).isNil("weight").by("id", false), answer),
              tampering.loads ? std::nullopt : std::optional(Damaged));
    EXPECT_EQ(finding(*document, Question(paper).inRange("id", 8, 300), answer), std::nullopt);
    EXPECT_EQ(answer.size(), 293U);
    // An id in use is never given again, whatever the counter says.
    RecordId next = 0;
    EXPECT_TRUE(!document->nextId(schema->entity("Paper"), next, nullptr) || next >= 301U);
  }
  writeBytes(path, good);
  raw("ALTER TABLE Paper RENAME COLUMN version TO edition");
  EXPECT_EQ(opening(OpenMode::ReadWrite), Damaged);
}

TEST_F(SqliteDocument, LinesThatNoSumsCanHaveAreFound) {
  schema = sumSchema(Keeping::Sums);
  const Entity& line = schema->entity("Line");
  Draft sample(schema);
  for (RecordId id = 1; id <= 2; ++id) sample.insert("Period", id, {}).insert("Holder", id, {});
  sample.sums("Line", {{1, 1, 0, {}, "1"}, {1, 1, 0, 5, "1"}, {2, 2, 0, {}, "2"}});
  ASSERT_EQ(commit(*opened(OpenMode::Create), sample), std::nullopt);
  const std::string good = bytesOf(path);
  const SumLineQuestion first{SumLineQuestion::Kind::TotalsOfPeriod, 1, 0, 0, {}};
  const SumLineQuestion second{SumLineQuestion::Kind::TotalsOfPeriod, 2, 0, 0, {}};
  struct Case {
    const char* change;
    bool reads;  // found by verify only
  };
  for (const Case& tampering :
       {Case{"owner=-1 WHERE period=1 AND dated=0", false},
        Case{"mark=4294967296 WHERE period=1 AND dated=0", false},
        Case{"owner=7 WHERE period=1", true}, Case{"period=3 WHERE dated=1", true},
        Case{"dated=2 WHERE dated=1", true}, Case{"amount='' WHERE dated=1", true},
        Case{"instant=3 WHERE period=1 AND dated=0", true}}) {
    SCOPED_TRACE(tampering.change);
    writeBytes(path, good);
    raw(std::string("UPDATE bokfolio_sum_Line SET ") + tampering.change);
    const auto document = opened(OpenMode::ReadOnly);
    std::optional<Error> error;
    EXPECT_FALSE(document->verify(&error));
    EXPECT_EQ(codeOf(error), Damaged);
    struct : SumLineSink {
      void line(const SumLine& /*line*/) override {}
    } sink;
    EXPECT_EQ(document->sums(line, first, sink, &error), tampering.reads);
    EXPECT_EQ(codeOf(error), Damaged);
    EXPECT_EQ(linesOf(*document, line, second).value_or(Lines()).size(), 1U);
  }
}

TEST_F(SqliteDocument, FlippedBytesNeverCrash) {
  createSample();
  const std::string good = bytesOf(path);
  std::mt19937 random(1);
  int found = 0;
  for (int round = 0; round < 200; ++round) {
    std::string bytes = good;
    for (int flips = 0; flips < 4; ++flips) {
      bytes[random() % bytes.size()] ^= static_cast<char>(1 + random() % 255);
    }
    writeBytes(path, bytes);
    const auto document = engine(OpenMode::ReadOnly);
    std::optional<Error> error;
    if (document->open(*schema, &error) && document->verify(&error)) continue;
    ++found;
    EXPECT_NE(codeOf(error), kNone);
  }
  EXPECT_GT(found, 60);
}

TEST_F(SqliteDocument, TriggersOfACraftedFileDoNotRun) {
  createSample();
  raw("CREATE TRIGGER evil AFTER INSERT ON Paper BEGIN DELETE FROM Folder; END");
  const auto document = opened(OpenMode::ReadWrite);
  EXPECT_EQ(commit(*document, Draft(schema).insert("Paper", 301, {})), std::nullopt);
  EXPECT_EQ(contentOf(*document, *schema)["Folder"].size(), 1U);
}

TEST_F(SqliteDocument, TablesOfACraftedFileThatAreNoneAreNotRead) {
  createSample();
  const std::string good = bytesOf(path);
  for (const char* sql :
       {"DROP TABLE Paper; CREATE VIEW Paper AS SELECT 1 AS id, 1 AS version, 'x' AS title",
        "DROP TABLE Paper; CREATE VIRTUAL TABLE Paper USING fts5(id, version, title)",
        "DROP TABLE Paper; CREATE VIRTUAL TABLE Paper USING rtree(id, version, title)"}) {
    SCOPED_TRACE(sql);
    for (const OpenMode mode : {OpenMode::ReadOnly, OpenMode::ReadWrite}) {
      writeBytes(path, good);
      raw(sql);
      const auto document = engine(mode);
      if (!document->open(*schema, nullptr)) continue;
      // Opened for reading, a table that is missing has no records.
      Answer answer;
      finding(*document, Question(schema->entity("Paper")), answer);
      EXPECT_TRUE(answer.empty());
    }
  }
}

TEST_F(SqliteDocument, CopiesAreForThoseWhoMaySeeTheOriginal) {
  createSample();
  int number = 0;
  for (const mode_t permissions : {0600U, 0640U, 0664U}) {
    ASSERT_EQ(chmod(path.c_str(), permissions), 0);
    const std::string copy = path + std::to_string(++number);
    ASSERT_TRUE(opened(OpenMode::ReadWrite)->backup(copy, nullptr));
    struct stat status {};
    ASSERT_EQ(stat(copy.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, permissions);
  }
}

}  // namespace

}  // namespace bokfolio::test
