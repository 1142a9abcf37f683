// Json: what --json writes. Keys keep the order in which they are set; amounts are texts, because
// numbers of JSON are read as binary fractions; what is not set is null.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::cli {

using Json = nlohmann::ordered_json;

inline Json toJson(const Decimal& amount) { return amount.toString(); }

template <class T>
Json toJson(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}
inline Json toJson(const std::optional<Decimal>& amount) {
  return amount ? toJson(*amount) : Json(nullptr);
}

}  // namespace bokfolio::cli
