// The table that is shipped, and tables as they may come: which countries there are, that forms and
// address blocks agree on the order of fields, and that no layout lets fields overlap.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

#include "bokfolio/platform/postal_address.hpp"
#include "tests/address/address_form.hpp"
#include "tests/world/world.hpp"

namespace bokfolio::test {
namespace {

const AddressPlacementTable& shippedTable() {
  static const auto table = [] {
    AddressControllerBase controller(makeTestEnvironment());
    return *controller.addressFieldPlacement();
  }();
  return table;
}

char letterOf(const std::string& field) {
  static const std::map<std::string, char> kLetters = {
      {"street", 'S'}, {"postalCode", 'Z'}, {"city", 'C'}, {"county", 'K'}, {"country", 'N'}};
  return kLetters.at(field);
}

// "S|ZC|N": the fields of each row from left to right.
std::string orderOf(const AddressLayout& layout) {
  std::map<std::int32_t, std::map<std::int32_t, char>> rows;
  for (const auto& [field, placement] : layout) {
    const bool alone =
        rows[placement.yIndex].emplace(placement.xIndex.value_or(0), letterOf(field)).second;
    EXPECT_TRUE(alone) << field;
  }
  std::string order;
  for (const auto& [row, fields] : rows) {
    if (!order.empty()) order += '|';
    for (const auto& [place, letter] : fields) order += letter;
  }
  return order;
}

// The same of an address block with just those fields.
std::string orderOfBlock(const AddressLayout& layout, const std::string& country) {
  const auto value = [&](const char* field) {
    return layout.contains(field) ? std::optional<std::string>(std::string(1, letterOf(field)))
                                  : std::nullopt;
  };
  const PostalAddress address{value("street"), value("postalCode"), value("city"), value("county"),
                              country};
  const AttributedText block = formatPostalAddress(address, false, Locale("en_US"));
  std::string order;
  for (const char c : block.text()) {
    if (c == '\n') order += '|';
    if (std::string_view("SZCK").find(c) != std::string_view::npos) order += c;
  }
  return order + "|N";
}

TEST(AddressPlacement, CoversTheCountriesOfTheUnionAndOfThePublishedCurrencies) {
  const std::set<std::string> wanted = {
      // the European Union
      "at", "be", "bg", "hr", "cy", "cz", "dk", "ee", "fi", "fr", "de", "gr", "hu", "ie", "it",
      "lv", "lt", "lu", "mt", "nl", "pl", "pt", "ro", "sk", "si", "es", "se",
      // AUD to ZAR of the reference rates
      "au", "br", "ca", "ch", "li", "cn", "fo", "gl", "gb", "uk", "hk", "id", "il", "in", "is",
      "jp", "kr", "mx", "my", "no", "nz", "ph", "ru", "sg", "th", "tr", "us", "za"};
  for (const std::string& country : wanted) {
    EXPECT_TRUE(shippedTable().contains(country)) << country;
  }
  EXPECT_TRUE(shippedTable().contains("default"));
  for (const auto& [country, layout] : shippedTable()) {
    if (country == "default") continue;
    std::string other = country;
    const bool small = country[0] >= 'a';
    for (char& c : other) c = static_cast<char>(small ? c - 'a' + 'A' : c - 'A' + 'a');
    ASSERT_EQ(country.size(), 2U);
    EXPECT_EQ(shippedTable().at(other), layout) << country;
  }
}

TEST(AddressPlacement, FormsAndBlocksAgreeOnTheOrder) {
  for (const auto& [country, layout] : shippedTable()) {
    const std::string order = orderOf(layout);
    EXPECT_EQ(order, orderOfBlock(layout, country == "default" ? "XX" : country)) << country;
    for (const char needed : {'S', 'C', 'N'}) EXPECT_NE(order.find(needed), order.npos) << country;
  }
}

// Fields by row, each row from left to right.
using Rows = std::map<float, std::vector<ViewFrame>>;

Rows rowsOf(const AddressForm<>& form) {
  Rows rows;
  for (const auto& [tag, field] : form.fields) {
    if (field->isHidden()) continue;
    ViewFrame frame = field->frame();
    // A pop-up button's own edge lies inside its frame.
    if (field->isPopUpButton()) frame.x += 3, frame.y += 3, frame.width -= 6;
    rows[frame.y].push_back(frame);
  }
  for (auto& [y, frames] : rows) {
    std::sort(frames.begin(), frames.end(), [](auto& a, auto& b) { return a.x < b.x; });
  }
  return rows;
}

// Rows begin and end with the form and have nothing but gaps between fields.
void expectNoOverlap(const AddressForm<>& form, const std::string& what) {
  constexpr float kTolerance = 0.01F;
  for (const auto& [y, frames] : rowsOf(form)) {
    EXPECT_NEAR(frames.front().x, 20, kTolerance) << what;
    EXPECT_NEAR(frames.back().x + frames.back().width, 420, kTolerance) << what;
    for (std::size_t next = 1; next < frames.size(); ++next) {
      EXPECT_NEAR(frames[next].x - frames[next - 1].x - frames[next - 1].width, 8, kTolerance)
          << what;
    }
    EXPECT_NEAR(std::remainder(y - 300, 32), 0, kTolerance) << what;
  }
}

TEST(AddressPlacement, ShippedLayoutsFillTheirRows) {
  AddressControllerBase controller(makeTestEnvironment());
  AddressForm form;
  for (const auto& [country, layout] : shippedTable()) {
    controller.adjustAddressFieldsInView(form.root, country);
    expectNoOverlap(form, country);
    const std::string frames = form.frames();
    controller.adjustAddressFieldsInView(form.root, country);
    EXPECT_EQ(controller.moveDown(), 0.0F) << country;
    EXPECT_EQ(form.frames(), frames) << country;
  }
}

}  // namespace
}  // namespace bokfolio::test
