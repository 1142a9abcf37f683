#include "bokfolio/platform/text_order.hpp"

#include <unicode/unistr.h>

#include "bokfolio/platform/internal/locale_state.hpp"

namespace bokfolio {

namespace {

icu::StringPiece piece(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(text.size())};
}

// Whether the byte goes on with a character of UTF-8.
bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

icu::UnicodeString folded(std::string_view text) {
  return icu::UnicodeString::fromUTF8(piece(text)).foldCase();
}

}  // namespace

int compareNumerically(std::string_view a, std::string_view b, const Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  if (const icu::Collator* collator = locale.state().numericOrder()) {
    const UCollationResult order = collator->compareUTF8(piece(a), piece(b), status);
    if (U_SUCCESS(status)) return order;
  }
  return a < b ? -1 : (b < a ? 1 : 0);
}

std::optional<std::string_view> textAfterPrefix(std::string_view text, std::size_t length,
                                                std::string_view prefix) {
  std::size_t end = 0;
  for (std::size_t count = 0; count < length; ++count) {
    if (end == text.size()) return std::nullopt;
    ++end;
    while (end < text.size() && isContinuation(text[end])) ++end;
  }
  if (folded(text.substr(0, end)) != folded(prefix)) return std::nullopt;
  return text.substr(end);
}

}  // namespace bokfolio
