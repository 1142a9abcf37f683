// AttributedText: a text whose parts carry attributes, such as an address block that a host styles
// as it likes. Attributes are names with values; what they mean is for whoever draws the text.
//
// Positions and lengths are bytes of UTF-8 and must lie between characters. A run is the longest
// stretch of text with the same attributes, so two values are equal when they read the same and are
// styled the same, however they were put together.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

using TextAttributes = std::map<std::string, std::string, std::less<>>;

class BOKFOLIO_EXPORT AttributedText {
 public:
  struct Run {
    std::size_t length = 0;
    TextAttributes attributes;
    friend bool operator==(const Run&, const Run&) = default;
  };

  AttributedText() = default;
  explicit AttributedText(std::string_view text, const TextAttributes& attributes = {});

  const std::string& text() const noexcept { return text_; }
  bool empty() const noexcept { return text_.empty(); }
  // In the order of the text; their lengths add up to its own.
  const std::vector<Run>& runs() const noexcept { return runs_; }
  // Of the character at the position. Throws std::out_of_range at or beyond the end: an empty text
  // has attributes nowhere.
  const TextAttributes& attributesAt(std::size_t position) const;

  // Puts text in front of the position; what was there moves on with its attributes. Throws
  // std::out_of_range beyond the end and inside a character.
  void insert(std::size_t position, std::string_view text, const TextAttributes& attributes = {});
  void append(std::string_view text, const TextAttributes& attributes = {}) {
    insert(text_.size(), text, attributes);
  }

  friend bool operator==(const AttributedText&, const AttributedText&) = default;

 private:
  // The index of the run that begins at the position, after dividing the one that spans it.
  std::size_t divideAt(std::size_t position);
  void joinEqualRuns();

  std::string text_;
  std::vector<Run> runs_;
};

}  // namespace bokfolio
