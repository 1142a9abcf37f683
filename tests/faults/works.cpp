#include "tests/faults/works.hpp"

#include <sqlite3.h>

#include <filesystem>

#include "bokfolio/model/document.hpp"

namespace bokfolio::faults {

namespace {

std::unique_ptr<Context> opened(const std::string& path, OpenMode mode = OpenMode::ReadWrite) {
  std::optional<Error> error;
  beginAnew();
  auto context = openDocument(path, mode, world().environment, &error);
  expect(context != nullptr, error ? error->localizedDescription() : "not opened, without words");
  return context;
}

Dump soundDump(const std::string& path, OpenMode mode = OpenMode::ReadWrite) {
  const auto context = opened(path, mode);
  const std::string found = unsoundness(*context);
  expect(found.empty(), "the document is unsound: " + found);
  return dumpOf(*context);
}

void expectSample(const Dump& seen) {
  const std::string found = difference(sample().dump, seen);
  expect(found.empty(), found);
}

enum class Importing { Before, Within };

// Vouchers are imported, before the moments that count or within them, and saved.
class Import final : public Work {
 public:
  Import(const char* name, int vouchers, Importing importing)
      : name_(name), vouchers_(vouchers), importing_(importing) {}

  const char* name() const override { return name_; }
  void prepare(const std::string& path) override {
    open(path);
    if (importing_ == Importing::Before) import();
  }
  Answer run(const std::string&) override {
    if (importing_ == Importing::Within && !context().hasChanges()) import();
    return saved(context());
  }
  Ending ending(const std::string& path) override {
    const Dump seen = soundDump(path);
    if (seen == sample().dump) return Ending::Old;
    const std::string found = difference(after(), seen);
    expect(found.empty(), "neither old nor new: " + found);
    return Ending::New;
  }

 private:
  void import() { expect(importVouchers(context(), vouchers_).done, "vouchers are imported"); }
  // What is there when nothing goes wrong.
  const Dump& after() {
    if (!after_.empty()) return after_;
    const Folder folder;
    writeBytes(folder / "firm", bytes());
    prepare(folder / "firm");
    expect(run(folder / "firm").done, "an import is saved");
    leave();
    after_ = soundDump(folder / "firm");
    return after_;
  }

  const char* name_;
  int vouchers_;
  Importing importing_;
  Dump after_;
};

class Conversion final : public Work {
 public:
  const char* name() const override { return "converting"; }
  std::string bytes() const override { return bytesOfFormat1(); }
  void prepare(const std::string&) override {}
  Answer run(const std::string& path) override {
    Answer answer;
    context_ = openDocument(path, OpenMode::ReadWrite, world().environment, &answer.error);
    answer.done = context_ != nullptr;
    return answer;
  }
  Ending ending(const std::string& path) override {
    constexpr std::size_t kVersion = 63;  // its lowest byte
    const char version = bytesOf(path).at(kVersion);
    const bool old = hasHotJournal(path) || version == 1;
    expect(version == 1 || version == 2, "a version that there is not");
    // Copies are complete or not there.
    for (const auto& file : std::filesystem::directory_iterator(Folder::of(path))) {
      const std::string name = file.path().string();
      if (!name.ends_with(".bak")) continue;
      expect(bytesOf(name).at(kVersion) == 1, "the copy is not of the old format");
      expectSample(soundDump(name, OpenMode::ReadOnly));
    }
    expectSample(soundDump(path));
    expect(bytesOf(path).at(kVersion) == 2, "the document is not converted");
    return old ? Ending::Old : Ending::New;
  }
};

class Backup final : public Work {
 public:
  const char* name() const override { return "backing up"; }
  void prepare(const std::string& path) override { open(path); }
  Answer run(const std::string& path) override {
    Answer answer;
    answer.done = context().persistence().backup(path + ".copy", &answer.error);
    return answer;
  }
  Ending ending(const std::string& path) override {
    expectSample(soundDump(path));
    if (!std::filesystem::exists(path + ".copy")) return Ending::Old;
    expectSample(soundDump(path + ".copy"));
    return Ending::New;
  }
};

class Creation final : public Work {
 public:
  const char* name() const override { return "creating"; }
  void prepare(const std::string&) override {}
  Answer run(const std::string& path) override {
    Answer answer;
    context_ = createDocument(path + ".new", world().environment, &answer.error);
    answer.done = context_ != nullptr;
    return answer;
  }
  Ending ending(const std::string& path) override {
    if (!std::filesystem::exists(path + ".new")) return Ending::Old;
    expect(soundDump(path + ".new").empty(), "a new document holds records");
    return Ending::New;
  }
};

// Without any fault, so that what comes of it is known.
void rehearse(Work& work) {
  const Folder folder;
  writeBytes(folder / "firm", work.bytes());
  work.prepare(folder / "firm");
  expect(work.run(folder / "firm").done, "a work is done");
  work.leave();
  expect(work.ending(folder / "firm") == Ending::New, "a work that is done shows");
}

std::vector<std::unique_ptr<Work>> makeWorks() {
  std::vector<std::unique_ptr<Work>> all;
  all.push_back(std::make_unique<Import>("saving", 3, Importing::Before));
  all.push_back(std::make_unique<Import>("saving an import", 400, Importing::Before));
  all.push_back(std::make_unique<Import>("importing and saving", 400, Importing::Within));
  all.push_back(std::make_unique<Conversion>());
  all.push_back(std::make_unique<Backup>());
  all.push_back(std::make_unique<Creation>());
  for (const auto& work : all) rehearse(*work);
  return all;
}

}  // namespace

void Work::open(const std::string& path) { context_ = opened(path); }

const std::vector<std::unique_ptr<Work>>& works() {
  static const auto all = makeWorks();
  return all;
}

bool hasHotJournal(const std::string& path) {
  std::error_code none;
  const auto size = std::filesystem::file_size(path + "-journal", none);
  return !none && size > 0 && bytesOf(path + "-journal").front() != 0;
}

std::string bytesOfFormat1() {
  static const std::string made = [] {
    const Folder folder;
    writeBytes(folder / "firm", sample().bytes);
    sqlite3* database = nullptr;
    sqlite3_open((folder / "firm").c_str(), &database);
    const int code =
        sqlite3_exec(database,
                     "PRAGMA user_version=1; DROP TABLE bokfolio_sum_Row; "
                     "DELETE FROM bokfolio_document WHERE name LIKE 'sum%'; "
                     "DROP INDEX \"Entry.fiscalYear.number\"; DROP INDEX \"Row.tag\"; VACUUM",
                     nullptr, nullptr, nullptr);
    sqlite3_close(database);
    expect(code == SQLITE_OK, "the sample becomes one of format 1");
    return bytesOf(folder / "firm");
  }();
  return made;
}

}  // namespace bokfolio::faults
