#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "bokfolio/model/document.hpp"
#include "tests/faults/child.hpp"
#include "tests/faults/scenarios.hpp"
#include "tests/faults/works.hpp"

namespace bokfolio::faults {

namespace {

constexpr std::size_t kStep = 4096;

// The work finds so much room and then all it wants. Answers what it said when it had none, "" when
// there was enough. In the child.
std::string runInRoom(Work& work, const std::string& path, const std::function<void()>& narrow,
                      const std::function<void()>& widen) {
  writeBytes(path, work.bytes());
  work.prepare(path);
  narrow();
  const Answer cramped = work.run(path);
  std::string words;
  if (!cramped.done) {
    words = wordsOf(cramped.error);
    expect(words.find("full") != std::string::npos, "these words do not tell: " + words);
    const auto reader = openDocument(path, OpenMode::ReadOnly, world().environment);
    expect(reader != nullptr, "a reader finds no document");
    const std::string found = difference(sample().dump, dumpOf(*reader));
    expect(found.empty(), "not the old state: " + found);
  }
  widen();
  if (!cramped.done) {
    const Answer again = work.run(path);
    expect(again.done, "with room it is refused: " +
                           (again.error ? again.error->localizedDescription() : "no words"));
  }
  work.leave();
  expect(work.ending(path) == Ending::New, "with room it is not done");
  return words;
}

void count(Table& table, const std::string& fault, const std::string& words) {
  table.count(fault, words.empty() ? Ending::New : Ending::Old, words);
}

[[noreturn]] void tell(const Work& work, std::size_t room, const std::exception& broken) {
  throw Broken("disk full while " + std::string(work.name()) + ", " + std::to_string(room) +
               " bytes: " + broken.what());
}

void fillWhile(Table& table, Work& work, std::size_t stride) {
  const Folder folder;
  for (std::size_t room = 0;; room += kStep * stride) {
    folder.clear();
    try {
      const auto words = inChild([&] {
        return runInRoom(
            work, folder / "firm", [&] { limitFiles(room); }, [] { limitFiles(std::nullopt); });
      });
      count(table, std::string("files limited while ") + work.name(), words.value());
      if (words->empty()) return;
    } catch (const std::exception& broken) {
      tell(work, room, broken);
    }
  }
}

bool mountSmallDisk(const std::string& path) {
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("tmpfs", path.c_str(), "tmpfs", 0, "size=16m") == 0;
}

// Leaves so many bytes.
void fill(const std::string& path, std::size_t room) {
  const auto free = std::filesystem::space(Folder::of(path)).available;
  if (free <= room) return;
  const int file = ::open(path.c_str(), O_CREAT | O_WRONLY, 0600);
  expect(file >= 0 && ::posix_fallocate(file, 0, static_cast<off_t>(free - room)) == 0,
         "a disk can be filled");
  ::close(file);
}

}  // namespace

void fillDisk(Table& table, std::size_t stride) {
  for (const auto& work : works()) fillWhile(table, *work, stride);
}

void fillRealDisk(Table& table) {
  const Folder folder;
  const std::string mounted =
      inChild([&] { return mountSmallDisk(folder.path()) ? "yes" : "no"; }).value();
  for (const auto& work : works()) {
    const std::string fault = std::string("disk full while ") + work->name();
    if (mounted != "yes") {
      table.remark(fault, "not tried: no disk may be mounted here");
      continue;
    }
    for (std::size_t room = 0;; room += kStep) try {
        const auto words = inChild([&] {
          expect(mountSmallDisk(folder.path()), "a disk is mounted");
          return runInRoom(
              *work, folder / "firm", [&] { fill(folder / "filler", room); },
              [&] { std::filesystem::remove(folder / "filler"); });
        });
        count(table, fault, words.value());
        if (words->empty()) break;
      } catch (const std::exception& broken) {
        tell(*work, room, broken);
      }
  }
}

}  // namespace bokfolio::faults
