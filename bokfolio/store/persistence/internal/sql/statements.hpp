// The statements that SQL engines live on, as text. What differs between engines is a dialect; what
// every engine binds to a statement is the same, by position:
//   insert   1 id, 2 version, 3... the columns of the table in order
//   update   1 id, 2 the version that must be saved, 3 the new version, 4... the given columns
//   remove   1 id, 2 the version that must be saved
//   select   gives id, version, then the given columns
// Names are quoted and may be anything; values never appear in the text.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/store/persistence/internal/sql/table.hpp"

namespace bokfolio::internal {

struct SqlDialect {
  // By PropertyKind, ToMany left out.
  std::array<std::string_view, 7> types;
  std::string_view identity;      // of the column id
  std::string_view version;       // of the column version
  std::string_view tableOptions;  // after the closing parenthesis
  char parameterMark;             // '?' or '$', before the position

  std::string_view type(PropertyKind kind) const { return types[static_cast<std::size_t>(kind)]; }
};

std::string quoted(std::string_view name);

std::string createTable(const SqlDialect& dialect, const SqlTable& table);
std::string addColumn(const SqlDialect& dialect, const SqlTable& table, const SqlColumn& column);
std::string createIndex(const SqlTable& table, const SqlIndex& index);
// "SELECT id, version" and the columns, to go on from.
std::string selected(const std::vector<SqlColumn>& columns);
// In ascending id.
std::string select(const SqlTable& table, const std::vector<SqlColumn>& columns);
std::string insert(const SqlDialect& dialect, const SqlTable& table);
std::string update(const SqlDialect& dialect, const SqlTable& table,
                   const std::vector<SqlColumn>& columns);
std::string remove(const SqlDialect& dialect, const SqlTable& table);

}  // namespace bokfolio::internal
