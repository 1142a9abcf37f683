// What a column may hold: the same rules by which the engine reads, but a value that breaks one is
// left out and not the whole document.
#pragma once

#include <array>
#include <string>

#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/persistence/internal/sql/table.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/stored_record.hpp"

namespace bokfolio::internal {

using DecimalText = std::array<char, Decimal::kMaxTextLength>;

// Makes the value one of the kind: "" when it is, else what is wrong. A decimal gets its shortest
// form, which is kept in `room`.
std::string fitValue(PropertyKind kind, StoredValue& value, DecimalText& room);

}  // namespace bokfolio::internal
