// RelationSet: the records on the many side of one relationship of one record, in ascending id.
// Small sets are a plain array, big ones sorted blocks. The journal alone changes them.
//
// A set is complete, or holds only members that came since the last save, until it is asked for.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "bokfolio/store/internal/sorted_blocks.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio::internal {

struct ByRecordId {
  bool operator()(const Record* a, const Record* b) const { return a->id() < b->id(); }
};

class RelationSet {
 public:
  std::size_t size() const { return big_ ? big_->size() : small_.size(); }

  void insert(Record* record) {
    if (big_) {
      big_->insert(record);
      return;
    }
    if (small_.empty() || small_.back()->id() < record->id()) {
      small_.push_back(record);
    } else {
      const auto at = std::lower_bound(small_.begin(), small_.end(), record, ByRecordId{});
      if (at != small_.end() && *at == record) return;
      small_.insert(at, record);
    }
    if (small_.size() > kSmall) growBig();
  }

  void erase(Record* record) {
    if (big_) {
      big_->erase(record);
      return;
    }
    const auto at = std::lower_bound(small_.begin(), small_.end(), record, ByRecordId{});
    if (at != small_.end() && *at == record) small_.erase(at);
  }

  bool contains(const Record* record) const {
    if (big_) {
      const auto at =
          big_->partitionPoint([&](const Record* member) { return member->id() < record->id(); });
      return !(at == big_->end()) && (*big_)[at] == record;
    }
    const auto at = std::lower_bound(small_.begin(), small_.end(), record, ByRecordId{});
    return at != small_.end() && *at == record;
  }

  Record* first() const {
    if (size() == 0) return nullptr;
    return big_ ? (*big_)[big_->begin()] : small_.front();
  }

  bool isComplete() const { return complete_; }
  void setComplete(bool complete) { complete_ = complete; }

  void clear() {
    small_.clear();
    big_.reset();
  }

  template <class Visit>
  void forEach(Visit visit) const {
    if (big_) {
      big_->forEach(visit);
    } else {
      for (Record* record : small_) visit(record);
    }
  }

 private:
  static constexpr std::size_t kSmall = 512;

  void growBig() {
    big_ = std::make_unique<SortedBlocks<Record*, ByRecordId>>();
    big_->assignSorted(small_);
    small_ = {};
  }

  std::vector<Record*> small_;
  std::unique_ptr<SortedBlocks<Record*, ByRecordId>> big_;
  bool complete_ = false;
};

}  // namespace bokfolio::internal
