// MemoryIndex: the records of one table by the value in one column: nil, an integer, a date, a
// reference or a text. Made when first asked for and kept in step by the commits.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <variant>

#include "bokfolio/store/record.hpp"

namespace bokfolio::internal {

// Nil stands before all values.
using MemoryKey = std::variant<std::monostate, std::int64_t, std::string>;

class MemoryIndex {
 public:
  using Ids = std::set<RecordId>;
  using Groups = std::map<MemoryKey, Ids>;

  void add(const MemoryKey& key, RecordId id) { groups_[key].insert(id); }
  void remove(const MemoryKey& key, RecordId id);
  // nullptr when there is none.
  const Ids* find(const MemoryKey& key) const;
  const Groups& groups() const { return groups_; }

 private:
  Groups groups_;
};

}  // namespace bokfolio::internal
