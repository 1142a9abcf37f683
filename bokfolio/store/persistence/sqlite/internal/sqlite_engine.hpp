// The SQLite engine with its format open to choice, so that converting documents can be tried with
// formats that were never in use.
#pragma once

#include <memory>

#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

namespace bokfolio::internal {

std::unique_ptr<Persistence> makeSqliteEngine(SqliteOptions options, DocumentFormat format);

}  // namespace bokfolio::internal
