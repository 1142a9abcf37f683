// What an import did, as text and as JSON. It shows the library's report and what the reader noted;
// it decides nothing.
#pragma once

#include <string>

#include "bokfolio/interchange/sie/sie_file.hpp"
#include "bokfolio/interchange/sie/sie_import_report.hpp"
#include "host.hpp"

namespace bokfolio::cli {

Json importJson(const std::string& path, const SieFile& file, const SieImportReport& report);
void printImport(Host& host, const std::string& path, const SieFile& file,
                 const SieImportReport& report);

}  // namespace bokfolio::cli
