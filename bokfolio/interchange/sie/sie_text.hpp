// The text of a SIE file below its records: from bytes to UTF-8, to lines, to fields. The character
// set is found in the bytes, because the format allows one only (IBM code page 437, "PC8") and
// files hold others while declaring that one. Nothing here knows a label; sie_reader.hpp does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

enum class SieCharset : std::uint8_t {
  Ascii,        // no byte above 127: any of the others
  Cp437,        // what the format prescribes
  Utf8,         // with or without a byte-order mark
  Windows1252,  // Latin-1 and its superset
};

// "ASCII", "CP437", "UTF-8", "Windows-1252".
BOKFOLIO_EXPORT std::string_view sieCharsetName(SieCharset charset) noexcept;

// The character set that the bytes speak for. A byte-order mark decides. Otherwise the text is
// UTF-8 when whole multi-byte sequences outnumber the bytes that belong to none (names cut in the
// middle of a letter do not change the verdict). Otherwise the Swedish letters decide between code
// page 437 and Windows-1252: whichever reading gives more of them; a tie goes to code page 437.
// Linear.
BOKFOLIO_EXPORT SieCharset detectSieCharset(std::string_view bytes) noexcept;

struct SieDecodedText {
  std::string text;  // UTF-8, without byte-order mark
  SieCharset charset = SieCharset::Ascii;
  // Bytes that mean no letter in the character set; each stands as U+FFFD in the text.
  std::size_t replacedBytes = 0;
  // Control characters other than tab and line ends, which the format forbids; they are left out.
  // Code page 437 writes the section and paragraph signs as two of them: those are kept.
  std::size_t droppedControls = 0;
};

// Detects and converts. Never fails: every byte sequence has a reading. The result takes up to
// three times the room of the bytes.
BOKFOLIO_EXPORT SieDecodedText decodeSieText(std::string_view bytes);

// Walks over lines that end in CR, LF, CR LF or the end of the text. The views point into the text.
class BOKFOLIO_EXPORT SieLines {
 public:
  explicit SieLines(std::string_view text) noexcept;

  // Moves to the next line; false at the end. A line end at the end of the text starts no line.
  bool next() noexcept;
  // Without its line end.
  std::string_view line() const noexcept { return line_; }
  // Of the current line, from 1.
  std::uint32_t number() const noexcept { return number_; }
  // How many bytes of the text the lines so far take.
  std::size_t position() const noexcept { return at_; }

 private:
  std::string_view text_;
  std::string_view line_;
  std::size_t at_ = 0;
  // The first of each line end at or after at_, once they are known.
  std::size_t newline_ = 0;
  std::size_t return_ = 0;
  std::uint32_t number_ = 0;
};

// One field as it stands in the line, without the quotes around it.
struct SieField {
  std::string_view text;
  // The text holds at least one \" that stands for a quote: see unescapeSieField.
  bool escaped = false;
};

// Turns each \" into a quote, in place; answers the new length. Other backslashes stay.
BOKFOLIO_EXPORT std::size_t unescapeSieField(char* text, std::size_t length) noexcept;

enum class SieFieldFault : std::uint8_t {
  None,
  UnclosedQuote,  // a quoted field without its closing quote
  StrayQuote,     // a closing quote that neither blank, brace nor line end follows
  UnclosedBrace,  // a list without its closing brace
  StrayBrace,     // a closing brace without a list, a list within a list, a second list
  TooManyFields,
};

// The fields of one line. Blanks and tabs separate. A field that is empty or holds a blank is
// quoted; inside, \" is a quote and every other backslash is itself (paths are written plainly). A
// \" after which the line holds no other quote closes the field: "C:\books\" is a path. A quote
// inside a field that starts without one is a letter. Braces hold a list, which does not nest and
// comes at most once a line. The object is meant to be used for line after line.
class BOKFOLIO_EXPORT SieFields {
 public:
  // More than any record has; a line with more is refused.
  static constexpr std::size_t kMaxFields = 1000;

  // Replaces what was there. After a fault the fields before it are there.
  SieFieldFault split(std::string_view line);

  // The fields outside the list, the label first. Beyond the last, an empty field.
  std::size_t size() const noexcept { return fields_.size() - listSize_; }
  SieField operator[](std::size_t index) const noexcept;

  bool hasList() const noexcept { return hasList_; }
  // How many fields stand before the list.
  std::size_t listPosition() const noexcept { return listStart_; }
  std::span<const SieField> list() const noexcept {
    return std::span(fields_).subspan(listStart_, listSize_);
  }

  // All fields in the order of the line, those of the list among them.
  std::span<SieField> all() noexcept { return fields_; }
  bool anyEscaped() const noexcept { return anyEscaped_; }

 private:
  SieFieldFault take(std::string_view line, std::size_t& at);
  SieFieldFault takeQuoted(std::string_view line, std::size_t& at);
  SieFieldFault takePlain(std::string_view line, std::size_t& at);
  SieFieldFault takeBrace(char brace);
  SieFieldFault add(SieField field);

  std::vector<SieField> fields_;
  std::size_t listStart_ = 0;
  std::size_t listSize_ = 0;
  bool hasList_ = false;
  bool inList_ = false;
  bool anyEscaped_ = false;
};

}  // namespace bokfolio
