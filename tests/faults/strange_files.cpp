#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "tests/faults/child.hpp"
#include "tests/faults/damage.hpp"
#include "tests/faults/scenarios.hpp"

namespace bokfolio::faults {

namespace {

using enum PersistenceError;

constexpr PersistenceError kNone{};

void expectCode(const std::optional<Error>& error, PersistenceError code) {
  expect(error && error->domain() == kPersistenceErrorDomain &&
             error->code() == static_cast<int>(code),
         "another error was expected than: " +
             (error ? error->localizedDescription() : std::string("none")));
}

void execute(const std::string& path, const char* sql) {
  sqlite3* database = test::openByHand(path);
  sqlite3_exec(database, sql, nullptr, nullptr, nullptr);
  sqlite3_close(database);
}

// What lies at the path instead of a document, who opens it how, and what they are told.
struct Strange {
  const char* name;
  std::function<void(const std::string& path)> make;
  OpenMode mode;
  PersistenceError answer;
  bool asNobody = false;
};

std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

void makeSample(const std::string& path) {
  writeBytes(path, sample().bytes);
  ::chmod(folderOf(path).c_str(), 0777);
  ::chmod(path.c_str(), 0666);
}

std::function<void(const std::string&)> withVersion(int version) {
  return [version](const std::string& path) {
    writeBytes(path, sample().bytes);
    execute(path, ("PRAGMA user_version=" + std::to_string(version)).c_str());
  };
}

std::function<void(const std::string&)> withPermissions(mode_t folder, mode_t file) {
  return [folder, file](const std::string& path) {
    makeSample(path);
    ::chmod(path.c_str(), file);
    ::chmod(folderOf(path).c_str(), folder);
  };
}

std::vector<Strange> strangeFiles() {
  using enum OpenMode;
  const auto nothing = [](const std::string&) {};
  const auto folder = [](const std::string& path) { std::filesystem::create_directory(path); };
  const auto readOnlyFolder = [](const std::string& path) {
    ::chmod(folderOf(path).c_str(), 0555);
  };
  const auto empty = [](const std::string& path) { writeBytes(path, ""); };
  const auto text = [](const std::string& path) { writeBytes(path, std::string(9000, 'a')); };
  const auto foreign = [](const std::string& path) {
    execute(path, "CREATE TABLE Account(id INTEGER PRIMARY KEY, version INTEGER)");
  };
  const auto journal = [](const std::string& path) {
    writeBytes(path + "-journal", std::string(5000, 'j'));
  };
  return {
      {"nothing there", nothing, ReadWrite, NotFound},
      {"a folder", folder, ReadWrite, NotADocument},
      {"an empty file", empty, ReadWrite, NotADocument},
      {"a text", text, ReadOnly, NotADocument},
      {"a database of another program", foreign, ReadWrite, NotADocument},
      {"a newer format", withVersion(4), ReadWrite, NewerFormat},
      {"a newer format, for reading", withVersion(4), ReadOnly, NewerFormat},
      {"a format that never was", withVersion(0), ReadWrite, NotADocument},
      {"a file where a new one is wanted", makeSample, Create, AlreadyExists},
      {"a journal where a new file is wanted", journal, Create, AlreadyExists},
      {"a file for reading only", withPermissions(0777, 0444), ReadWrite,
       PersistenceError::ReadOnly, true},
      {"the same, for reading", withPermissions(0777, 0444), OpenMode::ReadOnly, kNone, true},
      {"a file of somebody else", withPermissions(0777, 0600), ReadWrite, Failed, true},
      {"a folder for reading only", withPermissions(0555, 0666), ReadWrite,
       PersistenceError::ReadOnly, true},
      {"a new file in such a folder", readOnlyFolder, Create, PersistenceError::ReadOnly, true},
      {"a folder that is closed", withPermissions(0700, 0666), ReadWrite, Failed, true},
  };
}

void meetFile(Table& table, const Strange& strange) {
  const TemporaryFolder folder;
  const std::string path = folder / "firm";
  const std::string fault = std::string("opened: ") + strange.name;
  strange.make(path);
  const std::string said =
      inChild([&]() -> std::string {
        if (strange.asNobody && !becomeNobody()) return "-";
        std::optional<Error> error;
        const auto context = openDocument(path, strange.mode, world().environment, &error);
        if (strange.answer == kNone) {
          expect(context != nullptr && dumpOf(*context) == sample().dump, "it is not read");
          return "=";
        }
        expect(context == nullptr, "it is opened");
        expectCode(error, strange.answer);
        return wordsOf(error);
      }).value();
  ::chmod(folder.path().c_str(), 0700);
  if (said == "-")
    table.remark(fault, "not tried: only root is here");
  else if (said == "=")
    table.count(fault, Ending::Old);
  else
    table.count(fault, Ending::Refused, said);
}

// A save is refused with the code; when its reason is gone it succeeds.
void saveAround(Table& table, const char* fault, PersistenceError code,
                const std::function<void(const std::string& path)>& spoil,
                const std::function<void(const std::string& path)>& mend) {
  const TemporaryFolder folder;
  const std::string path = folder / "firm";
  writeBytes(path, sample().bytes);
  const auto context = opened(path);
  context->insert<Account>()->setNumber(9999);
  spoil(path);
  const Answer refused = saved(*context);
  expect(!refused.done, std::string(fault) + ": it is saved");
  expectCode(refused.error, code);
  mend(path);
  expect(saved(*context).done, std::string(fault) + ": it is not saved afterwards");
  expect(unsoundness(*context).empty(), std::string(fault) + ": it is unsound afterwards");
  table.count(fault, Ending::Refused, wordsOf(refused.error));
}

void meetNeighbours(Table& table) {
  const TemporaryFolder folder;
  const std::string path = folder / "firm";
  writeBytes(path, sample().bytes);
  const auto writer = opened(path);
  const auto second = [&]() -> std::string {
    std::optional<Error> error;
    expect(openDocument(path, OpenMode::ReadWrite, world().environment, &error) == nullptr,
           "two may write");
    expectCode(error, InUse);
    return wordsOf(error);
  };
  table.count("opened for writing twice, in one process", Ending::Refused, second());
  table.count("opened for writing twice, in two", Ending::Refused, inChild(second).value());
  const auto reader = opened(path, OpenMode::ReadOnly);
  expect(dumpOf(*reader) == sample().dump, "a reader sees the saved state");
  const auto late = opened(path, OpenMode::ReadOnly);
  expect(operations().front().run(*writer).done, "a writer saves beside readers");
  table.count("a reader beside a writer", Ending::Old);
  const Sight seen = look(path, OpenMode::ReadOnly, dumpOf(*writer));
  expect(seen.ending == Ending::New, "a new reader sees the new state");
  const auto rows = late->fetchEntitiesWithName("Row");
  expect(!rows.has_value(), "a reader mixes two states");
  table.count("a reader after a writer's save", Ending::Refused, generalised(late->fetchFailure()));
}

}  // namespace

void meetStrangeFiles(Table& table) {
  for (const Strange& strange : strangeFiles()) {
    try {
      meetFile(table, strange);
    } catch (const std::exception& broken) {
      throw Broken(std::string("opened: ") + strange.name + ": " + broken.what());
    }
  }
  const auto away = [](const std::string& path) { std::filesystem::rename(path, path + ".away"); };
  const auto back = [](const std::string& path) { std::filesystem::rename(path + ".away", path); };
  saveAround(table, "moved while open", NotFound, away, back);
  saveAround(
      table, "replaced while open", Stale,
      [&](const std::string& path) {
        away(path);
        writeBytes(path, sample().bytes);
      },
      back);
  meetNeighbours(table);
}

}  // namespace bokfolio::faults
