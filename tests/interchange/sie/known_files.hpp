// Real files of bookkeeping programs, which lie beside a checkout on some machines, and what is
// known of each: counts and sums by column name.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::test {

using KnownFile = std::map<std::string, std::string>;

class KnownSieFiles {
 public:
  explicit KnownSieFiles(const std::filesystem::path& sharedData) : folder_(sharedData / "sie") {}

  // False, the test being skipped or failed with a line, where the files are not.
  bool areHere() const {
    if (std::filesystem::exists(folder_)) return true;
    const char* ci = std::getenv("CI");
    const bool mustBeHere = ci != nullptr && std::string_view(ci) == "true";
    EXPECT_FALSE(mustBeHere) << folder_ << " is missing";
    return false;
  }

  std::vector<KnownFile> all() const {
    std::ifstream in(folder_ / "EXPECTED.csv");
    std::string line;
    std::getline(in, line);
    const auto names = columns(line);
    std::vector<KnownFile> result;
    while (std::getline(in, line)) {
      const auto values = columns(line);
      KnownFile& row = result.emplace_back();
      for (std::size_t i = 0; i < names.size(); ++i)
        row[names[i]] = i < values.size() ? values[i] : "";
    }
    return result;
  }

  std::string contents(const std::string& name) const {
    std::ifstream in(folder_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  // 0.00 and 0 say the same.
  static std::string plain(const std::string& value) {
    const auto number = Decimal::parse(value);
    return number ? number->toString() : value;
  }

 private:
  static std::vector<std::string> columns(const std::string& line) {
    std::vector<std::string> result;
    std::istringstream in(line);
    for (std::string field; std::getline(in, field, ',');) result.push_back(field);
    return result;
  }

  std::filesystem::path folder_;
};

}  // namespace bokfolio::test
