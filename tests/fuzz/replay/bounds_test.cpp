// The bounds of every reader, in one table: an input at the bound is taken, one just beyond it is
// refused with a sentence, before it costs time or memory.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bokfolio/currency/reference_rates.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/platform/image.hpp"
#include "bokfolio/platform/internal/bitmap.hpp"
#include "bokfolio/platform/internal/text_table.hpp"
#include "bokfolio/platform/number_parsing.hpp"
#include "bokfolio/platform/property_list.hpp"
#include "bokfolio/store/internal/predicate/lexer.hpp"
#include "bokfolio/store/internal/predicate/parser.hpp"
#include "bokfolio/store/internal/predicate/printing.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace bokfolio::fuzz {
namespace {

std::string repeated(std::string_view text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (; times > 0; --times) all += text;
  return all;
}

// What a reader says: "" when it takes the input.
using Reader = std::function<std::string(const std::string&)>;

std::string said(bool taken, const std::optional<Error>& error) {
  return taken ? "" : error.value().localizedDescription();
}

std::string readXml(const std::string& text) {
  std::optional<Error> error;
  return said(XmlDocument::parse(text, {}, &error).has_value(), error);
}

std::string readList(const std::string& text) {
  std::optional<Error> error;
  return said(PropertyList::parse(text, &error).has_value(), error);
}

std::string readRates(const std::string& text) {
  std::optional<Error> error;
  return said(ReferenceRates::read(text, &error).has_value(), error);
}

std::string readTable(const std::string& text) {
  const auto problems = parseTextTable(text).problems;
  return problems.empty() ? "" : problems.front();
}

std::string readFile(const std::string& text) {
  SieReadOptions small;
  small.maxBytes = 200'000;
  small.maxRecords = 100;
  std::optional<Error> error;
  return said(readSie(text, small, &error).has_value(), error);
}

std::string readPicture(const std::string& text) {
  std::optional<Error> error;
  const ByteView bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  return said(Image::decode(bytes, &error).has_value(), error);
}

std::string readCondition(const std::string& text) {
  try {
    predicate::parse(text);
    return "";
  } catch (const PredicateError& refusal) {
    return refusal.what();
  }
}

// Readers that answer a number or nothing.
template <auto Read>
std::string readTyped(const std::string& text) {
  return Read(text, Locale("sv_SE")) ? "" : "nothing";
}

std::string readRebate(const std::string& text) {
  const bool made = Allowance::createAllowanceFromString(text, std::nullopt, book()) != nullptr;
  restoreBook();
  return made ? "" : "nothing";
}

std::string nested(const std::string& open, const std::string& close, std::size_t times) {
  return repeated(open, times) + repeated(close, times);
}

std::string digits(std::size_t count) { return std::string(count - 1, '0') + "7"; }

std::string sie(const std::string& lines) { return "#SIETYP 4\n" + lines; }

TEST(Bounds, AreTakenAndNotPassed) {
  constexpr std::size_t kMegabyte = std::size_t{1} << 20;
  const XmlLimits xml;
  struct Case {
    Reader read;
    std::function<std::string(std::size_t)> make;
    std::size_t bound;
    std::string refusal;  // how the sentence begins
  };
  const std::vector<Case> cases = {
      {readXml, [](std::size_t n) { return nested("<a>", "</a>", n); }, xml.depth,
       "The XML document has too many levels."},
      {readXml, [](std::size_t n) { return "<a>" + repeated("<b/>", n - 1) + "</a>"; }, xml.nodes,
       "The XML document has too many elements."},
      {readXml, [](std::size_t n) { return "<a>" + std::string(n - 7, 'x') + "</a>"; }, xml.bytes,
       "The XML document has more than 16777216 bytes."},
      {readRates, [](std::size_t n) { return nested("<a>", "</a>", n); }, xml.depth,
       "The XML document has too many levels."},
      {readList,
       [](std::size_t n) { return "<plist>" + nested("<array>", "</array>", n) + "</plist>"; },
       xml.depth - 1, "The XML document has too many levels."},
      {readTable, [](std::size_t n) { return std::string(n, '\n'); }, kMegabyte,
       "line 1: the table is larger than 1 MiB"},
      {readFile, [](std::size_t n) { return sie(std::string(n - 10, '\n')); }, 200'000,
       "The file is larger than 200000 bytes."},
      {readFile, [](std::size_t n) { return sie("#PROSA " + std::string(n - 7, 'x')); }, 65'536,
       "Line 2: the line is longer than 65536 bytes."},
      {readFile, [](std::size_t n) { return sie("#PROSA" + repeated(" x", n - 1)); },
       SieFields::kMaxFields, "Line 2: the line has more than 1000 fields."},
      {readFile, [](std::size_t n) { return sie(repeated("#DIM 1\n", n)); }, 100,
       "Line 102: the file has more than 100 records."},
      {readCondition, [](std::size_t n) { return "a == '" + std::string(n - 4, 'x') + "'"; },
       predicate::kMaximumSize, "a condition of more than 65536 words, signs, and characters"},
      {readCondition, [](std::size_t n) { return std::string(n - 3, 'a') + " == 1"; },
       predicate::kMaximumSize, "a condition of more than 65536 words, signs, and characters"},
      {readCondition, [](std::size_t n) { return std::string(n - 6, ' ') + "a == 1"; },
       predicate::kMaximumBytes, "a condition of more than 16 MiB"},
      {readCondition,
       [](std::size_t n) { return std::string(n, '(') + "a == 1" + std::string(n, ')'); },
       predicate::kMaximumNesting, "nested too deeply, column 201"},
      {readCondition, [](std::size_t n) { return repeated("NOT ", n) + "a == 1"; },
       predicate::kMaximumNesting, "nested too deeply, column 801"},
      {readTyped<&parseNumber>, digits, 500, "nothing"},
      {readTyped<&parseAmount>, digits, 500, "nothing"},
      {readRebate, digits, 500, "nothing"},
      {readRebate, [](std::size_t n) { return digits(n - 1) + "%"; }, 500, "nothing"},
  };
  for (std::size_t at = 0; at < cases.size(); ++at) {
    const Case& row = cases[at];
    EXPECT_EQ(row.read(row.make(row.bound)), "") << "row " << at;
    const std::string refusal = row.read(row.make(row.bound + 1));
    EXPECT_EQ(refusal.substr(0, row.refusal.size()), row.refusal) << "row " << at;
  }
}

// What is as large as may be is read again from its own text, however much longer that is.
TEST(Bounds, OfConditionsAreKeptByPrinting) {
  const std::string conditions[] = {
      repeated("a=9e126||", predicate::kMaximumSize / 5 - 1) + "a=-1e-126",
      repeated("!a<>#or&&", predicate::kMaximumSize / 9) + "%K=%@",
      "a='" + std::string(predicate::kMaximumSize - 4, '\n') + "'",
      "and.or=" + repeated("not.", predicate::kMaximumSize / 4 - 4) + "like",
  };
  for (const std::string& condition : conditions) {
    const auto parsed = predicate::parse(condition);
    const std::string printed = predicate::print(*parsed->root);
    EXPECT_GT(printed.size(), condition.size());
    const auto again = predicate::parse(printed);
    EXPECT_TRUE(predicate::print(*again->root) == printed) << condition.substr(0, 40);
  }
}

// A number too long is cut where only the beginning counts, and what surrounds a number is no part
// of its length.
TEST(Bounds, OfNumbersLeaveTheirSurroundingsOut) {
  const Locale locale("sv_SE");
  EXPECT_EQ(scanNumber("25 " + std::string(1'000'000, 'x'), locale), 25.0);
  EXPECT_EQ(parseNumber(repeated("\u00A0", 10'000).append("25").append(10'000, ' '), locale),
            Decimal(25));
}

// ---- Pictures that say little and cost much

std::string littleEndian(std::size_t value, int bytes) {
  std::string text;
  for (; bytes > 0; --bytes, value >>= 8U) text += static_cast<char>(value & 0xFFU);
  return text;
}

std::string bigEndian(std::size_t value, int bytes) {
  const std::string little = littleEndian(value, bytes);
  return {little.rbegin(), little.rend()};
}

std::string gifFrame(std::size_t width, std::size_t height) {
  using namespace std::string_literals;
  return "\x2C\0\0\0\0"s + littleEndian(width, 2) + littleEndian(height, 2) +
         "\0\x02\x02\x44\x01\0"s;
}

std::string gif(const std::string& frames) {
  using namespace std::string_literals;
  return "GIF89a\x01\0\x01\0\x80\0\0\0\0\0\xFF\xFF\xFF"s + frames + ";";
}

std::string jpegSegment(char mark, const std::string& content) {
  return std::string("\xFF") + mark + bigEndian(content.size() + 2, 2) + content;
}

// Progressive, of one component, with as many scans that say nothing.
std::string jpeg(std::size_t width, std::size_t height, std::size_t scans) {
  using namespace std::string_literals;
  const std::string scan = jpegSegment('\xDA', "\x01\x01\0\x01\x01\0"s) + '\0';
  return "\xFF\xD8" + jpegSegment('\xDB', '\0' + std::string(64, '\1')) +
         jpegSegment('\xC2', '\x08' + bigEndian(height, 2) + bigEndian(width, 2) + "\1\1\x11\0"s) +
         repeated(scan, scans) + "\xFF\xD9";
}

std::uint32_t crc(std::string_view bytes) {
  std::uint32_t value = 0xFFFFFFFFU;
  for (const char byte : bytes) {
    value ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) {
      value = value >> 1U ^ ((value & 1U) != 0 ? 0xEDB88320U : 0U);
    }
  }
  return ~value;
}

