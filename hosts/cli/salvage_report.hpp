// What was salvaged of a damaged document and what was lost, as text and as JSON, in the words of
// the book where the new document still has them: the entry of a row, the number of an account.
#pragma once

#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "session.hpp"

namespace bokfolio::cli {

Json salvageJson(const SalvageReport& report);
// The session is on the new document.
void printSalvage(Host& host, const Session& session, const SalvageReport& report);

}  // namespace bokfolio::cli
