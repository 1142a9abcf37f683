#include "tests/faults/works.hpp"

#include <sqlite3.h>

#include <filesystem>

#include "bokfolio/model/document.hpp"

namespace bokfolio::faults {

namespace {

constexpr std::size_t kVersionByte = 63;

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

void open(Scene& scene) { scene.context = opened(scene.path); }

void import(Scene& scene, int vouchers) {
  expect(importVouchers(*scene.context, vouchers), "vouchers are imported");
}

// Without any fault, so that what comes of it is known.
std::string documentAfter(const Work& work) {
  const TemporaryFolder folder;
  Scene scene{folder / "firm", nullptr};
  writeBytes(scene.path, work.bytes);
  work.prepare(scene);
  expect(work.run(scene).done, "a work is done");
  scene.context = nullptr;
  return bytesOf(scene.path);
}

void endInSampleOr(Work& work) {
  const TemporaryFolder folder;
  writeBytes(folder / "firm", documentAfter(work));
  work.ending = [after = soundDump(folder / "firm")](const std::string& path) {
    const Dump seen = soundDump(path);
    if (seen == sample().dump) return Ending::Old;
    const std::string found = difference(after, seen);
    expect(found.empty(), "neither old nor new: " + found);
    return Ending::New;
  };
}

// Vouchers that were imported before are saved.
Work saving(const char* name, int vouchers) {
  Work work{name, sample().bytes, {}, {}, {}};
  work.prepare = [vouchers](Scene& scene) {
    open(scene);
    import(scene, vouchers);
  };
  work.run = [](Scene& scene) { return saved(*scene.context); };
  endInSampleOr(work);
  return work;
}

Work importing() {
  Work work{"importing and saving", sample().bytes, open, {}, {}};
  work.run = [](Scene& scene) {
    if (!scene.context->hasChanges()) import(scene, 400);
    return saved(*scene.context);
  };
  endInSampleOr(work);
  return work;
}

// The sample as the first version of the format had it.
std::string bytesOfFormat1() {
  const TemporaryFolder folder;
  writeBytes(folder / "firm", sample().bytes);
  sqlite3* database = test::openByHand(folder / "firm");
  const int code = sqlite3_exec(database,
                                "PRAGMA user_version=1; DROP TABLE bokfolio_sum_Row; "
                                "DELETE FROM bokfolio_document WHERE name LIKE 'sum%'; "
                                "DROP INDEX \"Entry.fiscalYear.number\"; DROP INDEX \"Row.tag\"",
                                nullptr, nullptr, nullptr);
  sqlite3_close(database);
  expect(code == SQLITE_OK, "the sample becomes one of format 1");
  return bytesOf(folder / "firm");
}

Ending endOfConversion(const std::string& path) {
  const bool old = hasHotJournal(path) || bytesOf(path).at(kVersionByte) == 1;
  // Copies are complete or not there.
  for (const auto& file : std::filesystem::directory_iterator(path.substr(0, path.rfind('/')))) {
    const std::string name = file.path().string();
    if (!name.ends_with(".bak")) continue;
    expect(bytesOf(name).at(kVersionByte) == 1, "the copy is not of the old format");
    expectSample(soundDump(name, OpenMode::ReadOnly));
  }
  expectSample(soundDump(path));
  expect(bytesOf(path).at(kVersionByte) == 3, "the document is not converted");
  return old ? Ending::Old : Ending::New;
}

Work converting() {
  Work work{"converting", bytesOfFormat1(), [](Scene&) {}, {}, endOfConversion};
  work.run = [](Scene& scene) {
    Answer answer;
    scene.context =
        openDocument(scene.path, OpenMode::ReadWrite, world().environment, &answer.error);
    answer.done = scene.context != nullptr;
    return answer;
  };
  return work;
}

Work backingUp() {
  Work work{"backing up", sample().bytes, open, {}, {}};
  work.run = [](Scene& scene) {
    Answer answer;
    answer.done = scene.context->persistence().backup(scene.path + ".copy", &answer.error);
    return answer;
  };
  work.ending = [](const std::string& path) {
    expectSample(soundDump(path));
    if (!std::filesystem::exists(path + ".copy")) return Ending::Old;
    expectSample(soundDump(path + ".copy"));
    return Ending::New;
  };
  return work;
}

Work creating() {
  Work work{"creating", sample().bytes, [](Scene&) {}, {}, {}};
  work.run = [](Scene& scene) {
    Answer answer;
    scene.context = createDocument(scene.path + ".new", world().environment, &answer.error);
    answer.done = scene.context != nullptr;
    return answer;
  };
  work.ending = [](const std::string& path) {
    if (!std::filesystem::exists(path + ".new")) return Ending::Old;
    expect(soundDump(path + ".new").empty(), "a new document holds records");
    return Ending::New;
  };
  return work;
}

}  // namespace

const std::vector<Work>& works() {
  static const std::vector<Work> all = {saving("saving", 3), saving("saving an import", 400),
                                        importing(),         converting(),
                                        backingUp(),         creating()};
  return all;
}

bool hasHotJournal(const std::string& path) {
  const std::string journal = bytesOf(path + "-journal");
  return !journal.empty() && journal.front() != 0;
}

}  // namespace bokfolio::faults
