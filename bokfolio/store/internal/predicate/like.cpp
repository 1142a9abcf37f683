#include "bokfolio/store/internal/predicate/like.hpp"

#include <unicode/unistr.h>

#include <algorithm>
#include <string>

namespace bokfolio::predicate {

namespace {

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char32_t lower(char32_t c) { return c >= U'A' && c <= U'Z' ? c + (U'a' - U'A') : c; }

std::u32string read(std::string_view text, bool fold) {
  auto wide = icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
  if (fold) wide.foldCase();
  std::u32string units;
  units.reserve(static_cast<std::size_t>(wide.length()));
  for (std::int32_t at = 0; at < wide.length(); at = wide.moveIndex32(at, 1)) {
    units.push_back(static_cast<char32_t>(wide.char32At(at)));
  }
  return units;
}

struct AsciiText {
  std::string_view text;
  bool fold;

  std::size_t size() const { return text.size(); }
  char32_t at(std::size_t place) const {
    const auto c = static_cast<char32_t>(static_cast<unsigned char>(text[place]));
    return fold ? lower(c) : c;
  }
};

struct WideText {
  std::u32string_view text;

  std::size_t size() const { return text.size(); }
  char32_t at(std::size_t place) const { return text[place]; }
};

std::vector<std::size_t> bordersOf(const std::u32string& units) {
  std::vector<std::size_t> borders(units.size());
  for (std::size_t at = 1, matched = 0; at < units.size(); ++at) {
    while (matched > 0 && units[at] != units[matched]) matched = borders[matched - 1];
    if (units[at] == units[matched]) ++matched;
    borders[at] = matched;
  }
  return borders;
}

}  // namespace

LikePattern::LikePattern(std::string_view pattern, bool anyCase) : anyCase_(anyCase) {
  readRuns(read(pattern, anyCase));
  for (std::size_t at = 0; at < runs_.size(); ++at) {
    LikeRun& run = runs_[at];
    const auto any = std::count(run.units.begin(), run.units.end(), kAnyOne);
    if (any == 0) {
      run.borders = bordersOf(run.units);
    } else if (at > 0 && at + 1 < runs_.size() && run.units.size() > kMaximumMixedRun &&
               static_cast<std::size_t>(any) < run.units.size()) {
      isTooLong_ = true;
    }
  }
}

void LikePattern::readRuns(std::u32string_view pattern) {
  runs_.emplace_back();
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    char32_t unit = pattern[at];
    if (unit == U'*') {
      // Several '*' are one: no run between the first and the last is empty.
      if (runs_.size() == 1 || !runs_.back().units.empty()) runs_.emplace_back();
      continue;
    }
    if (unit == U'\\' && at + 1 < pattern.size()) {
      unit = pattern[++at];
    } else if (unit == U'?') {
      unit = kAnyOne;
    }
    runs_.back().units.push_back(unit);
  }
}

bool LikePattern::matches(std::string_view text) const {
  if (isTooLong_) return false;
  if (isAscii(text)) return matchesRuns(runs_, AsciiText{text, anyCase_});
  return matchesRuns(runs_, WideText{read(text, anyCase_)});
}

}  // namespace bokfolio::predicate
