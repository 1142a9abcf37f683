// KnownIds: which records the indexes of a table tell of. An index holds the id of every record,
// nil or not, so that a whole one knows exactly which there were; where several do, most of them
// must agree.
#pragma once

#include <cstdint>
#include <vector>

#include "bokfolio/store/persistence/sqlite/salvage.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_plan.hpp"

namespace bokfolio::internal {

class KnownIds {
 public:
  KnownIds(const DamagedSchema& schema, const SqlTable& table, PageClaims& claims,
           TreeReader& reader);

  // Ascending. All there were when some index is whole, else those that are still told of.
  const std::vector<std::int64_t>& ids() const { return ids_; }
  bool has(std::int64_t id) const;
  int wholeIndexes() const { return whole_; }
  // Adds to each lost record what the indexes tell of it. `lost` ascends.
  void describe(TreeReader& reader, std::vector<SalvageReport::LostRecord>& lost) const;

 private:
  struct Index {
    const SqlIndex* index;
    std::uint32_t root;
    PageClaims::Owner owner;
  };

  // False when the index is not whole.
  static bool read(TreeReader& reader, const Index& index, std::vector<std::int64_t>& told);
  void keepAgreed();

  std::vector<Index> indexes_;
  std::vector<std::int64_t> ids_;
  int whole_ = 0;
};

}  // namespace bokfolio::internal
