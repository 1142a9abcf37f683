#include "tests/simulation/replay.hpp"

#include <algorithm>

#include "tests/simulation/life.hpp"

namespace bokfolio::simulation {

namespace {

class Shrinker {
 public:
  Shrinker(Script script, const std::function<bool(const Script&)>& fails, std::size_t attempts)
      : script_(std::move(script)), fails_(fails), attempts_(attempts) {}

  Script run() {
    for (std::size_t size = std::max<std::size_t>(script_.steps.size() / 2, 1);; size /= 2) {
      // Once more with the same size while that helps and the pieces are small.
      while (leaveOut(size) && size == 1) {
      }
      if (size == 1) break;
    }
    if (script_.sqlite) attempt({false, script_.steps});
    for (std::size_t i = 0; i < script_.steps.size(); ++i) makeSmall(i);
    return script_;
  }

 private:
  bool attempt(Script candidate) {
    if (attempts_ == 0) return false;
    --attempts_;
    if (!fails_(candidate)) return false;
    script_ = std::move(candidate);
    return true;
  }
  // From the end, where what came after the failure falls at once.
  bool leaveOut(std::size_t size) {
    bool shorter = false;
    for (std::size_t end = script_.steps.size(); end > 0;) {
      const std::size_t begin = end > size ? end - size : 0;
      Script candidate = script_;
      const auto at = candidate.steps.begin();
      candidate.steps.erase(at + static_cast<std::ptrdiff_t>(begin),
                            at + static_cast<std::ptrdiff_t>(end));
      shorter = attempt(std::move(candidate)) || shorter;
      end = std::min(begin, script_.steps.size());
    }
    return shorter;
  }
  void makeSmall(std::size_t step) {
    for (std::size_t i = 0; i < script_.steps[step].arguments.size(); ++i) {
      for (const unsigned value : {0U, 1U, 2U, 10U}) {
        if (script_.steps[step][i] <= value) break;
        Script candidate = script_;
        candidate.steps[step].arguments[i] = value;
        if (attempt(std::move(candidate))) break;
      }
    }
  }

  Script script_;
  const std::function<bool(const Script&)>& fails_;
  std::size_t attempts_;
};

}  // namespace

std::optional<Failure> live(const Script& script) {
  std::size_t step = 0;
  try {
    Life life(script.sqlite);
    for (; step < script.steps.size(); ++step) life.take(script.steps[step]);
    life.finish();
  } catch (const std::exception& failed) {
    return Failure{step, failed.what()};
  }
  return std::nullopt;
}

Script shrink(Script script, const std::function<bool(const Script&)>& fails,
              std::size_t attempts) {
  return Shrinker(std::move(script), fails, attempts).run();
}

std::string report(std::uint64_t seed, const Script& script, const Failure& failure) {
  Script failing = script;
  failing.steps.resize(std::min(failing.steps.size(), failure.step + 1));
  const Script shortest =
      shrink(failing, [](const Script& candidate) { return live(candidate).has_value(); });
  const auto shortestFailure = live(shortest);
  return "seed " + std::to_string(seed) + ", step " + std::to_string(failure.step) + " of " +
         std::to_string(script.steps.size()) + ": " + failure.reason +
         "\n---- a case for tests/simulation/cases ----\n# " +
         (shortestFailure ? shortestFailure->reason : failure.reason) + '\n' + textOf(shortest) +
         "---- end ----";
}

}  // namespace bokfolio::simulation
