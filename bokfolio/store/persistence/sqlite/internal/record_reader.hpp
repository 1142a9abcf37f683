// The way of records out of the file. A value that no save could have written is Damaged, and the
// failure names record and column.
#pragma once

#include "bokfolio/store/persistence/internal/sql/table.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"

namespace bokfolio::internal {

void readRecords(Connection& connection, const SqlTable& table, RecordSink& sink);
// The id that the next record of the entity gets.
RecordId readNextId(Connection& connection, const SqlTable& table);
// The whole file: pages, indexes, types, references, decimals, versions, ids still to be given.
void verifyDocument(Connection& connection, const std::vector<SqlTable>& tables);
// Names one reference that leads nowhere, as open transactions see it; "" when there is none.
std::string brokenReference(Connection& connection);

}  // namespace bokfolio::internal
