// Small helpers on UTF-8 text that several platform services share.
#pragma once

#include <string>
#include <string_view>

namespace bokfolio {

// The text with every control character (C0, DEL and the two-byte C1 range) as "?".
std::string withoutControls(std::string_view text);

// Whether the text is well-formed UTF-8.
bool isUtf8(std::string_view text) noexcept;

// Without blanks, tabs and carriage returns at both ends.
std::string_view trimmed(std::string_view text) noexcept;

}  // namespace bokfolio
