#include "tests/simulation/replay.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

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

std::optional<Failure> liveApart(const Script& script) {
  int ends[2];
  if (pipe(ends) != 0) return live(script);
  const pid_t child = fork();
  if (child == 0) {
    const auto failure = live(script);
    const std::string text =
        failure ? std::to_string(failure->step) + ' ' + failure->reason : std::string();
    const bool written = write(ends[1], text.data(), text.size()) >= 0;
    std::_Exit(written ? 0 : 1);
  }
  close(ends[1]);
  std::string text;
  char piece[1024];
  for (ssize_t length; (length = read(ends[0], piece, sizeof piece)) > 0;)
    text.append(piece, static_cast<std::size_t>(length));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status))
    return Failure{script.steps.size(), "died of signal " + std::to_string(WTERMSIG(status))};
  if (text.empty()) return std::nullopt;
  const std::size_t blank = text.find(' ');
  return Failure{std::stoul(text.substr(0, blank)), text.substr(blank + 1)};
}

Script shrink(Script script, const std::function<bool(const Script&)>& fails,
              std::size_t attempts) {
  return Shrinker(std::move(script), fails, attempts).run();
}

std::string report(std::uint64_t seed, const Script& script, const Failure& failure) {
  Script failing = script;
  failing.steps.resize(std::min(failing.steps.size(), failure.step + 1));
  const Script shortest =
      shrink(failing, [](const Script& candidate) { return liveApart(candidate).has_value(); });
  const auto shortestFailure = liveApart(shortest);
  return "seed " + std::to_string(seed) + ", step " + std::to_string(failure.step) + " of " +
         std::to_string(script.steps.size()) + ": " + failure.reason +
         "\n---- a case for tests/simulation/cases ----\n# " +
         (shortestFailure ? shortestFailure->reason : failure.reason) + '\n' + textOf(shortest) +
         "---- end ----";
}

}  // namespace bokfolio::simulation
