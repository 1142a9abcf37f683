#include "bokfolio/store/internal/change_tracking.hpp"

#include <algorithm>

#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

namespace {

void sortByEntityAndId(std::vector<Record*>& records) {
  std::sort(records.begin(), records.end(), [](const Record* a, const Record* b) {
    if (&a->entity() != &b->entity()) return a->entity().ordinal() < b->entity().ordinal();
    return a->id() < b->id();
  });
}

std::vector<Record*> listed(const std::unordered_set<Record*>& records) {
  std::vector<Record*> list(records.begin(), records.end());
  sortByEntityAndId(list);
  return list;
}

}  // namespace

std::vector<Record*> ChangeTracking::inserted() const { return listed(inserted_); }

std::vector<Record*> ChangeTracking::deleted() const { return listed(deleted_); }

std::vector<Record*> ChangeTracking::touched() const {
  std::vector<Record*> list;
  for (const auto& [record, slots] : saved_)
    if (deleted_.count(record) == 0) list.push_back(record);
  sortByEntityAndId(list);
  return list;
}

}  // namespace bokfolio::internal
