#include "bokfolio/interchange/sie/sie_text.hpp"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <string>
#include <vector>

#include "bokfolio/interchange/sie/internal/checksum.hpp"
#include "bokfolio/interchange/sie/internal/code_pages.hpp"
#include "bokfolio/interchange/sie/internal/values.hpp"

namespace bokfolio {
namespace {

char16_t icuLetter(UConverter* converter, unsigned char byte) {
  UErrorCode status = U_ZERO_ERROR;
  const char source = static_cast<char>(byte);
  char16_t letters[4] = {};
  ucnv_toUChars(converter, letters, 4, &source, 1, &status);
  return letters[0];
}

TEST(SieText, CodePagesAgreeWithIcu) {
  const struct {
    const char* name;
    const std::array<char16_t, 128>& page;
  } pages[] = {{"ibm-437", sie_internal::kCodePage437},
               {"windows-1252", sie_internal::kWindows1252}};
  for (const auto& [name, page] : pages) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    ASSERT_TRUE(U_SUCCESS(status)) << name;
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
      const char16_t letter = icuLetter(converter, static_cast<unsigned char>(byte));
      const bool control = letter >= 0x80 && letter < 0xA0;
      // The micro sign, which ICU reads as the Greek letter.
      const char16_t expected = control ? 0xFFFD : (letter == 0x03BC ? 0x00B5 : letter);
      EXPECT_EQ(page[byte - 0x80], expected) << name << " " << byte;
    }
    ucnv_close(converter);
  }
}

TEST(SieText, FindsTheCharacterSetInTheBytes) {
  const struct {
    std::string_view bytes;
    SieCharset charset;
    std::string_view text;
    std::size_t replaced = 0;
    std::size_t dropped = 0;
  } cases[] = {
      {"", SieCharset::Ascii, ""},
      {"#FNAMN Bolag\t1\r\n", SieCharset::Ascii, "#FNAMN Bolag\t1\r\n"},
      {"F\x94retag \x86r \x8Fkeri", SieCharset::Cp437, "Företag år Åkeri"},
      {"F\xF6retag \xE5r \xC5keri", SieCharset::Windows1252, "Företag år Åkeri"},
      {"Företag", SieCharset::Utf8, "Företag"},
      {"\xEF\xBB\xBFx", SieCharset::Utf8, "x"},
      {"\xEF\xBB\xBF\x94", SieCharset::Utf8, "\xEF\xBF\xBD", 1},
      // Section and paragraph signs are control characters in code page 437, and there only.
      {"5 \x15 \x14 \x86", SieCharset::Cp437, "5 § ¶ å"},
      {"5 \x15 \xE5", SieCharset::Windows1252, "5  å", 0, 1},
      {"5 \xA7, 1\xAB", SieCharset::Cp437, "5 º, 1½"},
      // One name from elsewhere does not turn the rest.
      {"F\xF6retag: \x86 \x84 \x94", SieCharset::Cp437, "F÷retag: å ä ö"},
      {"\x93\xE4 \x94\xF6 \x96 \xE5", SieCharset::Windows1252, "“ä ”ö – å"},
      {"\xE5\xE4 \x81", SieCharset::Windows1252, "åä \xEF\xBF\xBD", 1},
      // A name cut in the middle of a letter.
      {"åäö skogsfastighet\xC3", SieCharset::Utf8, "åäö skogsfastighet\xEF\xBF\xBD", 1},
      // Overlong, surrogate, beyond the last code point; and the highest that is allowed.
      {"åäöåäöåäöåäö\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80", SieCharset::Utf8,
       "åäöåäöåäöåäö\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
       "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
       9},
      {"\xF4\x8F\xBF\xBF", SieCharset::Utf8, "\xF4\x8F\xBF\xBF"},
      {"a\x01\x1A\x7F"
       "b",
       SieCharset::Ascii, "ab", 0, 3},
      {"å\x01", SieCharset::Utf8, "å", 0, 1},
  };
  for (const auto& [bytes, charset, text, replaced, dropped] : cases) {
    SCOPED_TRACE(text);
    const SieDecodedText decoded = decodeSieText(bytes);
    EXPECT_EQ(sieCharsetName(decoded.charset), sieCharsetName(charset));
    EXPECT_EQ(detectSieCharset(bytes), charset);
    EXPECT_EQ(decoded.text, text);
    EXPECT_EQ(decoded.replacedBytes, replaced);
    EXPECT_EQ(decoded.droppedControls, dropped);
  }
}

TEST(SieText, LinesEndInAnyOfThreeWays) {
  std::vector<std::string> seen;
  for (SieLines lines("a\nb\r\n\rc\r\r\nd"); lines.next();) {
    seen.push_back(std::to_string(lines.number()) + std::string(lines.line()));
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"1a", "2b", "3", "4c", "5", "6d"}));
  SieLines ended("a\r\n");
  EXPECT_TRUE(ended.next());
  EXPECT_FALSE(ended.next());
}

// The fields as a reader sees them: each in brackets, the list in braces.
std::string shown(SieFields& fields) {
  std::string result;
  std::size_t at = 0;
  const auto listEnd = fields.listPosition() + fields.list().size();
  for (SieField& field : fields.all()) {
    std::string text(field.text);
    if (field.escaped) text.resize(unescapeSieField(text.data(), text.size()));
    const bool listed = at >= fields.listPosition() && at < listEnd;
    result += (listed ? "{" : "[") + text + (listed ? "}" : "]");
    ++at;
  }
  return result;
}

