// DocumentFormat: what makes a SQLite file a document, which versions of it there are, and how a
// file is fitted to a model. docs/file-format.md says the same in words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bokfolio/platform/clock.hpp"
#include "bokfolio/store/persistence/internal/sql/statements.hpp"
#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"

namespace bokfolio::internal {

inline constexpr std::int64_t kApplicationId = 0x424B464F;  // "BKFO"
inline constexpr std::int64_t kFirstSealed = 3;             // the version whose pages have seals

// More than a business ever has; one that is higher comes from a damaged or crafted file, and would
// cost memory for all the ids below it.
inline constexpr std::int64_t kHighestId = 4'294'967'295;

// Turns a file of one version into one of the next, inside a transaction; references are checked
// afterwards. It must not begin or end a transaction.
struct Migration {
  std::int64_t from;
  void (*apply)(Connection& connection);
};

struct DocumentFormat {
  std::int64_t version;
  std::vector<Migration> migrations;
  std::int64_t readable;  // the oldest version that can be read without converting it

  static const DocumentFormat& current();
};

const SqlDialect& sqliteDialect();

// Makes an empty file a document without records.
void createDocument(Connection& connection, const DocumentFormat& format,
                    const std::vector<SqlTable>& tables, const std::string& applicationVersion);
// Throws NotADocument, NewerFormat or Damaged; answers the version.
std::int64_t checkFormat(Connection& connection, const DocumentFormat& format);
// Makes of a document of an older version one of the format at `to`, an empty file, after copying
// the document to "<path>.v1-<date>.bak". The document itself stays as it is.
void convertDocument(const DocumentFile& file, Connection& connection, const DocumentFormat& format,
                     const Clock& clock, const std::string& to);
// Adds the tables, columns and indexes that the file lacks, in one transaction. Throws Refused when
// a column holds another kind.
void fitTables(Connection& connection, const std::vector<SqlTable>& tables);
// Of each table what the file has of it: for reading without writing.
std::vector<SqlTable> presentTables(Connection& connection, const std::vector<SqlTable>& tables);
// A compact copy of the saved state, complete or not at all; of one without seals it has some, and
// is of the first format that has.
void copyDocument(Connection& connection, const std::string& path);

}  // namespace bokfolio::internal
