// The right side of LIKE against its definition, and what a hostile one costs.
#include "bokfolio/store/internal/predicate/like.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace bokfolio::predicate {
namespace {

// Straight from the definition, for texts of single bytes.
bool isLike(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  if (pattern.front() == '*') {
    return isLike(text, pattern.substr(1)) || (!text.empty() && isLike(text.substr(1), pattern));
  }
  if (text.empty()) return false;
  const bool any = pattern.front() == '?';
  if (pattern.front() == '\\' && pattern.size() > 1) pattern.remove_prefix(1);
  return (any || text.front() == pattern.front()) && isLike(text.substr(1), pattern.substr(1));
}

std::string drawn(std::mt19937& random, std::string_view characters, std::size_t longest) {
  std::string text(random() % (longest + 1), ' ');
  for (char& character : text) character = characters[random() % characters.size()];
  return text;
}

// The same text as wide characters: each 'a' an 'å', on both sides.
std::string widened(std::string_view text) {
  std::string wide;
  for (const char c : text) wide += c == 'a' ? "å" : std::string(1, c);
  return wide;
}

TEST(LikePatternTest, AgreesWithItsDefinition) {
  std::mt19937 random(7);
  int matching = 0;
  for (int round = 0; round < 100'000; ++round) {
    const std::string text = drawn(random, R"(aab*\)", 12);
    const std::string pattern = drawn(random, R"(aabb*?\)", 10);
    const bool expected = isLike(text, pattern);
    matching += expected ? 1 : 0;
    ASSERT_EQ(LikePattern(pattern, false).matches(text), expected) << text << " like " << pattern;
    ASSERT_EQ(LikePattern(widened(pattern), true).matches(widened(text)), expected)
        << widened(text) << " like " << widened(pattern);
  }
  EXPECT_GT(matching, 5'000);
}

struct CountingText {
  std::string_view text;
  mutable std::size_t reads = 0;

  std::size_t size() const { return text.size(); }
  char32_t at(std::size_t place) const {
    ++reads;
    return static_cast<unsigned char>(text[place]);
  }
};

std::string repeated(std::string_view text, std::size_t times) {
  std::string all;
  for (; times > 0; --times) all += text;
  return all;
}

TEST(LikePatternTest, CostsWhatTextAndPatternAreLong) {
  constexpr std::size_t kText = 65'536;
  constexpr std::size_t kPattern = 32'768;
  const std::string text(kText, 'a');
  const std::string half(kPattern, 'a');
  const std::string mixed = repeated("a?", kMaximumMixedRun / 2 - 1);
  struct Case {
    std::string name;
    std::string pattern;
    std::size_t reads;  // at most
    bool matches;
  };
  const Case cases[] = {
      {"one long run", "*" + half + "b*", 2 * kText, false},
      {"its end missing", "*" + half + "b", kText, false},
      {"many short runs", "*" + repeated("ab*", kPattern / 3), 2 * kText, false},
      {"as many runs as there are characters", repeated("*a", kPattern), 2 * kText, true},
      {"nothing but '?'", "*" + std::string(kText - 1, '?') + "*", kText, true},
      {"a long mixed run in front", repeated("a?", kPattern / 2) + "*", kText, true},
      {"mixed runs as long as may be", "*" + mixed + "ab*", kMaximumMixedRun * kText, false},
      {"and one that is longer", "*" + mixed + "aaa*", 0, false},
  };
  for (const Case& each : cases) {
    const LikePattern pattern(each.pattern, false);
    EXPECT_EQ(pattern.matches(text), each.matches) << each.name;
    if (each.reads == 0) continue;
    const CountingText counting{text};
    EXPECT_EQ(matchesRuns(pattern.runs(), counting), each.matches) << each.name;
    EXPECT_LE(counting.reads, each.reads) << each.name;
  }
}

}  // namespace
}  // namespace bokfolio::predicate
