#include "bokfolio/platform/attributed_text.hpp"

#include <stdexcept>
#include <utility>

namespace bokfolio {

namespace {

bool isInsideCharacter(const std::string& text, std::size_t position) {
  constexpr unsigned kContinuationMask = 0xC0;
  constexpr unsigned kContinuation = 0x80;
  return position < text.size() &&
         (static_cast<unsigned char>(text[position]) & kContinuationMask) == kContinuation;
}

}  // namespace

AttributedText::AttributedText(std::string_view text, const TextAttributes& attributes) {
  append(text, attributes);
}

const TextAttributes& AttributedText::attributesAt(std::size_t position) const {
  std::size_t end = 0;
  for (const Run& run : runs_) {
    end += run.length;
    if (position < end) return run.attributes;
  }
  throw std::out_of_range("no attributes at position " + std::to_string(position) +
                          " of a text of " + std::to_string(text_.size()) + " bytes");
}

void AttributedText::insert(std::size_t position, std::string_view text,
                            const TextAttributes& attributes) {
  if (position > text_.size() || isInsideCharacter(text_, position))
    throw std::out_of_range("cannot insert at position " + std::to_string(position) +
                            " of a text of " + std::to_string(text_.size()) + " bytes");
  if (text.empty()) return;
  Run run{text.size(), attributes};
  text_.insert(position, text);
  const auto index = static_cast<std::ptrdiff_t>(divideAt(position));
  runs_.insert(runs_.begin() + index, std::move(run));
  joinEqualRuns();
}

std::size_t AttributedText::divideAt(std::size_t position) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < runs_.size(); ++i) {
    if (begin == position) return i;
    const std::size_t end = begin + runs_[i].length;
    if (position < end) {
      const Run rest{end - position, runs_[i].attributes};
      runs_[i].length = position - begin;
      runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(i) + 1, rest);
      return i + 1;
    }
    begin = end;
  }
  return runs_.size();
}

void AttributedText::joinEqualRuns() {
  std::vector<Run> joined;
  for (Run& run : runs_) {
    if (!joined.empty() && joined.back().attributes == run.attributes) {
      joined.back().length += run.length;
    } else {
      joined.push_back(std::move(run));
    }
  }
  runs_ = std::move(joined);
}

}  // namespace bokfolio
