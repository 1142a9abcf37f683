#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_plan.hpp"

#include <algorithm>
#include <optional>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/table_text.hpp"

namespace bokfolio::internal {

namespace {

// The kind of a column that only the file knows: decimals are texts to it, dates integers.
std::optional<PropertyKind> kindOf(const DeclaredColumn& column) {
  if (column.type == "INTEGER") {
    return column.target.empty() ? PropertyKind::Integer : PropertyKind::ToOne;
  }
  if (column.type == "REAL") return PropertyKind::Double;
  if (column.type == "TEXT") return PropertyKind::String;
  if (column.type == "BLOB") return PropertyKind::Binary;
  return std::nullopt;
}

std::size_t columnNamed(const SqlTable& table, const std::string& name) {
  std::size_t place = 0;
  while (place < table.columns.size() && !isSameName(table.columns[place].name, name)) ++place;
  return place;
}

void checkType(const SqlTable& table, const SqlColumn& column, const DeclaredColumn& declared) {
  const std::string_view wanted = sqliteDialect().type(column.kind);
  if (declared.type == wanted) return;
  throw Failure{PersistenceError::Refused, "The document holds " + table.name + "." + column.name +
                                               " as " + declared.type + ", the model wants " +
                                               std::string(wanted) + "."};
}

// Adds the columns that the table lacks; false when one is of no kind that documents have.
bool fit(PlannedTable& planned, const DeclaredTable& declared) {
  SqlTable& table = planned.table;
  const std::size_t own = table.columns.size();
  for (const DeclaredColumn& column : declared.columns) {
    if (isSameName(column.name, "id")) {
      planned.places.push_back(PlannedTable::kId);
      continue;
    }
    if (isSameName(column.name, "version")) {
      planned.places.push_back(PlannedTable::kVersion);
      continue;
    }
    const std::size_t place = columnNamed(table, column.name);
    planned.places.push_back(place);
    if (place < own) checkType(table, table.columns[place], column);
    if (place < table.columns.size()) continue;
    const auto kind = kindOf(column);
    if (!kind) return false;
    table.columns.push_back({column.name, *kind, column.target, 0});
    if (*kind == PropertyKind::ToOne)
      table.indexes.push_back({table.name + "." + column.name, {column.name}});
  }
  const auto has = [&](std::size_t place) {
    return std::count(planned.places.begin(), planned.places.end(), place) == 1;
  };
  return has(PlannedTable::kId) && has(PlannedTable::kVersion);
}

void fitToModel(PlannedTable& planned) {
  planned.places = {PlannedTable::kId, PlannedTable::kVersion};
  for (std::size_t i = 0; i < planned.table.columns.size(); ++i) planned.places.push_back(i);
}

}  // namespace

SalvagePlan::SalvagePlan(const DamagedSchema& schema, const std::vector<SqlTable>& model) {
  for (const SqlTable& table : model) addModelTable(schema, table);
  for (const SchemaLine& line : schema.lines()) {
    if (isReservedName(line.name) || line.type == "index") continue;
    if (line.type == "table") {
      addOther(line);
    } else {
      remarks.push_back("The " + line.type + " " + line.name + " was not copied.");
    }
  }
  if (!schema.isWhole()) {
    remarks.emplace_back("Descriptions of tables are damaged; a plug-in's table may be missing.");
  }
  forgetMissingTargets();
}

void SalvagePlan::addModelTable(const DamagedSchema& schema, const SqlTable& table) {
  PlannedTable& planned = tables.emplace_back();
  planned.table = table;
  const SchemaLine* line = schema.find("table", table.name);
  if (line != nullptr) planned.root = line->root;
  const auto declared = line != nullptr ? parseTableText(line->text) : std::nullopt;
  if (declared && fit(planned, *declared)) return;
  planned.table = table;
  fitToModel(planned);
  planned.isLost = planned.root == 0 && !schema.isWhole();
  if (planned.root != 0 || planned.isLost) {
    remarks.push_back("The description of " + table.name +
                      " is lost; its values were taken in the order of this program.");
  }
}

void SalvagePlan::addOther(const SchemaLine& line) {
  if (isPlanned(line.name)) return;
  PlannedTable planned;
  planned.table.name = line.name;
  planned.root = line.root;
  const auto declared = parseTableText(line.text);
  if (!declared || !isSameName(declared->name, line.name) || !fit(planned, *declared)) {
    remarks.push_back("The table " + line.name + " is not one of a document and was not copied.");
    return;
  }
  tables.push_back(std::move(planned));
}

bool SalvagePlan::isPlanned(const std::string& name) const {
  return std::any_of(tables.begin(), tables.end(), [&](const PlannedTable& planned) {
    return isSameName(planned.table.name, name);
  });
}

// Such a reference could not even be declared.
void SalvagePlan::forgetMissingTargets() {
  for (PlannedTable& planned : tables) {
    for (SqlColumn& column : planned.table.columns) {
      if (column.kind != PropertyKind::ToOne || isPlanned(column.target)) continue;
      column.kind = PropertyKind::Integer;
      remarks.push_back("The table " + column.target + ", to which " + planned.table.name + "." +
                        column.name + " refers, is not there.");
    }
  }
}

}  // namespace bokfolio::internal
