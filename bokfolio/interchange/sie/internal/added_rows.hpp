// The #RTRANS rows of one voucher that wait for the #TRANS repeating them. Ordered, not hashed, so
// that no file can make the search slow.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <tuple>
#include <vector>

#include "bokfolio/interchange/sie/sie_file.hpp"

namespace bokfolio::sie_internal {

class AddedRows {
 public:
  bool empty() const noexcept { return waiting_.empty(); }
  void clear() noexcept { waiting_.clear(); }

  void add(const SieRow& row, std::span<const SieObjectRef> objects, std::size_t index) {
    waiting_.emplace(key(row, objects), index);
  }

  // The index of the first waiting row that this one repeats; it waits no longer.
  std::optional<std::size_t> take(const SieRow& row, std::span<const SieObjectRef> objects) {
    const Key wanted = key(row, objects);
    const auto found = waiting_.lower_bound(wanted);
    if (found == waiting_.end() || wanted < found->first) return std::nullopt;
    const std::size_t index = found->second;
    waiting_.erase(found);
    return index;
  }

  template <typename Action>
  void forEach(const Action& action) const {
    for (const auto& [key, index] : waiting_) action(index);
  }

 private:
  using Key = std::tuple<int, Decimal, std::vector<SieObjectRef>>;

  static Key key(const SieRow& row, std::span<const SieObjectRef> objects) {
    return {row.account, row.amount, std::vector(objects.begin(), objects.end())};
  }

  std::multimap<Key, std::size_t> waiting_;
};

}  // namespace bokfolio::sie_internal
