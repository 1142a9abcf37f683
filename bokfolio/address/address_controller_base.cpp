#include "bokfolio/address/address_controller_base.hpp"

#include <algorithm>

namespace bokfolio {

namespace {

constexpr std::string_view kResource = "AddressFieldPlacement";
constexpr float kGap = 8;
// Above every view: the start of a search for the lowest one.
constexpr float kTop = 100000;
// The margin of a pop-up button inside its frame.
constexpr float kPopUpMargin = 3;

struct FieldKind {
  std::string_view key;
  std::int32_t tag;
};

constexpr FieldKind kFields[] = {{"street", address_tags::kStreet},
                                 {"postalCode", address_tags::kPostalCode},
                                 {"city", address_tags::kCity},
                                 {"county", address_tags::kCounty},
                                 {"country", address_tags::kCountry}};

const AddressFieldPlacement* placementOf(const AddressLayout& layout, std::string_view key) {
  const auto found = layout.find(key);
  return found == layout.end() ? nullptr : &found->second;
}

float yOf(FormView& form, std::int32_t tag) {
  const FormView* view = viewWithTag(form, tag);
  return view == nullptr ? 0 : view->frame().y;
}

// What the other fields of the row up to the field's own place take.
float offsetInRow(const AddressLayout& layout, std::string_view key,
                  const AddressFieldPlacement& placement, float unitWidth) {
  float offset = 0;
  for (const FieldKind& other : kFields) {
    const AddressFieldPlacement* beside = placementOf(layout, other.key);
    if (other.key == key || beside == nullptr || !beside->xIndex) continue;
    if (beside->yIndex != placement.yIndex || *beside->xIndex > *placement.xIndex) continue;
    offset += beside->width.value_or(0) * unitWidth + kGap;
  }
  return offset;
}

// The place of a field; its height stays as it is.
ViewFrame frameOf(const FormView& field, const AddressLayout& layout, std::string_view key,
                  const AddressFieldPlacement& placement, const ViewFrame& reference) {
  const float unitWidth = reference.width;
  const float row = static_cast<float>(placement.yIndex);
  ViewFrame frame{reference.x, reference.y - (reference.height + kGap) * (row + 1),
                  placement.width ? *placement.width * unitWidth : unitWidth, field.frame().height};
  if (field.isPopUpButton()) {
    frame.width += 2 * kPopUpMargin;
    frame.x -= kPopUpMargin;
    frame.y -= kPopUpMargin;
  }
  if (placement.xIndex.value_or(0) != 0) {
    const float offset = offsetInRow(layout, key, placement, unitWidth);
    if (!placement.width) frame.width = unitWidth - offset;
    frame.x += offset;
  }
  return frame;
}

FormView& targetOf(FormView& view, bool animate) { return animate ? view.animator() : view; }

void moveBelowBlock(FormView& form, float distance, bool animate) {
  for (FormView* view : form.subviews()) {
    if (view->tag() != address_tags::kBelowBlock) continue;
    ViewFrame frame = view->frame();
    frame.y += distance;
    targetOf(*view, animate).setFrame(frame);
  }
}

}  // namespace

AddressControllerBase::AddressControllerBase(const Environment& environment)
    : environment_(environment),
      t_(std::make_shared<const CountryCodeToNameTransformer>(environment)),
      l_(std::make_shared<const LanguageCodeToNameTransformer>(environment)) {
  ValueTransformer::setValueTransformer(t_, std::string(kCountryCodeToName));
  ValueTransformer::setValueTransformer(l_, std::string(kLanguageCodeToName));
}

AddressControllerBase::~AddressControllerBase() = default;

const std::vector<std::string>* AddressControllerBase::valueForBinding(
    std::string_view key) const noexcept {
  if (key == "countries") return &countries();
  if (key == "languages") return &languages();
  return nullptr;
}

const AddressPlacementTable* AddressControllerBase::addressFieldPlacement() {
  if (!addressFieldPlacement_) {
    const auto bytes = environment_.resources().load(kResource, "plist");
    if (!bytes) return nullptr;
    std::optional<Error> error;
    if (const auto list = PropertyList::parse(*bytes, &error)) {
      addressFieldPlacement_ = readAddressPlacement(*list, &error);
    }
    if (error)
      environment_.log().write(std::string(kResource) + ": " + error->localizedDescription());
  }
  return addressFieldPlacement_ ? &*addressFieldPlacement_ : nullptr;
}

const AddressLayout& AddressControllerBase::layoutOf(std::string_view country) {
  static const AddressLayout kNothing;
  const AddressPlacementTable* table = addressFieldPlacement();
  if (table == nullptr) return kNothing;
  for (const std::string_view name : {country, std::string_view("default")}) {
    const auto found = table->find(name);
    if (found != table->end()) return found->second;
  }
  return kNothing;
}

void AddressControllerBase::adjustAddressFieldsInView(FormView& form, std::string_view country,
                                                      bool animate) {
  const AddressLayout& layout = layoutOf(country);
  const FormView* referenceView = viewWithTag(form, address_tags::kReference);
  const ViewFrame reference = referenceView == nullptr ? ViewFrame{} : referenceView->frame();
  float oldTop = kTop;
  float newTop = kTop;
  for (const FieldKind& kind : kFields) {
    FormView* field = viewWithTag(form, kind.tag);
    if (field == nullptr) continue;
    if (!field->isHidden()) oldTop = std::min(oldTop, field->frame().y);
    FormView& target = targetOf(*field, animate);
    const AddressFieldPlacement* placement = placementOf(layout, kind.key);
    target.setHidden(placement == nullptr);
    if (placement == nullptr) continue;
    const ViewFrame frame = frameOf(*field, layout, kind.key, *placement, reference);
    target.setFrame(frame);
    newTop = std::min(newTop, frame.y);
  }
  const float bottom = yOf(form, address_tags::kBottomMarker);
  newTop = std::min(newTop, bottom);
  oldTop = std::min(oldTop, bottom);
  moveDown_ = newTop - oldTop;
  moveBelowBlock(form, moveDown_, animate);
}

}  // namespace bokfolio
