#include "bokfolio/address/address_field_placement.hpp"

#include <cmath>
#include <limits>

#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {

namespace {

struct Misshapen {
  std::string what;
};

const PropertyList::Map& mapOf(const PropertyList& list, const std::string& place) {
  if (const auto* map = list.map()) return *map;
  throw Misshapen{place + " is no map"};
}

std::optional<std::int32_t> indexOf(const PropertyList& placement, std::string_view key,
                                    const std::string& place) {
  const PropertyList* found = placement.find(key);
  if (found == nullptr) return std::nullopt;
  const auto index = found->integer();
  if (!index || *index < std::numeric_limits<std::int32_t>::min() ||
      *index > std::numeric_limits<std::int32_t>::max()) {
    throw Misshapen{place + " has a " + std::string(key) + " that is no integer of 32 bits"};
  }
  return static_cast<std::int32_t>(*index);
}

std::optional<float> widthOf(const PropertyList& placement, const std::string& place) {
  const PropertyList* found = placement.find("width");
  if (found == nullptr) return std::nullopt;
  const auto width = found->number();
  if (!width || std::abs(*width) > std::numeric_limits<float>::max()) {
    throw Misshapen{place + " has a width that is no number of 32 bits"};
  }
  return static_cast<float>(*width);
}

AddressFieldPlacement placementOf(const PropertyList& list, const std::string& place) {
  mapOf(list, place);
  return {indexOf(list, "y_index", place).value_or(0), indexOf(list, "x_index", place),
          widthOf(list, place)};
}

}  // namespace

std::optional<AddressPlacementTable> readAddressPlacement(const PropertyList& list,
                                                          ErrorOut error) {
  try {
    AddressPlacementTable table;
    for (const auto& [country, fields] : mapOf(list, "The table of address fields")) {
      AddressLayout& layout = table[country];
      for (const auto& [field, placement] : mapOf(fields, "The layout of " + country)) {
        layout.emplace(field, placementOf(placement, "The field " + field + " of " + country));
      }
    }
    return table;
  } catch (const Misshapen& fault) {
    failPlatform(error, PlatformErrorCode::PropertyListMalformed, fault.what + ".");
    return std::nullopt;
  }
}

}  // namespace bokfolio
