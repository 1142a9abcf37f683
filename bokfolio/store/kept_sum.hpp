// What may be asked of a sum that the store keeps (EntityTable::keepSum, Context::keptSum).
#pragma once

#include <optional>

#include "bokfolio/platform/date.hpp"

namespace bokfolio {

class Record;

struct KeptSumQuestion {
  const Record* owner = nullptr;  // an owner, a mark, or both
  const Record* mark = nullptr;
  const Record* period = nullptr;
  std::optional<Date> date;  // with an owner: only records before this instant
  bool including = false;    // or at it
};

}  // namespace bokfolio
