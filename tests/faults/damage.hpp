// What a document that something happened to is taken for, by whoever opens it, lets it check
// itself, and reads it all.
#pragma once

#include <string>

#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"
#include "tests/faults/firm.hpp"
#include "tests/faults/table.hpp"

namespace bokfolio::faults {

struct Sight {
  Ending ending;
  std::string words;
};

// Refused, found damaged, or read as the sample (Old) or as `after` (New); everything else is
// Unseen, unless a balance is another: then it throws Broken.
Sight look(const std::string& path, OpenMode mode, const Dump& after = {});

}  // namespace bokfolio::faults