std::string pngChunk(const std::string& type, const std::string& data) {
  return bigEndian(data.size(), 4) + type + data + bigEndian(crc(type + data), 4);
}

// One grey pixel, if it is of that size.
std::string png(std::size_t width, std::size_t height, const std::string& chunks) {
  using namespace std::string_literals;
  const std::string pixel = "\x78\x9C\x63\x60\0\0\0\x02\0\x01"s;
  return "\x89PNG\r\n\x1A\n" +
         pngChunk("IHDR", bigEndian(width, 4) + bigEndian(height, 4) + "\x08\0\0\0\0"s) + chunks +
         pngChunk("IDAT", pixel) + pngChunk("IEND", "");
}

TEST(Bounds, OfPicturesHoldBeforeAnythingIsDecoded) {
  using namespace std::string_literals;
  const std::string tooLarge = "The picture has more than 100 million pixels.";
  const std::string tooManyPasses = "The picture is built up in too many passes.";
  const std::string undecodable = "The picture is damaged or of a kind that cannot be read.";
  const std::string text = pngChunk("zTXt", "k\0\0\x78\x9C\x4B\x04\0\0\x62\0\x62"s);
  struct Case {
    std::string name;
    std::string input;
    std::string refusal;
  };
  const Case cases[] = {
      {"a picture of one pixel", gif(gifFrame(1, 1)), ""},
      {"a large frame on a small screen", gif(gifFrame(60'000, 60'000)), tooLarge},
      {"frames that are large together", gif(repeated(gifFrame(9'000, 9'000), 2)), tooLarge},
      {"blocks without end", gif(repeated("\x21\xFE\0"s, kMaximumGifBlocks + 1)), undecodable},
      {"a GIF that is cut", gif(gifFrame(1, 1)).substr(0, 25), undecodable},
      {"a JPEG of a great many scans", jpeg(9'000, 9'000, 25), tooManyPasses},
      {"a large JPEG", jpeg(60'000, 60'000, 1), tooLarge},
      {"a PNG of one pixel", png(1, 1, repeated(text, kMaximumPngTexts)), ""},
      {"a large PNG", png(60'000, 60'000, ""), tooLarge},
      {"a PNG of a great many texts", png(1, 1, repeated(text, kMaximumPngTexts + 1)), undecodable},
      {"a file of 64 MiB", std::string(Image::kMaximumBytes + 1, 'x'),
       "The picture's file is larger than 64 MiB."},
  };
  for (const auto& [name, input, refusal] : cases) {
    EXPECT_EQ(readPicture(input), refusal) << name;
  }
}

