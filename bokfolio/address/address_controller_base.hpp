// AddressControllerBase: the controller behind an address form. Each country writes its addresses
// in an order of its own; the controller moves the form's fields to that order, hides those that
// the country does not use, and moves the rest of the form up or down by what was gained or lost.
// It also offers the names of countries and languages to the form's pop-ups. It holds no address:
// the fields' contents are the host's.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/address/address_field_placement.hpp"
#include "bokfolio/address/code_to_name_transformer.hpp"
#include "bokfolio/address/form_view.hpp"
#include "bokfolio/export.hpp"
#include "bokfolio/platform/environment.hpp"

namespace bokfolio {

// The tags by which a form says what its views are.
namespace address_tags {
// An invisible view just above the first row, at its left end. Its width is that of the form's
// fields, its height that of a row.
inline constexpr std::int32_t kReference = 764000;
inline constexpr std::int32_t kStreet = 764001;
inline constexpr std::int32_t kPostalCode = 764002;
inline constexpr std::int32_t kCity = 764003;
inline constexpr std::int32_t kCounty = 764004;
inline constexpr std::int32_t kCountry = 764005;
// The lower end of the block counts as this view's y at the highest: fields that come and go above
// it move nothing.
inline constexpr std::int32_t kBottomMarker = 767001;
// Every view that stands below the block and moves with its lower end.
inline constexpr std::int32_t kBelowBlock = 763999;
}  // namespace address_tags

// Names under which the controller registers its transformers.
inline constexpr std::string_view kCountryCodeToName = "CountryCodeToName";
inline constexpr std::string_view kLanguageCodeToName = "LanguageCodeToName";

class BOKFOLIO_EXPORT AddressControllerBase {
 public:
  // Makes both transformers in the locale's language and registers them for the process, in place
  // of those of an earlier controller. The placement table, texts and log are the environment's.
  explicit AddressControllerBase(const Environment& environment = Environment::process());
  AddressControllerBase(const AddressControllerBase&) = delete;
  AddressControllerBase& operator=(const AddressControllerBase&) = delete;
  virtual ~AddressControllerBase();

  // The keys that controls of the form may be bound to: "countries" and "languages". What they read
  // does not change during the controller's life, so there is nothing to observe.
  static constexpr std::array<std::string_view, 2> exposedBindings() noexcept {
    return {"countries", "languages"};
  }
  // What an exposed key reads; nullptr for another key.
  const std::vector<std::string>* valueForBinding(std::string_view key) const noexcept;
  // The names to pick from, sorted as CodeToNameTransformer does.
  const std::vector<std::string>& countries() const noexcept { return t_->sortedNames(); }
  const std::vector<std::string>& languages() const noexcept { return l_->sortedNames(); }

  const CountryCodeToNameTransformer& countryTransformer() const noexcept { return *t_; }
  const CodeToNameTransformer& languageTransformer() const noexcept { return *l_; }

  // The table from the resource "AddressFieldPlacement.plist", read when first asked for and then
  // kept. nullptr when there is no such resource, or none that can be read: then the log says why,
  // and the next question tries again.
  const AddressPlacementTable* addressFieldPlacement();

  // Lays the form's five fields out for a country. The code is compared with the table as it is
  // given; a country that is not in the table gets the layout "default", and when there is none
  // every field is hidden. With `animate`, views are changed through their animators.
  //
  // A field stands in its row, row 0 just below the reference view, 8 points between rows and
  // between fields. Its width is its share of the form's; without one it takes the whole form, or,
  // when it is not the first of its row, what the fields up to it leave: a field without width
  // counts only its gap there. Pop-up buttons are set 3 points left and down and 6 wider, except
  // that one which takes the rest of a row gets just the rest. A field that the form lacks is
  // passed over, and views tagged kBelowBlock count only directly in the form.
  //
  // Laying out the same country again changes no field and moves nothing.
  void adjustAddressFieldsInView(FormView& form, std::string_view country, bool animate = true);

  // How far the last layout moved the views below the block, in points; positive is up, as the
  // block got shorter.
  float moveDown() const noexcept { return moveDown_; }

 private:
  const AddressLayout& layoutOf(std::string_view country);

  Environment environment_;
  std::shared_ptr<const CountryCodeToNameTransformer> t_;
  std::shared_ptr<const LanguageCodeToNameTransformer> l_;
  std::optional<AddressPlacementTable> addressFieldPlacement_;
  float moveDown_ = 0;
};

}  // namespace bokfolio
