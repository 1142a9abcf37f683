#include "bokfolio/store/internal/predicate/like.hpp"

#include <unicode/unistr.h>

#include <algorithm>

namespace bokfolio::predicate {

namespace {

// Beyond Unicode, so that no character can be taken for them.
constexpr char32_t kAnyRun = 0x110000;
constexpr char32_t kAnyOne = 0x110001;

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char32_t lower(char32_t c) { return c >= U'A' && c <= U'Z' ? c + (U'a' - U'A') : c; }

icu::UnicodeString read(std::string_view text, bool fold) {
  auto wide = icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
  if (fold) wide.foldCase();
  return wide;
}

// Characters of a text by position, one after the other.
struct AsciiText {
  std::string_view text;
  bool fold;

  std::size_t size() const { return text.size(); }
  char32_t take(std::size_t& at) const {
    const auto c = static_cast<char32_t>(static_cast<unsigned char>(text[at++]));
    return fold ? lower(c) : c;
  }
};

struct WideText {
  const icu::UnicodeString& text;

  std::size_t size() const { return static_cast<std::size_t>(text.length()); }
  char32_t take(std::size_t& at) const {
    const auto c = static_cast<char32_t>(text.char32At(static_cast<std::int32_t>(at)));
    at += c > 0xFFFF ? 2 : 1;
    return c;
  }
};

// Only the last run needs another try: a match that an earlier one could give, the last one gives.
template <class Text>
bool glob(const std::u32string& pattern, const Text& text) {
  std::size_t at = 0;
  std::size_t unit = 0;
  std::size_t retryAt = 0;
  std::size_t retryUnit = std::u32string::npos;
  while (at < text.size()) {
    if (unit < pattern.size() && pattern[unit] == kAnyRun) {
      retryUnit = ++unit;
      retryAt = at;
      continue;
    }
    std::size_t next = at;
    const char32_t c = text.take(next);
    if (unit < pattern.size() && (pattern[unit] == kAnyOne || pattern[unit] == c)) {
      ++unit;
      at = next;
    } else if (retryUnit != std::u32string::npos) {
      text.take(retryAt);
      at = retryAt;
      unit = retryUnit;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(kAnyRun, unit) == std::u32string::npos;
}

}  // namespace

LikePattern::LikePattern(std::string_view pattern, bool anyCase) : anyCase_(anyCase) {
  const icu::UnicodeString wide = read(pattern, anyCase);
  const WideText text{wide};
  for (std::size_t at = 0; at < text.size();) {
    char32_t unit = text.take(at);
    if (unit == U'\\' && at < text.size()) {
      unit = text.take(at);
    } else if (unit == U'*') {
      unit = kAnyRun;
    } else if (unit == U'?') {
      unit = kAnyOne;
    }
    units_.push_back(unit);
  }
}

bool LikePattern::matches(std::string_view text) const {
  if (isAscii(text)) return glob(units_, AsciiText{text, anyCase_});
  const icu::UnicodeString wide = read(text, anyCase_);
  return glob(units_, WideText{wide});
}

}  // namespace bokfolio::predicate