TEST(SieText, SplitsFields) {
  const struct {
    std::string_view line;
    std::string_view fields;
    SieFieldFault fault = SieFieldFault::None;
  } cases[] = {
      {"", ""},
      {"#KONTO\t1910  \"Kassa och bank\" \t", "[#KONTO][1910][Kassa och bank]"},
      {R"(#GEN "" "a" "")", "[#GEN][][a][]"},
      {R"("the \"Bar\" AB" x)", R"([the "Bar" AB][x])"},
      {R"("\"" "\"")", R"(["]["])"},
      {R"("a\"")", R"([a"])"},
      {R"(5\"x 5")", R"([5"x][5"])"},
      {R"("C:\books\2011" "C:\books\")", R"([C:\books\2011][C:\books\])"},
      {R"("\\server\x")", R"([\\server\x])"},
      {"#TRANS 1910 {} -5.00", "[#TRANS][1910][-5.00]"},
      {R"(#TRANS 1910 {1 "No rd" 6 "15"}-5)", "[#TRANS][1910]{1}{No rd}{6}{15}[-5]"},
      {R"(#TRANS 1910{ 1 2 }"a{b}")", "[#TRANS][1910]{1}{2}[a{b}]"},
      {R"(#KONTO 1 "open)", "[#KONTO][1]", SieFieldFault::UnclosedQuote},
      {R"(#KONTO 1 ")", "[#KONTO][1]", SieFieldFault::UnclosedQuote},
      {R"(#KONTO 1 "The "Bar" AB")", "[#KONTO][1]", SieFieldFault::StrayQuote},
      {"a { b", "[a]{b}", SieFieldFault::UnclosedBrace},
      {"a } b", "[a]", SieFieldFault::StrayBrace},
      {"a {b {c}}", "[a]{b}", SieFieldFault::StrayBrace},
      {"a {b} {c}", "[a]{b}", SieFieldFault::StrayBrace},
  };
  SieFields fields;
  for (const auto& [line, expected, fault] : cases) {
    SCOPED_TRACE(line);
    EXPECT_EQ(fields.split(line), fault);
    EXPECT_EQ(shown(fields), expected);
  }
  EXPECT_EQ(fields.split("#TRANS 1910 {1 2} 7"), SieFieldFault::None);
  EXPECT_EQ(fields.size(), 3U);
  EXPECT_EQ(fields[2].text, "7");
  EXPECT_EQ(fields[3].text, "");
  std::string wide;
  for (std::size_t i = 0; i < SieFields::kMaxFields; ++i) wide += "x ";
  EXPECT_EQ(fields.split(wide), SieFieldFault::None);
  EXPECT_EQ(fields.split(wide + "x"), SieFieldFault::TooManyFields);
}

TEST(SieText, ReadsWholeValuesOrNothing) {
  using sie_internal::parseAmount;
  using sie_internal::parseDay;
  using sie_internal::parseWhole;
  for (const auto& [text, value] : std::vector<std::pair<const char*, const char*>>{
           {"0", "0"},
           {"-0.00", "0"},
           {"+12.50", "12.5"},
           {"-.5", "-0.5"},
           {"7.", "7"},
           {"-999999999999999999.99999999999999999999",
            "-999999999999999999.99999999999999999999"}}) {
    ASSERT_TRUE(parseAmount(text)) << text;
    EXPECT_EQ(parseAmount(text)->toString(), value);
  }
  for (const char* text : {"", "-", ".", "1,50", "1 000", "--1", "1.2.3", "1e5",
                           "1000000000000000000", "0.000000000000000000001", "x", "1-"}) {
    EXPECT_FALSE(parseAmount(text)) << text;
  }
  EXPECT_EQ(parseWhole("-12"), -12);
  EXPECT_EQ(parseWhole("999999999"), 999999999);
  for (const char* text : {"", "-", "+1", "1.0", "1000000000", "--1", "1a"}) {
    EXPECT_FALSE(parseWhole(text)) << text;
  }
  EXPECT_EQ(parseDay("20120229"), (CivilDate{2012, 2, 29}));
  for (const char* text :
       {"", "20110229", "20111301", "20110100", "2011-1-1", "201101", "00000101"}) {
    EXPECT_FALSE(parseDay(text)) << text;
  }
}

TEST(SieText, ChecksumCountsFieldsOnly) {
  using sie_internal::checksumOf;
  using sie_internal::crc32;
  EXPECT_EQ(crc32("123456789"), 0xCBF43926U);  // the check value of this polynomial
  EXPECT_FALSE(checksumOf("#FLAGGA 0\n#VER\n"));
  const auto plain =
      checksumOf("before\n#KSUMMA\n#A 1 {6 x} \"y\"\n}\n#KSUMMA 99\nafter\n#KSUMMA 1");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->computed, crc32("#A16xy"));
  EXPECT_EQ(plain->stated, "99");
  EXPECT_EQ(plain->line, 5U);
  const auto escaped = checksumOf("#KSUMMA\r #A\t\"\\\"y\\\" C:\\\"\r#KSUMMA");
  EXPECT_EQ(escaped->computed, crc32("#A\"y\" C:\\"));
  EXPECT_FALSE(checksumOf("#KSUMMA\n#A\n")->stated);
}

}  // namespace
}  // namespace bokfolio
