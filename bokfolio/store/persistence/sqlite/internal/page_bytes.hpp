// Numbers as they stand in the pages of a file. Reading beyond the end gives zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace bokfolio::internal {

inline std::uint64_t bigEndian(std::string_view bytes, std::size_t at, std::size_t length) {
  std::uint64_t value = 0;
  for (std::size_t i = at; i < at + length; ++i) {
    value = value << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
  }
  return value;
}

inline std::uint32_t big16(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bigEndian(bytes, at, 2));
}

inline std::uint32_t big32(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint32_t>(bigEndian(bytes, at, 4));
}

// SQLite's numbers of one to nine bytes. Moves `at` behind it; false when it does not end in time.
inline bool readVarint(std::string_view bytes, std::size_t& at, std::uint64_t& value) {
  value = 0;
  for (int i = 0; i < 9; ++i) {
    if (at >= bytes.size()) return false;
    const auto byte = static_cast<unsigned char>(bytes[at++]);
    if (i == 8) {
      value = value << 8 | byte;
      return true;
    }
    value = value << 7 | (byte & 0x7FU);
    if (byte < 0x80) return true;
  }
  return true;
}

}  // namespace bokfolio::internal