TEST(Bounds, OfScansCountWhatTheDecoderMeets) {
  const auto scans = [](const std::string& text) {
    return jpegScans({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  };
  const std::string whole = jpeg(8, 8, 7);
  EXPECT_EQ(scans(whole), 7);
  EXPECT_EQ(scans(whole.substr(0, whole.size() - 1)), 0);
  // Marks in a comment are no scans; a scan between filling and garbage is one.
  EXPECT_EQ(scans("\xFF\xD8" + jpegSegment('\xFE', repeated("\xFF\xDA", 9)) + "x\xFF\xFF" +
                  jpegSegment('\xDA', "abcd") + "\xFF\xD9"),
            1);
}

// A library has no business on its host's standard error, whatever the picture.
TEST(Pictures, AreDecodedInSilence) {
  using namespace std::string_literals;
  std::vector<std::string> pictures = {
      png(1, 1, pngChunk("iCCP", "x\0\0rubbish"s)),
      png(1, 1, pngChunk("pHYs", "short")),
      png(1, 1, pngChunk("PLTE", "ab")),
      png(1, 1, pngChunk("tRNS", "too long here")),
      png(1, 1, pngChunk("gAMA", "\0\0\0\0"s)),
      png(1, 3, ""),
  };
  std::mt19937 random(3);
  const std::string corpus = BOKFOLIO_SOURCE_DIR "/tests/fuzz/corpus/image/small";
  const std::string photo = readBytes(corpus + ".jpg");
  for (int round = 0; round < 300; ++round) {
    std::string pixels(1 + random() % 20, ' ');
    for (char& byte : pixels) byte = static_cast<char>(random());
    pictures.push_back("\x89PNG\r\n\x1A\n" +
                       pngChunk("IHDR", bigEndian(2, 4) + bigEndian(2, 4) + "\x08\x02\0\0\0"s) +
                       pngChunk("IDAT", (round % 2 == 0 ? "" : "\x78\x9C") + pixels) +
                       pngChunk("IEND", ""));
    std::string damaged = photo;
    for (int bytes = 1 + round % 3; bytes > 0; --bytes)
      damaged[2 + random() % (damaged.size() - 4)] = static_cast<char>(random());
    pictures.push_back(damaged);
  }
  int taken = 0;
  testing::internal::CaptureStderr();
  for (const std::string& picture : pictures) taken += readPicture(picture).empty() ? 1 : 0;
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_GT(taken, 50);
}

TEST(Bounds, OfEntitiesAreThatThereAreNone) {
  std::string bomb = "<!DOCTYPE e [<!ENTITY a \"xxxxxxxxxx\">";
  for (char name = 'b'; name < 'k'; ++name) {
    const std::string before = std::string("&") + static_cast<char>(name - 1) + ";";
    bomb += std::string("<!ENTITY ") + name + " \"" + repeated(before, 10) + "\">";
  }
  bomb += "]><plist>&j;</plist>";
  for (const auto& read : {readXml, readList, readRates}) {
    EXPECT_EQ(read(bomb),
              "The XML document is not well-formed at line 1: the reference &j; stands for no "
              "character.");
  }
}

}  // namespace
}  // namespace bokfolio::fuzz
