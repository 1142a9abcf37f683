#include "bokfolio/platform/internal/xml_text.hpp"

#include <unicode/utf8.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "bokfolio/platform/internal/plain_text.hpp"

namespace bokfolio {

namespace {

constexpr auto kNowhere = std::string_view::npos;

bool isAllowed(std::uint32_t point) noexcept {
  if (point < 0x20) return point == '\t' || point == '\n' || point == '\r';
  return point <= 0x10FFFF && !(point >= 0xD800 && point <= 0xDFFF) && point != 0xFFFE &&
         point != 0xFFFF;
}

void appendPoint(std::string& out, std::uint32_t point) {
  std::array<std::uint8_t, 4> bytes{};
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes.data(), length, point);
  out.append(reinterpret_cast<const char*>(bytes.data()), length);
}

// In small letters; "" when the document declares none.
std::string declaredEncoding(std::string_view text) {
  if (!text.starts_with("<?xml")) return {};
  std::string_view rest = text.substr(0, text.find("?>"));
  const auto key = rest.find("encoding");
  if (key == kNowhere) return {};
  rest.remove_prefix(key);
  const auto open = rest.find_first_of("'\"");
  if (open == kNowhere) return {};
  const auto close = rest.find(rest[open], open + 1);
  if (close == kNowhere) return {};
  std::string name(rest.substr(open + 1, close - open - 1));
  for (char& letter : name) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return name;
}

// What a reference stands for, given what lies between "&" and ";".
std::optional<std::uint32_t> referenced(std::string_view name) noexcept {
  constexpr std::array<std::pair<std::string_view, char>, 5> kPredefined{
      {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};
  for (const auto& [entity, character] : kPredefined) {
    if (name == entity) return static_cast<std::uint32_t>(character);
  }
  if (!name.starts_with('#')) return std::nullopt;
  name.remove_prefix(1);
  const bool hexadecimal = name.starts_with('x');
  if (hexadecimal) name.remove_prefix(1);
  std::uint32_t point = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, failure] = std::from_chars(name.data(), end, point, hexadecimal ? 16 : 10);
  if (failure != std::errc{} || stop != end || !isAllowed(point)) return std::nullopt;
  return point;
}

}  // namespace

std::optional<std::string> xmlToUtf8(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  const std::string encoding = declaredEncoding(bytes);
  if (encoding == "iso-8859-1") {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const char byte : bytes) appendPoint(text, static_cast<unsigned char>(byte));
    return text;
  }
  const bool known = encoding.empty() || encoding == "utf-8" || encoding == "us-ascii";
  if (!known || !isUtf8(bytes)) return std::nullopt;
  return std::string(bytes);
}

std::size_t findForbiddenXmlCharacter(std::string_view utf8) noexcept {
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if (byte < 0x20 && !isAllowed(byte)) return i;
    const std::string_view three = byte == 0xEF ? utf8.substr(i, 3) : std::string_view();
    if (three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") return i;
  }
  return kNowhere;
}

bool appendXmlText(std::string& out, std::string_view raw, std::string& reason) {
  constexpr std::size_t kLongestQuoted = 40;
  for (;;) {
    const auto ampersand = raw.find('&');
    out += raw.substr(0, ampersand);
    if (ampersand == kNowhere) return true;
    raw.remove_prefix(ampersand + 1);
    const auto end = raw.find_first_of(" \t\r\n&;");
    if (end == kNowhere || raw[end] != ';') {
      reason = "an ampersand begins no reference";
      return false;
    }
    const auto point = referenced(raw.substr(0, end));
    if (!point) {
      reason = end > kLongestQuoted ? "a reference stands for no character"
                                    : "the reference &" + std::string(raw.substr(0, end)) +
                                          "; stands for no character";
      return false;
    }
    appendPoint(out, *point);
    raw.remove_prefix(end + 1);
  }
}

}  // namespace bokfolio
