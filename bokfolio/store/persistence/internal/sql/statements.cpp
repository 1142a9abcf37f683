#include "bokfolio/store/persistence/internal/sql/statements.hpp"

namespace bokfolio::internal {

namespace {

std::string parameter(const SqlDialect& dialect, std::size_t position) {
  return dialect.parameterMark + std::to_string(position);
}

std::string definition(const SqlDialect& dialect, const SqlColumn& column) {
  std::string text = quoted(column.name);
  text += ' ';
  text += dialect.type(column.kind);
  if (column.kind == PropertyKind::ToOne) {
    // Checked when the transaction ends: a change set comes in any order.
    text += " REFERENCES " + quoted(column.target) + "(\"id\") DEFERRABLE INITIALLY DEFERRED";
  }
  return text;
}

}  // namespace

std::string quoted(std::string_view name) {
  std::string text = "\"";
  for (const char letter : name) {
    if (letter == '"') text += '"';
    text += letter;
  }
  return text + '"';
}

std::string createTable(const SqlDialect& dialect, const SqlTable& table) {
  std::string text = "CREATE TABLE " + quoted(table.name) + "(\"id\" ";
  text += dialect.identity;
  text += ", \"version\" ";
  text += dialect.version;
  for (const SqlColumn& column : table.columns) text += ", " + definition(dialect, column);
  text += ')';
  text += dialect.tableOptions;
  return text;
}

std::string addColumn(const SqlDialect& dialect, const SqlTable& table, const SqlColumn& column) {
  return "ALTER TABLE " + quoted(table.name) + " ADD COLUMN " + definition(dialect, column);
}

std::string createIndex(const SqlTable& table, const SqlIndex& index) {
  std::string text =
      "CREATE INDEX IF NOT EXISTS " + quoted(index.name) + " ON " + quoted(table.name) + "(";
  for (const std::string& column : index.columns) {
    if (&column != &index.columns.front()) text += ',';
    text += quoted(column);
  }
  return text + ')';
}

std::string selected(const std::vector<SqlColumn>& columns) {
  std::string text = R"(SELECT "id","version")";
  for (const SqlColumn& column : columns) text += "," + quoted(column.name);
  return text;
}

std::string select(const SqlTable& table, const std::vector<SqlColumn>& columns) {
  return selected(columns) + " FROM " + quoted(table.name) + " ORDER BY \"id\"";
}

std::string insert(const SqlDialect& dialect, const SqlTable& table) {
  std::string names = R"("id","version")";
  std::string values = parameter(dialect, 1) + "," + parameter(dialect, 2);
  std::size_t position = 3;
  for (const SqlColumn& column : table.columns) {
    names += "," + quoted(column.name);
    values += "," + parameter(dialect, position++);
  }
  return "INSERT INTO " + quoted(table.name) + "(" + names + ") VALUES(" + values + ")";
}

std::string update(const SqlDialect& dialect, const SqlTable& table,
                   const std::vector<SqlColumn>& columns) {
  std::string text = "UPDATE " + quoted(table.name) + " SET \"version\"=" + parameter(dialect, 3);
  std::size_t position = 4;
  for (const SqlColumn& column : columns) {
    text += "," + quoted(column.name) + "=" + parameter(dialect, position++);
  }
  return text + " WHERE \"id\"=" + parameter(dialect, 1) +
         " AND \"version\"=" + parameter(dialect, 2);
}

std::string remove(const SqlDialect& dialect, const SqlTable& table) {
  return "DELETE FROM " + quoted(table.name) + " WHERE \"id\"=" + parameter(dialect, 1) +
         " AND \"version\"=" + parameter(dialect, 2);
}

}  // namespace bokfolio::internal
