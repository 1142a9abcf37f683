#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <set>
#include <string_view>

#include "bokfolio/store/persistence/sqlite/internal/sum_lines.hpp"

namespace bokfolio::internal {

namespace {

// Whether the table has the column, of the right type.
bool has(const Connection& connection, const SqlTable& table, const SqlColumn& column) {
  const auto found = connection.columnType(table.name, column.name);
  if (!found) return false;
  const std::string wanted(sqliteDialect().type(column.kind));
  if (isSameName(*found, wanted)) return true;
  throw Failure{PersistenceError::Refused, "\"" + connection.path() + "\" holds " + table.name +
                                               "." + column.name + " as " + std::string(*found) +
                                               ", the model wants " + wanted + "."};
}

bool isPresent(const Connection& connection, const SqlTable& table) {
  if (!connection.hasTable(table.name)) return false;
  if (connection.columnType(table.name, "id") && connection.columnType(table.name, "version"))
    return true;
  throw Failure{PersistenceError::Damaged, "\"" + connection.path() + "\" is damaged (the table " +
                                               table.name + " is not one of a document)."};
}

// Opening looks for every index of the model: they are read once.
class PresentIndexes {
 public:
  explicit PresentIndexes(Connection& connection) {
    Statement names = connection.prepare("SELECT name FROM sqlite_schema WHERE type='index'");
    while (names.step()) names_.insert(std::string(names.text(0)));
  }

  bool has(const SqlIndex& index) const { return names_.count(index.name) != 0; }

