// The objects of a file by dimension, as its declarations and its rows name them, and the choice of
// the dimension that becomes tags. Ordered maps, so that no file can make a search slow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "bokfolio/interchange/sie/sie_file.hpp"

namespace bokfolio::sie_internal {

struct ObjectUse {
  std::string_view name;  // "" when it is not declared
  std::uint32_t line = 0;
};

struct DimensionUse {
  std::string_view name;
  std::size_t rows = 0;      // that name at least one of its objects
  std::size_t rowMarks = 0;  // how often rows do
  std::map<std::string_view, ObjectUse> objects;
  std::vector<std::string_view> order;  // of the objects' first appearance, declarations first
};

class ObjectsByDimension {
 public:
  explicit ObjectsByDimension(const SieFile& file);

  const std::map<int, DimensionUse>& dimensions() const noexcept { return dimensions_; }
  // nullptr when nothing of the file belongs to it.
  const DimensionUse* find(int dimension) const;
  // The rule is at SieImportOptions::tagDimension. 0 when there are no objects.
  int mostUsed() const;

 private:
  DimensionUse& use(int dimension) { return dimensions_[dimension]; }
  void note(int dimension, std::string_view number, std::string_view name, std::uint32_t line);

  std::map<int, DimensionUse> dimensions_;
};

}  // namespace bokfolio::sie_internal
