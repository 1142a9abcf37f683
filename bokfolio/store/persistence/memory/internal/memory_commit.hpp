// MemoryCommit: one change set on its way into a document in memory. What was applied is taken back
// when the commit ends without keep().
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "bokfolio/store/persistence/memory/internal/memory_state.hpp"
#include "bokfolio/store/slot_view.hpp"

namespace bokfolio::internal {

// Where the properties of one entity lie: (ordinal, column), persistent ones only.
struct MemoryLayout {
  std::size_t table = 0;
  std::vector<std::pair<std::uint16_t, std::size_t>> columns;
};

class MemoryCommit {
 public:
  explicit MemoryCommit(MemoryState& state) : state_(state) {}
  MemoryCommit(const MemoryCommit&) = delete;
  MemoryCommit& operator=(const MemoryCommit&) = delete;
  ~MemoryCommit();

  // Each throws Failure: Stale, or Refused.
  void apply(const MemoryLayout& layout, const RecordChange& change);
  void raiseNextId(const MemoryLayout& layout, RecordId nextId);
  void checkReferences() const;
  void keep() { steps_.clear(); }

 private:
  using Rows = std::map<RecordId, MemoryRow>;

  // How to take one change back, without needing memory for it.
  struct Step {
    std::size_t table;
    RecordId id;
    RecordId nextId;
    std::optional<MemoryRow> replaced;
    Rows::node_type removed;
  };

  void insert(const MemoryLayout& layout, const RecordChange& change);
  void update(const MemoryLayout& layout, const RecordChange& change);
  void remove(const MemoryLayout& layout, const RecordChange& change);
  static Rows::iterator saved(MemoryTable& table, const RecordChange& change);
  Step& remember(std::size_t table, RecordId id);
  void countIn(std::size_t table, const MemoryRow& row);
  void countOut(std::size_t table, const MemoryRow& row) noexcept;
  void takeBack(Step& step) noexcept;

  MemoryState& state_;
  std::vector<Step> steps_;
};

}  // namespace bokfolio::internal
