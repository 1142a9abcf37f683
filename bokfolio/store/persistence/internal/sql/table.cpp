#include "bokfolio/store/persistence/internal/sql/table.hpp"

#include <set>
#include <string_view>

#include "bokfolio/store/persistence/internal/failure.hpp"

namespace bokfolio::internal {

namespace {

std::string folded(std::string_view name) {
  std::string result(name);
  for (char& letter : result)
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  return result;
}

bool isReserved(const std::string& name) {
  return name.empty() || name.find('\0') != std::string::npos || name.rfind("sqlite_", 0) == 0 ||
         name.rfind("bokfolio_", 0) == 0;
}

void take(std::set<std::string>& taken, const std::string& name, const std::string& shown) {
  const std::string key = folded(name);
  if (!isReserved(key) && taken.insert(key).second) return;
  throw Failure{PersistenceError::Refused,
                "The name of " + shown + " is reserved or taken in a document."};
}

}  // namespace

SqlTable sqlTable(const Entity& entity) {
  SqlTable table;
  table.name = entity.name();
  for (const Property& property : entity.properties()) {
    if (!property.persistent()) continue;
    SqlColumn column;
    column.name = property.name();
    column.kind = property.kind();
    column.ordinal = property.ordinal();
    if (property.isToOne()) column.target = property.target().name();
    table.columns.push_back(std::move(column));
  }
  return table;
}

void checkNames(const std::vector<SqlTable>& tables) {
  std::set<std::string> names;
  for (const SqlTable& table : tables) {
    take(names, table.name, "entity \"" + table.name + "\"");
    std::set<std::string> columns = {"id", "version"};
    for (const SqlColumn& column : table.columns) {
      take(columns, column.name, table.name + "." + column.name);
    }
  }
}

}  // namespace bokfolio::internal
