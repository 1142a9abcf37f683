#include "bokfolio/store/persistence/internal/sql/table.hpp"

#include <algorithm>
#include <set>
#include <string_view>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/internal/saved_questions.hpp"

namespace bokfolio::internal {

namespace {

char small(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string folded(std::string_view name) {
  std::string result(name);
  std::transform(result.begin(), result.end(), result.begin(), small);
  return result;
}

void take(std::set<std::string>& taken, const std::string& name, const std::string& shown) {
  const std::string key = folded(name);
  if (!isReservedName(key) && taken.insert(key).second) return;
  throw Failure{PersistenceError::Refused,
                "The name of " + shown + " is reserved or taken in a document."};
}

void addIndex(SqlTable& table, std::vector<std::string> columns) {
  std::string name = table.name;
  for (const std::string& column : columns) name += "." + column;
  const bool taken = std::any_of(table.indexes.begin(), table.indexes.end(),
                                 [&](const SqlIndex& index) { return index.name == name; });
  if (!taken) table.indexes.push_back({std::move(name), std::move(columns)});
}

}  // namespace

bool isSameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return small(x) == small(y); });
}

bool isReservedName(std::string_view name) {
  const auto begins = [&](std::string_view prefix) {
    return isSameName(name.substr(0, prefix.size()), prefix);
  };
  return name.empty() || name.find('\0') != std::string_view::npos || begins("sqlite_") ||
         begins("bokfolio_");
}

const SqlColumn* SqlTable::column(std::uint16_t ordinal) const {
  for (const SqlColumn& column : columns)
    if (column.ordinal == ordinal) return &column;
  return nullptr;
}

SqlTable sqlTable(const Entity& entity) {
  SqlTable table;
  table.name = entity.name();
  for (const Property& property : entity.properties()) {
    if (!property.persistent()) continue;
    SqlColumn column;
    column.name = property.name();
    column.kind = property.kind();
    column.ordinal = property.ordinal();
    if (property.isToOne()) {
      column.target = property.target().name();
      if (property.inverse().persistent()) column.inverse = property.inverse().name();
    }
    table.columns.push_back(std::move(column));
  }
  for (const SqlColumn& column : table.columns)
    if (column.kind == PropertyKind::ToOne) addIndex(table, {column.name});
  for (const IndexLayout& index : entity.indexes()) {
    std::vector<std::string> columns;
    for (const Property* property : index.properties) columns.push_back(property->name());
    addIndex(table, std::move(columns));
  }
  if (const KeptSumLayout* sum = entity.keptSum()) {
    table.sums = {keptSumText(*sum), sum->owner->target().name(), sum->mark->target().name(),
                  sum->period->target().name()};
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
