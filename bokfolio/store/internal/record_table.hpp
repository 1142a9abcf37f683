// RecordTable: the records of one entity that are in memory, by id. Pages come with the ids that
// are touched, so that memory follows what is used. It owns the records; those that are gone stay
// as shells until the context ends, so that no pointer dangles.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "bokfolio/store/internal/record_access.hpp"

namespace bokfolio::internal {

class RecordTable {
 public:
  RecordTable() = default;
  RecordTable(RecordTable&&) noexcept = default;
  RecordTable& operator=(RecordTable&&) noexcept = default;

  Record* find(RecordId id) const {
    const std::size_t page = id / kPageSize;
    if (page >= pages_.size() || !pages_[page]) return nullptr;
    return (*pages_[page])[id % kPageSize].get();
  }

  Record* add(std::unique_ptr<Record> record) {
    const RecordId id = record->id();
    const std::size_t page = id / kPageSize;
    if (page >= pages_.size()) pages_.resize(page + 1);
    if (!pages_[page]) pages_[page] = std::make_unique<Page>();
    auto& place = (*pages_[page])[id % kPageSize];
    place = std::move(record);
    end_ = std::max(end_, id + 1);
    return place.get();
  }

  // Every record in memory, shells and deleted ones included, in ascending id.
  template <class Visit>
  void forEach(Visit visit) const {
    for (std::size_t at = 0; at < pages_.size(); ++at) {
      if (!pages_[at]) continue;
      const Page& page = *pages_[at];
      const std::size_t count = std::min<std::size_t>(kPageSize, end_ - at * kPageSize);
      for (std::size_t place = 0; place < count; ++place)
        if (page[place]) visit(page[place].get());
    }
  }

 private:
  static constexpr std::size_t kPageSize = 1024;
  using Page = std::array<std::unique_ptr<Record>, kPageSize>;

  std::vector<std::unique_ptr<Page>> pages_;
  RecordId end_ = 0;  // no record has this id or a higher one
};

}  // namespace bokfolio::internal
