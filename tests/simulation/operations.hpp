// Operations: everything that a simulated firm can do, in one table, with the weight at which it is
// chosen and the range from which each of its numbers is drawn.
#pragma once

#include <string_view>
#include <vector>

#include "tests/simulation/step.hpp"

namespace bokfolio::simulation {

class Life;

struct Argument {
  std::string_view name;
  unsigned bound;  // drawn from 0 to bound - 1
};

struct Operation {
  std::string_view name;
  int weight;
  std::vector<Argument> arguments;
  void (*take)(Life&, const Step&);
};

const std::vector<Operation>& operations();

// A life of so many steps. Each seed prefers some operations and avoids others, so that rare ones
// get their turn.
Script generate(std::uint64_t seed, std::size_t steps);

}  // namespace bokfolio::simulation
