#include "bokfolio/platform/image.hpp"

#include <gtest/gtest.h>
#include <leptonica/allheaders.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {
namespace {

constexpr int kWidth = 37;
constexpr int kHeight = 23;

struct PixDeleter {
  void operator()(PIX* pix) const { pixDestroy(&pix); }
};
using PixPointer = std::unique_ptr<PIX, PixDeleter>;

Bytes encoded(PIX& picture, int format) {
  std::uint8_t* data = nullptr;
  std::size_t size = 0;
  EXPECT_EQ(pixWriteMem(&data, &size, &picture, format), 0);
  Bytes bytes(data, data + size);
  lept_free(data);
  return bytes;
}

Bytes encoded(int format) {
  const PixPointer picture(pixCreate(kWidth, kHeight, 32));
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) pixSetRGBPixel(picture.get(), x, y, x * 6, y * 9, x * y % 256);
  }
  return encoded(*picture, format);
}

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

PlatformErrorCode refusal(ByteView bytes) {
  std::optional<Error> error;
  EXPECT_FALSE(Image::decode(bytes, &error));
  EXPECT_FALSE(Image::decode(bytes));
  if (!error) return PlatformErrorCode{};
  EXPECT_EQ(error->domain(), kPlatformErrorDomain);
  EXPECT_FALSE(error->localizedDescription().empty());
  return static_cast<PlatformErrorCode>(error->code());
}

TEST(Image, BitmapsAreStoredAsTiffWithTheSamePixels) {
  const Bytes png = encoded(IFF_PNG);
  const PixPointer original(pixReadMem(png.data(), png.size()));
  for (const int format : {IFF_PNG, IFF_BMP, IFF_TIFF_ZIP}) {
    const auto image = Image::decode(encoded(format));
    ASSERT_TRUE(image) << format;
    EXPECT_EQ(image->firstPdf(), nullptr);
    const auto stored = image->storedBytes();
    ASSERT_TRUE(stored) << format;
    int kind = 0;
    findFileFormatBuffer(stored->data(), &kind);
    EXPECT_TRUE(L_FORMAT_IS_TIFF(kind));
    const PixPointer pixels(pixReadMem(stored->data(), stored->size()));
    int same = 0;
    pixEqual(original.get(), pixels.get(), &same);
    EXPECT_EQ(same, 1) << format;
    // What was stored can be read and stored again without changing.
    EXPECT_EQ(Image::decode(*stored).value().storedBytes(), stored);
  }
  EXPECT_TRUE(Image::decode(encoded(IFF_JFIF_JPEG)).value().tiff());
}

TEST(Image, PdfIsKeptByteForByteAndComesFirst) {
  const Bytes pdf = bytesOf("%PDF-1.4 whatever follows\xFF");
  const auto image = Image::decode(pdf);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->storedBytes(), pdf);
  std::optional<Error> error;
  EXPECT_FALSE(image->tiff(&error));
  EXPECT_EQ(error.value().code(), static_cast<int>(PlatformErrorCode::ImageNotConverted));

  const Image both({{Image::Kind::Bitmap, encoded(IFF_PNG)},
                    {Image::Kind::Pdf, pdf},
                    {Image::Kind::Pdf, bytesOf("%PDF-2")}});
  EXPECT_EQ(*both.firstPdf(), pdf);
  EXPECT_EQ(both.storedBytes(), pdf);
  EXPECT_TRUE(both.tiff());
  EXPECT_FALSE(Image({}).storedBytes(&error));
}

TEST(Image, EmptyTruncatedAndForeignBytesAreRefused) {
  EXPECT_EQ(refusal({}), PlatformErrorCode::ImageEmpty);
  for (const char* text : {"%", "%PDF", "hello, this is no picture at all", "GIF89a"}) {
    EXPECT_EQ(refusal(bytesOf(text)), PlatformErrorCode::ImageUndecodable) << text;
  }
  for (const int format : {IFF_PNG, IFF_BMP, IFF_TIFF_LZW, IFF_JFIF_JPEG}) {
    const Bytes whole = encoded(format);
    for (const std::size_t part : {whole.size() / 4, whole.size() / 2, whole.size() - 3}) {
      EXPECT_EQ(refusal(ByteView(whole).first(part)), PlatformErrorCode::ImageUndecodable)
          << format << ' ' << part;
    }
  }
}

TEST(Image, TooLargeIsRefusedBeforeDecoding) {
  // A few thousand bytes that would unfold to more pixels than are taken.
  const PixPointer picture(pixCreate(20'000, 5'001, 1));
  EXPECT_EQ(refusal(encoded(*picture, IFF_TIFF_G4)), PlatformErrorCode::ImageTooLarge);
  EXPECT_EQ(refusal(Bytes(Image::kMaximumBytes + 1)), PlatformErrorCode::ImageTooLarge);
}

}  // namespace
}  // namespace bokfolio
