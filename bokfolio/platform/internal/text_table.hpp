// The reader of localisation tables. It takes any bytes and never fails: what it cannot read it
// reports and leaves out.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace bokfolio {

struct TextTable {
  std::map<std::string, std::string, std::less<>> texts;
  std::vector<std::string> problems;  // "line 3: ..."

  static constexpr std::size_t kMaximumBytes = std::size_t{1} << 20;
};

TextTable parseTextTable(std::string_view bytes);

}  // namespace bokfolio