 private:
  struct Before {
    bool operator()(const std::string& a, const std::string& b) const {
      return sqlite3_stricmp(a.c_str(), b.c_str()) < 0;
    }
  };
  std::set<std::string, Before> names_;
};

void addTable(Connection& connection, const SqlTable& table) {
  connection.execute(createTable(sqliteDialect(), table));
  for (const SqlIndex& index : table.indexes) connection.execute(createIndex(table, index));
  if (table.sums) {
    addSumTable(connection, table);
    noteSums(connection, table);  // of no records
  }
  Statement counter = connection.prepare(
      "INSERT INTO bokfolio_entity(name, next_id) VALUES(?1, 1) ON CONFLICT(name) DO NOTHING");
  counter.bindText(1, table.name);
  counter.run();
}

// What must be done so that the file has all of the tables.
std::vector<std::function<void()>> stepsToFit(Connection& connection,
                                              const std::vector<SqlTable>& tables) {
  const Transaction reading(connection, Transaction::Kind::Reading);
  const PresentIndexes indexes(connection);
  std::vector<std::function<void()>> steps;
  for (const SqlTable& table : tables) {
    if (!isPresent(connection, table)) {
      steps.emplace_back([&] { addTable(connection, table); });
      continue;
    }
    for (const SqlColumn& column : table.columns) {
      if (has(connection, table, column)) continue;
      steps.emplace_back([&] { connection.execute(addColumn(sqliteDialect(), table, column)); });
    }
    for (const SqlIndex& index : table.indexes) {
      if (indexes.has(index)) continue;
      steps.emplace_back([&] { connection.execute(createIndex(table, index)); });
    }
    if (table.sums && !hasSumTable(connection, table))
      steps.emplace_back([&] { addSumTable(connection, table); });
  }
  return steps;
}

// SQLite takes a last page that is cut short as if zeros followed.
void checkLength(Connection& connection) {
  if (connection.integer("SELECT count(*) FROM pragma_journal_mode WHERE journal_mode = 'wal'") !=
      0)
    return;  // then the end may lie in another file
  const std::int64_t length =
      connection.integer("PRAGMA page_count") * connection.integer("PRAGMA page_size");
  if (fileSize(connection.path()) >= length) return;
  throw Failure{PersistenceError::Damaged, "\"" + connection.path() + "\" is damaged (cut short)."};
}

// A column that is computed runs what the file says whenever it is read, and one that is computed
// from another may grow beyond all measure.
void refuseComputedColumns(Connection& connection) {
  if (connection.integer("SELECT count(*) FROM sqlite_schema AS s, pragma_table_xinfo(s.name) AS c "
                         "WHERE s.type='table' AND s.rootpage>0 AND c.hidden<>0") == 0) {
    return;
  }
  throw Failure{PersistenceError::Damaged,
                "\"" + connection.path() + "\" is damaged (it has columns that are computed)."};
}

void setUserVersion(Connection& connection, std::int64_t version) {
  connection.execute("PRAGMA user_version=" + std::to_string(version));
}

std::string dated(const Clock& clock) {
  using std::chrono::floor;
  const std::chrono::sys_time<std::chrono::microseconds> now{
      std::chrono::microseconds(clock.now().microseconds())};
  const std::chrono::year_month_day day(floor<std::chrono::days>(now));
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(day.year()),
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
  return text;
}

// A compact copy, with seals.
void vacuumInto(Connection& connection, const std::string& file) {
  const Connection::FunctionsAllowed allowed(connection);
  connection.leaveRoomForSeals();
  Statement copy = connection.prepare("VACUUM INTO ?1");
  copy.bindText(1, file);
  copy.run();
}

// Byte by byte, so that an older program finds its own document.
void copyBeforeConversion(const DocumentFile& file, Connection& connection, std::int64_t version,
                          const Clock& clock) {
  const std::string base = file.path() + ".v" + std::to_string(version) + "-" + dated(clock);
  std::string path = base + ".bak";
  for (int number = 2; fileExists(path); ++number) {
    path = base + "-" + std::to_string(number) + ".bak";
  }
  NewFile copy(path, filePermissions(file.path()));
  try {
    Transaction reading(connection, Transaction::Kind::Reading);
    connection.integer("PRAGMA user_version");  // nobody saves from now on
    file.copyTo(copy.temporaryPath());
    reading.commit();
  } catch (Failure& failure) {
    failure.sentence = "The copy \"" + path + "\" could not be made: " + failure.sentence;
    throw;
  }
  copy.publish();
}

void applyMigrations(Connection& connection, const DocumentFormat& format, std::int64_t version) {
  Transaction transaction(connection);
  for (; version < format.version; ++version) {
    const auto step =
        std::find_if(format.migrations.begin(), format.migrations.end(),
                     [&](const Migration& migration) { return migration.from == version; });
    if (step == format.migrations.end()) {
      throw Failure{PersistenceError::NotADocument, "its format was never in use."};
    }
    step->apply(connection);
  }
  if (connection.integer("SELECT count(*) FROM pragma_foreign_key_check") != 0) {
    throw Failure{PersistenceError::Damaged, "references are broken."};
  }
  setUserVersion(connection, format.version);
  transaction.commit();
}

}  // namespace

const DocumentFormat& DocumentFormat::current() {
  // 2 has kept sums and 3 has seals, which an older program would not keep. What sums need is made
  // when a document is fitted to the model, and they are computed by the first save; what is
  // converted is written anew, with seals.
  constexpr auto kNothing = [](Connection& /*connection*/) {};
  static const DocumentFormat format{kFirstSealed, {{1, kNothing}, {2, kNothing}}, 1};
  return format;
}

const SqlDialect& sqliteDialect() {
  static const SqlDialect dialect{{"INTEGER", "REAL", "TEXT", "TEXT", "INTEGER", "BLOB", "INTEGER"},
                                  "INTEGER PRIMARY KEY",
                                  "INTEGER NOT NULL",
                                  " STRICT",
                                  '?'};
  return dialect;
}

void createDocument(Connection& connection, const DocumentFormat& format,
                    const std::vector<SqlTable>& tables, const std::string& applicationVersion) {
  Transaction transaction(connection);
  connection.execute("PRAGMA application_id=" + std::to_string(kApplicationId));
  setUserVersion(connection, format.version);
  connection.execute(
      "CREATE TABLE bokfolio_document(name TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL) STRICT");
  connection.execute(
      "CREATE TABLE bokfolio_entity(name TEXT PRIMARY KEY NOT NULL, next_id INTEGER NOT NULL) "
      "STRICT");
  Statement note =
      connection.prepare("INSERT INTO bokfolio_document(name, value) VALUES('created_by', ?1)");
  note.bindText(1, applicationVersion);
  note.run();
  for (const SqlTable& table : tables) addTable(connection, table);
  transaction.commit();
}

std::int64_t checkFormat(Connection& connection, const DocumentFormat& format) {
  const Transaction reading(connection, Transaction::Kind::Reading);
  if (connection.integer("PRAGMA application_id") != kApplicationId) {
    throw Failure{PersistenceError::NotADocument,
                  "\"" + connection.path() + "\" is not a document of this program."};
  }
  const std::int64_t version = connection.integer("PRAGMA user_version");
  if (version > format.version) {
    throw Failure{PersistenceError::NewerFormat, "\"" + connection.path() +
                                                     "\" was written by a later version of this "
                                                     "program (format " +
                                                     std::to_string(version) + ")."};
  }
  if (version < 1) {
    throw Failure{PersistenceError::NotADocument,
                  "\"" + connection.path() + "\" has a format that was never in use."};
  }
  if (version >= kFirstSealed && !connection.isSealed()) {
    throw Failure{PersistenceError::Damaged,
                  "\"" + connection.path() + "\" is damaged (its pages have no seals)."};
  }
  checkLength(connection);
  refuseComputedColumns(connection);
  return version;
}

void convertDocument(const DocumentFile& file, Connection& connection, const DocumentFormat& format,
                     const Clock& clock, const std::string& to) {
  const std::int64_t version = connection.integer("PRAGMA user_version");
  copyBeforeConversion(file, connection, version, clock);
  try {
    vacuumInto(connection, to);
    Connection converted(to, Connection::Access::ReadWrite, 0);
    // Tables that are rebuilt would be seen as missing targets; the check comes at the end.
    converted.execute("PRAGMA foreign_keys=OFF");
    applyMigrations(converted, format, version);
    checkFormat(converted, format);
  } catch (Failure& failure) {
    failure.sentence = "\"" + connection.path() + "\" could not be converted: " + failure.sentence;
    throw;
  }
}

void fitTables(Connection& connection, const std::vector<SqlTable>& tables) {
  const auto steps = stepsToFit(connection, tables);
  if (steps.empty()) return;  // only a file that lacks something is written to
  Transaction transaction(connection);
  for (const auto& step : steps) step();
  transaction.commit();
}

std::vector<SqlTable> presentTables(Connection& connection, const std::vector<SqlTable>& tables) {
  const PresentIndexes indexes(connection);
  std::vector<SqlTable> result;
  for (const SqlTable& table : tables) {
    SqlTable& kept = result.emplace_back();
    if (!isPresent(connection, table)) continue;  // an empty name: nothing to read
    kept.name = table.name;
    kept.sums = table.sums;
    for (const SqlColumn& column : table.columns)
      if (has(connection, table, column)) kept.columns.push_back(column);
    for (const SqlIndex& index : table.indexes)
      if (indexes.has(index)) kept.indexes.push_back(index);
  }
  return result;
}

void copyDocument(Connection& connection, const std::string& path) {
  // A copy is for those who may see the original.
  NewFile file(path, filePermissions(connection.path()));
  try {
    vacuumInto(connection, file.temporaryPath());
    if (!connection.isSealed()) {
      // What the formats before had, this one has as it was.
      Connection copy(file.temporaryPath(), Connection::Access::ReadWrite, 0);
      setUserVersion(copy, kFirstSealed);
    }
  } catch (Failure& failure) {
    failure.sentence = "The copy \"" + path + "\" could not be made: " + failure.sentence;
    throw;
  }
  file.publish();
}

}  // namespace bokfolio::internal
