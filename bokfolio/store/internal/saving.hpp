// Saving: from the tracked changes to one validated, atomic change set; and the store's check of
// itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/internal/change_tracking.hpp"

namespace bokfolio {
struct StoreParts;
}

namespace bokfolio::internal {

// Whether a persistent property of a touched record differs from its saved value.
bool isChanged(const SavedValues& saved);
bool hasChanges(StoreParts& store);
bool save(StoreParts& store, ErrorOut error);
bool rebuildSums(StoreParts& store, ErrorOut error);
std::vector<std::string> verify(StoreParts& store);

}  // namespace bokfolio::internal
