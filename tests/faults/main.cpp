// bokfolio_faults: every fault in turn, and a table of what became of each. The first broken
// promise ends it, with the scenario and the seed that show it again.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string_view>

#include "tests/faults/firm.hpp"
#include "tests/faults/scenarios.hpp"

namespace {

using namespace bokfolio::faults;
using enum bokfolio::PersistenceError;

struct Options {
  std::uint64_t kills = 1000;
  std::uint64_t flips = 3000;
  std::uint64_t seed = 1;
  bool markdown = false;
};

constexpr const char* kUsage =
    "usage: bokfolio_faults [--kills N] [--flips N] [--seed S] [--markdown]\n"
    "  --kills     so many processes die (1000)\n"
    "  --flips     so many documents have one byte changed (3000)\n"
    "  --seed      of the moments, the places and the bytes (1)\n"
    "  --markdown  writes the table as docs/faults.md has it\n";

bool readOptions(int count, char** words, Options& options) {
  for (int i = 1; i < count; ++i) {
    const std::string_view name = words[i];
    if (name == "--markdown") {
      options.markdown = true;
      continue;
    }
    if (++i == count) return false;
    std::uint64_t* number = name == "--kills"   ? &options.kills
                            : name == "--flips" ? &options.flips
                            : name == "--seed"  ? &options.seed
                                                : nullptr;
    if (number == nullptr) return false;
    *number = std::strtoull(words[i], nullptr, 10);
  }
  return true;
}

void failAllCalls(Table& table) {
  for (const Operation& each : operations()) {
    failEngineCalls(table, Engine::Memory, each, {Failed, Full, Damaged, InUse, Stale, ReadOnly});
    failEngineCalls(table, Engine::Sqlite, each, {Failed, Full, Damaged});
  }
}

void run(const Options& options, Table& table) {
  const std::pair<const char*, std::function<void()>> parts[] = {
      {"calls of the engine fail", [&] { failAllCalls(table); }},
      {"processes are killed", [&] { kill(table, options.seed, options.kills); }},
      {"files may not grow", [&] { fillDisk(table, 1); }},
      {"a disk is full", [&] { fillRealDisk(table); }},
      {"journals are torn", [&] { meetJournals(table, options.seed, 100); }},
      {"files are strange", [&] { meetStrangeFiles(table); }},
      {"documents are damaged", [&] { damage(table, options.seed, options.flips, 400); }},
  };
  for (const auto& [name, part] : parts) {
    std::fprintf(stderr, "faults: %s\n", name);
    part();
  }
}

}  // namespace

int main(int count, char** words) {
  Options options;
  if (!readOptions(count, words, options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  Table table;
  std::string end = "seed " + std::to_string(options.seed);
  bool kept = true;
  try {
    run(options, table);
  } catch (const std::exception& broken) {
    kept = false;
    end += std::string(": ") + broken.what();
  }
  std::printf("%s\n%s\n", table.text(options.markdown).c_str(), end.c_str());
  return kept ? 0 : 1;
}
