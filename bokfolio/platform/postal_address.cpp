#include "bokfolio/platform/postal_address.hpp"

#include <string_view>

#include "bokfolio/platform/display_names.hpp"

namespace bokfolio {

namespace {

struct LineOrder {
  std::string_view country;
  std::string_view pattern;
};

// S street, Z zipcode, C city, K county; '|' ends a line, other characters stand between fields.
constexpr std::string_view kUsualOrder = "S|Z C|K";
constexpr LineOrder kOrders[] = {
    {"AU", "S|C K Z"},  {"BR", "S|C - K|Z"}, {"CA", "S|C K  Z"}, {"CN", "S|C, K Z"},
    {"GB", "S|C|K|Z"},  {"HK", "S|C|K"},     {"HU", "C|S|Z|K"},  {"ID", "S|C|K Z"},
    {"IE", "S|C|K|Z"},  {"IN", "S|C Z|K"},   {"IT", "S|Z C K"},  {"JP", "S|C, K Z"},
    {"KR", "S|C, K Z"}, {"LV", "S|C, Z|K"},  {"MT", "S|C|Z|K"},  {"MX", "S|Z C, K"},
    {"NZ", "S|C Z|K"},  {"RU", "S|C|K|Z"},   {"SG", "S|C Z|K"},  {"TH", "S|C|K Z"},
    {"TR", "S|Z C/K"},  {"UK", "S|C|K|Z"},   {"US", "S|C, K Z"}, {"ZA", "S|C|Z|K"},
};

std::string capitals(std::string_view code) {
  std::string result(code);
  for (char& c : result)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return result;
}

std::string_view orderOf(const std::string& country) {
  for (const LineOrder& order : kOrders)
    if (order.country == country) return order.pattern;
  return kUsualOrder;
}

const std::optional<std::string>* fieldOf(const PostalAddress& address, char letter) {
  switch (letter) {
    case 'S':
      return &address.street;
    case 'Z':
      return &address.zipcode;
    case 'C':
      return &address.city;
    case 'K':
      return &address.county;
    default:
      return nullptr;
  }
}

void addLine(std::string& block, const std::string& line) {
  if (line.empty()) return;
  if (!block.empty()) block += '\n';
  block += line;
}

// Marks are written only between two fields that are there.
std::string postalLines(const PostalAddress& address, std::string_view pattern) {
  std::string block;
  std::string line;
  std::string mark;
  for (const char c : pattern) {
    const auto* field = fieldOf(address, c);
    if (c == '|') {
      addLine(block, line);
      line.clear();
    } else if (field == nullptr) {
      mark += c;
      continue;
    } else if (*field && !(*field)->empty()) {
      if (!line.empty()) line += mark;
      line += **field;
    }
    mark.clear();
  }
  addLine(block, line);
  return block;
}

}  // namespace

const TextAttributes& postalAddressAttributes() {
  static const TextAttributes attributes{{"style", "address"}};
  return attributes;
}

AttributedText formatPostalAddress(const PostalAddress& address, bool countryIncluded,
                                   const Locale& locale, const TextAttributes& attributes) {
  const std::string own = capitals(address.country.value_or(""));
  const std::string custom = own.empty() ? locale.countryCode().value_or("") : own;
  std::string block = postalLines(address, orderOf(custom));
  if (countryIncluded && !own.empty()) {
    addLine(block, displayCountryName(own, locale).value_or(own));
  }
  return AttributedText(block, attributes);
}

}  // namespace bokfolio
