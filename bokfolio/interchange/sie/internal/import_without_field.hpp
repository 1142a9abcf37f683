// Counts what a file tells and the ledger's records have no field for.
#pragma once

#include "bokfolio/interchange/sie/internal/import_objects.hpp"
#include "bokfolio/interchange/sie/sie_import_report.hpp"

namespace bokfolio::sie_internal {

SieWithoutField countWithoutField(const SieFile& file, const ObjectsByDimension& objects,
                                  int tagDimension);

}  // namespace bokfolio::sie_internal
