// Documents whose schema was written by hand to do harm, and folders that somebody else may write.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;

class CraftedDocument : public SqliteFile {
 protected:
  // A sound document, then the SQL.
  void craft(const std::string& sql) const {
    std::filesystem::remove(path);
    EXPECT_EQ(commit(*opened(OpenMode::Create), Draft(schema).insert("Folder", 1, {})),
              std::nullopt);
    raw(sql);
  }
  // With a table of folders whose name is declared so, and one of them.
  void craftName(const std::string& how) const {
    craft(
        "DROP TABLE Folder; CREATE TABLE Folder(id INTEGER PRIMARY KEY, "
        "version INTEGER NOT NULL, name TEXT " +
        how + ") STRICT; INSERT INTO Folder(id, version) VALUES(1, 1)");
  }
};

TEST_F(CraftedDocument, ColumnsThatAreComputedAreRefused) {
  std::string doubling = "AS (a||a)";
  for (char name = 'a'; name < 'z'; ++name) {
    const char next = static_cast<char>(name + 1);
    for (const char each : {',', name, ' '}) doubling += each;
    doubling += "TEXT AS (";
    for (const char each : {next, '|', '|', next, ')'}) doubling += each;
  }
  for (const std::string& how :
       {std::string("AS (replace(hex(zeroblob(200000000)), '0', 'x'))"),
        std::string("AS (printf('%.*c', 9, 'x')) STORED"), doubling + ", z TEXT DEFAULT 'x'"}) {
    SCOPED_TRACE(how);
    craftName(how);
    EXPECT_EQ(opening(OpenMode::ReadOnly), Damaged);
    EXPECT_EQ(opening(OpenMode::ReadWrite), Damaged);
  }
}

TEST_F(CraftedDocument, SchemasThatCallFunctionsAreRefused) {
  const std::string slow = "instr(hex(zeroblob((name = 'x') * 400000000)), 'y')";
  for (const bool isCheck : {true, false}) {
    isCheck ? craftName("CHECK(" + slow + " >= 0)")
            : craft("CREATE INDEX slow ON Folder(" + slow + ")");
    EXPECT_EQ(opening(OpenMode::ReadOnly), Damaged);
    EXPECT_EQ(opening(OpenMode::ReadWrite), Damaged);
  }
  craft("CREATE INDEX slow ON Paper(id) WHERE \"order by\" LIKE '%a%b%c%d%e%'");
  EXPECT_EQ(opening(OpenMode::ReadWrite), Damaged);
  // Other checks hold: the schema is that of the file.
  craftName("CHECK(name <> 'x')");
  const auto document = opened(OpenMode::ReadWrite);
  EXPECT_EQ(commit(*document, Draft(schema).insert("Folder", 2, {{"name", std::string("x")}})),
            Refused);
  EXPECT_TRUE(document->backup(path + ".copy", nullptr));
}

// In a folder that others may write, the file under construction can be exchanged for a link to
// something of the user's: that must neither get the document's permissions nor its name.
TEST_F(CraftedDocument, WhatTakesThePlaceOfANewFileIsNotPublished) {
  const std::string treasure = folder / "treasure";
  for (const bool isLink : {true, false}) {
    std::ofstream(treasure) << "secret";
    ASSERT_EQ(::chmod(treasure.c_str(), 0600), 0);
    internal::NewFile file(path, 0664);
    std::filesystem::remove(file.temporaryPath());
    if (isLink) {
      std::filesystem::create_symlink(treasure, file.temporaryPath());
    } else {
      std::filesystem::create_hard_link(treasure, file.temporaryPath());
    }
    try {
      file.publish();
      ADD_FAILURE() << isLink;
    } catch (const internal::Failure& failure) {
      EXPECT_EQ(failure.code, Stale) << failure.sentence;
    }
    struct stat status {};
    ASSERT_EQ(::stat(treasure.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U) << isLink;
    EXPECT_FALSE(std::filesystem::exists(path));
  }
}

}  // namespace

}  // namespace bokfolio::test
