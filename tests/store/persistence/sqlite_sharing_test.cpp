#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
constexpr PersistenceError kNone{};

// What `work` answers in another process.
int elsewhere(const std::function<int()>& work) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(work());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class SqliteSharing : public SqliteFile {
 protected:
  SqliteSharing() { opened(OpenMode::Create); }

  // Another program adds a paper; false when it is kept out.
  bool foreignSave() const {
    sqlite3* program = openByHand(path);
    const int code =
        sqlite3_exec(program, "INSERT INTO Paper(version) VALUES(1)", nullptr, nullptr, nullptr);
    EXPECT_TRUE(code == SQLITE_OK || code == SQLITE_BUSY);
    sqlite3_close(program);
    return code == SQLITE_OK;
  }

  int openingElsewhere(OpenMode mode) const {
    return elsewhere([&] { return static_cast<int>(opening(mode)); });
  }
};

TEST_F(SqliteSharing, OneWriterManyReaders) {
  auto writer = opened(OpenMode::ReadWrite);
  const std::string link = folder / "link";
  std::filesystem::create_symlink(path, link);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(opening(OpenMode::ReadWrite), InUse);
    EXPECT_EQ(openingAt(link, OpenMode::ReadWrite), InUse);
    EXPECT_EQ(openingElsewhere(OpenMode::ReadWrite), static_cast<int>(InUse));
    EXPECT_EQ(openingElsewhere(OpenMode::ReadOnly), 0);
    EXPECT_EQ(opening(OpenMode::ReadOnly), kNone);
  }
  ASSERT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), std::nullopt);
  writer.reset();
  EXPECT_EQ(openingElsewhere(OpenMode::ReadWrite), 0);
  EXPECT_EQ(contentOf(*opened(OpenMode::ReadWrite), *schema)["Paper"].size(), 1U);
}

TEST_F(SqliteSharing, AReaderLearnsThatItsStateIsGone) {
  const auto writer = opened(OpenMode::ReadWrite);
  const auto reader = opened(OpenMode::ReadOnly);
  EXPECT_TRUE(contentOf(*reader, *schema)["Paper"].empty());
  EXPECT_EQ(commit(*reader, Draft(schema).insert("Paper", 1, {})), ReadOnly);
  ASSERT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), std::nullopt);
  EXPECT_EQ(contentOf(*writer, *schema)["Paper"].size(), 1U);
  EXPECT_EQ(openingElsewhere(OpenMode::ReadOnly), 0);
  EXPECT_EQ(loading(*reader, schema->entity("Paper")), Stale);
  EXPECT_TRUE(reader->backup(folder / "copy", nullptr));
}

TEST_F(SqliteSharing, AReaderFindsWhatItsModelAddsEmpty) {
  ASSERT_EQ(commit(*opened(OpenMode::ReadWrite), Draft(schema).insert("Paper", 1, {})),
            std::nullopt);
  schema = paperSchema(true);
  const auto reader = opened(OpenMode::ReadOnly);
  EXPECT_EQ(contentOf(*reader, *schema),
            (Content{{"Folder", {}}, {"Paper", {{1, {1, {}}}}}, {"Stamp", {}}}));
  EXPECT_EQ(nextIdOf(*reader, *schema, "Stamp"), 1U);
  EXPECT_TRUE(reader->verify(nullptr));
}

TEST_F(SqliteSharing, ASaveGivesUpWhileSomebodyReads) {
  const auto writer = opened(OpenMode::ReadWrite);
  sqlite3* reader = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &reader), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(reader, "BEGIN; SELECT * FROM Paper", nullptr, nullptr, nullptr),
            SQLITE_OK);
  EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), InUse);
  sqlite3_close(reader);
  EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), std::nullopt);
}

// Reading bit by bit, a writer keeps other programs from saving in between; not longer.
TEST_F(SqliteSharing, AWriterThatReadKeepsTheFileAsItIsUntilItSaves) {
  const auto writer = opened(OpenMode::ReadWrite);
  const auto reader = opened(OpenMode::ReadOnly);
  const Entity& paper = schema->entity("Paper");
  EXPECT_TRUE(foreignSave());  // it has not read yet
  EXPECT_EQ(loading(*writer, paper), Stale);
  auto again = opened(OpenMode::ReadOnly);
  EXPECT_EQ(idsOf(*again, Question(paper)), std::vector<RecordId>{1});
  EXPECT_TRUE(foreignSave());  // a reader keeps nobody out
}

