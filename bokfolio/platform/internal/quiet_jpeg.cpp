#include <cmath>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <vector>

#include "bokfolio/platform/internal/quiet_decoders.hpp"

// Needs size_t and FILE before it.
#include <jpeglib.h>

namespace bokfolio {

namespace {

// The decoder leaves by longjmp. All that a decoding uses is here, so that no frame in between owns
// anything.
class JpegReader {
 public:
  explicit JpegReader(ByteView bytes) : bytes_(bytes) {
    decoder_.err = jpeg_std_error(&errors_);
    errors_.error_exit = [](j_common_ptr state) {
      std::longjmp(static_cast<JpegReader*>(state->client_data)->out_,
                   1);  // NOLINT(cert-err52-cpp)
    };
    errors_.output_message = [](j_common_ptr /*state*/) {};
    decoder_.client_data = this;
  }
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;
  ~JpegReader() { jpeg_destroy_decompress(&decoder_); }

  bool readHead() {
    if (setjmp(out_) != 0) return false;  // NOLINT(cert-err52-cpp)
    jpeg_create_decompress(&decoder_);
    jpeg_mem_src(&decoder_, bytes_.data(), static_cast<unsigned long>(bytes_.size()));
    return jpeg_read_header(&decoder_, TRUE) == JPEG_HEADER_OK;
  }
  std::int64_t pixels() const { return std::int64_t{decoder_.image_width} * decoder_.image_height; }

  // Once, behind readHead().
  bool read() {
    if (setjmp(out_) != 0) return false;  // NOLINT(cert-err52-cpp)
    begin();
    if (pix_ == nullptr) return false;
    while (decoder_.output_scanline < decoder_.output_height) {
      const JDIMENSION line = decoder_.output_scanline;
      JSAMPROW row = row_.data();
      if (jpeg_read_scanlines(&decoder_, &row, 1) != 1) return false;
      store(line);
    }
    return jpeg_finish_decompress(&decoder_) == TRUE;
  }
  PixPointer take() { return std::move(pix_); }

 private:
  bool isGrey() const { return decoder_.output_components == 1; }

  void begin() {
    if (decoder_.num_components == 4) decoder_.out_color_space = JCS_CMYK;
    jpeg_start_decompress(&decoder_);
    const auto components = static_cast<std::size_t>(decoder_.output_components);
    if (components != 1 && components != 3 && components != 4) return;
    row_.resize(decoder_.output_width * components);
    pix_.reset(pixCreate(static_cast<l_int32>(decoder_.output_width),
                         static_cast<l_int32>(decoder_.output_height), isGrey() ? 8 : 32));
    if (pix_ == nullptr || decoder_.density_unit == 0) return;
    // Dots an inch; unit 2 says a centimetre.
    const auto perInch = [&](UINT16 density) {
      return decoder_.density_unit == 1 ? density
                                        : static_cast<l_int32>(std::lround(density * 2.54));
    };
    pixSetResolution(pix_.get(), perInch(decoder_.X_density), perInch(decoder_.Y_density));
  }

  void store(JDIMENSION line) {
    l_uint32* words = pixGetData(pix_.get()) +
                      std::size_t{line} * static_cast<std::size_t>(pixGetWpl(pix_.get()));
    for (std::size_t x = 0; x < decoder_.output_width; ++x) {
      if (isGrey()) {
        setDataByte(words, x, row_[x]);
      } else if (decoder_.output_components == 3) {
        const JSAMPLE* rgb = &row_[3 * x];
        composeRGBPixel(rgb[0], rgb[1], rgb[2], words + x);
      } else {
        storeInks(&row_[4 * x], words + x);
      }
    }
  }
  static void setDataByte(l_uint32* words, std::size_t x, JSAMPLE value) {
    SET_DATA_BYTE(words, x, value);
  }
  // Adobe's programs write inks the other way round.
  void storeInks(const JSAMPLE* inks, l_uint32* word) const {
    const auto light = [&](std::size_t ink) {
      return decoder_.saw_Adobe_marker != FALSE ? inks[ink] : 255 - inks[ink];
    };
    composeRGBPixel(light(0) * light(3) / 255, light(1) * light(3) / 255, light(2) * light(3) / 255,
                    word);
  }

  ByteView bytes_;
  jpeg_decompress_struct decoder_{};
  jpeg_error_mgr errors_{};
  std::jmp_buf out_{};
  std::vector<JSAMPLE> row_;
  PixPointer pix_;
};

}  // namespace

std::int64_t jpegPixels(ByteView bytes) {
  JpegReader reader(bytes);
  return reader.readHead() ? reader.pixels() : 0;
}

PixPointer decodeJpeg(ByteView bytes) {
  JpegReader reader(bytes);
  return reader.readHead() && reader.read() ? reader.take() : nullptr;
}

}  // namespace bokfolio
