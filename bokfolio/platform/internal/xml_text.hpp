// The characters of XML: from bytes to UTF-8, which of them a document may hold, and what stands
// for one in references.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace bokfolio {

// The document as UTF-8 without byte-order mark; nullopt when it is neither UTF-8 nor declared as
// ISO-8859-1.
std::optional<std::string> xmlToUtf8(std::string_view bytes);

// Where the first character stands that no document may hold; npos when there is none.
std::size_t findForbiddenXmlCharacter(std::string_view utf8) noexcept;

// Appends the text with its references replaced. On failure says in `reason` what is wrong.
bool appendXmlText(std::string& out, std::string_view raw, std::string& reason);

}  // namespace bokfolio
