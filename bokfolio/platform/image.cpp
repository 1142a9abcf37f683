#include "bokfolio/platform/image.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

#include "bokfolio/platform/internal/bitmap.hpp"
#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {

namespace {

bool beginsAsPdf(ByteView bytes) noexcept {
  constexpr std::string_view kMark = "%PDF-";
  return bytes.size() >= kMark.size() && std::equal(kMark.begin(), kMark.end(), bytes.begin());
}

bool hasAcceptableSize(ByteView bytes, ErrorOut error) {
  if (bytes.empty()) {
    return failPlatform(error, PlatformErrorCode::ImageEmpty, "The picture is empty.");
  }
  if (bytes.size() <= Image::kMaximumBytes) return true;
  return failPlatform(error, PlatformErrorCode::ImageTooLarge,
                      "The picture's file is larger than 64 MiB.");
}

}  // namespace

Image::Image(std::vector<Representation> representations)
    : representations_(std::move(representations)) {}

std::optional<Image> Image::decode(ByteView bytes, ErrorOut error) {
  if (!hasAcceptableSize(bytes, error)) return std::nullopt;
  const Kind kind = beginsAsPdf(bytes) ? Kind::Pdf : Kind::Bitmap;
  if (kind == Kind::Bitmap && !checkBitmap(bytes, error)) return std::nullopt;
  std::vector<Representation> representations;
  representations.push_back({kind, Bytes(bytes.begin(), bytes.end())});
  return Image(std::move(representations));
}

const Bytes* Image::firstPdf() const noexcept {
  for (const Representation& representation : representations_) {
    if (representation.kind == Kind::Pdf) return &representation.bytes;
  }
  return nullptr;
}

std::optional<Bytes> Image::tiff(ErrorOut error) const {
  for (const Representation& representation : representations_) {
    if (representation.kind != Kind::Bitmap) continue;
    if (!hasAcceptableSize(representation.bytes, error)) return std::nullopt;
    if (isTiff(representation.bytes)) return representation.bytes;
    return bitmapToTiff(representation.bytes, error);
  }
  failPlatform(error, PlatformErrorCode::ImageNotConverted, "The picture has no bitmap.");
  return std::nullopt;
}

std::optional<Bytes> Image::storedBytes(ErrorOut error) const {
  if (const Bytes* pdf = firstPdf(); pdf != nullptr) return *pdf;
  return tiff(error);
}

}  // namespace bokfolio
