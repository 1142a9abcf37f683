// Bitmaps from outside: told apart, bounded before they are decoded, decoded completely or refused.
// Some of the system's decoders unfold everything before they say how large it is; the structure of
// PNG, JPEG and GIF files is therefore checked here first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

bool isTiff(ByteView bytes) noexcept;

// Whether the bytes decode; the error says why not.
bool checkBitmap(ByteView bytes, ErrorOut error);

// The decoded picture as TIFF with LZW compression.
std::optional<Bytes> bitmapToTiff(ByteView bytes, ErrorOut error);

// Whether the chunks of a PNG file are all there, in order, with the right check sums, and no more
// of them are compressed texts than kMaximumPngTexts.
bool isWholePng(ByteView bytes) noexcept;
// The decoder unfolds each text to as much as 8 MB, and keeps it.
inline constexpr std::size_t kMaximumPngTexts = 16;

// The passes over its pixels in which a JPEG file is built up, each of which the decoder makes
// however little it says; 0 for a file without an end.
std::int64_t jpegScans(ByteView bytes) noexcept;
// The largest product of pixels and scans: twenty scans of the largest picture. Cameras and
// programs write one, or about ten of smaller pictures.
inline constexpr std::int64_t kMaximumScannedPixels = 2'000'000'000;

// The pixels of all frames of a GIF file together, since the decoder unfolds them all; 0 for a file
// that is cut short or has more blocks than kMaximumGifBlocks.
std::int64_t gifPixels(ByteView bytes) noexcept;
// Each costs the decoder an allocation or two.
inline constexpr std::size_t kMaximumGifBlocks = 100'000;

}  // namespace bokfolio
