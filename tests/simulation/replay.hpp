// Replay: lives a script, says what went wrong where, and cuts a failing script down to the few
// steps that still fail.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tests/simulation/step.hpp"

namespace bokfolio::simulation {

struct Failure {
  std::size_t step = 0;  // index of the step; the number of steps when the final check failed
  std::string reason;
};

// Runs the script from a new document. nullopt when all agrees to the end.
std::optional<Failure> live(const Script& script);
// The same in a process of its own, so that one that dies is a failure like any other.
std::optional<Failure> liveApart(const Script& script);

// The shortest script that still fails: steps are left out, many at a time and then one by one, and
// numbers made small, at most so many attempts.
Script shrink(Script script, const std::function<bool(const Script&)>& fails,
              std::size_t attempts = 2000);

// What a person needs: the reason, the seed, the shortest list of steps as a case to keep.
std::string report(std::uint64_t seed, const Script& script, const Failure& failure);

}  // namespace bokfolio::simulation
