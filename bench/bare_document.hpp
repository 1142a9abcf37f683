// Bare SQLite on a copy of a document: the floors of whatever writes or reads one. Since it is a
// copy, tables, indexes, page size and journal mode are the document's own, whatever the format
// comes to be; what is written is what the library itself wrote, read back beforehand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace bokfolio::bench {

// Copies the file and flushes the copy, so that nobody's later save has to.
void copyDocument(const std::string& from, const std::string& to);

struct CloseStatement {
  void operator()(sqlite3_stmt* statement) const;
};
using Statement = std::unique_ptr<sqlite3_stmt, CloseStatement>;

// The rows that a document has in its entities' tables and an earlier state of it lacked, by id.
class AddedRows {
 public:
  AddedRows(const std::string& document, const std::string& earlier);

  struct Cell {
    std::int64_t bits = 0;  // the integer, the double's bits, or where the text begins
    std::uint32_t length = 0;
    std::uint8_t type = 0;  // SQLite's
  };
  struct Table {
    std::string name;
    std::string insertion;  // INSERT of one row, a parameter a column
    std::size_t columns = 0;
    std::vector<Cell> cells;  // row after row

    std::size_t rows() const { return columns == 0 ? 0 : cells.size() / columns; }
  };
  const std::vector<Table>& tables() const { return tables_; }
  std::string_view text(const Cell& cell) const;
  std::size_t count(std::string_view table) const;

 private:
  void readTable(sqlite3* database, const std::string& name);

  std::vector<Table> tables_;
  std::string texts_;
};

class BareDocument {
 public:
  // For writing, with a save's durability, and the references checked as in any document.
  explicit BareDocument(const std::string& path);
  ~BareDocument();
  BareDocument(const BareDocument&) = delete;
  BareDocument& operator=(const BareDocument&) = delete;

  // One durable transaction with prepared statements: the `part`th of `parts` equal stretches of
  // every table.
  void insert(const AddedRows& rows, std::size_t part = 0, std::size_t parts = 1);
  // Takes everything out again.
  void remove(const AddedRows& rows);

  // Every row and entry into a vector of plain structs, decimals and texts included. Answers the
  // sum of debits as text.
  std::string scanIntoStructs();

 private:
  void prepare(const AddedRows& rows);
  void insertRow(sqlite3_stmt* statement, const AddedRows& rows, const AddedRows::Cell* cells,
                 std::size_t columns);

  sqlite3* database_ = nullptr;
  const AddedRows* prepared_ = nullptr;
  std::vector<Statement> insertions_;
};

}  // namespace bokfolio::bench
