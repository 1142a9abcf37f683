// Every fuzz target over its corpus and over seeded mutations of it, as ordinary tests. What the
// fuzzing programs find becomes a file of the corpus, and is found here from then on.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "tests/fuzz/replay/targets.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace bokfolio::fuzz {
namespace {

using Corpus = std::map<std::string, std::string>;

Corpus corpusOf(const std::string& target) {
  Corpus corpus;
  const std::filesystem::path folder(BOKFOLIO_SOURCE_DIR "/tests/fuzz/corpus/" + target);
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    corpus[file.path().filename().string()] = readBytes(file.path().string());
  }
  return corpus;
}

// A byte or a few changed, taken out, put in or doubled; sometimes the tail of another input. Half
// of the bytes put in come from another input, since most bytes make an input wrong at once.
std::string mutated(std::string text, const std::string& other, std::mt19937& random) {
  const auto byte = [&] {
    return random() % 2 == 0 || other.empty() ? static_cast<char>(random())
                                              : other[random() % other.size()];
  };
  for (auto changes = random() % 3 == 0 ? 1 + random() % 4 : 1; changes > 0; --changes) {
    const std::size_t at = text.empty() ? 0 : random() % text.size();
    const std::size_t length = std::min<std::size_t>(1 + random() % 8, text.size() - at);
    switch (random() % 9) {
      case 0:
      case 5:
        if (!text.empty()) text[at] = byte();
        break;
      case 1:
      case 6:
        text.erase(at, length);
        break;
      case 2:
      case 7:
        text.insert(at, 1, byte());
        break;
      case 3:
      case 4:
        text.insert(at, text.substr(at, length));
        break;
      default:
        text = text.substr(0, at) + other.substr(other.empty() ? 0 : random() % other.size());
    }
  }
  return text;
}

std::string shown(const std::string& input) {
  std::string text;
  for (const char c : input.substr(0, 400)) {
    char code[8];
    std::snprintf(code, sizeof code, c >= ' ' && c <= '~' ? "%c" : "\\x%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(c)));
    text += code;
  }
  return text;
}

void run(const Target& target, const std::string& input, const std::string& name) {
  try {
    target.run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  } catch (const std::exception& fault) {
    ADD_FAILURE() << name << ": " << fault.what() << "\n  input: " << shown(input);
  }
}

// Those that work on files cost many milliseconds each.
std::size_t mutationsOf(const std::string& target) {
  if (target == "command_line") return 20;
  return target == "document" ? 60 : 400;
}

class FuzzTarget : public testing::TestWithParam<Target> {};

TEST_P(FuzzTarget, HoldsOverItsCorpusAndMutationsOfIt) {
  const Target& target = GetParam();
  const Corpus corpus = corpusOf(target.name);
  ASSERT_GE(corpus.size(), 3U);
  for (const auto& [name, input] : corpus) run(target, input, name);
  std::mt19937 random(20091231);
  auto base = corpus.begin();
  for (std::size_t round = mutationsOf(target.name); round > 0; --round) {
    const auto other = std::next(corpus.begin(), static_cast<int>(random() % corpus.size()));
    run(target, mutated(base->second, other->second, random), "mutation of " + base->first);
    if (HasFailure()) return;
    if (++base == corpus.end()) base = corpus.begin();
  }
}

INSTANTIATE_TEST_SUITE_P(Every, FuzzTarget, testing::ValuesIn(targets()),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace bokfolio::fuzz
