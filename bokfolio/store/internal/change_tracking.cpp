#include "bokfolio/store/internal/change_tracking.hpp"

#include <algorithm>

#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

namespace {

bool inOrder(const Record* a, const Record* b) {
  if (&a->entity() != &b->entity()) return a->entity().ordinal() < b->entity().ordinal();
  return a->id() < b->id();
}

template <class Wanted>
std::vector<Record*> listed(const std::vector<Record*>& records, Wanted wanted) {
  std::vector<Record*> list;
  std::copy_if(records.begin(), records.end(), std::back_inserter(list), wanted);
  if (!std::is_sorted(list.begin(), list.end(), inOrder))
    std::sort(list.begin(), list.end(), inOrder);
  list.erase(std::unique(list.begin(), list.end()), list.end());
  return list;
}

}  // namespace

std::vector<Record*> ChangeTracking::inserted() const {
  return listed(inserted_, [](const Record* record) { return RecordAccess::isLive(*record); });
}

std::vector<Record*> ChangeTracking::unborn() const {
  return listed(inserted_, [](const Record* record) {
    return !RecordAccess::isLive(*record) && !record->isGone();
  });
}

std::vector<Record*> ChangeTracking::deleted() const {
  return listed(deleted_, [](const Record* record) { return record->isDeleted(); });
}

std::vector<SavedValues> ChangeTracking::touched() const {
  std::vector<SavedValues> list;
  std::copy_if(saved_.begin(), saved_.end(), std::back_inserter(list),
               [](const SavedValues& each) { return RecordAccess::isLive(*each.record); });
  std::sort(list.begin(), list.end(),
            [](const SavedValues& a, const SavedValues& b) { return inOrder(a.record, b.record); });
  return list;
}

void ChangeTracking::clear() {
  for (const SavedValues& each : saved_) RecordAccess::lower(*each.record, RecordAccess::kKept);
  inserted_.clear();
  deleted_.clear();
  saved_.clear();
}

}  // namespace bokfolio::internal
