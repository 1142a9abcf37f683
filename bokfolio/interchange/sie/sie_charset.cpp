#include <algorithm>
#include <array>
#include <cstring>

#include "bokfolio/interchange/sie/internal/code_pages.hpp"
#include "bokfolio/interchange/sie/sie_text.hpp"

namespace bokfolio {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr char16_t kReplacement = 0xFFFD;

unsigned char byteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

// Index of the first byte from 128 up, at or after `at`.
std::size_t skipAscii(std::string_view bytes, std::size_t at) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  for (std::uint64_t word = 0; at + sizeof word <= bytes.size(); at += sizeof word) {
    std::memcpy(&word, bytes.data() + at, sizeof word);
    if ((word & kHighBits) != 0) break;
  }
  while (at < bytes.size() && byteAt(bytes, at) < 0x80) ++at;
  return at;
}

// Length of the well-formed UTF-8 sequence of two bytes or more that starts here; 0 when there is
// none (overlong forms, surrogates and code points beyond the last are not well-formed).
std::size_t sequenceLength(std::string_view bytes, std::size_t at) {
  const unsigned char lead = byteAt(bytes, at);
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead < 0xE0 ? 2 : (lead < 0xF0 ? 3 : 4);
  if (at + length > bytes.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(bytes, at + i) & 0xC0) != 0x80) return 0;
  }
  const unsigned char second = byteAt(bytes, at + 1);
  const bool outside = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                       (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return outside ? 0 : length;
}

struct Census {
  std::size_t sequences = 0;  // well-formed UTF-8 of two bytes or more
  std::size_t strays = 0;     // bytes from 128 up that belong to none
  std::array<std::size_t, 256> strayBytes{};

  std::size_t count(std::string_view letters) const {
    std::size_t sum = 0;
    for (const char letter : letters) sum += strayBytes[static_cast<unsigned char>(letter)];
    return sum;
  }
};

Census census(std::string_view bytes) {
  Census result;
  for (std::size_t at = skipAscii(bytes, 0); at < bytes.size(); at = skipAscii(bytes, at)) {
    if (const std::size_t length = sequenceLength(bytes, at); length != 0) {
      ++result.sequences;
      at += length;
    } else {
      ++result.strays;
      ++result.strayBytes[byteAt(bytes, at)];
      ++at;
    }
  }
  return result;
}

SieCharset verdict(const Census& found) {
  if (found.sequences == 0 && found.strays == 0) return SieCharset::Ascii;
  if (found.sequences > found.strays) return SieCharset::Utf8;
  // The same letters in both: a-ring, a and o with dots, e acute, u with dots, small and capital.
  const std::size_t codePage437 = found.count("\x86\x84\x94\x82\x81\x8F\x8E\x99\x90\x9A");
  const std::size_t windows1252 = found.count("\xE5\xE4\xF6\xE9\xFC\xC5\xC4\xD6\xC9\xDC");
  return windows1252 > codePage437 ? SieCharset::Windows1252 : SieCharset::Cp437;
}

constexpr bool isDropped(unsigned char byte) {
  return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
}

std::size_t droppedIn(std::string_view bytes) {
  static constexpr auto kDropped = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t byte = 0; byte < 0x80; ++byte) {
      table[byte] = isDropped(static_cast<unsigned char>(byte)) ? 1 : 0;
    }
    return table;
  }();
  std::size_t count = 0;
  for (const char byte : bytes) count += kDropped[static_cast<unsigned char>(byte)];
  return count;
}

// A code point of the basic plane as UTF-8; no bytes stand for "left out". Four bytes wide, so that
// copying one is a single store.
struct Encoded {
  std::array<char, 3> bytes{};
  std::uint8_t length = 0;
};

constexpr Encoded encode(char16_t code) {
  if (code < 0x80) return {{static_cast<char>(code)}, 1};
  const auto last = static_cast<char>(0x80 | (code & 0x3F));
  if (code < 0x800) return {{static_cast<char>(0xC0 | (code >> 6)), last}, 2};
  return {{static_cast<char>(0xE0 | (code >> 12)), static_cast<char>(0x80 | ((code >> 6) & 0x3F)),
           last},
          3};
}

