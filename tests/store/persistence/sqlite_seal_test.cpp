// The seals of pages: what a disk, another program or a crash did to a page is told from what was
// saved.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "tests/store/persistence/faulty_vfs.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
using internal::Seal;
constexpr std::size_t kPage = 4096;
constexpr RecordId kPapers = 400;

std::span<const unsigned char> pageOf(const std::string& bytes, std::size_t number) {
  const std::span all(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return all.subspan((number - 1) * kPage, kPage);
}

std::string textOf(RecordId id) { return "Paper " + std::to_string(id) + std::string(90, 'p'); }

class SqliteSeals : public SqliteFile {
 protected:
  SqliteSeals() {
    const auto made = opened(OpenMode::Create);
    Draft draft(schema);
    draft.insert("Folder", 1, {{"name", std::string("2026")}});
    for (RecordId id = 1; id <= kPapers; ++id) {
      Cells cells = {{"order by", textOf(id)}, {"folder", Reference{1}}};
      if (id % 100 == 0) cells["scan"] = Blob{std::string(9'000, 's')};
      draft.insert("Paper", id, cells);
    }
    EXPECT_EQ(commit(*made, draft), std::nullopt);
    sound = contentOf(*made, *schema);
  }

  // Every third paper is written anew, on all pages.
  bool changeMany(Persistence& document) const {
    Draft draft(schema);
    for (RecordId id = 1; id <= kPapers; id += 3)
      draft.update("Paper", id, 1, {{"order by", textOf(id + 1'000)}}, {"order by"});
    return document.commit(draft.changes(), nullptr);
  }

  // A save that changes every third paper is done, and the next breaks off in its middle.
  void tearTwice() {
    const std::string before = bytesOf(path);
    for (int step = 50; internal::sealOf(pageOf(bytesOf(path), 1), 1) != Seal::Open; step += 10) {
      ASSERT_LT(step, 500);
      writeBytes(path, before);
      std::filesystem::remove(path + "-journal");
      survives([&](FaultyVfs& vfs) {
        const auto document = opened(OpenMode::ReadWrite);
        changeMany(*document);
        Draft draft(schema);
        for (RecordId id = 1; id <= kPapers; id += 2)
          draft.update("Paper", id, id % 3 == 1 ? 2 : 1, {{"order by", textOf(id + 3'000)}},
                       {"order by"});
        vfs.set(FaultyVfs::Trap::Die, step);
        document->commit(draft.changes(), nullptr);
      });
    }
    for (auto& [id, saved] : sound["Paper"]) {
      if (id % 3 != 1) continue;
      saved.version = 2;
      saved.cells["order by"] = textOf(id + 1'000);
    }
  }

  // By a program that knows no seals.
  static void runPlainly(const std::string& file, const std::string& sql) {
    sqlite3* program = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &program), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(program, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(program);
    sqlite3_close(program);
  }

  Content salvaged() {
    std::filesystem::remove(folder / "new");
    std::optional<Error> error;
    EXPECT_TRUE(salvageSqliteDocument(*schema, path, folder / "new", {}, report, &error))
        << error->localizedDescription();
    const auto document = engineAt(folder / "new", OpenMode::ReadOnly);
    EXPECT_TRUE(document->open(*schema, nullptr));
    return contentOf(*document, *schema);
  }

  // Opened, checked and read whole: what is wrong, or "".
  std::string complaint(OpenMode mode = OpenMode::ReadOnly) const {
    const auto document = engine(mode);
    std::optional<Error> error;
    if (document->open(*schema, &error) && document->verify(&error)) return "";
    EXPECT_EQ(codeOf(error), Damaged);
    return error->localizedDescription();
  }
  std::string damaged(const std::string& words) const {
    return '"' + path + "\" is damaged (" + words + ").";
  }
  void expectAllSealed() const {
    const std::string bytes = bytesOf(path);
    for (std::size_t number = 1; number <= bytes.size() / kPage; ++number)
      EXPECT_EQ(internal::sealOf(pageOf(bytes, number), static_cast<std::uint32_t>(number)),
                Seal::Whole)
          << number;
  }

  Content sound;
  SalvageReport report;
};

TEST_F(SqliteSeals, AreOnEachPageWhateverWasSaved) {
  expectAllSealed();
  EXPECT_EQ(bytesOf(path)[20], 16);
  ASSERT_TRUE(changeMany(*opened(OpenMode::ReadWrite)));
  expectAllSealed();
  const auto document = opened(OpenMode::ReadWrite);
  Draft removal(schema);
  for (RecordId id = 2; id <= kPapers; id += 3) removal.remove("Paper", id, 1);
  ASSERT_EQ(commit(*document, removal), std::nullopt);
  expectAllSealed();
  EXPECT_TRUE(document->backup(folder / "copy", nullptr));
  path = folder / "copy";
  expectAllSealed();
  EXPECT_EQ(complaint(), "");
}

TEST_F(SqliteSeals, TellWhichPageIsNotAsItWasSaved) {
  const std::string good = bytesOf(path);
  std::mt19937 random(11);
  for (std::size_t number = 1; number <= good.size() / kPage; ++number) {
    // Somewhere in the page, the seal included.
    std::string bytes = good;
    const std::size_t at = number % 4 == 0 ? kPage - 1 - random() % 16 : 100 + random() % 3'980;
    bytes[(number - 1) * kPage + at] ^= static_cast<char>(1U << random() % 8);
    const std::string words = damaged("page " + std::to_string(number) + " is not as it was saved");
    if (number > 1) {
      std::string wiped = good;
      wiped.replace((number - 1) * kPage, kPage, kPage, '\0');
      writeBytes(path, wiped);
      EXPECT_EQ(complaint(), words);
    }
    writeBytes(path, bytes);
    EXPECT_EQ(complaint(), words);
    // All of it can be read, and what stood on the page is to be looked at.
    salvaged();
    std::size_t doubtful = 0;
    for (const auto& table : report.tables) {
      EXPECT_TRUE(table.lost.empty());
      doubtful += table.doubtful.size();
    }
    const std::string held =
        "SELECT count(*) FROM dbstat WHERE name IN ('Paper', 'Folder') AND pagetype<>'internal' "
        "AND pageno=" +
        std::to_string(number);
    writeBytes(path, good);
    EXPECT_EQ(doubtful > 0, raw(held) == "1") << number;
  }
}

TEST_F(SqliteSeals, TellPagesThatLieElsewhere) {
  const std::string good = bytesOf(path);
  const std::size_t last = good.size() / kPage;
  std::string bytes = good;
  bytes.replace((last - 1) * kPage, kPage, good, (last - 2) * kPage, kPage);
  writeBytes(path, bytes);
  EXPECT_EQ(complaint(), damaged("page " + std::to_string(last) + " is not as it was saved"));
}

TEST_F(SqliteSeals, AreNotLeftOutUnseen) {
  std::string bytes = bytesOf(path);
  bytes[20] = 0;
  writeBytes(path, bytes);
  EXPECT_EQ(complaint(), damaged("its pages have no seals"));
}

TEST_F(SqliteSeals, TellWhatAProgramWroteThatKeepsNone) {
  sound["Folder"][1].cells["name"] = std::string("1999");
  // A page or two, or all of them.
  for (const char* work : {"UPDATE Folder SET name='1999'", "VACUUM"}) {
    runPlainly(path, work);
    EXPECT_EQ(complaint(), damaged("page 1 is not as it was saved"));
    EXPECT_EQ(salvaged(), sound);
  }
}

// A process dies at each step of a save, and what lay beside the document is lost.
TEST_F(SqliteSeals, TellHalfASaveWithoutItsJournal) {
  const std::string before = bytesOf(path);
  Content after = sound;
  for (auto& [id, saved] : after["Paper"]) {
    if (id % 3 != 1) continue;
    saved.version = 2;
    saved.cells["order by"] = textOf(id + 1'000);
  }
  int halves = 0;
  bool finished = false;
  for (int step = 1; !finished; ++step) {
    ASSERT_LT(step, 500);
    SCOPED_TRACE(step);
    writeBytes(path, before);
    finished = survives([&](FaultyVfs& vfs) {
      const auto document = opened(OpenMode::ReadWrite);
      vfs.set(FaultyVfs::Trap::Die, step);
      changeMany(*document);
    });
    const std::string torn = bytesOf(path);
    std::filesystem::remove(path + "-journal");
    const std::string words = complaint(step % 2 == 0 ? OpenMode::ReadOnly : OpenMode::ReadWrite);
    EXPECT_TRUE(bytesOf(path) == torn);
    if (words.empty()) {
      const Content content = contentOf(*opened(OpenMode::ReadOnly), *schema);
      EXPECT_TRUE(content == sound || content == after);
      EXPECT_TRUE(content == after || !finished);
      continue;
    }
    ++halves;
    EXPECT_EQ(words, damaged("a save broke off and its journal is gone"));
    salvaged();
    ASSERT_FALSE(report.remarks.empty());
    EXPECT_EQ(report.remarks.front(),
              "A save broke off and its journal is gone: records may be of before it or of after "
              "it.");
    std::filesystem::remove(folder / "new");
  }
  EXPECT_GT(halves, 20);
}

// SQLite puts back what it finds in a journal and takes that for all.
TEST_F(SqliteSeals, TellHalfASaveWithHalfAJournal) {
  tearTwice();
  const std::string torn = bytesOf(path);
  const std::string journal = bytesOf(path + "-journal");
  int refused = 0;
  for (std::size_t part = 1; part < 16; ++part) {
    SCOPED_TRACE(part);
    std::string cut = journal.substr(0, journal.size() * part / 16);
    if (part % 4 == 0) (cut = journal)[journal.size() * part / 16] ^= 1;
    writeBytes(path, torn);
    writeBytes(path + "-journal", cut);
    const std::string words = complaint(OpenMode::ReadWrite);
    if (words.empty()) {
      EXPECT_EQ(contentOf(*opened(OpenMode::ReadOnly), *schema), sound);
      continue;
    }
    ++refused;
    EXPECT_EQ(words, damaged("a save broke off and its journal is damaged"));
    EXPECT_TRUE(bytesOf(path) == torn && bytesOf(path + "-journal") == cut);
    const Content content = salvaged();
    EXPECT_EQ(report.torn, part % 4 != 0);
    EXPECT_TRUE(content == sound || !report.lossless());
  }
  EXPECT_GT(refused, 10);
}

// What is put back has the seals that it had, whoever puts it back.
TEST_F(SqliteSeals, LieInTheJournal) {
  tearTwice();
  const std::string journal = bytesOf(path + "-journal");
  EXPECT_EQ(salvaged(), sound);
  EXPECT_TRUE(report.lossless());
  runPlainly(path, "SELECT count(*) FROM Paper");
  EXPECT_FALSE(std::filesystem::exists(path + "-journal"));
  EXPECT_EQ(complaint(), "");
  EXPECT_EQ(contentOf(*opened(OpenMode::ReadOnly), *schema), sound);
}

// Pages are written early when many have changed, and the first may not be among them.
TEST_F(SqliteSeals, AreWholeAgainWhenASaveIsTakenBack) {
  const std::string before = bytesOf(path);
  const std::string torn = folder / "torn";
  sqlite3* program = openByHand(path);
  const auto run = [&](const char* sql) {
    EXPECT_EQ(sqlite3_exec(program, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  };
  run("PRAGMA cache_size=1; PRAGMA cache_spill=1; BEGIN; UPDATE Paper SET version=0");
  std::filesystem::copy_file(path, torn);
  std::filesystem::copy_file(path + "-journal", torn + "-journal");
  EXPECT_EQ(internal::sealOf(pageOf(bytesOf(torn), 1), 1), Seal::Open);
  run("ROLLBACK");
  sqlite3_close(program);
  EXPECT_TRUE(bytesOf(path) == before);
  path = torn;
  EXPECT_EQ(complaint(OpenMode::ReadWrite), "");
  EXPECT_TRUE(bytesOf(path) == before);
}

// The pages of a document of format 2 have none, and it is read as it is; written anew it has them.
class SqliteUnsealed : public SqliteSeals {
 protected:
  SqliteUnsealed() { path = made(0); }

  // The document as of format 2, with so many bytes of each page kept free.
  std::string made(int reserved) const {
    sqlite3* program = nullptr;
    const std::string file = folder / "old" + std::to_string(reserved);
    EXPECT_EQ(sqlite3_open(file.c_str(), &program), SQLITE_OK);
    sqlite3_file_control(program, "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
    std::string sql =
        "PRAGMA application_id=1112229455; PRAGMA user_version=2; ATTACH '" + path + "' AS new;";
    for (const char* table : {"bokfolio_document", "bokfolio_entity", "Folder", "Paper"}) {
      sql += raw("SELECT sql FROM sqlite_schema WHERE name='" + std::string(table) + "'") +
             ";INSERT INTO main." + table + " SELECT * FROM new." + table + ";";
    }
    EXPECT_EQ(sqlite3_exec(program, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(program);
    sqlite3_close(program);
    return file;
  }

  std::string withAnotherLetter() const {
    std::string bytes = bytesOf(path);
    bytes[bytes.find(textOf(7))] = 'Q';
    return bytes;
  }
};

TEST_F(SqliteUnsealed, DocumentsAreReadAndCopied) {
  EXPECT_EQ(contentOf(*opened(OpenMode::ReadOnly), *schema), sound);
  EXPECT_TRUE(opened(OpenMode::ReadOnly)->backup(folder / "copy", nullptr));
  writeBytes(path, withAnotherLetter());
  EXPECT_EQ(complaint(), "");
  salvaged();
  EXPECT_TRUE(report.lossless());
  path = folder / "copy";
  expectAllSealed();
  EXPECT_EQ(complaint(OpenMode::ReadWrite), "");
  EXPECT_EQ(contentOf(*opened(OpenMode::ReadOnly), *schema), sound);
}

TEST_F(SqliteUnsealed, DocumentsGiveTheirPlaceToSealedOnes) {
  const std::string before = bytesOf(path);
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  const bool isRoot = ::geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(::chown(path.c_str(), 1234, 1235), 0);
  }
  const auto reader = opened(OpenMode::ReadOnly);
  EXPECT_EQ(contentOf(*opened(OpenMode::ReadWrite), *schema), sound);
  EXPECT_EQ(contentOf(*reader, *schema), sound);
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
  if (isRoot) {
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 1235U);
  }
  expectAllSealed();
  std::string kept;
  for (const std::string& name : folder.names())
    if (name.ends_with(".bak")) kept = bytesOf(folder / name);
  EXPECT_TRUE(kept == before);
  writeBytes(path, withAnotherLetter());
  EXPECT_NE(complaint(), "");
}

TEST_F(SqliteUnsealed, DocumentsWithoutRoomForSealsStayAsTheyAre) {
  path = folder / "document";
  path = made(32);
  const std::string before = bytesOf(path);
  EXPECT_EQ(opening(OpenMode::ReadOnly), PersistenceError{});
  EXPECT_EQ(opening(OpenMode::ReadWrite), Damaged);
  EXPECT_TRUE(bytesOf(path) == before);
}

}  // namespace

}  // namespace bokfolio::test
