// Bytes: raw data as the library passes it around (images, resources, binary attributes). It is an
// owned copy; whoever only looks takes a ByteView.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace bokfolio {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

}  // namespace bokfolio
