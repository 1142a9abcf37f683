// SortedBlocks: a sorted sequence kept in blocks, so that inserting and erasing cost about the same
// in ten entries and in ten million, while walking it is as fast as walking an array. Elements are
// unique by the order.
//
// Invariants: no block is empty; every element of a block orders before those of the next.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace bokfolio::internal {

template <class T, class Less>
class SortedBlocks {
 public:
  struct Position {
    std::size_t block = 0;
    std::size_t slot = 0;
    friend bool operator==(const Position&, const Position&) = default;
  };

  std::size_t size() const { return size_; }
  void clear() {
    blocks_.clear();
    size_ = 0;
  }

  // Takes over elements that are sorted and unique already.
  void assignSorted(const std::vector<T>& elements) {
    clear();
    for (std::size_t at = 0; at < elements.size(); at += kFill) {
      const std::size_t end = std::min(at + kFill, elements.size());
      blocks_.emplace_back(elements.begin() + static_cast<std::ptrdiff_t>(at),
                           elements.begin() + static_cast<std::ptrdiff_t>(end));
    }
    size_ = elements.size();
  }

  bool insert(const T& element) {
    if (blocks_.empty()) {
      blocks_.push_back({element});
      size_ = 1;
      return true;
    }
    const std::size_t index = blockFor(element);
    auto& block = blocks_[index];
    const auto at = std::lower_bound(block.begin(), block.end(), element, less_);
    if (at != block.end() && !less_(element, *at)) return false;
    block.insert(at, element);
    ++size_;
    if (block.size() > kCapacity) split(index);
    return true;
  }

  bool erase(const T& element) {
    if (blocks_.empty()) return false;
    const std::size_t index = blockFor(element);
    auto& block = blocks_[index];
    const auto at = std::lower_bound(block.begin(), block.end(), element, less_);
    if (at == block.end() || less_(element, *at)) return false;
    block.erase(at);
    if (block.empty()) blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(index));
    --size_;
    return true;
  }

  // The first element for which `before(element)` is false; elements must be partitioned by it.
  template <class Before>
  Position partitionPoint(Before before) const {
    const auto block = std::partition_point(
        blocks_.begin(), blocks_.end(), [&](const auto& items) { return before(items.back()); });
    if (block == blocks_.end()) return end();
    const auto slot = std::partition_point(block->begin(), block->end(), before);
    return {static_cast<std::size_t>(block - blocks_.begin()),
            static_cast<std::size_t>(slot - block->begin())};
  }

  Position begin() const { return {}; }
  Position end() const { return {blocks_.size(), 0}; }
  const T& operator[](Position at) const { return blocks_[at.block][at.slot]; }
  Position next(Position at) const {
    if (++at.slot == blocks_[at.block].size()) at = {at.block + 1, 0};
    return at;
  }
  // Must not be asked of begin().
  Position previous(Position at) const {
    if (at.slot > 0) return {at.block, at.slot - 1};
    return {at.block - 1, blocks_[at.block - 1].size() - 1};
  }

  // Number of elements in [from, to); exact within two neighbouring blocks, else a fair estimate.
  std::size_t distance(Position from, Position to) const {
    if (from.block == to.block) return to.slot - from.slot;
    const std::size_t between = (to.block - from.block - 1) * kFill;
    return blocks_[from.block].size() - from.slot + between + to.slot;
  }

  template <class Visit>
  void forEach(Visit visit) const {
    for (const auto& block : blocks_)
      for (const T& element : block) visit(element);
  }

 private:
  static constexpr std::size_t kCapacity = 512;
  static constexpr std::size_t kFill = 384;

  std::size_t blockFor(const T& element) const {
    const auto block = std::partition_point(blocks_.begin(), blocks_.end(), [&](const auto& items) {
      return less_(items.back(), element);
    });
    if (block == blocks_.end()) return blocks_.size() - 1;
    return static_cast<std::size_t>(block - blocks_.begin());
  }

  // Uneven on purpose: most insertions come at the end, and full blocks should stay behind them.
  void split(std::size_t index) {
    auto& block = blocks_[index];
    const bool last = index + 1 == blocks_.size();
    const auto cut = block.begin() + static_cast<std::ptrdiff_t>(last ? kFill : kCapacity / 2);
    std::vector<T> tail(cut, block.end());
    block.erase(cut, block.end());
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(tail));
  }

  std::vector<std::vector<T>> blocks_;
  std::size_t size_ = 0;
  [[no_unique_address]] Less less_;
};

}  // namespace bokfolio::internal
