// Saving: from the tracked changes to one validated, atomic change set; and the store's check of
// itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {
struct StoreParts;
}

namespace bokfolio::internal {

// Ordinals of the persistent properties whose value differs from the saved one.
std::vector<std::uint16_t> changedProperties(StoreParts& store, Record& record);
bool save(StoreParts& store, ErrorOut error);
std::vector<std::string> verify(StoreParts& store);

}  // namespace bokfolio::internal
