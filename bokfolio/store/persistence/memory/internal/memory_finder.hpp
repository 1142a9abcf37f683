// MemoryFinder: one question about the records of a table in memory. It goes through the fewest
// candidates that a single condition leaves and sorts them, or, where the question has a limit,
// through the records in the order that is wanted until there are enough.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "bokfolio/store/persistence/memory/internal/memory_state.hpp"

namespace bokfolio::internal {

class MemoryFinder {
 public:
  using Visit = std::function<void(RecordId id, const MemoryRow& row)>;

  // Throws Failure for a question that engines do not answer.
  MemoryFinder(MemoryTable& table, const MemoryLayout& layout, const SavedQuestion& question);

  void visit(const Visit& visit);

 private:
  using Candidates = std::vector<RecordId>;

  const MemoryIndex& index(std::uint16_t ordinal) { return table_.index(layout_.column(ordinal)); }
  bool holds(const SavedCondition& condition, RecordId id, const MemoryRow& row) const;
  bool holds(RecordId id, const MemoryRow& row) const;
  // Keeps the smaller of the candidates there are and those that the condition leaves.
  void narrow(const SavedCondition& condition);
  void take(const MemoryIndex::Ids* ids);
  void takeIds(std::int64_t low, std::int64_t high);
  void sort(Candidates& found) const;
  void visitSorted(const Visit& visit);
  void visitInOrder(const Visit& visit);
  // Answers whether more are wanted.
  bool offer(RecordId id, const Visit& visit);

  MemoryTable& table_;
  const MemoryLayout& layout_;
  const SavedQuestion& question_;
  bool narrowed_ = false;
  Candidates candidates_;  // once narrowed
  std::size_t skipped_ = 0;
  std::size_t given_ = 0;
};

}  // namespace bokfolio::internal
