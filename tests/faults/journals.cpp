// What becomes of a save that was broken off, by what became of its journal.
#include <random>

#include "tests/faults/child.hpp"
#include "tests/faults/damage.hpp"
#include "tests/faults/scenarios.hpp"
#include "tests/faults/works.hpp"
#include "tests/store/persistence/faulty_vfs.hpp"

namespace bokfolio::faults {

namespace {

struct Torn {
  std::string bytes;
  std::string journal;
};

// The process that saves the document dies at some moment between the first page that is written
// and the last.
Torn tear(const std::string& before, std::mt19937_64& random) {
  constexpr std::uint64_t kOperations = 160;
  const Work& work = works().front();
  for (;;) {
    const auto operation = static_cast<int>(random() % kOperations) + 1;
    const TemporaryFolder folder;
    Scene scene{folder / "firm", nullptr};
    writeBytes(scene.path, before);
    inChild([&]() -> std::string {
      test::FaultyVfs vfs;
      work.prepare(scene);
      vfs.set(test::FaultyVfs::Trap::Die, operation);
      work.run(scene);
      return "done";
    });
    Torn torn{bytesOf(scene.path), bytesOf(scene.path + "-journal")};
    if (hasHotJournal(scene.path) && torn.bytes != before) return torn;
  }
}

class Journals {
 public:
  Journals(Table& table, std::uint64_t seed) : table_(table), seed_(seed) {
    const TemporaryFolder folder;
    Scene scene{folder / "firm", nullptr};
    writeBytes(scene.path, sample().bytes);
    works().front().prepare(scene);
    expect(works().front().run(scene).done, "the sample is saved");
    after_ = dumpOf(*scene.context);
    scene.context = nullptr;
    later_ = bytesOf(scene.path);
  }

  void meetAll(std::uint64_t round) {
    using enum OpenMode;
    std::mt19937_64 random(seed_ + round);
    const Torn torn = tear(sample().bytes, random);
    const auto some = 1 + random() % torn.journal.size();
    expect(meet("torn save, its journal beside it", torn, ReadWrite) == Ending::Old,
           "a journal does not heal");
    expect(meet("the same, for reading", torn, ReadOnly) == Ending::Refused,
           "a reader takes a torn document");
    expect(meet("torn save, journal cut short", {torn.bytes, torn.journal.substr(0, some)},
                ReadWrite) != Ending::Unseen,
           "what a part of a journal healed was taken for a document");
    expect(meet("torn save, journal lost", {torn.bytes, ""}, ReadWrite) != Ending::Unseen,
           "half a save was taken for a document");
    // The same document, one save later.
    meet("journal of another document", {sample().bytes, tear(later_, random).journal}, ReadWrite);
  }

 private:
  Ending meet(const std::string& fault, const Torn& torn, OpenMode mode) {
    const TemporaryFolder folder;
    writeBytes(folder / "firm", torn.bytes);
    if (!torn.journal.empty()) writeBytes(folder / "firm-journal", torn.journal);
    const Sight seen = look(folder / "firm", mode, after_);
    table_.count(fault, seen.ending, seen.words);
    return seen.ending;
  }

  Table& table_;
  std::uint64_t seed_;
  Dump after_;
  std::string later_;
};

}  // namespace

void meetJournals(Table& table, std::uint64_t seed, std::uint64_t rounds) {
  Journals journals(table, seed);
  for (std::uint64_t round = 0; round < rounds; ++round) {
    try {
      journals.meetAll(round);
    } catch (const std::exception& broken) {
      throw Broken("journals, seed " + std::to_string(seed + round) + ": " + broken.what());
    }
  }
}

}  // namespace bokfolio::faults
