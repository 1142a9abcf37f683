#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>

#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "tests/store/describe.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
constexpr PersistenceError kNone{};
constexpr std::size_t kPage = 4096;

std::set<RecordId> idsIn(const Content& content, const std::string& entity) {
  std::set<RecordId> ids;
  for (const auto& [id, saved] : content.at(entity)) ids.insert(id);
  return ids;
}

// Twice: what happened to a page is told by its seal; and it happened before the page was sealed,
// as in a memory that fails.
class SqliteSalvage : public SqliteFile, public testing::WithParamInterface<bool> {
 protected:
  void put(const std::string& bytes) const {
    writeBytes(path, GetParam() ? sealedAnew(bytes) : bytes);
  }

  // Folders and papers on many pages, free pages, and records longer than a page.
  void createSample() {
    const auto made = opened(OpenMode::Create);
    Draft draft(schema);
    for (RecordId id = 1; id <= 40; ++id)
      draft.insert("Folder", id, {{"name", "Folder " + std::to_string(id)}});
    for (RecordId id = 1; id <= 300; ++id) {
      const std::string text = "Paper " + std::to_string(id) + std::string(id % 120, 'x');
      Cells cells = {
          {"count", static_cast<std::int64_t>(id) * 7}, {"weight", id % 2 == 0 ? 2.0 : 0.25},
          {"amount", Decimal(static_cast<int>(id))},    {"order by", text},
          {"date", Date::fromSeconds(1'700'000'000)},   {"folder", Reference{id % 40 + 1}}};
      if (id % 50 == 0) cells["scan"] = Blob{std::string(10'000 + id, 'b')};
      if (id > 1) cells["next"] = Reference{id - 1};
      draft.insert("Paper", id, cells);
    }
    ASSERT_EQ(commit(*made, draft), std::nullopt);
    Draft later(schema);
    for (RecordId id = 101; id <= 140; ++id) later.remove("Paper", id, 1);
    later.update("Paper", 141, 1, {}, {"next"});
    ASSERT_EQ(commit(*made, later), std::nullopt);
    sound = contentOf(*made, *schema);
  }

  std::string target() const { return folder / "new"; }

  PersistenceError salvage() {
    std::filesystem::remove(target());
    const std::string before = bytesOf(path);
    std::optional<Error> error;
    const bool done = salvageSqliteDocument(*schema, path, target(), {"1.3"}, report, &error);
    EXPECT_EQ(bytesOf(path), before);
    EXPECT_EQ(std::filesystem::exists(target()), done);
    return done ? kNone : codeOf(error);
  }

  Content salvaged() const {
    const auto document = engineAt(target(), OpenMode::ReadWrite);
    std::optional<Error> error;
    EXPECT_TRUE(document->open(*schema, &error) && document->verify(&error))
        << error->localizedDescription();
    return contentOf(*document, *schema);
  }

  std::unique_ptr<Persistence> engineAtTarget() const {
    auto document = engineAt(target(), OpenMode::ReadWrite);
    EXPECT_TRUE(document->open(*schema, nullptr));
    return document;
  }

  const SalvageReport::Table& told(const std::string& table) const {
    return *std::find_if(report.tables.begin(), report.tables.end(),
                         [&](const auto& each) { return each.name == table; });
  }

  std::set<RecordId> toldLost(const std::string& table) const {
    std::set<RecordId> ids;
    for (const auto& lost : told(table).lost) ids.insert(lost.id);
    return ids;
  }

  // Columns that are nil now, as told.
  std::vector<std::string> droppedFrom(const std::string& entity, RecordId id) const {
    std::vector<std::string> columns;
    for (const auto& each : report.references)
      if (each.table == entity && each.record == id) columns.push_back(each.column);
    for (const auto& each : report.values)
      if (each.table == entity && each.record == id) columns.push_back(each.column);
    return columns;
  }

  // What is missing is told, what is there is as it was but for references that are told.
  void expectOnlyLoss(const Content& after) const {
    for (const std::string entity : {"Folder", "Paper"}) {
      std::set<RecordId> missing = idsIn(sound, entity);
      for (const auto& [id, saved] : after.at(entity)) {
        ASSERT_EQ(missing.erase(id), 1U) << entity << " " << id << " came back";
        Saved expected = sound.at(entity).at(id);
        for (const std::string& column : droppedFrom(entity, id))
          EXPECT_EQ(expected.cells.erase(column), 1U);
        EXPECT_EQ(saved, expected) << entity << " " << id;
      }
      EXPECT_EQ(toldLost(entity), missing) << entity;
      EXPECT_EQ(told(entity).read, after.at(entity).size());
    }
  }

  std::size_t lost() const { return toldLost("Folder").size() + toldLost("Paper").size(); }

  Content sound;
  SalvageReport report;
};

TEST_P(SqliteSalvage, ASoundDocumentLosesNothing) {
  createSample();
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  ASSERT_EQ(salvage(), kNone);
  EXPECT_EQ(salvaged(), sound);
  EXPECT_TRUE(report.lossless());
  EXPECT_EQ(report.remarks, std::vector<std::string>());
  EXPECT_EQ(std::filesystem::status(target()).permissions(),
            std::filesystem::status(path).permissions());
}

// Each page in turn is spoilt: no more is lost than the records that stood on it.
TEST_P(SqliteSalvage, ASpoiltPageCostsItsRecordsAndNoOthers) {
  createSample();
  const std::string good = bytesOf(path);
  std::size_t spoilt = 0;
  for (std::size_t page = 2; page <= good.size() / kPage; ++page) {
    SCOPED_TRACE(page);
    const auto ofPage = [&](const std::string& what) {
      const std::string number = raw("SELECT " + what + " AND pageno=" + std::to_string(page));
      return number.empty() ? 0 : std::stoul(number);
    };
    const std::size_t records =
        ofPage("ncell FROM dbstat WHERE pagetype='leaf' AND name IN ('Paper', 'Folder')");
    const std::size_t links = ofPage("count(*) FROM dbstat WHERE pagetype='overflow'");
    std::string bytes = good;
    for (std::size_t i = (page - 1) * kPage; i < page * kPage; ++i)
      bytes[i] = static_cast<char>(~bytes[i]);
    put(bytes);
    ASSERT_EQ(salvage(), kNone);
    expectOnlyLoss(salvaged());
    EXPECT_EQ(lost(), records);
    EXPECT_EQ(report.values.size(), links * 3);  // the scan and what stands behind it
    spoilt += records + links;
    writeBytes(path, good);
  }
  EXPECT_EQ(spoilt, 260U + 40U + 6 * 2);
}

// Whatever byte is wrong: an answer, a sound document when there is one, and records that are on
// other pages as they were.
TEST_P(SqliteSalvage, WrongBytesNeverCrash) {
  createSample();
  const std::string good = bytesOf(path);
  std::mt19937 random(7);
  int made = 0;
  for (int round = 0; round < 120; ++round) {
    SCOPED_TRACE(round);
    std::string bytes = good;
    // Every other round in the heads of pages, where the structure is.
    const std::size_t page = random() % (bytes.size() / kPage);
    for (int flips = 0; flips < 3; ++flips) {
      const std::size_t within = random() % (round % 2 == 0 ? kPage : 120);
      bytes[page * kPage + within] ^= static_cast<char>(1 + random() % 255);
    }
    put(bytes);
    const PersistenceError code = salvage();
    if (code != kNone) {
      EXPECT_EQ(page, 0U);
      continue;
    }
    ++made;
    const Content after = salvaged();
    std::size_t different = 0;
    for (const auto& [id, saved] : sound.at("Paper")) {
      const auto found = after.at("Paper").find(id);
      different += found == after.at("Paper").end() || found->second != saved ? 1U : 0U;
    }
    EXPECT_LE(different, page == 0 ? 260U : 70U);
  }
  EXPECT_GT(made, 100);
}

TEST_P(SqliteSalvage, AFreeBlockThatLeadsToItselfIsDamageLikeAnother) {
  createSample();
  const std::string leaf =
      raw("SELECT min(pageno) FROM dbstat WHERE pagetype='leaf' AND name='Paper'");
  std::string bytes = bytesOf(path);
  const std::size_t at = (std::stoul(leaf) - 1) * kPage;
  bytes.replace(at + 1, 2, "\x0F\xEA");
  bytes.replace(at + 0xFEA, 4, std::string("\x0F\xEA\0\0", 4));
  put(bytes);
  ASSERT_EQ(salvage(), kNone);
  EXPECT_FALSE(told("Paper").doubtful.empty());
  EXPECT_GT(salvaged().at("Paper").size(), 200U);
}

TEST_P(SqliteSalvage, ADamagedHeadIsPutRight) {
  createSample();
  const std::string good = bytesOf(path);
  struct Case {
    std::size_t at;
    std::string bytes;
  };
  for (const Case& damage : {Case{0, "SQLite formal 3"}, Case{16, std::string("\x20\0", 2)},
                             Case{16, std::string("\0\0", 2)}, Case{18, "\x7"}, Case{21, "abc"},
                             Case{28, std::string("\0\0\0\3", 4)}, Case{56, "abcd"},
                             Case{60, "\x7F"}, Case{68, "FOBK"}, Case{0, std::string(100, '\0')}}) {
    SCOPED_TRACE(damage.at);
    std::string bytes = good;
    bytes.replace(damage.at, damage.bytes.size(), damage.bytes);
    put(bytes);
    ASSERT_EQ(salvage(), kNone);
    EXPECT_EQ(salvaged(), sound);
    EXPECT_TRUE(report.lossless());
    EXPECT_EQ(report.remarks.empty(), GetParam() && damage.at == 60);
  }
}

TEST_P(SqliteSalvage, OfACutFileTheRestStays) {
  createSample();
  const std::string good = bytesOf(path);
  for (const std::size_t length : {good.size() - 1, good.size() / 2, 6 * kPage}) {
    SCOPED_TRACE(length);
    put(good.substr(0, length));
    ASSERT_EQ(salvage(), kNone);
    EXPECT_FALSE(report.remarks.empty());
    const Content after = salvaged();
    for (const auto& [id, saved] : after.at("Folder")) EXPECT_EQ(saved, sound["Folder"].at(id));
    for (const auto& [id, saved] : after.at("Paper")) {
      Saved expected = sound["Paper"].at(id);
      for (const std::string& column : droppedFrom("Paper", id)) expected.cells.erase(column);
      EXPECT_EQ(saved, expected);
    }
    EXPECT_GT(after.at("Paper").size() + after.at("Folder").size(), 0U);
    // Whoever is not told to be lost, is there, or the report says that it cannot know.
    for (const std::string entity : {"Folder", "Paper"}) {
      if (told(entity).lostIsAll) continue;
      EXPECT_LT(after.at(entity).size(), sound.at(entity).size());
    }
    EXPECT_GE(nextIdOf(*engineAtTarget(), *schema, "Paper"), 1U);
  }
  writeBytes(path, good.substr(0, 50));
  EXPECT_EQ(salvage(), NotADocument);
}

TEST_P(SqliteSalvage, WhatIsNoneIsToldApart) {
  createSample();
  const std::string good = bytesOf(path);
  raw("PRAGMA user_version=4");
  EXPECT_EQ(salvage(), NewerFormat);
  writeBytes(path, std::string(20'000, 'x'));
  EXPECT_EQ(salvage(), NotADocument);
  writeBytes(path, "");
  EXPECT_EQ(salvage(), NotADocument);
  writeBytes(path, good);
  raw("PRAGMA application_id=0; DROP TABLE bokfolio_entity; DROP TABLE bokfolio_document");
  EXPECT_EQ(salvage(), NotADocument);
  writeBytes(path, good);
  const auto writer = opened(OpenMode::ReadWrite);
  EXPECT_EQ(salvage(), InUse);
  std::optional<Error> error;
  writeBytes(target(), "precious");
  EXPECT_FALSE(salvageSqliteDocument(*schema, path, target(), {}, report, &error));
  EXPECT_EQ(bytesOf(target()), "precious");
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"document", "new"}));
}

// One wrong value does not cost the record, and is named.
TEST_P(SqliteSalvage, ValuesThatNoSaveWroteAreLeftOut) {
  createSample();
  const std::string good = bytesOf(path);
  struct Case {
    const char* sql;
    const char* column;
    const char* reason;
  };
  for (const Case& tampering : std::vector<Case>{
           {"UPDATE Paper SET amount='1x' WHERE id=7", "amount", "is no decimal number (1x)"},
           {"UPDATE Paper SET \"order by\"=CAST(x'41FF42' AS TEXT) WHERE id=7", "order by",
            "is no text (A?B)"},
           {"UPDATE Paper SET folder=0 WHERE id=7", "folder", "refers to no record"},
           {"UPDATE Paper SET folder=-3 WHERE id=7", "folder", "refers to no record"}}) {
    writeBytes(path, good);
    raw(tampering.sql);
    ASSERT_EQ(salvage(), kNone);
    ASSERT_EQ(report.values.size(), 1U) << tampering.sql;
    EXPECT_EQ(report.values[0].record, 7U);
    EXPECT_EQ(report.values[0].column, tampering.column);
    EXPECT_EQ(report.values[0].reason, tampering.reason);
    expectOnlyLoss(salvaged());
  }
  writeBytes(path, good);
  raw("UPDATE Paper SET version=0 WHERE id=7; UPDATE Paper SET amount='1.50' WHERE id=8");
  ASSERT_EQ(salvage(), kNone);
  const Content after = salvaged();
  EXPECT_EQ(after.at("Paper").at(7).version, 1U);
  EXPECT_EQ(after.at("Paper").at(8).cells.at("amount"), Cell(Decimal::parse("1.5").value()));
}

TEST_P(SqliteSalvage, IdsAreNotGivenTwiceAndBrokenReferencesAreNil) {
  createSample();
  raw("DELETE FROM Paper WHERE id=9; UPDATE Paper SET folder=77 WHERE id=20;"
      "UPDATE bokfolio_entity SET next_id=5 WHERE name='Paper';"
      "DELETE FROM bokfolio_entity WHERE name='Folder'");
  ASSERT_EQ(salvage(), kNone);
  ASSERT_EQ(report.references.size(), 2U);
  EXPECT_EQ(report.references[0].record, 20U);
  EXPECT_EQ(report.references[0].targetId, 77U);
  EXPECT_EQ(report.references[1].record, 10U);
  EXPECT_EQ(report.references[1].column, "next");
  const auto document = engineAtTarget();
  EXPECT_EQ(nextIdOf(*document, *schema, "Paper"), 301U);
  EXPECT_EQ(nextIdOf(*document, *schema, "Folder"), 78U);
  EXPECT_EQ(commit(*document, Draft(schema).insert("Paper", 301, {{"folder", Reference{1}}})),
            std::nullopt);
}

// Both sides of a pair are stored: what one has lost the other still tells.
TEST_P(SqliteSalvage, PairsAreMendedFromTheirOtherSide) {
  std::vector<EntityDescription> entities(2);
  entities[0].name = "Folder";
  entities[0].properties = {relation("paper", PropertyKind::ToOne, "Paper", "folder")};
  entities[1].name = "Paper";
  entities[1].properties = {relation("folder", PropertyKind::ToOne, "Folder", "paper")};
  schema = std::make_shared<Schema>(entities);
  Draft draft(schema);
  // Folder to paper, and back; 0 is nil.
  const std::pair<RecordId, RecordId> stored[] = {{1, 0}, {2, 3}, {0, 0}, {4, 0}, {4, 6}, {6, 5}};
  const auto to = [](const char* name, RecordId id) {
    return id == 0 ? Cells{} : Cells{{name, Reference{id}}};
  };
  for (RecordId id = 1; id <= std::size(stored); ++id) {
    draft.insert("Folder", id, to("paper", stored[id - 1].first));
    draft.insert("Paper", id, to("folder", stored[id - 1].second));
  }
  ASSERT_EQ(commit(*opened(OpenMode::Create), draft), std::nullopt);
  ASSERT_EQ(salvage(), kNone);
  Content after = salvaged();
  const std::pair<RecordId, RecordId> mended[] = {{1, 1}, {0, 3}, {2, 0}, {0, 0}, {0, 0}, {0, 0}};
  for (RecordId id = 1; id <= std::size(mended); ++id) {
    EXPECT_EQ(after["Folder"].at(id).cells, to("paper", mended[id - 1].first)) << id;
    EXPECT_EQ(after["Paper"].at(id).cells, to("folder", mended[id - 1].second)) << id;
  }
  std::vector<RecordId> dropped;
  for (const auto& each : report.references) dropped.push_back(each.record);
  EXPECT_EQ(dropped, (std::vector<RecordId>{2, 4, 5, 6, 5, 6}));
}

TEST_P(SqliteSalvage, TablesOfAPlugInThatIsAwayAreKept) {
  const auto standard = schema;
  schema = paperSchema(true);
  Draft draft(schema);
  draft.insert("Paper", 1, {{"colour", std::string("red")}, {"price", Decimal(3)}});
  draft.insert("Paper", 2, {{"cover", Reference{1}}});
  draft.insert("Stamp", 4, {{"paper", Reference{2}}});
  ASSERT_EQ(commit(*opened(OpenMode::Create), draft), std::nullopt);
  const Content whole = contentOf(*opened(OpenMode::ReadOnly), *schema);
  schema = standard;
  ASSERT_EQ(salvage(), kNone);
  EXPECT_TRUE(report.lossless());
  EXPECT_EQ(commit(*engineAtTarget(), Draft(schema).remove("Paper", 2, 1)), Refused);
  schema = paperSchema(true);
  EXPECT_EQ(salvaged(), whole);
  EXPECT_EQ(nextIdOf(*engineAtTarget(), *schema, "Stamp"), 5U);
}

// Pages that a deletion freed still hold what was deleted, in files of other builds of SQLite.
TEST_P(SqliteSalvage, DeletedRecordsStayDeleted) {
  createSample();
  raw("PRAGMA secure_delete=OFF; DELETE FROM Paper WHERE id BETWEEN 150 AND 290;"
      "UPDATE Paper SET next=NULL WHERE id=291");
  const std::string root = raw("SELECT rootpage FROM sqlite_schema WHERE name='Paper'");
  sound = contentOf(*opened(OpenMode::ReadOnly), *schema);
  std::string bytes = bytesOf(path);
  const std::size_t at = (std::stoul(root) - 1) * kPage;
  bytes.replace(at, kPage, kPage, '\xEE');
  put(bytes);
  ASSERT_EQ(salvage(), kNone);
  expectOnlyLoss(salvaged());
  EXPECT_EQ(lost(), 0U);
  // With the list of free pages gone, indexes still tell them apart; the rest is to be looked at.
  bytes.replace(32, 8, 8, '\0');
  put(bytes);
  ASSERT_EQ(salvage(), kNone);
  expectOnlyLoss(salvaged());
}

TEST_P(SqliteSalvage, AnInterruptedSaveIsTakenBack) {
  createSample();
  // What a program that died left: pages of a save, and the journal beside it.
  const std::string before = bytesOf(path);
  {
    sqlite3* program = openByHand(path);
    ASSERT_EQ(sqlite3_exec(program,
                           "PRAGMA cache_size=1; PRAGMA cache_spill=1; BEGIN;"
                           "UPDATE Paper SET \"order by\"=\"order by\" || 'zzzzzzzz', count=-1",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    std::filesystem::copy_file(path, folder / "torn");
    std::filesystem::copy_file(path + "-journal", folder / "torn-journal");
    sqlite3_close(program);
  }
  const std::string torn = bytesOf(folder / "torn");
  const std::string journal = bytesOf(folder / "torn-journal");
  ASSERT_NE(torn, before);
  path = folder / "torn";
  ASSERT_EQ(salvage(), kNone);
  EXPECT_EQ(salvaged(), sound);
  EXPECT_EQ(report.remarks.size(), 1U);
  // A journal that speaks of more pages than anything has.
  std::string boastful = journal;
  boastful.replace(16, 4, "\x7F\xFF\xFF\xFF");
  writeBytes(path + "-journal", boastful);
  ASSERT_EQ(salvage(), kNone);
  EXPECT_EQ(salvaged(), sound);
  writeBytes(path + "-journal", journal.substr(0, journal.size() / 2));
  ASSERT_EQ(salvage(), kNone);
  salvaged();
  EXPECT_GE(report.remarks.size(), 2U);
}

TEST_P(SqliteSalvage, IndexesAreMadeAnewInPlace) {
  createSample();
  const std::string good = bytesOf(path);
  const std::string copy = folder / "copy";
  // An index that lost entries, which SQLite still reads.
  raw("PRAGMA writable_schema=ON; UPDATE sqlite_schema SET sql="
      "'CREATE INDEX \"Paper.date\" ON \"Paper\"(\"date\") WHERE id>250' WHERE name='Paper.date'");
  raw("REINDEX \"Paper.date\"");
  raw("PRAGMA writable_schema=ON; UPDATE sqlite_schema SET sql="
      "'CREATE INDEX \"Paper.date\" ON \"Paper\"(\"date\")' WHERE name='Paper.date'");
  const std::string damaged = bytesOf(path);
  EXPECT_FALSE(opened(OpenMode::ReadOnly)->verify(nullptr));
  ASSERT_TRUE(rebuildSqliteIndexes(*schema, path, copy, nullptr));
  EXPECT_TRUE(opened(OpenMode::ReadWrite)->verify(nullptr));
  EXPECT_EQ(contentOf(*opened(OpenMode::ReadOnly), *schema), sound);
  EXPECT_EQ(bytesOf(copy), damaged);
  // What indexes cannot mend is left alone.
  std::filesystem::remove(copy);
  writeBytes(path, good);
  raw("UPDATE Paper SET amount='x' WHERE id=7");
  const std::string wrong = bytesOf(path);
  std::optional<Error> error;
  EXPECT_FALSE(rebuildSqliteIndexes(*schema, path, copy, &error));
  EXPECT_EQ(codeOf(error), Damaged);
  EXPECT_EQ(bytesOf(path), wrong);
  EXPECT_EQ(folder.names(), std::vector<std::string>{"document"});
}

INSTANTIATE_TEST_SUITE_P(Sealed, SqliteSalvage, testing::Values(false, true),
                         [](const auto& each) { return each.param ? "Anew" : "Before"; });

}  // namespace

}  // namespace bokfolio::test
