#include "bokfolio/platform/internal/plain_text.hpp"

#include <unicode/utf8.h>

#include <cstdint>

namespace bokfolio {

std::string withoutControls(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool escapes = byte == 0xC2 && i + 1 < text.size() &&
                         static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                         static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (escapes) ++i;
    plain += escapes || byte < 0x20 || byte == 0x7F ? '?' : static_cast<char>(byte);
  }
  return plain;
}

bool isUtf8(std::string_view text) noexcept {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<std::int64_t>(text.size());
  for (std::int64_t i = 0; i < length;) {
    UChar32 point = 0;
    U8_NEXT(bytes, i, length, point);
    if (point < 0) return false;
  }
  return true;
}

std::string_view trimmed(std::string_view text) noexcept {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace bokfolio
