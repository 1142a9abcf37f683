// ChangeTracking: what was inserted, updated and deleted since the last save, with the saved values
// of everything that was touched. Saving reads it to write the difference, rolling back to undo it.
// The records' own flags say what they are; the lists here only remember where to look, so that
// noting a change costs next to nothing.
#pragma once

#include <cstddef>
#include <vector>

#include "bokfolio/store/internal/record_access.hpp"

namespace bokfolio::internal {

// A record that was touched and its values of before; the block is from the entity's pool.
struct SavedValues {
  Record* record;
  std::byte* slots;
};

class ChangeTracking {
 public:
  // Once a record.
  void addInserted(Record& record) { inserted_.push_back(&record); }
  // A record that the document has; whenever it is deleted.
  void addDeleted(Record& record) { deleted_.push_back(&record); }
  bool hasSaved(const Record& record) const {
    return RecordAccess::has(record, RecordAccess::kKept);
  }
  void keepSaved(Record& record, std::byte* slots) {
    saved_.push_back({&record, slots});
    RecordAccess::raise(record, RecordAccess::kKept);
  }

  // All of these in order of entity and id, so that what is done over them repeats exactly.
  // Inserted and still there.
  std::vector<Record*> inserted() const;
  // Inserted and deleted again, or taken back by undo: no document will know them.
  std::vector<Record*> unborn() const;
  std::vector<Record*> deleted() const;
  // Records with kept values that are not deleted; some may be back at them.
  std::vector<SavedValues> touched() const;

  const std::vector<SavedValues>& saved() const { return saved_; }
  // Everything is as the document has it. The blocks are the caller's to free.
  void clear();

 private:
  std::vector<Record*> inserted_;  // whatever became of them
  std::vector<Record*> deleted_;   // some were brought back, some stand here twice
  std::vector<SavedValues> saved_;
};

}  // namespace bokfolio::internal
