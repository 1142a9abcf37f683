// An address form as a host builds it: the reference at (20, 300), 400 wide and 24 high, so that
// row r stands at 300 - 32 (r + 1); the fields in a box of their own, 24 high; the bottom marker at
// 0; two views below the block. The country is a pop-up button.
#pragma once

#include <cstdio>
#include <map>
#include <sstream>
#include <string>

#include "bokfolio/address/address_controller_base.hpp"

namespace bokfolio::test {

inline std::string textOf(const ViewFrame& frame) {
  char text[96];
  std::snprintf(text, sizeof text, "%g,%g %gx%g", static_cast<double>(frame.x),
                static_cast<double>(frame.y), static_cast<double>(frame.width),
                static_cast<double>(frame.height));
  return text;
}

// The entry of a country in the placement list, from "street 0, postalCode 1 0 0.3, city 1 1":
// field, row, place in the row, width; "-" or nothing leaves one out.
inline std::string placementEntry(const std::string& country, const std::string& fields) {
  std::string entry = "<key>" + country + "</key><dict>";
  std::istringstream items(fields);
  for (std::string item; std::getline(items, item, ',');) {
    std::istringstream words(item);
    std::string field;
    words >> field;
    entry += "<key>" + field + "</key><dict>";
    for (const auto& [key, kind] : {std::pair{"y_index", "integer"},
                                    std::pair{"x_index", "integer"}, std::pair{"width", "real"}}) {
      std::string value;
      if (!(words >> value) || value == "-") continue;
      entry += std::string("<key>") + key + "</key><" + kind + ">" + value + "</" + kind + ">";
    }
    entry += "</dict>";
  }
  return entry + "</dict>";
}

inline std::shared_ptr<const Resources> placementResource(const std::string& entries) {
  auto resources = std::make_shared<MemoryResources>();
  resources->add("AddressFieldPlacement", "plist", "<plist><dict>" + entries + "</dict></plist>");
  return resources;
}

template <class View = PlainView>
struct AddressForm {
  using Kind = PlainView::Kind;

  explicit AddressForm(Kind countryKind = Kind::PopUpButton) {
    auto& box = root.addSubview(std::make_unique<View>(1));
    box.addSubview(std::make_unique<View>(764000, ViewFrame{20, 300, 400, 24}));
    for (const auto& [tag, kind] : {std::pair{764001, Kind::Plain}, std::pair{764002, Kind::Plain},
                                    std::pair{764003, Kind::Plain}, std::pair{764004, Kind::Plain},
                                    std::pair{764005, countryKind}}) {
      const float y = 300.0F - 32.0F * static_cast<float>(tag - 764000);
      fields[tag] = &box.addSubview(std::make_unique<View>(tag, ViewFrame{20, y, 400, 24}, kind));
    }
    marker = &root.addSubview(std::make_unique<View>(767001, ViewFrame{0, 1000, 0, 0}));
    below = &root.addSubview(std::make_unique<View>(763999, ViewFrame{20, 100, 90, 20}));
    farBelow = &root.addSubview(std::make_unique<View>(763999, ViewFrame{30, 50, 80, 10}));
    nested = &box.addSubview(std::make_unique<View>(763999, ViewFrame{1, 2, 3, 4}));
  }

  // The visible fields' frames: "street 20,268 400x24; ...".
  std::string frames() const {
    static const char* const kNames[] = {"street", "postalCode", "city", "county", "country"};
    std::string text;
    for (const auto& [tag, field] : fields) {
      if (field->isHidden()) continue;
      if (!text.empty()) text += "; ";
      text += std::string(kNames[tag - 764001]) + ' ' + textOf(field->frame());
    }
    return text;
  }

  View root{0};
  std::map<std::int32_t, View*> fields;
  View* marker;
  View* below;
  View* farBelow;
  View* nested;
};

}  // namespace bokfolio::test
