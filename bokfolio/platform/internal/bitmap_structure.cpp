#include <algorithm>
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
  std::size_t texts = 0;
  while (bytes.size() >= kAroundData) {
    const std::size_t length = bigEndian(bytes);
    if (length > bytes.size() - kAroundData) return false;
    const ByteView chunk = bytes.subspan(4, length + 4);
    if (crc32(chunk) != bigEndian(bytes.subspan(length + 8))) return false;
    if (isFirst && !hasType(chunk, "IHDR")) return false;
    if (hasType(chunk, "IEND")) return hasData;
    if ((hasType(chunk, "zTXt") || hasType(chunk, "iTXt")) && ++texts > kMaximumPngTexts) {
      return false;
    }
    isFirst = false;
    hasData = hasData || hasType(chunk, "IDAT");
    bytes = bytes.subspan(length + kAroundData);
  }
  return false;
}

// Between its segments, and in the data of a scan, the decoder passes over everything up to the
// next marker; so does this.
std::int64_t jpegScans(ByteView bytes) noexcept {
  constexpr std::uint8_t kStartOfScan = 0xDA;
  constexpr std::uint8_t kEnd = 0xD9;
  const auto standsAlone = [](std::uint8_t marker) {
    return marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
  };
  std::int64_t scans = 0;
  for (std::size_t at = 0; at + 1 < bytes.size();) {
    if (bytes[at] != 0xFF || bytes[at + 1] == 0xFF) {
      ++at;
      continue;
    }
    const std::uint8_t marker = bytes[at + 1];
    at += 2;
    if (marker == kEnd) return scans;
    if (standsAlone(marker)) continue;
    if (marker == kStartOfScan) ++scans;
    if (at + 1 < bytes.size()) at += std::size_t{bytes[at]} << 8U | bytes[at + 1];
  }
  return 0;
}

namespace {

// The position behind the sub-blocks that begin here; the size of the whole when they do not end.
std::size_t behindSubBlocks(ByteView bytes, std::size_t at, std::size_t& blocks) noexcept {
  while (at < bytes.size() && bytes[at] != 0) {
    at += std::size_t{bytes[at]} + 1;
    ++blocks;
  }
  return std::min(at + 1, bytes.size());
}

std::size_t gifColours(std::uint8_t flags) noexcept {
  return (flags & 0x80U) != 0 ? std::size_t{6} << (flags & 7U) : 0;
}

}  // namespace

std::int64_t gifPixels(ByteView bytes) noexcept {
  constexpr std::size_t kScreen = 13;  // signature and description of the screen
  constexpr std::size_t kFrame = 10;   // mark and description of a frame
  constexpr std::uint8_t kFrameMark = 0x2C;
  constexpr std::uint8_t kExtensionMark = 0x21;
  constexpr std::uint8_t kEnd = 0x3B;
  if (bytes.size() < kScreen) return 0;
  std::int64_t pixels = 0;
  std::size_t blocks = 0;
  std::size_t at = kScreen + gifColours(bytes[10]);
  while (at < bytes.size() && blocks <= kMaximumGifBlocks) {
    ++blocks;
    if (bytes[at] == kEnd) return pixels;
    if (bytes[at] == kExtensionMark) {
      at = behindSubBlocks(bytes, at + 2, blocks);
    } else if (bytes[at] == kFrameMark && bytes.size() - at > kFrame) {
      const auto measure = [&](std::size_t place) {
        return std::int64_t{bytes[at + place]} | std::int64_t{bytes[at + place + 1]} << 8U;
      };
      pixels += measure(5) * measure(7);
      at = behindSubBlocks(bytes, at + kFrame + gifColours(bytes[at + 9]) + 1, blocks);
    } else {
      return 0;
    }
  }
  return 0;
}

}  // namespace bokfolio