TEST_F(SqliteSharing, AWritersReadingEndsWithItsSaveOrCopy) {
  const Entity& paper = schema->entity("Paper");
  const auto writer = opened(OpenMode::ReadWrite);
  const std::vector<std::function<void()>> looks = {
      [&] { EXPECT_TRUE(idsOf(*writer, Question(paper)).empty()); },
      [&] { EXPECT_EQ(countOf(*writer, Question(paper)), 0U); },
      [&] { EXPECT_EQ(loading(*writer, paper), std::nullopt); },
  };
  for (const auto& look : looks) {
    look();
    EXPECT_FALSE(foreignSave());
    const auto reader = opened(OpenMode::ReadOnly);
    EXPECT_TRUE(idsOf(*reader, Question(paper)).empty());
    EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {}).remove("Paper", 1, 1)),
              std::nullopt);
  }
  looks.front()();
  EXPECT_FALSE(foreignSave());
  EXPECT_TRUE(writer->backup(folder / "copy", nullptr));
  EXPECT_TRUE(foreignSave());
}

TEST_F(SqliteSharing, AWriterDoesNotSaveOverWhatItHasNotSeen) {
  const Entity& paper = schema->entity("Paper");
  const auto writer = opened(OpenMode::ReadWrite);
  ASSERT_EQ(commit(*writer, Draft(schema).insert("Folder", 1, {})), std::nullopt);
  EXPECT_TRUE(foreignSave());
  Answer answer;
  std::size_t count = 0;
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 9, {})), Stale);
    EXPECT_EQ(finding(*writer, Question(paper), answer), Stale);
    EXPECT_TRUE(answer.empty());
    std::optional<Error> error;
    EXPECT_FALSE(writer->count(Question(paper), count, &error));
    EXPECT_EQ(codeOf(error), Stale);
  }
  EXPECT_EQ(raw("SELECT id FROM Paper"), "1");
}

TEST_F(SqliteSharing, NothingIsWrittenToAFileThatWasMovedAway) {
  const auto writer = opened(OpenMode::ReadWrite);
  std::filesystem::rename(path, folder / "moved");
  EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), NotFound);
  std::filesystem::copy_file(folder / "moved", path);
  EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), Stale);
  std::filesystem::rename(folder / "moved", path);
  EXPECT_EQ(commit(*writer, Draft(schema).insert("Paper", 1, {})), std::nullopt);
}

// POSIX: closing any descriptor of a file drops all the process's record locks on it.
TEST_F(SqliteSharing, ComingAndGoingKeepsTheLocksOfOthersHere) {
  const int own = ::open(path.c_str(), O_RDWR);
  struct flock whole {};
  whole.l_type = F_WRLCK;
  ASSERT_EQ(::fcntl(own, F_SETLK, &whole), 0);
  const auto lockedElsewhere = [&] {
    return elsewhere([&] {
             const int other = ::open(path.c_str(), O_RDWR);
             struct flock wanted {};
             wanted.l_type = F_WRLCK;
             return ::fcntl(other, F_SETLK, &wanted) == 0 ? 1 : 0;
           }) == 0;
  };
  struct stat status {};
  ASSERT_EQ(::fstat(own, &status), 0);
  {
    const internal::FileStay stay({status.st_dev, status.st_ino});
    { const internal::DocumentFile file(path, true); }
    { const internal::DocumentFile file(path, false); }
    EXPECT_TRUE(lockedElsewhere());
  }
  EXPECT_FALSE(lockedElsewhere());  // the last one closed what was parked
  ::close(own);
}

TEST_F(SqliteSharing, WithoutPermissionItSaysWhat) {
  // Nobody in particular; root may do everything.
  const auto asNobody = [&](const std::string& at, OpenMode mode) {
    return static_cast<PersistenceError>(elsewhere([&] {
      if (::geteuid() == 0 && ::seteuid(65534) != 0) return -1;
      return static_cast<int>(openingAt(at, mode));
    }));
  };
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  EXPECT_EQ(asNobody(path, OpenMode::ReadOnly), kNone);
  EXPECT_EQ(asNobody(path, OpenMode::ReadWrite), ReadOnly);
  ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
  EXPECT_EQ(asNobody(path, OpenMode::ReadWrite), kNone);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
  EXPECT_EQ(asNobody(path, OpenMode::ReadOnly), kNone);
  EXPECT_EQ(asNobody(path, OpenMode::ReadWrite), ReadOnly);
  EXPECT_EQ(asNobody(folder / "new", OpenMode::Create), ReadOnly);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0000), 0);
  EXPECT_EQ(asNobody(path, OpenMode::ReadOnly), Failed);
  EXPECT_EQ(asNobody(path, OpenMode::ReadWrite), Failed);
}

}  // namespace

}  // namespace bokfolio::test
