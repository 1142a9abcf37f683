// SortDescriptor: one criterion by which records are ordered: a key or key path and a direction.
// Sorting is stable; records that no criterion tells apart keep the order of their ids. nil sorts
// before every value when ascending.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

class Record;

class BOKFOLIO_EXPORT SortDescriptor {
 public:
  explicit SortDescriptor(std::string key, bool ascending = true)
      : key_(std::move(key)), ascending_(ascending) {}

  const std::string& key() const { return key_; }
  bool ascending() const { return ascending_; }

 private:
  std::string key_;
  bool ascending_;
};

// Records ordered by criteria read through the keys' accessors.
BOKFOLIO_EXPORT void sortRecords(std::vector<Record*>& records,
                                 const std::vector<SortDescriptor>& order);

// -1, 0 or 1: how the first record compares with the second.
using RecordComparison = std::function<int(const Record&, const Record&)>;

// Stable merge sort that terminates and keeps every record even when the comparison is no strict
// order, as some comparison operations of the model are not.
BOKFOLIO_EXPORT void sortRecordsBy(std::vector<Record*>& records, const RecordComparison& compare);

}  // namespace bokfolio