using EncodedPage = std::array<Encoded, 256>;

EncodedPage encodedPage(SieCharset charset) {
  const auto& high =
      charset == SieCharset::Windows1252 ? sie_internal::kWindows1252 : sie_internal::kCodePage437;
  EncodedPage page;
  for (std::size_t byte = 0; byte < 0x80; ++byte) {
    if (!isDropped(static_cast<unsigned char>(byte)))
      page[byte] = encode(static_cast<char16_t>(byte));
  }
  for (std::size_t byte = 0x80; byte < 0x100; ++byte) page[byte] = encode(high[byte - 0x80]);
  if (charset == SieCharset::Cp437) {
    page[0x14] = encode(0x00B6);
    page[0x15] = encode(0x00A7);
  }
  return page;
}

void decodePage(std::string_view bytes, SieDecodedText& result) {
  constexpr std::size_t kBlock = std::size_t{1} << 14;
  const EncodedPage page = encodedPage(result.charset);
  std::vector<char> block(3 * kBlock + sizeof(Encoded));
  result.text.reserve(bytes.size() + bytes.size() / 16);
  for (std::size_t start = 0; start < bytes.size(); start += kBlock) {
    char* out = block.data();
    for (const char byte : bytes.substr(start, kBlock)) {
      const Encoded& letter = page[static_cast<unsigned char>(byte)];
      std::memcpy(out, &letter, sizeof letter);
      out += letter.length;
      result.droppedControls += letter.length == 0 ? 1U : 0U;
    }
    result.text.append(block.data(), out);
  }
  for (std::size_t byte = 0x80; byte < page.size(); ++byte) {
    if (page[byte].bytes != encode(kReplacement).bytes) continue;
    result.replacedBytes +=
        static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), static_cast<char>(byte)));
  }
}

// Text that needs a change somewhere: byte by byte, well-formed sequences as they are.
void repairUtf8(std::string_view bytes, SieDecodedText& result) {
  const Encoded replacement = encode(kReplacement);
  result.text.reserve(bytes.size() + 2 * result.replacedBytes);
  for (std::size_t at = 0; at < bytes.size();) {
    const bool ascii = byteAt(bytes, at) < 0x80;
    const std::size_t length = ascii ? 1 : sequenceLength(bytes, at);
    if (length == 0) {
      result.text.append(replacement.bytes.data(), replacement.length);
    } else if (!isDropped(byteAt(bytes, at))) {
      result.text.append(bytes, at, length);
    }
    at += std::max<std::size_t>(length, 1);
  }
}

void decodeUtf8(std::string_view bytes, std::size_t strays, SieDecodedText& result) {
  result.replacedBytes = strays;
  result.droppedControls = droppedIn(bytes);
  if (strays == 0 && result.droppedControls == 0) {
    result.text.assign(bytes);
  } else {
    repairUtf8(bytes, result);
  }
}

}  // namespace

std::string_view sieCharsetName(SieCharset charset) noexcept {
  switch (charset) {
    case SieCharset::Ascii:
      return "ASCII";
    case SieCharset::Cp437:
      return "CP437";
    case SieCharset::Utf8:
      return "UTF-8";
    case SieCharset::Windows1252:
      return "Windows-1252";
  }
  return "";
}

SieCharset detectSieCharset(std::string_view bytes) noexcept {
  return bytes.starts_with(kByteOrderMark) ? SieCharset::Utf8 : verdict(census(bytes));
}

SieDecodedText decodeSieText(std::string_view bytes) {
  SieDecodedText result;
  const bool marked = bytes.starts_with(kByteOrderMark);
  if (marked) bytes.remove_prefix(kByteOrderMark.size());
  const Census found = census(bytes);
  result.charset = marked ? SieCharset::Utf8 : verdict(found);
  if (result.charset == SieCharset::Utf8 || result.charset == SieCharset::Ascii) {
    decodeUtf8(bytes, found.strays, result);
  } else {
    decodePage(bytes, result);
  }
  return result;
}

}  // namespace bokfolio
