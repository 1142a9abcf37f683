// SqlTable: an entity as SQL engines store it. One table bears the entity's name; its columns are
// id, version and the persistent attributes and to-one relationships by name. How names and kinds
// become text is the dialect's business (internal/sql/statements.hpp).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

struct SqlColumn {
  std::string name;
  PropertyKind kind = PropertyKind::Integer;
  std::string target;  // to-one only: the table referred to
  std::uint16_t ordinal = 0;
};

struct SqlTable {
  std::string name;
  std::vector<SqlColumn> columns;
};

SqlTable sqlTable(const Entity& entity);

// SQL names do not tell capital from small letters, and some are the engine's own: throws Failure
// (Refused) for tables that could not live side by side.
void checkNames(const std::vector<SqlTable>& tables);

}  // namespace bokfolio::internal
