// Opening balances of an import.
#pragma once

#include "bokfolio/interchange/sie/internal/import_accounts.hpp"
#include "bokfolio/interchange/sie/internal/import_years.hpp"

namespace bokfolio::sie_internal {

// Throws Failure (ConflictingRecords) when the file states one balance in two ways.
void refuseConflictingOpenings(const SieFile& file);

// Stores the file's opening balances as starting balances and reports what was out of the ordinary.
void importOpenings(Context& context, const SieFile& file, const ImportYears& years,
                    ImportAccounts& accounts, SieImportReport& report);

}  // namespace bokfolio::sie_internal
