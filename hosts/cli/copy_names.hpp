// Names of the files that lie beside a document: its copies, and what was salvaged of it.
#pragma once

#include <string>

#include "host.hpp"

namespace bokfolio::cli {

// "begin" + "end", or with -2, -3... between them: the first at which there is nothing.
std::string freeName(const std::string& begin, const std::string& end);

// "workshop-2025-03-31.bokfolio" for "workshop.bokfolio", in the same folder or another one.
std::string backupName(Host& host, const std::string& document, const std::string& folder);
// "workshop.bokfolio.before-repair-2025-03-31.bak"
std::string beforeRepairName(Host& host, const std::string& document);
// "workshop-repaired.bokfolio"
std::string repairedName(const std::string& document);

// Whether the name is that of a backup of the other.
bool isBackupOf(const std::string& name, const std::string& document);

}  // namespace bokfolio::cli
