// Books of any size for measuring, made by a seeded generator, and the plain SQLite work that
// serves as floor: the same tables, without a model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"

struct sqlite3;

namespace bokfolio::bench {

inline constexpr std::size_t kAccounts = 200;
inline constexpr std::size_t kYears = 10;
inline constexpr std::size_t kRowsPerEntry = 3;

// A folder of the process's own that goes when it ends.
const std::filesystem::path& folder();

Environment environment();

// Accounts 1000, 1010, ..., ten calendar years, filed entries of three rows spread over them, and a
// new entry to work on. Undo is off.
void fill(Context& context, std::size_t rows);
// `entries` more entries in the latest year, filed by hand.
void addEntries(Context& context, std::size_t entries, std::uint64_t seed);

// The file of a saved book with that many rows; made once a process.
std::string savedBook(std::size_t rows);
std::unique_ptr<Context> open(const std::string& path);
std::unique_ptr<Context> createDocument(const std::string& path);

// The latest year's balance of every account.
Decimal trialBalance(Context& context);
// Composes an entry of three rows on the new entry, files it and inserts the next new entry.
void fileOneEntry(Context& context, std::uint64_t round);

// Plain SQLite on a copy of the document's own tables for rows.
class PlainTable {
 public:
  // Takes the table's definition and, when `filled`, its content from the document.
  PlainTable(const std::string& document, bool filled);
  ~PlainTable();
  PlainTable(const PlainTable&) = delete;
  PlainTable& operator=(const PlainTable&) = delete;

  void clear();
  // One transaction with prepared statements, durable at the end.
  void insert(std::size_t rows);
  // Every row into a struct; answers the sum of debits in cents.
  std::int64_t scan();

 private:
  sqlite3* database_ = nullptr;
};

// Bytes that the heap holds.
std::size_t heapBytes();

}  // namespace bokfolio::bench
