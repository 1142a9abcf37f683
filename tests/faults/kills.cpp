#include <filesystem>
#include <map>
#include <random>

#include "tests/faults/child.hpp"
#include "tests/faults/scenarios.hpp"
#include "tests/faults/works.hpp"
#include "tests/store/persistence/faulty_vfs.hpp"

namespace bokfolio::faults {

namespace {

using test::FaultyVfs;

// How long a work takes and how many operations on files it makes, so that the moment of death lies
// somewhere in it.
struct Length {
  long microseconds = 0;
  int operations = 0;
};

Length measure(const Work& work) {
  constexpr int kNever = 1'000'000;
  Length length;
  for (int round = 0; round < 4; ++round) {
    const TemporaryFolder folder;
    writeBytes(folder / "firm", work.bytes);
    const auto said = inChild([&] {
      std::optional<FaultyVfs> vfs;
      if (round == 0) vfs.emplace();
      Scene scene{folder / "firm", nullptr};
      work.prepare(scene);
      if (round == 0) vfs->set(FaultyVfs::Trap::Die, kNever);
      const long time = microsecondsOf([&] { expect(work.run(scene).done, "a work succeeds"); });
      return std::to_string(round == 0 ? kNever - vfs->left() : time);
    });
    if (round == 0)
      length.operations = std::stoi(said.value());
    else
      length.microseconds = std::max(length.microseconds, std::stol(said.value()));
  }
  return length;
}

// Half of the processes die after some time, half before some operation on a file.
bool runAndDie(const std::string& path, const Work& work, const Length& length,
               std::mt19937_64& random) {
  const bool timed = random() % 2 == 0;
  const auto moment =
      static_cast<long>(random() % static_cast<std::uint64_t>(length.microseconds * 11 / 10 + 1));
  const auto operation =
      static_cast<int>(random() % static_cast<std::uint64_t>(length.operations)) + 1;
  writeBytes(path, work.bytes);
  const auto said = inChild([&]() -> std::string {
    std::optional<FaultyVfs> vfs;
    if (!timed) vfs.emplace();
    Scene scene{path, nullptr};
    work.prepare(scene);
    timed ? killMeAfter(moment) : vfs->set(FaultyVfs::Trap::Die, operation);
    expect(work.run(scene).done, "a work succeeds");
    return "done";
  });
  return !said.has_value();
}

struct Deaths {
  Length length;
  std::size_t killed = 0;
  std::size_t healed = 0;
  std::size_t strays = 0;
};

std::size_t straysIn(const TemporaryFolder& folder) {
  std::size_t found = 0;
  for (const std::string& name : folder.names())
    if (name.starts_with(".bokfolio-new-") && !name.ends_with("-journal")) ++found;
  return found;
}

void killOne(Table& table, const Work& work, std::mt19937_64& random, Deaths& deaths) {
  const TemporaryFolder folder;
  Scene scene{folder / "firm", nullptr};
  if (runAndDie(scene.path, work, deaths.length, random)) ++deaths.killed;
  if (hasHotJournal(scene.path)) ++deaths.healed;
  deaths.strays += straysIn(folder);
  const Ending found = work.ending(scene.path);
  table.count("killed while " + work.name, found);
  table.remark("killed while " + work.name,
               std::to_string(deaths.killed) + " died before the end, " +
                   std::to_string(deaths.healed) + " healed by their journal, " +
                   std::to_string(deaths.strays) + " left an unfinished file");
  if (found == Ending::New) return;
  work.prepare(scene);
  const Answer again = work.run(scene);
  scene.context = nullptr;
  expect(again.done, "the same again is refused: " + again.sentence());
  expect(work.ending(scene.path) == Ending::New, "the same again is not done");
}

}  // namespace

void kill(Table& table, std::uint64_t seed, std::uint64_t kills) {
  std::map<std::string, Deaths> deaths;
  for (const Work& work : works()) deaths[work.name].length = measure(work);
  for (std::uint64_t number = seed; number < seed + kills; ++number) {
    std::mt19937_64 random(number);
    const Work& work = works()[number % works().size()];
    try {
      killOne(table, work, random, deaths[work.name]);
    } catch (const std::exception& broken) {
      throw Broken("killed while " + work.name + ", --kills 1 --seed " + std::to_string(number) +
                   ": " + broken.what());
    }
  }
}

}  // namespace bokfolio::faults
