// bokfolio_soak: simulated firms, one after the other, until so many steps are done or somebody
// stops it. Each firm lives with a seed of its own; the first one that does not agree with the
// plain book ends the run with the shortest list of steps that shows it. Or, asked for openings, a
// document opened and closed as often, in each way, and what the process holds meanwhile.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

#include "tests/simulation/openings.hpp"
#include "tests/simulation/operations.hpp"
#include "tests/simulation/replay.hpp"

namespace {

using namespace bokfolio::simulation;

struct Options {
  std::uint64_t steps = 0;  // 0: until stopped
  std::uint64_t seed = 1;
  std::uint64_t life = 600;
  std::uint64_t openings = 0;
  std::string script;
  bool apart = true;
};

constexpr const char* kUsage =
    "usage: bokfolio_soak [--steps N] [--seed S] [--life N] [--case FILE] [--apart 0]\n"
    "       bokfolio_soak --openings N\n"
    "  --steps  so many steps in all; without it, until stopped\n"
    "  --seed   of the first firm; the next one has the next seed\n"
    "  --life   steps of one firm (600)\n"
    "  --apart  0 lets firms live in this process instead of one each\n"
    "  --case   lives the steps of a file instead\n"
    "  --openings  opens and closes a document so often instead, in each of three ways\n";

bool readOptions(int count, char** words, Options& options) {
  for (int i = 1; i < count; i += 2) {
    const std::string_view name = words[i];
    if (i + 1 == count) return false;
    const auto number = std::strtoull(words[i + 1], nullptr, 10);
    if (name == "--steps") {
      options.steps = number;
    } else if (name == "--seed") {
      options.seed = number;
    } else if (name == "--life" && number > 0) {
      options.life = number;
    } else if (name == "--openings" && number > 0) {
      options.openings = number;
    } else if (name == "--apart") {
      options.apart = number != 0;
    } else if (name == "--case") {
      options.script = words[i + 1];
    } else {
      return false;
    }
  }
  return true;
}

int runCase(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    std::fprintf(stderr, "soak: cannot read %s\n", path.c_str());
    return 2;
  }
  const Script script = parseScript({std::istreambuf_iterator<char>(file), {}});
  const auto failure = liveApart(script);
  if (!failure) return std::puts("agrees"), 0;
  const std::string step = failure->step < script.steps.size() ? textOf(script.steps[failure->step])
                                                               : std::string("the final check");
  std::printf("%s: %s\n", step.c_str(), failure->reason.c_str());
  return 1;
}

void tell(const char* way, std::uint64_t done) {
  const Holdings now = holdings();
  std::printf("%-7s %7llu  %9zu bytes allocated  %6zu KiB resident  %3zu descriptors\n", way,
              static_cast<unsigned long long>(done), now.allocated, now.resident / 1024,
              now.descriptors);
  std::fflush(stdout);
}

// The first half warms up what is kept for the process, malloc's own stock of pieces included.
int runOpenings(std::uint64_t count) {
  constexpr std::pair<Opening, const char*> kWays[] = {
      {Opening::Read, "read"}, {Opening::Change, "change"}, {Opening::Create, "create"}};
  int status = 0;
  Openings openings;
  for (const auto& [way, name] : kWays) {
    const std::uint64_t warm = count / 10 + 1;
    for (std::uint64_t round = 0; round < warm; ++round) openings.take(way);
    tell(name, 0);
    Holdings before = holdings();
    for (std::uint64_t round = 1; round <= count; ++round) {
      openings.take(way);
      if (round == count / 2) before = holdings();
      if (round % (count / 4 + 1) == 0 || round == count) tell(name, round);
    }
    const Holdings after = holdings();
    const bool leaks = after.allocated > before.allocated + count / 2 * 16;
    if (leaks || after.descriptors != before.descriptors) status = 1;
  }
  std::puts(status == 0 ? "nothing is left behind" : "something is left behind");
  return status;
}

int run(const Options& options) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  std::uint64_t done = 0;
  std::uint64_t told = 0;
  for (std::uint64_t seed = options.seed; options.steps == 0 || done < options.steps; ++seed) {
    const Script script = generate(seed, options.life);
    if (const auto failure = options.apart ? liveApart(script) : live(script)) {
      std::printf("%s\n", report(seed, script, *failure).c_str());
      return 1;
    }
    done += script.steps.size();
    if (done / 10'000 == told) continue;
    told = done / 10'000;
    const std::chrono::duration<double> spent = Clock::now() - start;
    std::printf("%llu steps, %llu firms, %.0f steps/s\n", static_cast<unsigned long long>(done),
                static_cast<unsigned long long>(seed - options.seed + 1),
                static_cast<double>(done) / spent.count());
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace

int main(int count, char** words) {
  Options options;
  if (!readOptions(count, words, options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  try {
    if (options.openings > 0) return runOpenings(options.openings);
    return options.script.empty() ? run(options) : runCase(options.script);
  } catch (const std::exception& failed) {
    std::fprintf(stderr, "soak: %s\n", failed.what());
    return 2;
  }
}
