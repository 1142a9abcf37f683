#include "bench/result_table.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace bokfolio::bench {

namespace {

const std::vector<std::string> kHeads = {"Work",  "Size",  "Time",   "CPU",      "Peak memory",
                                         "Floor", "Ratio", "Growth", "To reach", "Reached"};
// CPU time is shown where it differs from the wall's by more.
constexpr double kSameTime = 0.1;
constexpr double kMegabyte = 1e6;

// Three significant digits, without an exponent.
std::string shortText(double value) {
  int decimals = 2;
  for (double scale = std::fabs(value); scale >= 10 && decimals > 0; scale /= 10) --decimals;
  for (double scale = std::fabs(value); scale < 1 && scale > 0 && decimals < 9; scale *= 10)
    ++decimals;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return text.data();
}

// As short as it was written: limits.
std::string limitText(double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "<= %g", value);
  return text.data();
}

std::string slopeText(double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.2f", value);
  return text.data();
}

std::string timeText(double seconds) {
  if (seconds < 1e-6) return shortText(seconds * 1e9) + " ns";
  if (seconds < 1e-3) return shortText(seconds * 1e6) + " us";
  if (seconds < 1) return shortText(seconds * 1e3) + " ms";
  return shortText(seconds) + " s";
}

std::string valueText(const Work& work, double value) {
  return work.inBytes ? shortText(value) + " B" : timeText(value);
}

std::string megabytes(std::int64_t bytes) {
  return shortText(static_cast<double>(bytes) / kMegabyte) + " MB";
}

std::string goalText(const Goal& goal) {
  const std::string limit = limitText(goal.atMost);
  switch (goal.kind) {
    case Goal::Kind::OfFloor:
      return limit + " x floor";
    case Goal::Kind::OfItself:
      return limit + " x itself at " + grouped(goal.from);
    case Goal::Kind::Megabytes:
      return limit + " MB";
  }
  return limit;
}

void append(std::string& list, const std::string& text) {
  if (!list.empty()) list += "; ";
  list += text;
}

void printLine(std::ostream& out, const std::vector<std::string>& cells,
               const std::vector<std::size_t>& widths, bool markdown) {
  std::string line = markdown ? "|" : "";
  for (std::size_t at = 0; at < cells.size(); ++at) {
    const std::string pad(widths[at] - std::min(widths[at], cells[at].size()), ' ');
    const bool toTheLeft = at == 0 || at + 2 >= cells.size();
    const std::string cell = toTheLeft ? cells[at] + pad : pad + cells[at];
    line += markdown ? " " + cell + " |" : cell + "  ";
  }
  while (!markdown && !line.empty() && line.back() == ' ') line.pop_back();
  out << line << '\n';
}

}  // namespace

std::string grouped(std::size_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) {
    at -= 3;
    text.insert(at, " ");
  }
  return text;
}

void ResultTable::add(const Work& work, std::size_t size, const std::optional<Outcome>& outcome) {
  lines_.push_back({&work, size, outcome});
}

const Outcome* ResultTable::outcomeOf(const Work& work, std::size_t size) const {
  for (const Line& line : lines_) {
    if (line.work == &work && line.size == size && line.outcome) return &*line.outcome;
  }
  return nullptr;
}

std::optional<double> ResultTable::figureOf(const Line& line, const Goal& goal) const {
  if (!line.outcome) return std::nullopt;
  const Outcome& outcome = *line.outcome;
  switch (goal.kind) {
    case Goal::Kind::OfFloor:
      if (!outcome.floor) return std::nullopt;
      return line.work->deciding(outcome.work) / line.work->deciding(*outcome.floor);
    case Goal::Kind::OfItself: {
      const Outcome* smaller = outcomeOf(*line.work, goal.from);
      if (smaller == nullptr) return std::nullopt;
      return line.work->deciding(outcome.work) / line.work->deciding(smaller->work);
    }
    case Goal::Kind::Megabytes:
      return static_cast<double>(outcome.peakResident) / kMegabyte;
  }
  return std::nullopt;
}

