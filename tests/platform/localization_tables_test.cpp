// The shipped texts against the code that asks for them: a key that the sources name must be in the
// table of every language, and translations of a format must take the same arguments in the same
// order.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "bokfolio/platform/internal/text_table.hpp"

namespace bokfolio {
namespace {

namespace fs = std::filesystem;

const fs::path kSources = BOKFOLIO_SOURCE_DIR;
const fs::path kTables = kSources / "resources" / "localization";

std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TextTable table(const fs::path& file) { return parseTextTable(contents(file)); }

// "%@" is position 1, 2, ... in turn, "%2$@" position 2; the result is in order of appearance.
std::vector<int> placeholders(const std::string& text) {
  std::vector<int> positions;
  int next = 1;
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at)) {
    ++at;
    std::size_t digits = 0;
    while (at + digits < text.size() &&
           std::isdigit(static_cast<unsigned char>(text[at + digits]))) {
      ++digits;
    }
    if (text.compare(at, 1, "@") == 0) positions.push_back(next++);
    if (digits > 0 && text.compare(at + digits, 2, "$@") == 0) {
      positions.push_back(std::stoi(text.substr(at, digits)));
    }
    if (text.compare(at, 1, "%") == 0) ++at;
  }
  return positions;
}

// Takes a quoted C++ string from `at`; "" when none begins there. Escapes but \" are not used in
// keys.
std::string quotedAt(const std::string& code, std::size_t& at) {
  at = std::min(code.find_first_not_of(" \n", at), code.size());
  if (at == code.size() || code[at] != '"') return "";
  const std::size_t end = code.find('"', at + 1);
  std::string text = code.substr(at + 1, end - at - 1);
  at = end + 1;
  return text;
}

// Keys with their table, from calls such as `environment.text("key", "table")` and
// `localized("key")` in the library. Hosts have words of their own.
std::set<std::pair<std::string, std::string>> keysInCode() {
  std::set<std::pair<std::string, std::string>> keys;
  for (const auto& file : fs::recursive_directory_iterator(kSources / "bokfolio")) {
    if (file.path().extension() != ".cpp" && file.path().extension() != ".hpp") continue;
    const std::string code = contents(file.path());
    for (const std::string call : {".text(", "->text(", "localized("}) {
      for (std::size_t at = code.find(call); at != std::string::npos; at = code.find(call, at)) {
        at += call.size();
        std::string key = quotedAt(code, at);
        if (key.empty()) continue;
        std::string name = "default";
        if (code.compare(at, 1, ",") == 0) {
          std::size_t second = at + 1;
          if (const std::string given = quotedAt(code, second); !given.empty()) name = given;
        }
        keys.emplace(std::move(key), std::move(name));
      }
    }
  }
  return keys;
}

TEST(LocalizationTables, LanguagesHaveTheSameKeysAndArguments) {
  for (const auto& file : fs::directory_iterator(kTables / "en")) {
    const TextTable english = table(file.path());
    EXPECT_TRUE(english.problems.empty()) << file.path() << ' ' << english.problems.front();
    for (const auto& language : fs::directory_iterator(kTables)) {
      const TextTable other = table(language.path() / file.path().filename());
      EXPECT_TRUE(other.problems.empty()) << language.path() << ' ' << other.problems.front();
      EXPECT_EQ(other.texts.size(), english.texts.size()) << language.path();
      for (const auto& [key, text] : english.texts) {
        const auto found = other.texts.find(key);
        ASSERT_NE(found, other.texts.end()) << language.path() << " lacks \"" << key << '"';
        EXPECT_EQ(placeholders(found->second), placeholders(text)) << language.path() << ' ' << key;
      }
    }
  }
}

TEST(LocalizationTables, HaveEveryKeyThatTheCodeNames) {
  for (const auto& [key, name] : keysInCode()) {
    EXPECT_TRUE(table(kTables / "en" / (name + ".texts")).texts.contains(key))
        << "table \"" << name << "\" lacks \"" << key << '"';
  }
}

TEST(LocalizationTables, FormatsHoldWhatTheLibraryPutsIn) {
  for (const auto& language : fs::directory_iterator(kTables)) {
    const TextTable texts = table(language.path() / "default.texts");
    std::set<std::string> names;
    for (const char* key : {"Sent invoice", "Paid invoice", "Partially paid invoice",
                            "Customer loss entry", "Returned invoice entry"}) {
      EXPECT_EQ(placeholders(texts.texts.at(key)), std::vector<int>{1}) << key;
      EXPECT_TRUE(names.insert(texts.texts.at(key)).second) << "another entry is named so: " << key;
    }
    EXPECT_EQ(placeholders(texts.texts.at("Record of change")), (std::vector<int>{1, 2}));
    for (const char* key : {"Invalid debit/credit for row", "Invalid account for row"}) {
      EXPECT_EQ(placeholders(texts.texts.at(key)), std::vector<int>{1}) << key;
    }
    // Names of articles are compared with it over exactly so many characters (ASCII, so bytes).
    EXPECT_EQ(texts.texts.at("localized dependent tax").size(), 11U) << language.path();
  }
}

}  // namespace
}  // namespace bokfolio
