#include "bokfolio/platform/internal/property_list_reader.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio::internal {

namespace {

// What is wrong, thrown to the top and answered there as an error.
struct Malformed {
  std::string reason;
};

// The first forty bytes, whole characters only.
std::string shortened(std::string_view whole) {
  constexpr std::size_t kShown = 40;
  std::size_t end = std::min(whole.size(), kShown);
  while (end < whole.size() && end > 0 && (whole[end] & 0xC0) == 0x80) --end;
  return std::string(whole.substr(0, end)) + (end < whole.size() ? "..." : "");
}

// Quotes the text of a value.
[[noreturn]] void refuse(const XmlElement& element, const std::string& reason) {
  std::string text = "<" + shortened(element.name()) + ">";
  if (element.children().empty()) text += shortened(element.stringValue());
  throw Malformed{text + ": " + reason};
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

// The texts of the children are parts of the element's own; what lies between them is its own.
void refuseStrayText(const XmlElement& element) {
  const std::string_view whole = element.stringValue();
  const char* at = whole.data();
  const auto checkUpTo = [&](const char* end) {
    if (!std::all_of(at, end, isBlank)) refuse(element, "has text between its elements");
  };
  for (const XmlElement* child : element.children()) {
    const std::string_view text = child->stringValue();
    checkUpTo(text.data());
    at = text.data() + text.size();
  }
  checkUpTo(whole.data() + whole.size());
}

std::string_view leafText(const XmlElement& element) {
  if (!element.children().empty()) refuse(element, "has elements in it");
  return element.stringValue();
}

PropertyList read(const XmlElement& element);

PropertyList::Value readMap(const XmlElement& element) {
  refuseStrayText(element);
  PropertyList::Map entries;
  const auto& children = element.children();
  for (std::size_t at = 0; at < children.size(); at += 2) {
    if (children[at]->name() != "key" || at + 1 == children.size()) {
      refuse(*children[at], "keys and values of a map do not take turns");
    }
    std::string key(leafText(*children[at]));
    entries.push_back({std::move(key), read(*children[at + 1])});
  }
  const auto byKey = [](const auto& a, const auto& b) { return a.key < b.key; };
  std::stable_sort(entries.begin(), entries.end(), byKey);
  const auto twice = std::adjacent_find(
      entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.key == b.key; });
  if (twice != entries.end())
    refuse(element, "has the key \"" + shortened(twice->key) + "\" twice");
  return entries;
}

PropertyList::Value readArray(const XmlElement& element) {
  refuseStrayText(element);
  PropertyList::Array values;
  for (const XmlElement* child : element.children()) values.push_back(read(*child));
  return values;
}

PropertyList::Value readString(const XmlElement& element) { return std::string(leafText(element)); }

// Decimal or "0x..." with an optional sign.
PropertyList::Value readInteger(const XmlElement& element) {
  std::string_view text = trimmed(leafText(element));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  std::uint64_t magnitude = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, magnitude, hexadecimal ? 16 : 10);
  if (failure == std::errc::result_out_of_range) refuse(element, "does not fit 64 bits");
  if (failure != std::errc() || stop != end) refuse(element, "is no integer");
  constexpr std::uint64_t kLargest = std::uint64_t{1} << 63;
  if (magnitude > kLargest - (negative ? 0 : 1)) refuse(element, "does not fit 64 bits");
  return static_cast<std::int64_t>(negative ? ~magnitude + 1 : magnitude);
}

PropertyList::Value readReal(const XmlElement& element) {
  std::string_view text = trimmed(leafText(element));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (failure != std::errc() || stop != end || !std::isfinite(value)) {
    refuse(element, "is no finite number");
  }
  return value;
}

int digits(std::string_view text, std::size_t at, std::size_t count) {
  int value = 0;
  for (const char c : text.substr(at, count)) value = value * 10 + (c - '0');
  return value;
}

PropertyList::Value readDate(const XmlElement& element) {
  constexpr std::string_view kMarks = "0000-00-00T00:00:00Z";
  const std::string_view text = trimmed(leafText(element));
  bool shaped = text.size() == kMarks.size();
  for (std::size_t at = 0; shaped && at < text.size(); ++at) {
    shaped = kMarks[at] == '0' ? text[at] >= '0' && text[at] <= '9' : text[at] == kMarks[at];
  }
  if (!shaped) refuse(element, "is no date of the form 2026-01-31T12:00:00Z");
  const CivilDate day{digits(text, 0, 4), digits(text, 5, 2), digits(text, 8, 2)};
  const CivilTime time{digits(text, 11, 2), digits(text, 14, 2), digits(text, 17, 2)};
  if (!isValid(day) || time.hour > 23 || time.minute > 59 || time.second > 59) {
    refuse(element, "is no day and time of the calendar");
  }
  return dateFromCivil(day, time, TimeZone::utc());
}

int base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  return c == '+' ? 62 : c == '/' ? 63 : -1;
}

// Groups of four digits, the last filled up with "="; blanks anywhere.
PropertyList::Value readData(const XmlElement& element) {
  Bytes bytes;
  std::uint32_t group = 0;
  int count = 0;
  int padding = 0;
  for (const char c : leafText(element)) {
    if (isBlank(c)) continue;
    const int digit = c == '=' ? 0 : base64Digit(c);
    if (c == '=') ++padding;
    if (digit < 0 || (padding > 0 && c != '=') || padding > 2) refuse(element, "is not base64");
    group = group << 6 | static_cast<std::uint32_t>(digit);
    if (++count % 4 != 0) continue;
    for (int shift = 16; shift >= 8 * padding; shift -= 8) {
      bytes.push_back(static_cast<std::uint8_t>(group >> shift & 0xFF));
    }
    group = 0;
  }
  if (count % 4 != 0) refuse(element, "is not base64");
  return bytes;
}

template <bool Answer>
PropertyList::Value readBoolean(const XmlElement& element) {
  if (!leafText(element).empty()) refuse(element, "has text in it");
  return Answer;
}

struct Kind {
  std::string_view name;
  PropertyList::Value (*read)(const XmlElement&);
};

constexpr std::array<Kind, 9> kKinds = {{{"dict", readMap},
                                         {"array", readArray},
                                         {"string", readString},
                                         {"integer", readInteger},
                                         {"real", readReal},
                                         {"true", readBoolean<true>},
                                         {"false", readBoolean<false>},
                                         {"date", readDate},
                                         {"data", readData}}};

PropertyList read(const XmlElement& element) {
  for (const Kind& kind : kKinds)
    if (kind.name == element.name()) return PropertyList(kind.read(element));
  refuse(element, "is no value of a property list");
}

}  // namespace

std::optional<PropertyList> readPropertyList(const XmlElement& root, ErrorOut error) {
  try {
    if (root.name() != "plist") refuse(root, "the root is not \"plist\"");
    if (root.children().size() != 1) refuse(root, "a property list holds one value");
    refuseStrayText(root);
    return read(*root.children().front());
  } catch (const Malformed& fault) {
    failPlatform(error, PlatformErrorCode::PropertyListMalformed,
                 "The property list cannot be read: " + fault.reason + ".");
    return std::nullopt;
  }
}

}  // namespace bokfolio::internal
