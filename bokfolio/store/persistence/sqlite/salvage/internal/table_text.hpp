// The description of a table as the file has it, read without running it: only names, types and
// targets are taken from it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bokfolio::internal {

struct DeclaredColumn {
  std::string name;
  std::string type;    // in capitals
  std::string target;  // of a reference
};

struct DeclaredTable {
  std::string name;
  std::vector<DeclaredColumn> columns;  // in the order in which records hold them
};

// nullopt for a text that is no CREATE TABLE, or one of a table that keeps its records in another
// way than those of documents.
std::optional<DeclaredTable> parseTableText(std::string_view text);

}  // namespace bokfolio::internal
