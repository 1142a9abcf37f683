// Sorting records by descriptors, with stored keys or through accessors.
#pragma once

#include <vector>

#include "bokfolio/store/internal/bound_path.hpp"
#include "bokfolio/store/sort_descriptor.hpp"

namespace bokfolio::internal {

// Stable; ties in ascending id. Each key of each record is read once.
void sortRecords(std::vector<Record*>& records, const std::vector<SortDescriptor>& order,
                 KeyReading reading);

// Ascending id, records of several entities by entity.
struct ById {
  bool operator()(const Record* a, const Record* b) const;
};

}  // namespace bokfolio::internal
