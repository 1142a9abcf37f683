// The checksum between two #KSUMMA records. It counts the bytes of the file itself, before any
// conversion, and so walks over the file once more; only files that hold the record pay for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace bokfolio::sie_internal {

// CRC-32 with the reflected polynomial EDB88320, continued from `crc` (0 to start).
std::uint32_t crc32(std::string_view bytes, std::uint32_t crc = 0) noexcept;

struct ChecksumResult {
  std::uint32_t computed = 0;
  // What the closing record states; nullopt when there is no closing record.
  std::optional<std::string_view> stated;
  std::uint32_t line = 0;  // of the closing record, else of the opening one

  bool agrees() const;
};

// nullopt when the file has no #KSUMMA. The rule is at readSie. A line whose quotes or braces do
// not pair counts up to the fault; the reader refuses such a file anyway.
std::optional<ChecksumResult> checksumOf(std::string_view bytes);

}  // namespace bokfolio::sie_internal
