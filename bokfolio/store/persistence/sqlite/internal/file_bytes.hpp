// Bytes of a file at a place, through a descriptor that others use, too.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

namespace bokfolio::internal {

// False when the disk does not give all of them.
inline bool readBytes(int descriptor, std::int64_t at, std::size_t length, std::string& bytes) {
  bytes.resize(length);
  std::size_t done = 0;
  while (done < length) {
    const ssize_t got = ::pread(descriptor, bytes.data() + done, length - done,
                                static_cast<off_t>(at) + static_cast<off_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<std::size_t>(got);
  }
  return true;
}

inline bool isPageSize(std::uint32_t size) {
  return size >= 512 && size <= 65536 && (size & (size - 1)) == 0;
}

}  // namespace bokfolio::internal
