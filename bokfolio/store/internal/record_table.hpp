// RecordTable: the records of one entity that are in memory, by id. Pages come with the ids that
// are touched, so that memory follows what is used. It owns the records; those that are gone stay
// as shells until the context ends, so that no pointer dangles.
#pragma once

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
    return place.get();
  }

  // Every record in memory, shells and deleted ones included, in ascending id.
  template <class Visit>
  void forEach(Visit visit) const {
    for (const auto& page : pages_) {
      if (!page) continue;
      for (const auto& record : *page)
        if (record) visit(record.get());
    }
  }

 private:
  static constexpr std::size_t kPageSize = 1024;
  using Page = std::array<std::unique_ptr<Record>, kPageSize>;

  std::vector<std::unique_ptr<Page>> pages_;
};

}  // namespace bokfolio::internal
