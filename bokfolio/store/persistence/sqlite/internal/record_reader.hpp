// The way of records out of the file. A value that no save could have written is Damaged, and the
// failure names record and column.
#pragma once

#include "bokfolio/store/persistence/internal/sql/table.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/saved_state.hpp"

namespace bokfolio::internal {

// The rows of a statement that gives id, version and all columns of the table, in the state that
// the engine looks at.
void readRecords(Connection& connection, const SqlTable& table, Statement& statement,
                 SavedState& state, RecordSink& sink);
// The id that the next record of the entity gets.
RecordId readNextId(Connection& connection, const SqlTable& table);
[[noreturn]] void failDamaged(const Connection& connection, const std::string& what);
inline bool isId(std::int64_t id) { return id > 0 && id <= kHighestId; }
// The whole file but its sums: pages, indexes, types, references, decimals, versions, ids still to
// be given.
void verifyDocument(Connection& connection, const std::vector<SqlTable>& tables);
// Names one reference that leads nowhere, as open transactions see it; "" when there is none.
std::string brokenReference(Connection& connection);

}  // namespace bokfolio::internal
