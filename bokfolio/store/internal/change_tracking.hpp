// ChangeTracking: what was inserted, updated and deleted since the last save, with the saved values
// of everything that was touched. Saving reads it to write the difference, rolling back to undo it.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "bokfolio/store/internal/record_access.hpp"

namespace bokfolio::internal {

class ChangeTracking {
 public:
  bool empty() const { return inserted_.empty() && saved_.empty() && deleted_.empty(); }

  void addInserted(Record& record) { inserted_.insert(&record); }
  void dropInserted(Record& record) { inserted_.erase(&record); }
  void addDeleted(Record& record) { deleted_.insert(&record); }
  void dropDeleted(Record& record) { deleted_.erase(&record); }

  // The saved values of a record that is about to change; the block is from the entity's pool.
  bool hasSaved(Record& record) const { return saved_.count(&record) != 0; }
  void keepSaved(Record& record, std::byte* slots) { saved_.emplace(&record, slots); }
  const std::byte* saved(Record& record) const {
    const auto found = saved_.find(&record);
    return found == saved_.end() ? nullptr : found->second;
  }

  // In order of entity and id, so that what is done over them repeats exactly.
  std::vector<Record*> inserted() const;
  std::vector<Record*> deleted() const;
  // Records with kept values that are not deleted; some may be back at them.
  std::vector<Record*> touched() const;
  const std::unordered_map<Record*, std::byte*>& savedSlots() const { return saved_; }

  void clear() {
    inserted_.clear();
    deleted_.clear();
    saved_.clear();
  }

 private:
  std::unordered_set<Record*> inserted_;
  std::unordered_set<Record*> deleted_;
  std::unordered_map<Record*, std::byte*> saved_;
};

}  // namespace bokfolio::internal
