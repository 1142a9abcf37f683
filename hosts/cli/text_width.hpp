// How text stands on a terminal: its width in columns and what of it may be sent there. Widths are
// those of the common terminals: letters of East Asian scripts and most emoji take two columns,
// combining marks none.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace bokfolio::cli {

// Columns that UTF-8 text takes. Bytes that are no UTF-8 count one each.
std::size_t displayWidth(std::string_view text);

// The text with each control character replaced: line ends and tabs by a blank, others by U+FFFD,
// so that what a document holds neither breaks a table nor steers the terminal.
std::string printable(std::string_view text);

}  // namespace bokfolio::cli