std::optional<double> ResultTable::growthUpTo(std::size_t at) const {
  const Line& last = lines_[at];
  if (last.work->inBytes || (at + 1 < lines_.size() && lines_[at + 1].work == last.work))
    return std::nullopt;
  double count = 0;
  double x = 0;
  double y = 0;
  double xx = 0;
  double xy = 0;
  for (const Line& line : lines_) {
    if (line.work != last.work || !line.outcome) continue;
    const double size = std::log(static_cast<double>(line.size));
    const double time = std::log(line.work->deciding(line.outcome->work));
    count += 1;
    x += size;
    y += time;
    xx += size * size;
    xy += size * time;
  }
  if (count < 2) return std::nullopt;
  return (count * xy - x * y) / (count * xx - x * x);
}

ResultTable::Cells ResultTable::cellsOf(std::size_t at) const {
  const Line& line = lines_[at];
  const Work& work = *line.work;
  const bool first = at == 0 || lines_[at - 1].work != &work;
  std::string name;
  if (first) name = work.name + (work.durable ? " *" : "");
  if (first && !work.floor.empty()) name += " [" + work.floor + "]";
  Cells cells = {name, work.sizeUnit.empty() ? "" : grouped(line.size) + " " + work.sizeUnit};
  if (!line.outcome) {
    cells.resize(kHeads.size());
    cells.back() = "FAILED";
    return cells;
  }
  const Outcome& outcome = *line.outcome;
  const double wall = outcome.work.wall;
  const bool same = std::fabs(wall - outcome.work.cpu) <= kSameTime * wall;
  const auto growth = growthUpTo(at);
  cells.push_back(valueText(work, wall));
  cells.push_back(same ? "" : timeText(outcome.work.cpu));
  cells.push_back(megabytes(outcome.peakResident));
  cells.push_back(outcome.floor ? valueText(work, work.deciding(*outcome.floor)) : "");
  cells.push_back(
      outcome.floor ? shortText(work.deciding(outcome.work) / work.deciding(*outcome.floor)) : "");
  cells.push_back(growth ? slopeText(*growth) : "");
  std::string toReach;
  std::string reached;
  for (const Goal& goal : work.goals) {
    if (goal.at != line.size) continue;
    append(toReach, goalText(goal));
    const auto figure = figureOf(line, goal);
    if (!figure) {
      append(reached, "not measured");
    } else {
      append(reached, (*figure <= goal.atMost ? "yes, " : "NO, ") + shortText(*figure));
    }
  }
  cells.push_back(toReach);
  cells.push_back(reached);
  return cells;
}

std::string ResultTable::summary() const {
  std::size_t asked = 0;
  std::size_t reached = 0;
  for (const Line& line : lines_) {
    for (const Goal& goal : line.work->goals) {
      const auto figure = goal.at == line.size ? figureOf(line, goal) : std::nullopt;
      if (!figure) continue;
      ++asked;
      if (*figure <= goal.atMost) ++reached;
    }
  }
  return "Reached: " + std::to_string(reached) + " of " + std::to_string(asked) +
         " that were measured. [floor]; * waits for the disk, so that its times are the device's.";
}

void ResultTable::print(std::ostream& out, bool markdown) const {
  std::vector<Cells> rows = {kHeads};
  for (std::size_t at = 0; at < lines_.size(); ++at) rows.push_back(cellsOf(at));
  std::vector<std::size_t> widths(kHeads.size(), 3);
  for (const Cells& cells : rows) {
    for (std::size_t at = 0; at < cells.size(); ++at)
      widths[at] = std::max(widths[at], cells[at].size());
  }
  for (std::size_t at = 0; at < rows.size(); ++at) {
    printLine(out, rows[at], widths, markdown);
    if (at != 0) continue;
    Cells rule;
    for (std::size_t column = 0; column < widths.size(); ++column) {
      const bool toTheLeft = column == 0 || column + 2 >= widths.size();
      rule.push_back(std::string(widths[column] - 1, '-') + (toTheLeft  ? '-'
                                                             : markdown ? ':'
                                                                        : '-'));
    }
    printLine(out, rule, widths, markdown);
  }
  out << '\n' << summary() << '\n';
}

}  // namespace bokfolio::bench
