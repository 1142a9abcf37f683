// How the right side of LIKE is found in a text: the pattern is cut at its '*' into runs; the first
// must begin the text, the last must end it, and those between are found one after the other, each
// at the first place behind the one before. A run of plain characters is found in one pass,
// whatever both look like (Knuth, Morris and Pratt). A run with '?' is tried at each place; its
// length is bounded, so that what a match costs stays in proportion to the text.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bokfolio::predicate {

// '?'; beyond Unicode, so that no character can be taken for it.
inline constexpr char32_t kAnyOne = 0x110000;

struct LikeRun {
  std::u32string units;
  // For each unit, how many of those up to it also begin the run. Empty for a run with '?'.
  std::vector<std::size_t> borders;
};

// `text.at(i)` answers the character at i, `text.size()` the number of them.
template <class Text>
bool isRunAt(const LikeRun& run, const Text& text, std::size_t at) {
  for (std::size_t i = 0; i < run.units.size(); ++i) {
    if (run.units[i] != kAnyOne && run.units[i] != text.at(at + i)) return false;
  }
  return true;
}

// The place behind the first run that begins at `from` or later and ends at `end` or before;
// npos without one.
template <class Text>
std::size_t behindRun(const LikeRun& run, const Text& text, std::size_t from, std::size_t end) {
  const std::u32string& units = run.units;
  if (run.borders.empty()) {
    for (; from + units.size() <= end; ++from) {
      if (isRunAt(run, text, from)) return from + units.size();
    }
    return std::u32string::npos;
  }
  for (std::size_t matched = 0; from < end;) {
    const char32_t character = text.at(from++);
    while (matched > 0 && units[matched] != character) matched = run.borders[matched - 1];
    if (units[matched] == character) ++matched;
    if (matched == units.size()) return from;
  }
  return std::u32string::npos;
}

// One run is a pattern without '*'; otherwise the first and the last may be empty.
template <class Text>
bool matchesRuns(const std::vector<LikeRun>& runs, const Text& text) {
  const LikeRun& first = runs.front();
  const LikeRun& last = runs.back();
  if (runs.size() == 1) return first.units.size() == text.size() && isRunAt(first, text, 0);
  if (first.units.size() + last.units.size() > text.size()) return false;
  const std::size_t end = text.size() - last.units.size();
  if (!isRunAt(first, text, 0) || !isRunAt(last, text, end)) return false;
  std::size_t at = first.units.size();
  for (std::size_t run = 1; run + 1 < runs.size(); ++run) {
    at = behindRun(runs[run], text, at, end);
    if (at == std::u32string::npos) return false;
  }
  return true;
}

}  // namespace bokfolio::predicate
