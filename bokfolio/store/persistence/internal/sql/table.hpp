// SqlTable: an entity as SQL engines store it. One table bears the entity's name; its columns are
// id, version and the persistent attributes and to-one relationships by name. How names and kinds
// become text is the dialect's business (internal/sql/statements.hpp).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

struct SqlColumn {
  std::string name;
  PropertyKind kind = PropertyKind::Integer;
  std::string target;  // to-one only: the table referred to
  std::uint16_t ordinal = 0;
  std::string inverse = {};  // to-one only: its column that refers back, where it is to-one, too
};

struct SqlIndex {
  std::string name;
  std::vector<std::string> columns;
};

// The sums that are kept of the entity: what they are, and the tables of those they are kept by.
struct SqlSums {
  std::string layout;  // keptSumText()
  std::string owner;
  std::string mark;
  std::string period;
};

struct SqlTable {
  std::string name;
  std::vector<SqlColumn> columns;
  // One on each to-one, which gives its records in order of id, and those that the entity declares.
  std::vector<SqlIndex> indexes = {};
  std::optional<SqlSums> sums = {};

  // nullptr when the property is not stored in the table.
  const SqlColumn* column(std::uint16_t ordinal) const;
};

SqlTable sqlTable(const Entity& entity);

// SQL names do not tell capital from small letters, from A to Z.
bool isSameName(std::string_view a, std::string_view b);
// Whether no entity and no property can have the name: it is empty, or the engine's own.
bool isReservedName(std::string_view name);
// Throws Failure (Refused) for tables that could not live side by side.
void checkNames(const std::vector<SqlTable>& tables);

}  // namespace bokfolio::internal
