// KeptSums: the sums that the store keeps of one entity's records, by owner, period, mark and
// instant (KeptSumDescription). Built by one walk over all records when first asked; from then on
// the journal takes a record out before anything that counts changes, and the record is counted
// again when the sums are next asked, so that a burst of writes costs one counting.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bokfolio/platform/date.hpp"
#include "bokfolio/store/internal/exact_sum.hpp"
#include "bokfolio/store/internal/sum_tree.hpp"
#include "bokfolio/store/kept_sum.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

class KeptSums {
 public:
  explicit KeptSums(const KeptSumLayout& layout) : layout_(&layout) {}

  const KeptSumLayout& layout() const { return *layout_; }
  bool built() const { return built_; }
  // StoreError for a question that is not kept.
  ExactSum find(const KeptSumQuestion& question) const;
  // Whether both know the same sums.
  bool agreesWith(const KeptSums& other) const;

  // --- For the journal and the loader
  // All of these records, which must have their values and those behind `via` in memory.
  void build(const std::vector<Record*>& records);
  // Takes the record out before something that counts changes; it waits to be counted again.
  void detach(Record& record);
  // A record that is not counted waits to be.
  void await(Record& record);
  // Takes the record out, or forgets that it waits, because it is no longer live.
  void drop(Record& record);
  void attachWaiting();

 private:
  using Pair = std::pair<const Record*, const Record*>;
  struct HashOfPair {
    std::size_t operator()(const Pair& pair) const {
      const auto first = std::hash<const Record*>{}(pair.first);
      return first ^ (std::hash<const Record*>{}(pair.second) * 0x9E3779B97F4A7C15U);
    }
  };
  // Of one owner in one period.
  struct Ledger {
    SumTree all;
    std::vector<std::pair<const Record*, SumTree>> byMark;  // few marks an owner
  };
  // What one record counts, and where.
  struct Share {
    const Record* owner = nullptr;
    const Record* mark = nullptr;
    const Record* period = nullptr;
    std::int64_t instant = 0;
    ExactSum amount;
  };

  // Whether the other knows at least these sums.
  bool isWithin(const KeptSums& other) const;
  static bool isWithin(const SumTree& tree, const KeptSums& other, KeptSumQuestion question);
  // nullopt for a record that counts nothing.
  std::optional<Share> shareOf(const Record& record) const;
  void count(Record& record, bool in);
  static SumTree& treeOf(Ledger& ledger, const Record& mark);

  const KeptSumLayout* layout_;
  bool built_ = false;
  std::unordered_map<Pair, Ledger, HashOfPair> ledgers_;   // by owner and period
  std::unordered_map<Pair, ExactSum, HashOfPair> byMark_;  // by mark and period
  std::vector<Record*> waiting_;
};

}  // namespace bokfolio::internal
