#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "bokfolio/model/document.hpp"
#include "tests/faults/child.hpp"
#include "tests/faults/scenarios.hpp"
#include "tests/faults/works.hpp"

namespace bokfolio::faults {

namespace {

constexpr std::size_t kStep = 4096;

// A reader finds the old state, or is told to wait for a writer to heal it: where not even what is
// to be put back can be written, that comes later.
void expectOld(const std::string& path) {
  std::optional<Error> error;
  const auto reader = openDocument(path, OpenMode::ReadOnly, world().environment, &error);
  if (reader == nullptr && hasHotJournal(path)) return;
  expect(reader != nullptr, "a reader finds no document");
  const std::string found = difference(sample().dump, dumpOf(*reader));
  expect(found.empty(), "not the old state: " + found);
}

// The work finds so much room and then all it wants. Answers what it said when it had none, "" when
// there was enough.
std::string runInRoom(const Work& work, const std::string& path,
                      const std::function<void()>& narrow, const std::function<void()>& widen) {
  Scene scene{path, nullptr};
  writeBytes(path, work.bytes);
  work.prepare(scene);
  narrow();
  const Answer cramped = work.run(scene);
  std::string words;
  if (!cramped.done) {
    words = wordsOf(cramped.error);
    expect(words.find("full") != std::string::npos, "these words do not tell: " + words);
    expectOld(path);
  }
  widen();
  if (!cramped.done) {
    const Answer again = work.run(scene);
    expect(again.done, "with room it is refused: " + again.sentence());
  }
  scene.context = nullptr;
  expect(work.ending(path) == Ending::New, "with room it is not done");
  return words;
}

// Step by step more room, until there is enough.
void fillStepwise(Table& table, const std::string& fault, std::size_t stride,
                  const std::function<std::string(std::size_t room)>& run) {
  for (std::size_t room = 0;; room += kStep * stride) {
    try {
      const std::string words = inChild([&] { return run(room); }).value();
      table.count(fault, words.empty() ? Ending::New : Ending::Old, words);
      if (words.empty()) return;
    } catch (const std::exception& broken) {
      throw Broken(fault + ", room for " + std::to_string(room) + " bytes: " + broken.what());
    }
  }
}

bool mountSmallDisk(const std::string& path) {
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("tmpfs", path.c_str(), "tmpfs", 0, "size=16m") == 0;
}

// Leaves so many bytes.
void fill(const TemporaryFolder& folder, std::size_t room) {
  const auto free = std::filesystem::space(folder.path()).available;
  if (free <= room) return;
  const int file = ::open((folder / "filler").c_str(), O_CREAT | O_WRONLY, 0600);
  expect(file >= 0 && ::posix_fallocate(file, 0, static_cast<off_t>(free - room)) == 0,
         "a disk can be filled");
  ::close(file);
}

}  // namespace

void fillDisk(Table& table, std::size_t stride) {
  for (const Work& work : works())
    fillStepwise(table, "files limited while " + work.name, stride, [&](std::size_t room) {
      const TemporaryFolder folder;
      return runInRoom(
          work, folder / "firm", [&] { limitFiles(room); }, [] { limitFiles(std::nullopt); });
    });
}

void fillRealDisk(Table& table) {
  const TemporaryFolder folder;
  const auto mounted = inChild([&] { return mountSmallDisk(folder.path()) ? "yes" : "no"; });
  for (const Work& work : works()) {
    const std::string fault = "disk full while " + work.name;
    if (mounted != "yes")
      table.remark(fault, "not tried: no disk may be mounted here");
    else
      fillStepwise(table, fault, 1, [&](std::size_t room) {
        expect(mountSmallDisk(folder.path()), "a disk is mounted");
        return runInRoom(
            work, folder / "firm", [&] { fill(folder, room); },
            [&] { std::filesystem::remove(folder / "filler"); });
      });
  }
}

}  // namespace bokfolio::faults
