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

class Ground {
 public:
  std::string path = folder_ / "firm";

  void lay(const Work& work) const {
    folder_.clear();
    writeBytes(path, work.bytes());
  }
  std::size_t strays() const {
    std::size_t found = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder_.path()))
      if (file.path().filename().string().starts_with(".bokfolio-new-")) ++found;
    return found;
  }

 private:
  Folder folder_;
};

Length measure(const Ground& ground, Work& work) {
  Length length;
  for (int round = 0; round < 3; ++round) {
    ground.lay(work);
    const auto said = inChild([&] {
      work.prepare(ground.path);
      return std::to_string(
          microsecondsOf([&] { expect(work.run(ground.path).done, "a work succeeds"); }));
    });
    length.microseconds = std::max(length.microseconds, std::stol(said.value()));
  }
  ground.lay(work);
  const auto said = inChild([&] {
    constexpr int kNever = 1'000'000;
    FaultyVfs vfs;
    work.prepare(ground.path);
    vfs.set(FaultyVfs::Trap::Die, kNever);
    expect(work.run(ground.path).done, "a work succeeds");
    return std::to_string(kNever - vfs.left());
  });
  length.operations = std::stoi(said.value());
  return length;
}

// Half of the processes die after some time, half before some operation on a file.
bool runAndDie(const Ground& ground, Work& work, const Length& length, std::mt19937_64& random) {
  const bool timed = random() % 2 == 0;
  const long moment =
      static_cast<long>(random() % static_cast<std::uint64_t>(length.microseconds * 11 / 10));
  const int operation =
      static_cast<int>(random() % static_cast<std::uint64_t>(length.operations)) + 1;
  ground.lay(work);
  const auto said = inChild([&]() -> std::string {
    std::optional<FaultyVfs> vfs;
    if (!timed) vfs.emplace();
    work.prepare(ground.path);
    timed ? killMeAfter(moment) : vfs->set(FaultyVfs::Trap::Die, operation);
    expect(work.run(ground.path).done, "a work succeeds");
    return "done";
  });
  return !said.has_value();
}

struct Deaths {
  std::size_t killed = 0;
  std::size_t healed = 0;
  std::size_t strays = 0;
};

void killOne(Table& table, const Ground& ground, Work& work, const Length& length,
             std::mt19937_64& random, Deaths& deaths) {
  if (runAndDie(ground, work, length, random)) ++deaths.killed;
  const std::string fault = std::string("killed while ") + work.name();
  if (hasHotJournal(ground.path)) ++deaths.healed;
  deaths.strays += ground.strays();
  const Ending found = work.ending(ground.path);
  table.count(fault, found);
  table.remark(fault, std::to_string(deaths.killed) + " killed before the end, " +
                          std::to_string(deaths.healed) + " healed by their journal, " +
                          std::to_string(deaths.strays) + " unfinished files left");
  if (found == Ending::New) return;
  work.prepare(ground.path);
  const Answer again = work.run(ground.path);
  work.leave();
  expect(again.done, "the same again is refused: " +
                         (again.error ? again.error->localizedDescription() : "no words"));
  expect(work.ending(ground.path) == Ending::New, "the same again is not done");
}

}  // namespace

void kill(Table& table, std::uint64_t seed, std::uint64_t kills) {
  const Ground ground;
  std::map<std::string, Length> lengths;
  std::map<std::string, Deaths> deaths;
  for (const auto& work : works()) lengths[work->name()] = measure(ground, *work);
  for (std::uint64_t number = 0; number < kills; ++number) {
    std::mt19937_64 random(seed + number);
    Work& work = *works()[(seed + number) % works().size()];
    try {
      killOne(table, ground, work, lengths[work.name()], random, deaths[work.name()]);
    } catch (const std::exception& broken) {
      throw Broken("killed while " + std::string(work.name()) + ", --kills 1 --seed " +
                   std::to_string(seed + number) + ": " + broken.what());
    }
  }
}

}  // namespace bokfolio::faults
