// Steps: what a simulated firm does, one line of text each ("pay invoice=3 share=40 full=1"), so
// that a life can be written down, cut short, kept as a case and lived again. Numbers choose among
// what is there at that moment, whatever it is; a step for which there is nothing does nothing.
// Therefore any step may be left out of a script and the rest still makes sense.
#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace bokfolio::simulation {

// The library and the plain book do not agree, or a script cannot be read.
class Disagreement : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Step {
  std::size_t operation = 0;  // its place in operations()
  std::array<unsigned, 5> arguments{};

  unsigned operator[](std::size_t index) const { return arguments[index]; }
  friend bool operator==(const Step&, const Step&) = default;
};

struct Script {
  bool sqlite = false;  // otherwise the document is in memory
  std::vector<Step> steps;
};

std::string textOf(const Step& step);
// With a first line that says what kind of document it is.
std::string textOf(const Script& script);
// Empty lines and lines that begin with '#' say nothing. Throws Disagreement, quoting the line.
Script parseScript(const std::string& text);

}  // namespace bokfolio::simulation
