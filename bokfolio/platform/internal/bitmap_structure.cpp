#include <array>
#include <cstddef>
#include <string_view>

#include "bokfolio/platform/internal/bitmap.hpp"

namespace bokfolio {

namespace {

std::uint32_t bigEndian(ByteView bytes) noexcept {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | bytes[3];
}

// CRC-32 as PNG and Ethernet use it, polynomial 0xEDB88320.
constexpr std::array<std::uint32_t, 256> kCrcTable = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t value = i;
    for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
    table[i] = value;
  }
  return table;
}();

std::uint32_t crc32(ByteView bytes) noexcept {
  std::uint32_t value = 0xFFFFFFFFU;
  for (const std::uint8_t byte : bytes) value = kCrcTable[(value ^ byte) & 0xFFU] ^ value >> 8;
  return ~value;
}

bool hasType(ByteView typeAndData, std::string_view type) noexcept {
  for (std::size_t i = 0; i < 4; ++i) {
    if (typeAndData[i] != static_cast<std::uint8_t>(type[i])) return false;
  }
  return true;
}

}  // namespace

bool isTiff(ByteView bytes) noexcept {
  if (bytes.size() < 8) return false;
  const bool little = bytes[0] == 'I' && bytes[1] == 'I' && bytes[2] == 42 && bytes[3] == 0;
  const bool big = bytes[0] == 'M' && bytes[1] == 'M' && bytes[2] == 0 && bytes[3] == 42;
  return little || big;
}

bool isWholePng(ByteView bytes) noexcept {
  constexpr std::size_t kSignature = 8;
  constexpr std::size_t kAroundData = 12;  // length, type and check sum, four bytes each
  if (bytes.size() < kSignature) return false;
  bytes = bytes.subspan(kSignature);
  bool isFirst = true;
  bool hasData = false;
  while (bytes.size() >= kAroundData) {
    const std::size_t length = bigEndian(bytes);
    if (length > bytes.size() - kAroundData) return false;
    const ByteView chunk = bytes.subspan(4, length + 4);
    if (crc32(chunk) != bigEndian(bytes.subspan(length + 8))) return false;
    if (isFirst && !hasType(chunk, "IHDR")) return false;
    if (hasType(chunk, "IEND")) return hasData;
    isFirst = false;
    hasData = hasData || hasType(chunk, "IDAT");
    bytes = bytes.subspan(length + kAroundData);
  }
  return false;
}

bool isWholeJpeg(ByteView bytes) noexcept {
  for (std::size_t i = bytes.size(); i >= 2; --i) {
    if (bytes[i - 2] == 0xFF && bytes[i - 1] == 0xD9) return true;
  }
  return false;
}

}  // namespace bokfolio
