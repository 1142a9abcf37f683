// Orders of values that may be nil, as the comparison operations of records answer them.
#pragma once

#include <optional>

namespace bokfolio::internal {

// -1, 0 or 1; nil comes before every value.
template <class T>
int compareNilFirst(const std::optional<T>& a, const std::optional<T>& b) {
  if (a < b) return -1;
  return b < a ? 1 : 0;
}

}  // namespace bokfolio::internal
