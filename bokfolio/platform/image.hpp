// Image: a picture as records keep it, in one or more representations. It is about bytes that can
// be stored and read again, not about drawing. Everything that comes from outside is decoded once
// before it is accepted, within bounds, so that what a document holds can be shown later.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Image {
 public:
  enum class Kind {
    Pdf,     // a PDF document, kept as it is and never rendered here
    Bitmap,  // TIFF, PNG, JPEG, GIF, BMP or WebP
  };
  struct Representation {
    Kind kind = Kind::Bitmap;
    Bytes bytes;
  };

  // Bounds on what is decoded: bytes of the file, and pixels of all its frames together.
  static constexpr std::size_t kMaximumBytes = std::size_t{64} << 20;
  static constexpr std::int64_t kMaximumPixels = 100'000'000;

  // Takes representations as they are, unchecked, in order of preference.
  explicit Image(std::vector<Representation> representations);

  // One representation made from bytes: PDF when they begin with "%PDF-", otherwise a bitmap that
  // was decoded completely. nullopt and an error of kPlatformErrorDomain for anything else:
  // ImageEmpty, ImageTooLarge (also when built up in ever more passes), ImageUndecodable (truncated
  // pictures included). Costs one decoding, in at most about ten bytes of memory a pixel.
  static std::optional<Image> decode(ByteView bytes, ErrorOut error = nullptr);

  const std::vector<Representation>& representations() const noexcept { return representations_; }
  // The bytes of the first PDF representation; nullptr when there is none. Valid as long as the
  // image.
  const Bytes* firstPdf() const noexcept;
  // The first bitmap as TIFF: unchanged when it is one already, otherwise converted (LZW, without
  // loss). nullopt and ImageNotConverted when there is no bitmap, or the decoder's error.
  std::optional<Bytes> tiff(ErrorOut error = nullptr) const;
  // What a record stores: the first PDF, or else the TIFF bytes.
  std::optional<Bytes> storedBytes(ErrorOut error = nullptr) const;

 private:
  std::vector<Representation> representations_;
};

}  // namespace bokfolio
