#include "text_width.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace bokfolio::cli {

namespace {

struct Span {
  char32_t first;
  char32_t last;
};

// Ascending, as the search below needs them.
constexpr Span kWithoutWidth[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD},  {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},  {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2064},  {0x20D0, 0x20FF}, {0xFE00, 0xFE0F},
    {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}, {0xE0100, 0xE01EF}};
constexpr Span kWide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2E80, 0x303E},   {0x3041, 0x33FF},
    {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE30, 0xFE4F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <std::size_t Size>
bool holds(const Span (&spans)[Size], char32_t letter) {
  const auto* after = std::upper_bound(std::begin(spans), std::end(spans), letter,
                                       [](char32_t l, const Span& span) { return l < span.first; });
  return after != std::begin(spans) && letter <= std::prev(after)->last;
}

struct Decoded {
  char32_t letter = 0;
  std::size_t length = 1;
};

// The letter at the beginning of a text that is not empty; a byte that starts none stands for
// itself.
Decoded decodeFirst(std::string_view text) {
  const auto lead = static_cast<std::uint8_t>(text[0]);
  std::size_t length = 1;
  if (lead >= 0xC2 && lead < 0xE0) length = 2;
  if (lead >= 0xE0 && lead < 0xF0) length = 3;
  if (lead >= 0xF0 && lead < 0xF5) length = 4;
  if (length == 1 || text.size() < length) return {lead, 1};
  auto letter = static_cast<char32_t>(lead & (0xFFU >> (length + 1)));
  for (std::size_t at = 1; at < length; ++at) {
    const auto byte = static_cast<std::uint8_t>(text[at]);
    if ((byte & 0xC0U) != 0x80U) return {lead, 1};
    letter = letter << 6U | (byte & 0x3FU);
  }
  return {letter, length};
}

bool isControl(Decoded decoded) {
  return decoded.letter < 0x20 || decoded.letter == 0x7F ||
         (decoded.length == 2 && decoded.letter < 0xA0) ||
         (decoded.length == 3 && (decoded.letter == 0x2028 || decoded.letter == 0x2029));
}

}  // namespace

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const Decoded decoded = decodeFirst(text);
    text.remove_prefix(decoded.length);
    if (holds(kWithoutWidth, decoded.letter)) continue;
    width += holds(kWide, decoded.letter) ? 2U : 1U;
  }
  return width;
}

std::string printable(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Decoded decoded = decodeFirst(text);
    if (!isControl(decoded)) {
      shown += text.substr(0, decoded.length);
    } else {
      const bool blank = decoded.letter == '\n' || decoded.letter == '\r' || decoded.letter == '\t';
      shown += blank ? " " : "\xEF\xBF\xBD";
    }
    text.remove_prefix(decoded.length);
  }
  return shown;
}

}  // namespace bokfolio::cli
