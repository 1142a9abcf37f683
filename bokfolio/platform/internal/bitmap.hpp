// Bitmaps from outside: told apart, bounded before they are decoded, decoded completely or refused.
// The system's decoders print to standard error when a file is damaged; the structure of PNG and
// JPEG files is therefore checked here first.
#pragma once

#include <optional>

#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

bool isTiff(ByteView bytes) noexcept;

// Whether the bytes decode; the error says why not.
bool checkBitmap(ByteView bytes, ErrorOut error);

// The decoded picture as TIFF with LZW compression.
std::optional<Bytes> bitmapToTiff(ByteView bytes, ErrorOut error);

// Whether the chunks of a PNG file are all there, in order, with the right check sums.
bool isWholePng(ByteView bytes) noexcept;

// Whether a JPEG file has its end marker.
bool isWholeJpeg(ByteView bytes) noexcept;

}  // namespace bokfolio
