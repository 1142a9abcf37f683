// Property lists: what is read can be written and read again as the same; read as the placement of
// address fields, it fits or says why not.
#include "bokfolio/platform/property_list.hpp"

#include <array>
#include <charconv>

#include "bokfolio/address/address_field_placement.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

std::string escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '&' || c == '<' || c == '>' || c == '\r') {
      out += "&#" + std::to_string(c) + ";";
    } else {
      out += c;
    }
  }
  return out;
}

std::string base64(const Bytes& bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8 | (at + i < bytes.size() ? bytes[at + i] : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += at + i <= bytes.size() ? kDigits[group >> (18 - 6 * i) & 63U] : '=';
    }
  }
  return text;
}

std::string dateText(Date date) {
  const CivilTime time = civilTime(date, TimeZone::utc());
  const CivilDate day = civilDate(date, TimeZone::utc());
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", day.year, day.month, day.day,
                time.hour, time.minute, time.second);
  return text;
}

std::string written(const PropertyList& list);

struct Writer {
  std::string operator()(const PropertyList::Map& map) const {
    std::string text = "<dict>";
    for (const auto& [key, value] : map) text += "<key>" + escaped(key) + "</key>" + written(value);
    return text + "</dict>";
  }
  std::string operator()(const PropertyList::Array& values) const {
    std::string text = "<array>";
    for (const PropertyList& value : values) text += written(value);
    return text + "</array>";
  }
  std::string operator()(const std::string& text) const {
    return "<string>" + escaped(text) + "</string>";
  }
  std::string operator()(std::int64_t number) const {
    return "<integer>" + std::to_string(number) + "</integer>";
  }
  std::string operator()(double number) const {
    std::array<char, 40> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return "<real>" + std::string(text.data(), end) + "</real>";
  }
  std::string operator()(bool yes) const { return yes ? "<true/>" : "<false/>"; }
  std::string operator()(Date date) const { return "<date>" + dateText(date) + "</date>"; }
  std::string operator()(const Bytes& bytes) const { return "<data>" + base64(bytes) + "</data>"; }
};

std::string written(const PropertyList& list) { return std::visit(Writer{}, list.value()); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::optional<Error> error;
  const auto list = PropertyList::parse(fuzz::textOf(data, size), &error);
  fuzz::expectExplained(list.has_value(), error);
  if (!list) return 0;
  const std::string text = "<plist>" + written(*list) + "</plist>";
  const auto again = PropertyList::parse(text, &error);
  expect(again.has_value(), "what is written can be read",
         error ? error->localizedDescription() : "");
  expect(*again == *list, "reading changes nothing", text);
  const auto placement = readAddressPlacement(*list, &error);
  fuzz::expectExplained(placement.has_value(), error);
  return 0;
}
