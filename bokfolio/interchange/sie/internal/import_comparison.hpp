// What the file states at the end of its years, beside what the library computes after an import.
#pragma once

#include "bokfolio/interchange/sie/internal/import_accounts.hpp"
#include "bokfolio/interchange/sie/internal/import_years.hpp"

namespace bokfolio::sie_internal {

// Fills `comparisons` and `differences`. Cost: the rows of the years that are compared.
void compareWithStatements(const SieFile& file, const ImportYears& years,
                           const ImportAccounts& accounts, SieImportReport& report);

}  // namespace bokfolio::sie_internal
