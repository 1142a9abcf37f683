// Where the fields of an address form stand in each country: the table behind the layout, as it is
// written in the property list "AddressFieldPlacement" that comes with the program. It says rows
// and places in a row; points, views and what is hidden are the controller's matter.
//
// The list is a map from country codes, and "default", to maps from field keys ("street",
// "postalCode", "city", "county", "country") to maps with "y_index", "x_index" and "width".
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/platform/property_list.hpp"

namespace bokfolio {

struct AddressFieldPlacement {
  std::int32_t yIndex = 0;             // the row; 0 is the top one
  std::optional<std::int32_t> xIndex;  // the place within the row; absent counts as 0, the left one
  std::optional<float> width;          // in widths of the form; absent: see AddressControllerBase
  friend bool operator==(const AddressFieldPlacement&, const AddressFieldPlacement&) = default;
};

// By field key; a field that is not in it is not used in the country.
using AddressLayout = std::map<std::string, AddressFieldPlacement, std::less<>>;
// By country code, compared as it is written, and "default".
using AddressPlacementTable = std::map<std::string, AddressLayout, std::less<>>;

// nullopt and PropertyListMalformed (kPlatformErrorDomain), with the country and field, when the
// list has another shape than the above: an entry that is no map, an index that is no integer of 32
// bits, a width that is no number. A missing "y_index" is row 0; keys that mean nothing here are
// passed over.
BOKFOLIO_EXPORT std::optional<AddressPlacementTable> readAddressPlacement(const PropertyList& list,
                                                                          ErrorOut error = nullptr);

}  // namespace bokfolio
