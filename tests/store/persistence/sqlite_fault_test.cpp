#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "tests/store/persistence/faulty_vfs.hpp"
#include "tests/store/persistence/sqlite_fixture.hpp"

namespace bokfolio::test {

namespace {

using enum PersistenceError;
using Trap = FaultyVfs::Trap;

class SqliteFaults : public SqliteFile {
 protected:
  SqliteFaults() {
    const auto document = opened(OpenMode::Create);
    Draft sample(schema);
    sample.insert("Folder", 1, {});
    for (RecordId id = 1; id <= 60; ++id) {
      sample.insert("Paper", id, {{"folder", Reference{1}}, {"order by", std::string(300, 'a')}});
    }
    EXPECT_EQ(commit(*document, sample), std::nullopt);
    before = contentOf(*document, *schema);
    std::filesystem::copy_file(path, folder / "original");
  }

  void restore() const {
    std::filesystem::remove(path + "-journal");
    std::filesystem::copy_file(folder / "original", path,
                               std::filesystem::copy_options::overwrite_existing);
  }

  // Touches many pages, adds some and frees some.
  const ChangeSet& changes() {
    if (!draft) {
      draft = std::make_unique<Draft>(schema);
      for (RecordId id = 1; id <= 30; ++id) {
        draft->update("Paper", id, 1, {{"order by", std::string(900, 'b')}}, {"order by"});
      }
      for (RecordId id = 31; id <= 50; ++id) draft->remove("Paper", id, 1);
      draft->insert("Folder", 2, {}).insert("Paper", 61, {{"folder", Reference{2}}});
      draft->insert("Paper", 62, {{"scan", Blob{std::string(20'000, 'c')}}});
    }
    return draft->changes();
  }

  // The document as the next user finds it: true when the changes are in, false when none is.
  bool changedAfterwards() {
    const auto document = opened(OpenMode::ReadWrite);
    EXPECT_TRUE(document->verify(nullptr));
    const Content content = contentOf(*document, *schema);
    if (content == before) return false;
    EXPECT_EQ(content.at("Paper").size(), 42U);
    EXPECT_EQ(content.at("Paper").at(30).version, 2U);
    EXPECT_EQ(content.at("Folder").size(), 2U);
    return true;
  }

  Content before;
  std::unique_ptr<Draft> draft;
};

// A killed process leaves the old state or the new one, whatever it was just doing.
TEST_F(SqliteFaults, DyingAtAnyStepOfASaveLeavesOldOrNew) {
  changes();
  bool finished = false;
  int healed = 0;
  int step = 0;
  while (!finished) {
    ASSERT_LT(++step, 500);
    SCOPED_TRACE(step);
    restore();
    finished = survives([&](FaultyVfs& vfs) {
      const auto document = opened(OpenMode::ReadWrite);
      vfs.set(Trap::Die, step);
      document->commit(changes(), nullptr);
    });
    // A reader cannot heal what was left, and says so rather than show half of it.
    const auto reading = opening(OpenMode::ReadOnly);
    if (reading != PersistenceError{}) {
      EXPECT_EQ(reading, ReadOnly);
      ++healed;
    }
    EXPECT_EQ(changedAfterwards(), finished);
  }
  EXPECT_GT(step, 20);
  EXPECT_GT(healed, 5);
}

// Whoever heals the document may die or fail, too: the next one heals it then.
TEST_F(SqliteFaults, HealingThatIsBrokenOffIsDoneAgain) {
  restore();
  const std::string original = bytesOf(path);
  std::string torn;
  for (int step = 20; torn.empty() || torn == original; ++step) {
    restore();
    ASSERT_FALSE(survives([&](FaultyVfs& vfs) {
      const auto document = opened(OpenMode::ReadWrite);
      vfs.set(Trap::Die, step);
      document->commit(changes(), nullptr);
    }));
    torn = bytesOf(path);
  }
  const std::string journal = bytesOf(path + "-journal");
  for (const Trap trap : {Trap::Die, Trap::FailOn}) {
    bool healed = false;
    int step = 0;
    while (!healed) {
      ASSERT_LT(++step, 500);
      SCOPED_TRACE(step);
      writeBytes(path, torn);
      writeBytes(path + "-journal", journal);
      healed = survives([&](FaultyVfs& vfs) {
        vfs.set(trap, step, SQLITE_IOERR_WRITE);
        if (!engine(OpenMode::ReadWrite)->open(*schema, nullptr)) ::_exit(0);
      });
      EXPECT_FALSE(changedAfterwards());
      EXPECT_TRUE(bytesOf(path) == original);
    }
    EXPECT_GT(step, 5);
  }
}

// One step of a save fails, or all from there on; the engine goes on working when the disk does.
TEST_F(SqliteFaults, FailingAtAnyStepOfASaveLeavesTheOldState) {
  struct Case {
    Trap trap;
    int code;
    PersistenceError means;
  };
  for (const Case& fault :
       {Case{Trap::FailOnce, SQLITE_IOERR_WRITE, Failed}, Case{Trap::FailOn, SQLITE_FULL, Full}}) {
    restore();
    bool failed = true;
    for (int step = 1; failed; ++step) {
      ASSERT_LT(step, 500);
      SCOPED_TRACE(step);
      FaultyVfs vfs;
      const auto document = opened(OpenMode::ReadWrite);
      vfs.set(fault.trap, step, fault.code);
      std::optional<Error> error;
      failed = !document->commit(changes(), &error);
      EXPECT_EQ(vfs.sprung(), failed);
      vfs.set(Trap::None, 0);
      if (!failed) break;
      EXPECT_EQ(codeOf(error), fault.means);
      ASSERT_EQ(contentOf(*document, *schema), before);
    }
    EXPECT_TRUE(changedAfterwards());
  }
}

TEST_F(SqliteFaults, ADocumentIsMadeOrCopiedCompleteOrNotAtAll) {
  const auto names = folder.names();
  for (const bool copying : {false, true}) {
    bool failed = true;
    for (int step = 1; failed; ++step) {
      ASSERT_LT(step, 500);
      SCOPED_TRACE(step);
      FaultyVfs vfs;
      const auto document =
          copying ? opened(OpenMode::ReadOnly) : engineAt(folder / "new", OpenMode::Create);
      vfs.set(Trap::FailOn, step, SQLITE_FULL);
      std::optional<Error> error;
      failed =
          copying ? !document->backup(folder / "new", &error) : !document->open(*schema, &error);
      vfs.set(Trap::None, 0);
      if (!failed) break;
      EXPECT_EQ(codeOf(error), Full);
      ASSERT_EQ(folder.names(), names);
    }
    std::filesystem::remove(folder / "new");
  }
}

// The system's own answer to a file that may not grow.
TEST_F(SqliteFaults, AFullDiskIsToldAndSurvived) {
  const pid_t child = ::fork();
  if (child == 0) {
    const auto document = opened(OpenMode::ReadWrite);
    ::signal(SIGXFSZ, SIG_IGN);
    const auto size = static_cast<rlim_t>(std::filesystem::file_size(path));
    const rlimit limit{size, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::optional<Error> error;
    const bool refused = !document->commit(changes(), &error) && codeOf(error) == Full;
    const bool kept = contentOf(*document, *schema) == before;
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &none);
    const bool saved = document->commit(changes(), nullptr);
    ::_exit(refused && kept && saved && !HasFailure() ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(changedAfterwards());
}

}  // namespace

}  // namespace bokfolio::test
