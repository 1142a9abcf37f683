// LikePattern: the right side of LIKE, read once. '*' stands for any run of characters, '?' for one
// character, '\' makes the next character stand for itself. In any case, both sides are folded as
// Unicode says (ß equals SS, å equals Å) and '?' is one character of the folded text. Without [c]
// the characters must be the same.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "bokfolio/store/internal/predicate/like_search.hpp"

namespace bokfolio::predicate {

// Between two '*', characters and '?' mixed, no more than so many are looked for.
inline constexpr std::size_t kMaximumMixedRun = 1000;

class LikePattern {
 public:
  LikePattern(std::string_view pattern, bool anyCase);

  // The whole text must match. Both are UTF-8; what is malformed reads as U+FFFD. Nothing matches a
  // pattern beyond kMaximumMixedRun. Costs in proportion to text and pattern together, times that
  // bound at worst when '?' and characters are mixed between two '*'.
  bool matches(std::string_view text) const;

  const std::vector<LikeRun>& runs() const { return runs_; }

 private:
  void readRuns(std::u32string_view pattern);

  bool anyCase_;
  bool isTooLong_ = false;
  std::vector<LikeRun> runs_;  // at least one
};

}  // namespace bokfolio::predicate
