#include <png.h>

#include <cstddef>
#include <string_view>

#include "bokfolio/platform/internal/quiet_decoders.hpp"

namespace bokfolio {

namespace {

constexpr std::size_t kSignature = 8;
constexpr std::size_t kAroundData = 12;  // length, type and check sum, four bytes each

bool isWanted(std::string_view type, std::size_t length, bool hasResolution) {
  if (type == "pHYs") return length == 9 && !hasResolution;
  return type == "IHDR" || type == "PLTE" || type == "tRNS" || type == "IDAT" || type == "IEND";
}

// What the pixels and the resolution are made of. The decoder complains of other chunks most.
Bytes essence(ByteView bytes) {
  Bytes result(bytes.begin(), bytes.begin() + kSignature);
  bool hasResolution = false;
  for (std::size_t at = kSignature; at + kAroundData <= bytes.size();) {
    const std::size_t length = std::size_t{bytes[at]} << 24U | std::size_t{bytes[at + 1]} << 16U |
                               std::size_t{bytes[at + 2]} << 8U | bytes[at + 3];
    if (length > bytes.size() - at - kAroundData) break;
    const ByteView chunk = bytes.subspan(at, length + kAroundData);
    const std::string_view type(reinterpret_cast<const char*>(&chunk[4]), 4);
    if (isWanted(type, length, hasResolution)) {
      result.insert(result.end(), chunk.begin(), chunk.end());
      hasResolution = hasResolution || type == "pHYs";
    }
    if (type == "IEND") break;
    at += chunk.size();
  }
  return result;
}

// libpng's face for the hasty: the only one that keeps its complaints to itself.
class PngReader {
 public:
  explicit PngReader(const Bytes& bytes) {
    image_.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image_, bytes.data(), bytes.size()) == 0) return;
    image_.format = PNG_FORMAT_RGBA;
    pixels_.resize(PNG_IMAGE_SIZE(image_));
    isRead_ = png_image_finish_read(&image_, nullptr, pixels_.data(), 0, nullptr) != 0;
  }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_image_free(&image_); }

  bool isRead() const { return isRead_; }
  bool hasComplained() const { return PNG_IMAGE_FAILED(image_) || image_.warning_or_error != 0; }

  PixPointer picture() const {
    PixPointer pix(
        pixCreate(static_cast<l_int32>(image_.width), static_cast<l_int32>(image_.height), 32));
    if (pix == nullptr) return nullptr;
    pixSetSpp(pix.get(), 4);
    l_uint32* words = pixGetData(pix.get());
    for (std::size_t at = 0; at < pixels_.size(); at += 4, ++words) {
      composeRGBAPixel(pixels_[at], pixels_[at + 1], pixels_[at + 2], pixels_[at + 3], words);
    }
    return pix;
  }

 private:
  png_image image_{};
  Bytes pixels_;
  bool isRead_ = false;
};

}  // namespace

PixPointer decodePng(ByteView bytes) {
  const Bytes wanted = essence(bytes);
  {
    const PngReader reader(wanted);
    if (!reader.isRead()) return nullptr;
    if (reader.hasComplained()) return reader.picture();
  }
  return PixPointer(pixReadMem(wanted.data(), wanted.size()));
}

}  // namespace bokfolio
