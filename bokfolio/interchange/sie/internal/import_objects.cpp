#include "bokfolio/interchange/sie/internal/import_objects.hpp"

#include <tuple>

namespace bokfolio::sie_internal {

namespace {

constexpr int kCostCentre = 1;
constexpr int kProject = 6;

// Smaller goes first.
std::tuple<int, int> precedence(int dimension) {
  if (dimension == kCostCentre) return {0, 0};
  if (dimension == kProject) return {1, 0};
  return {2, dimension};
}

}  // namespace

ObjectsByDimension::ObjectsByDimension(const SieFile& file) {
  for (const SieDimension& dimension : file.dimensions) use(dimension.number).name = dimension.name;
  for (const SieObject& object : file.objects)
    note(object.dimension, object.number, object.name, object.line);
  std::map<int, std::uint32_t> lastLine;
  for (const SieRow& row : file.rows) {
    for (const SieObjectRef& object : file.objectsOf(row)) {
      note(object.dimension, object.number, {}, row.line);
      DimensionUse& dimension = use(object.dimension);
      ++dimension.rowMarks;
      if (std::uint32_t& last = lastLine[object.dimension]; last != row.line) {
        last = row.line;
        ++dimension.rows;
      }
    }
  }
}

void ObjectsByDimension::note(int dimension, std::string_view number, std::string_view name,
                              std::uint32_t line) {
  DimensionUse& to = use(dimension);
  const auto [place, isFirst] = to.objects.try_emplace(number, ObjectUse{name, line});
  if (isFirst) {
    to.order.push_back(number);
  } else if (place->second.name.empty()) {
    place->second.name = name;
  }
}

const DimensionUse* ObjectsByDimension::find(int dimension) const {
  const auto found = dimensions_.find(dimension);
  return found == dimensions_.end() ? nullptr : &found->second;
}

int ObjectsByDimension::mostUsed() const {
  int best = 0;
  std::size_t bestRows = 0;
  for (const auto& [number, use] : dimensions_) {
    if (use.objects.empty()) continue;
    const bool isBetter = best == 0 || use.rows > bestRows ||
                          (use.rows == bestRows && precedence(number) < precedence(best));
    if (!isBetter) continue;
    best = number;
    bestRows = use.rows;
  }
  return best;
}

}  // namespace bokfolio::sie_internal
