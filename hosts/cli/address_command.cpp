// `address`: how an address form looks for a country, drawn with characters. It keeps no document;
// it shows what a host with windows does with the layout.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "bokfolio/address/address_controller_base.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "text_width.hpp"

namespace bokfolio::cli {

namespace {

struct AddressOptions {
  std::string country;
};

// A character of the drawing is 8 points wide, and a row with its gap 32 points high; a form is 50
// characters wide.
constexpr float kCharacter = 8;
constexpr float kRowHeight = 24;
constexpr float kGap = 8;
constexpr float kFormWidth = 50 * kCharacter;
constexpr float kTopOfForm = 200;

struct Field {
  std::int32_t tag;
  const char* key;
  const char* label;
};

constexpr Field kFields[] = {{address_tags::kStreet, "street", "Street"},
                             {address_tags::kPostalCode, "postalCode", "Postal code"},
                             {address_tags::kCity, "city", "City"},
                             {address_tags::kCounty, "county", "County"},
                             {address_tags::kCountry, "country", "Country"}};

// The form of a window: five fields one below the other, the country a pop-up button, and a note
// field below.
struct Form {
  Form() {
    window.addSubview(std::make_unique<PlainView>(
        address_tags::kReference, ViewFrame{0, kTopOfForm, kFormWidth, kRowHeight}));
    float y = kTopOfForm;
    for (const Field& field : kFields) {
      y -= kRowHeight + kGap;
      const auto kind = field.tag == address_tags::kCountry ? PlainView::Kind::PopUpButton
                                                            : PlainView::Kind::Plain;
      fields.push_back(&window.addSubview(
          std::make_unique<PlainView>(field.tag, ViewFrame{0, y, kFormWidth, kRowHeight}, kind)));
    }
    window.addSubview(std::make_unique<PlainView>(address_tags::kBottomMarker,
                                                  ViewFrame{0, kTopOfForm, kFormWidth, 1}));
    below = &window.addSubview(std::make_unique<PlainView>(
        address_tags::kBelowBlock, ViewFrame{0, y - kRowHeight - kGap, kFormWidth, kRowHeight}));
  }

  PlainView window{0};
  std::vector<PlainView*> fields;
  PlainView* below = nullptr;
};

// As a user sees it: a pop-up button without the margin inside its frame.
ViewFrame seenFrame(const PlainView& view) {
  ViewFrame frame = view.frame();
  if (!view.isPopUpButton()) return frame;
  constexpr float kMargin = 3;
  return {frame.x + kMargin, frame.y + kMargin, frame.width - 2 * kMargin, frame.height};
}

std::size_t columnOf(float x) {
  return static_cast<std::size_t>(std::max(0.0F, std::round(x / kCharacter)));
}

// "[Postal code  ]", or "(Sweden      v)" for a pop-up button.
std::string box(const std::string& label, std::size_t width, bool popUp) {
  if (width < 4) return std::string(width, '.');
  std::string inside = label;
  const std::size_t room = width - (popUp ? 4 : 2);
  while (displayWidth(inside) > room) {
    do {
      inside.pop_back();
    } while (!inside.empty() && (static_cast<unsigned char>(inside.back()) & 0xC0U) == 0xC0U);
  }
  inside.append(room - displayWidth(inside), ' ');
  return popUp ? "(" + inside + " v)" : "[" + inside + "]";
}

class Drawing {
 public:
  void add(const ViewFrame& frame, const std::string& label, bool popUp) {
    const std::size_t first = columnOf(frame.x);
    const std::size_t width = columnOf(frame.x + frame.width) - first;
    rows_[-std::lround(frame.y)][first] = box(label, width, popUp);
  }
  // From the highest row down.
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    for (const auto& [y, boxes] : rows_) {
      std::string line;
      for (const auto& [column, text] : boxes) {
        const std::size_t width = displayWidth(line);
        if (column > width) line.append(column - width, ' ');
        line += text;
      }
      lines.push_back(line);
    }
    return lines;
  }

 private:
  std::map<long, std::map<std::size_t, std::string>> rows_;
};

// Tenths of a point: enough for a screen, and free of the tail that a float has as a double.
Json pointsJson(float points) { return std::round(static_cast<double>(points) * 10) / 10; }

Json frameJson(const ViewFrame& frame) {
  return {{"x", pointsJson(frame.x)},
          {"y", pointsJson(frame.y)},
          {"width", pointsJson(frame.width)},
          {"height", pointsJson(frame.height)}};
}

Json formJson(const Form& form, const AddressControllerBase& controller) {
  Json fields = Json::object();
  for (std::size_t at = 0; at < form.fields.size(); ++at) {
    if (form.fields[at]->isHidden()) continue;
    fields[kFields[at].key] = frameJson(form.fields[at]->frame());
  }
  return {{"fields", fields},
          {"below", frameJson(form.below->frame())},
          {"moveDown", pointsJson(controller.moveDown())}};
}

void draw(Host& host, const Form& form, const std::string& countryName) {
  Drawing drawing;
  for (std::size_t at = 0; at < form.fields.size(); ++at) {
    const PlainView& field = *form.fields[at];
    if (field.isHidden()) continue;
    const bool popUp = field.isPopUpButton();
    drawing.add(seenFrame(field), popUp ? countryName : host.text(kFields[at].label), popUp);
  }
  drawing.add(form.below->frame(), host.text("Note"), false);
  for (const std::string& line : drawing.lines()) host.printLine(line);
}

// Forms pass codes as they are kept; a person may write them anyhow, or the country's name.
std::string codeOf(const CountryCodeToNameTransformer& names, const AddressPlacementTable& table,
                   const std::string& country) {
  if (table.contains(country)) return country;
  return *names.reverseTransformedValue(names.transformedValue(country));
}

void showAddress(Host& host, const AddressOptions& options) {
  AddressControllerBase controller(host.environment());
  const AddressPlacementTable* table = controller.addressFieldPlacement();
  if (table == nullptr) {
    throw Failure(ExitStatus::Input, "the layouts of address forms cannot be read",
                  "AddressFieldPlacement.plist belongs to the program's resources");
  }
  const CountryCodeToNameTransformer& names = controller.countryTransformer();
  const std::string code = codeOf(names, *table, options.country);
  const std::string name = *names.transformedValue(code);
  const bool known = table->contains(code);
  Form form;
  controller.adjustAddressFieldsInView(form.window, code, false);
  if (host.json()) {
    Json answer = {{"country", code}, {"name", name}, {"layout", known ? code : "default"}};
    answer.update(formJson(form, controller));
    return host.print(answer);
  }
  draw(host, form, name);
  if (!known) host.note("\"" + code + "\" has no layout of its own: this is the general one");
}

}  // namespace

void addAddressCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<AddressOptions>();
  CLI::App* command = app.add_subcommand("address", "Show how addresses of a country are entered");
  command->add_option("-c,--country", options->country, "The country's code, or its name")
      ->required()
      ->type_name("COUNTRY");
  onRun(command, host, [options](Host& h) { showAddress(h, *options); });
}

}  // namespace bokfolio::cli
