// LikePattern: the right side of LIKE, read once. '*' stands for any run of characters, '?' for one
// character, '\' makes the next character stand for itself. In any case, both sides are folded as
// Unicode says (ß equals SS, å equals Å) and '?' is one character of the folded text. Without [c]
// the characters must be the same.
#pragma once

#include <string>
#include <string_view>

namespace bokfolio::predicate {

class LikePattern {
 public:
  LikePattern(std::string_view pattern, bool anyCase);

  // The whole text must match. Both are UTF-8; what is malformed reads as U+FFFD.
  bool matches(std::string_view text) const;

 private:
  bool anyCase_;
  std::u32string units_;
};

}  // namespace bokfolio::predicate
