#include "bokfolio/store/persistence/sqlite/salvage.hpp"

#include <unistd.h>

#include <utility>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_work.hpp"

namespace bokfolio {

namespace {

using internal::answering;
using internal::Connection;
using internal::DocumentFile;
using internal::Failure;
using internal::NewFile;
using internal::SqlTable;

void checkPath(const std::string& path) {
  if (path.find('\0') == std::string::npos) return;
  throw Failure{PersistenceError::NotFound,
                "\"" + path.substr(0, path.find('\0')) + "\" is followed by a zero byte: no path."};
}

std::vector<SqlTable> tablesOf(const Schema& schema) {
  std::vector<SqlTable> tables;
  for (const Entity& entity : schema.entities()) tables.push_back(internal::sqlTable(entity));
  internal::checkNames(tables);
  return tables;
}

}  // namespace

bool salvageSqliteDocument(const Schema& schema, const std::string& from, const std::string& to,
                           const SalvageOptions& options, SalvageReport& report, ErrorOut error) {
  report = {};
  return answering(error, [&] {
    checkPath(from);
    checkPath(to);
    DocumentFile file(from, false);
    file.keepWritersOut();
    const internal::PageFile pages(file.descriptor(), file.path());
    internal::SalvageWork work(pages, tablesOf(schema), file.path(), report);
    NewFile target(to, internal::filePermissions(file.path()));
    work.run(target.temporaryPath(), options.applicationVersion);
    target.publish();
  });
}

bool rebuildSqliteIndexes(const Schema& schema, const std::string& path, const std::string& copy,
                          ErrorOut error) {
  return answering(error, [&] {
    checkPath(path);
    checkPath(copy);
    const DocumentFile file(path, true);
    internal::checkHealing(file);
    Connection connection(file.path(), Connection::Access::ReadWrite, 0);
    internal::checkFormat(connection, internal::DocumentFormat::current());
    connection.execute("PRAGMA journal_mode=DELETE");
    const auto tables = internal::presentTables(connection, tablesOf(schema));
    NewFile backup(copy, internal::filePermissions(file.path()));
    internal::Transaction transaction(connection);
    file.copyTo(backup.temporaryPath());
    connection.execute("REINDEX");
    internal::verifyDocument(connection, tables);
    backup.publish();
    try {
      transaction.commit();
    } catch (...) {
      ::unlink(copy.c_str());
      throw;
    }
  });
}

}  // namespace bokfolio
