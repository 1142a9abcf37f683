#include "bokfolio/store/persistence/sqlite/salvage/internal/salvaged_value.hpp"

#include <cmath>

#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

namespace bokfolio::internal {

namespace {

using Kind = StoredValue::Kind;

constexpr const char* kWrongType = "is of the wrong type";
constexpr std::size_t kShown = 60;

// The length of the character at the front; 0 when it is none.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  const auto follows = [&](std::size_t at) { return (byte(at) & 0xC0U) == 0x80; };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return follows(1) ? 2 : 0;
  if (first >= 0xE0 && first < 0xF0) {
    const bool allowed = !(first == 0xE0 && byte(1) < 0xA0) && !(first == 0xED && byte(1) >= 0xA0);
    return allowed && follows(1) && follows(2) ? 3 : 0;
  }
  if (first >= 0xF0 && first < 0xF5) {
    const bool allowed = !(first == 0xF0 && byte(1) < 0x90) && !(first == 0xF4 && byte(1) >= 0x90);
    return allowed && follows(1) && follows(2) && follows(3) ? 4 : 0;
  }
  return 0;
}

// What is left of a text, for people: "?" for each byte that is no part of a character.
std::string readable(std::string_view text) {
  std::string result;
  while (!text.empty() && result.size() < kShown) {
    const std::size_t length = characterLength(text);
    if (length == 0) {
      result += '?';
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result + (text.empty() ? "" : "...");
}

bool isText(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string fitDecimal(StoredValue& value, DecimalText& room) {
  if (value.kind != Kind::Text) return kWrongType;
  const auto number = Decimal::parse(value.bytes);
  if (!number) return "is no decimal number (" + readable(value.bytes) + ")";
  value.bytes = {room.data(), number->toChars(room.data())};
  return "";
}

// A column of doubles keeps whole numbers as integers.
std::string fitReal(StoredValue& value) {
  if (value.kind == Kind::Integer) {
    value.kind = Kind::Real;
    value.real = static_cast<double>(value.integer);
  }
  if (value.kind != Kind::Real) return kWrongType;
  return std::isnan(value.real) ? "is not a number" : "";
}

}  // namespace

std::string fitValue(PropertyKind kind, StoredValue& value, DecimalText& room) {
  if (value.kind == Kind::Nil) return "";
  if (value.kind == Kind::Unreadable) return "cannot be read";
  switch (kind) {
    case PropertyKind::Decimal:
      return fitDecimal(value, room);
    case PropertyKind::Double:
      return fitReal(value);
    case PropertyKind::String:
      if (value.kind != Kind::Text) return kWrongType;
      return isText(value.bytes) ? "" : "is no text (" + readable(value.bytes) + ")";
    case PropertyKind::Binary:
      return value.kind == Kind::Blob ? "" : kWrongType;
    case PropertyKind::ToOne:
      if (value.kind != Kind::Integer) return kWrongType;
      return isId(value.integer) ? "" : "refers to no record";
    default:
      return value.kind == Kind::Integer ? "" : kWrongType;
  }
}

}  // namespace bokfolio::internal
