#include "bokfolio/platform/internal/bitmap.hpp"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "bokfolio/platform/image.hpp"
#include "bokfolio/platform/internal/quiet_decoders.hpp"
#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {

namespace {

struct LeptonicaDeleter {
  void operator()(std::uint8_t* bytes) const noexcept { lept_free(bytes); }
};

void silenceLeptonica() {
  static std::once_flag once;
  std::call_once(once, [] {
    setMsgSeverity(L_SEVERITY_NONE);
    leptSetStderrHandler([](const char* /*message*/) {});
  });
}

bool undecodable(ErrorOut error) {
  return failPlatform(error, PlatformErrorCode::ImageUndecodable,
                      "The picture is damaged or of a kind that cannot be read.");
}

bool tooLarge(ErrorOut error, std::string description) {
  return failPlatform(error, PlatformErrorCode::ImageTooLarge, std::move(description));
}

int formatOf(ByteView bytes) {
  constexpr std::size_t kLongestSignature = 12;
  int format = IFF_UNKNOWN;
  if (bytes.size() < kLongestSignature || findFileFormatBuffer(bytes.data(), &format) != 0) {
    return IFF_UNKNOWN;
  }
  return format;
}

// Whether the file is of a kind that is taken and whole as far as its structure tells.
bool isReadable(int format, ByteView bytes) {
  switch (format) {
    case IFF_PNG:
      return isWholePng(bytes);
    case IFF_JFIF_JPEG:
      return jpegScans(bytes) > 0;
    case IFF_GIF:
      return gifPixels(bytes) > 0;
    case IFF_UNKNOWN:
      return false;
    case IFF_BMP:
    case IFF_WEBP:
      return true;
    default:
      return isTiff(bytes);
  }
}

// 0 when the file's head makes no sense.
std::int64_t pixelsOf(ByteView bytes) {
  int format = 0;
  int width = 0;
  int height = 0;
  int bits = 0;
  int samples = 0;
  int hasColorMap = 0;
  if (pixReadHeaderMem(bytes.data(), bytes.size(), &format, &width, &height, &bits, &samples,
                       &hasColorMap) != 0 ||
      width <= 0 || height <= 0) {
    return 0;
  }
  return std::int64_t{width} * height;
}

// Refuses by size before anything is decoded. Asked for the head of a GIF file, the decoder decodes
// it all.
bool isWithinBounds(int format, ByteView bytes, ErrorOut error) {
  const std::int64_t pixels = format == IFF_GIF         ? gifPixels(bytes)
                              : format == IFF_JFIF_JPEG ? jpegPixels(bytes)
                                                        : pixelsOf(bytes);
  if (pixels == 0) return undecodable(error);
  if (pixels > Image::kMaximumPixels) {
    return tooLarge(error, "The picture has more than 100 million pixels.");
  }
  if (format == IFF_JFIF_JPEG && jpegScans(bytes) > kMaximumScannedPixels / pixels) {
    return tooLarge(error, "The picture is built up in too many passes.");
  }
  return true;
}

PixPointer decodeAs(int format, ByteView bytes) {
  switch (format) {
    case IFF_PNG:
      return decodePng(bytes);
    case IFF_JFIF_JPEG:
      return decodeJpeg(bytes);
    default:
      return PixPointer(pixReadMem(bytes.data(), bytes.size()));
  }
}

PixPointer decodeBitmap(ByteView bytes, ErrorOut error) {
  silenceLeptonica();
  const int format = formatOf(bytes);
  if (!isReadable(format, bytes)) {
    undecodable(error);
    return nullptr;
  }
  if (!isWithinBounds(format, bytes, error)) return nullptr;
  PixPointer pix = decodeAs(format, bytes);
  if (pix == nullptr) undecodable(error);
  return pix;
}

}  // namespace

bool checkBitmap(ByteView bytes, ErrorOut error) { return decodeBitmap(bytes, error) != nullptr; }

std::optional<Bytes> bitmapToTiff(ByteView bytes, ErrorOut error) {
  const PixPointer pix = decodeBitmap(bytes, error);
  if (pix == nullptr) return std::nullopt;
  std::uint8_t* data = nullptr;
  std::size_t size = 0;
  const bool written = pixWriteMem(&data, &size, pix.get(), IFF_TIFF_LZW) == 0;
  const std::unique_ptr<std::uint8_t, LeptonicaDeleter> owner(data);
  if (!written || data == nullptr) {
    failPlatform(error, PlatformErrorCode::ImageNotConverted,
                 "The picture could not be converted to TIFF.");
    return std::nullopt;
  }
  return Bytes(data, data + size);
}

}  // namespace bokfolio
