// MemoryCommit: one change set on its way into a document in memory. What was applied is taken back
// when the commit ends without keep().
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "bokfolio/store/persistence/change_set.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_state.hpp"
#include "bokfolio/store/slot_view.hpp"

namespace bokfolio::internal {

class MemoryCommit {
 public:
  explicit MemoryCommit(MemoryState& state) : state_(state) {}
  MemoryCommit(const MemoryCommit&) = delete;
  MemoryCommit& operator=(const MemoryCommit&) = delete;
  ~MemoryCommit();

  // Each throws Failure: Stale, or Refused.
  void apply(const MemoryLayout& layout, const RecordChange& change);
  void raiseNextId(const MemoryLayout& layout, RecordId nextId);
  void apply(const MemoryLayout& layout, const ChangeSet::Sums& sums);
  // The lines of a table that this model does not keep are no longer up to date.
  void forgetSums(std::size_t table);
  void checkReferences() const;
  void keep();

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
  using Lines = std::map<MemorySums::Key, std::string>;
  // The same for one line, or for all.
  struct SumStep {
    std::size_t table;
    MemorySums::Key key;
    std::optional<std::string> replaced;
    Lines::node_type removed;
    std::optional<MemorySums> all;
  };

  void insert(const MemoryLayout& layout, const RecordChange& change);
  void update(const MemoryLayout& layout, const RecordChange& change);
  void remove(const MemoryLayout& layout, const RecordChange& change);
  static Rows::iterator saved(MemoryTable& table, const RecordChange& change);
  Step& remember(std::size_t table, RecordId id);
  void countIn(std::size_t table, const MemoryRow& row);
  void countOut(std::size_t table, const MemoryRow& row) noexcept;
  void putLine(MemoryTable& table, SumStep& step, const std::string& amount);
  void takeBack(Step& step) noexcept;
  void takeBack(SumStep& step) noexcept;

  MemoryState& state_;
  std::vector<Step> steps_;
  std::vector<SumStep> sumSteps_;
};

}  // namespace bokfolio::internal
