// DamagedSchema: what a damaged file says of its own tables and indexes, as far as it can be read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/persistence/sqlite/salvage/internal/tree_reader.hpp"

namespace bokfolio::internal {

struct SchemaLine {
  std::string type;  // "table", "index"...
  std::string name;
  std::uint32_t root = 0;
  std::string text;
};

class DamagedSchema {
 public:
  DamagedSchema(const PageFile& file, PageClaims& claims, TreeReader& reader);

  // nullptr when there is none, or its line is lost.
  const SchemaLine* find(std::string_view type, std::string_view name) const;
  const std::vector<SchemaLine>& lines() const { return lines_; }
  // Whether no line is lost.
  bool isWhole() const { return whole_; }

 private:
  void take(const TreeRecord& record);
  void readLostLeaves(const PageFile& file, PageClaims& claims, TreeReader& reader);

  std::vector<SchemaLine> lines_;
  bool whole_ = true;
};

}  // namespace bokfolio::internal
