// PNG and JPEG files through their decoders, without a word on standard error: what a library under
// leptonica has to say about a damaged file it would print there, where it belongs to the host.
// Everything else about bitmaps is in bitmap.hpp; bounds are checked there, before this.
#pragma once

#include <leptonica/allheaders.h>

#include <cstdint>
#include <memory>

#include "bokfolio/platform/bytes.hpp"

namespace bokfolio {

struct PixDeleter {
  void operator()(PIX* pix) const noexcept { pixDestroy(&pix); }
};
using PixPointer = std::unique_ptr<PIX, PixDeleter>;

// Width times height; 0 when the head makes no sense.
std::int64_t jpegPixels(ByteView bytes);
// Grey pictures in 8 bits, others in 32; nullptr when it cannot be decoded. Data that are damaged
// within a scan cost some of the picture, as they do everywhere.
PixPointer decodeJpeg(ByteView bytes);

// For a file that isWholePng(). As deep as the file is; in 32 bits when the decoder complained and
// went on. nullptr when it cannot be decoded.
PixPointer decodePng(ByteView bytes);

}  // namespace bokfolio
