#include "bench/bare_document.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <bit>
#include <filesystem>
#include <stdexcept>

#include "bench/hundredths.hpp"

namespace bokfolio::bench {

namespace {

[[noreturn]] void fail(sqlite3* database) { throw std::runtime_error(sqlite3_errmsg(database)); }

sqlite3* openDatabase(const std::string& path, int flags) {
  sqlite3* database = nullptr;
  if (sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
    sqlite3_close(database);
    throw std::runtime_error("SQLite cannot open " + path);
  }
  return database;
}

void execute(sqlite3* database, const std::string& text) {
  if (sqlite3_exec(database, text.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) fail(database);
}

Statement prepared(sqlite3* database, const std::string& text) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, text.c_str(), -1, &statement, nullptr) != SQLITE_OK)
    fail(database);
  return Statement(statement);
}

std::string_view textOf(sqlite3_stmt* statement, int column) {
  const auto* characters = static_cast<const char*>(sqlite3_column_blob(statement, column));
  return {characters, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

// Tables of entities; those that a document keeps for itself begin with "bokfolio_".
std::vector<std::string> entityTables(sqlite3* database) {
  std::vector<std::string> names;
  const Statement statement = prepared(
      database,
      "SELECT name FROM main.sqlite_master WHERE type = 'table' AND name NOT GLOB 'bokfolio_*'"
      " AND name NOT GLOB 'sqlite_*' ORDER BY rowid");
  while (sqlite3_step(statement.get()) == SQLITE_ROW)
    names.emplace_back(textOf(statement.get(), 0));
  return names;
}

std::string insertionInto(const std::string& table, std::size_t columns) {
  std::string text = "INSERT INTO \"" + table + "\" VALUES(?";
  for (std::size_t at = 1; at < columns; ++at) text += ", ?";
  return text + ")";
}

}  // namespace

void copyDocument(const std::string& from, const std::string& to) {
  std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
  const int descriptor = ::open(to.c_str(), O_RDONLY | O_CLOEXEC);
  const bool flushed = descriptor >= 0 && ::fsync(descriptor) == 0;
  if (descriptor >= 0) ::close(descriptor);
  if (!flushed) throw std::runtime_error("cannot flush " + to);
}

void CloseStatement::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

// --- Rows to insert

AddedRows::AddedRows(const std::string& document, const std::string& earlier) {
  sqlite3* database = openDatabase(document, SQLITE_OPEN_READONLY);
  try {
    execute(database, "ATTACH '" + earlier + "' AS earlier");
    for (const std::string& name : entityTables(database)) readTable(database, name);
  } catch (...) {
    sqlite3_close(database);
    throw;
  }
  sqlite3_close(database);
}

void AddedRows::readTable(sqlite3* database, const std::string& name) {
  const Statement statement =
      prepared(database, "SELECT * FROM main.\"" + name +
                             "\" WHERE id > (SELECT coalesce(max(id), 0) FROM earlier.\"" + name +
                             "\") ORDER BY id");
  Table table;
  table.name = name;
  table.columns = static_cast<std::size_t>(sqlite3_column_count(statement.get()));
  table.insertion = insertionInto(name, table.columns);
  while (sqlite3_step(statement.get()) == SQLITE_ROW) {
    for (int column = 0; column < static_cast<int>(table.columns); ++column) {
      Cell cell;
      cell.type = static_cast<std::uint8_t>(sqlite3_column_type(statement.get(), column));
      if (cell.type == SQLITE_INTEGER) {
        cell.bits = sqlite3_column_int64(statement.get(), column);
      } else if (cell.type == SQLITE_FLOAT) {
        cell.bits = std::bit_cast<std::int64_t>(sqlite3_column_double(statement.get(), column));
      } else if (cell.type != SQLITE_NULL) {
        const std::string_view text = textOf(statement.get(), column);
        cell.bits = static_cast<std::int64_t>(texts_.size());
        cell.length = static_cast<std::uint32_t>(text.size());
        texts_ += text;
      }
      table.cells.push_back(cell);
    }
  }
  if (!table.cells.empty()) tables_.push_back(std::move(table));
}

std::string_view AddedRows::text(const Cell& cell) const {
  return std::string_view(texts_).substr(static_cast<std::size_t>(cell.bits), cell.length);
}

std::size_t AddedRows::count(std::string_view name) const {
  for (const Table& table : tables_) {
    if (table.name == name) return table.rows();
  }
  return 0;
}

// --- The copy

BareDocument::BareDocument(const std::string& path)
    : database_(openDatabase(path, SQLITE_OPEN_READWRITE)) {
  execute(database_, "PRAGMA synchronous=EXTRA; PRAGMA foreign_keys=ON");
}

BareDocument::~BareDocument() {
  insertions_.clear();
  sqlite3_close(database_);
}

void BareDocument::prepare(const AddedRows& rows) {
  if (prepared_ == &rows) return;
  insertions_.clear();
  for (const AddedRows::Table& table : rows.tables())
    insertions_.push_back(prepared(database_, table.insertion));
  prepared_ = &rows;
}

void BareDocument::insert(const AddedRows& rows, std::size_t part, std::size_t parts) {
  prepare(rows);
  execute(database_, "BEGIN IMMEDIATE");
  for (std::size_t at = 0; at < insertions_.size(); ++at) {
    const AddedRows::Table& table = rows.tables()[at];
    const std::size_t end = table.rows() * (part + 1) / parts;
    for (std::size_t row = table.rows() * part / parts; row < end; ++row)
      insertRow(insertions_[at].get(), rows, &table.cells[row * table.columns], table.columns);
  }
  execute(database_, "COMMIT");
}

void BareDocument::insertRow(sqlite3_stmt* statement, const AddedRows& rows,
                             const AddedRows::Cell* cells, std::size_t columns) {
  for (std::size_t column = 0; column < columns; ++column) {
    const AddedRows::Cell& cell = cells[column];
    const int position = static_cast<int>(column) + 1;
    const std::string_view text =
        rows.text(cell.type == SQLITE_TEXT || cell.type == SQLITE_BLOB ? cell : AddedRows::Cell());
    const int length = static_cast<int>(text.size());
    switch (cell.type) {
      case SQLITE_INTEGER:
        sqlite3_bind_int64(statement, position, cell.bits);
        break;
      case SQLITE_FLOAT:
        sqlite3_bind_double(statement, position, std::bit_cast<double>(cell.bits));
        break;
      case SQLITE_TEXT:
        sqlite3_bind_text(statement, position, text.data(), length, SQLITE_STATIC);
        break;
      case SQLITE_BLOB:
        sqlite3_bind_blob(statement, position, text.data(), length, SQLITE_STATIC);
        break;
      default:
        sqlite3_bind_null(statement, position);
    }
  }
  if (sqlite3_step(statement) != SQLITE_DONE) fail(database_);
  sqlite3_reset(statement);
}

void BareDocument::remove(const AddedRows& rows) {
  execute(database_, "BEGIN IMMEDIATE");
  for (const AddedRows::Table& table : rows.tables()) {
    if (table.cells.empty()) continue;
    execute(database_, "DELETE FROM \"" + table.name + "\" WHERE id BETWEEN " +
                           std::to_string(table.cells.front().bits) + " AND " +
                           std::to_string(table.cells[(table.rows() - 1) * table.columns].bits));
  }
  execute(database_, "COMMIT");
}

std::string BareDocument::scanIntoStructs() {
  struct PlainRow {
    std::int64_t id, version;
    std::int64_t debit, credit;
    std::string who;
    std::int64_t when, status, number, tag, account, entry;
  };
  struct PlainEntry {
    std::int64_t id, version;
    std::string name, comments;
    std::int64_t number, date, type, fiscalYear;
  };
  const auto integer = sqlite3_column_int64;
  const auto amount = [](sqlite3_stmt* statement, int column) {
    return hundredths(sqlite3_column_text(statement, column));
  };
  std::vector<PlainEntry> entries;
  const Statement ofEntries =
      prepared(database_,
               "SELECT id, version, name, comments, number, date, type, fiscalYear FROM Entry"
               " ORDER BY id");
  sqlite3_stmt* at = ofEntries.get();
  while (sqlite3_step(at) == SQLITE_ROW) {
    entries.push_back({integer(at, 0), integer(at, 1), std::string(textOf(at, 2)),
                       std::string(textOf(at, 3)), integer(at, 4), integer(at, 5), integer(at, 6),
                       integer(at, 7)});
  }
  std::vector<PlainRow> rows;
  const Statement ofRows =
      prepared(database_,
               "SELECT id, version, debit, credit, who, \"when\", status, number, tag, account,"
               " entry FROM Row ORDER BY id");
  at = ofRows.get();
  while (sqlite3_step(at) == SQLITE_ROW) {
    rows.push_back({integer(at, 0), integer(at, 1), amount(at, 2), amount(at, 3),
                    std::string(textOf(at, 4)), integer(at, 5), integer(at, 6), integer(at, 7),
                    integer(at, 8), integer(at, 9), integer(at, 10)});
  }
  std::int64_t sum = 0;
  for (const PlainRow& row : rows) sum += row.debit;
  return hundredthsText(sum);
}

}  // namespace bokfolio::bench
