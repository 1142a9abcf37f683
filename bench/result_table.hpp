// The one table that a run of the benchmarks writes: a line for each work at each size, with its
// floor and ratio, how time grows with size, and whether what was to be reached is reached.
#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "bench/works.hpp"

namespace bokfolio::bench {

class ResultTable {
 public:
  // The sizes of one work in ascending order, one after the other; no outcome for one that failed.
  void add(const Work& work, std::size_t size, const std::optional<Outcome>& outcome);

  // Aligned columns for a terminal, or a table in Markdown.
  void print(std::ostream& out, bool markdown) const;

 private:
  struct Line {
    const Work* work = nullptr;
    std::size_t size = 0;
    std::optional<Outcome> outcome;
  };
  using Cells = std::vector<std::string>;

  Cells cellsOf(std::size_t at) const;
  const Outcome* outcomeOf(const Work& work, std::size_t size) const;
  // The figure that a goal limits; nothing when something that it needs was not measured.
  std::optional<double> figureOf(const Line& line, const Goal& goal) const;
  // The slope of log time over log size, on the last line of a work of several sizes.
  std::optional<double> growthUpTo(std::size_t at) const;
  std::string summary() const;

  std::vector<Line> lines_;
};

// 1000000 as "1 000 000".
std::string grouped(std::size_t number);

}  // namespace bokfolio::bench
