// Loops over many records: a record and its values lie apart and far from the next record's, so
// that a plain loop waits for memory twice a record. This one asks for them some records ahead.
#pragma once

#include <cstddef>
#include <vector>

#include "bokfolio/store/internal/record_access.hpp"

namespace bokfolio::internal {

// Calls visit(record) in order until it answers false. The vector must not change meanwhile; the
// records may.
template <class Visit>
void forEachRecord(const std::vector<Record*>& records, Visit visit) {
  constexpr std::size_t kRecordsAhead = 16;
  constexpr std::size_t kValuesAhead = 8;
  const std::size_t count = records.size();
  for (std::size_t at = 0; at < count; ++at) {
    if (at + kRecordsAhead < count) __builtin_prefetch(records[at + kRecordsAhead]);
    if (at + kValuesAhead < count) {
      const Record& ahead = *records[at + kValuesAhead];
      __builtin_prefetch(RecordAccess::slots(ahead));
    }
    if (!visit(records[at])) return;
  }
}

}  // namespace bokfolio::internal
