// Localisation tables and the filling of their texts: what was read can be written and read again
// without a fault; a text as a format takes what it is given and nothing else, whatever it says.
#include <array>

#include "bokfolio/platform/internal/plain_text.hpp"
#include "bokfolio/platform/internal/text_table.hpp"
#include "bokfolio/platform/localization.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

std::string inQuotes(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (c == '\n') {
      out += "\\n";
    } else {
      out += c;
    }
  }
  return out += '"';
}

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

void checkFormat(const std::string& format) {
  // The arguments look like formats themselves, and must come out as they are.
  const std::array<std::string, 2> arguments = {"<%@ %n %s>", "<%99999d %1$@>"};
  const std::string filled = fillFormat(format, arguments);
  const std::size_t places = occurrences(format, "@");
  expect(filled.size() <= format.size() + places * arguments[1].size(),
         "a format grows by its arguments only", format);
  if (format.find('%') == format.npos) expect(filled == format, "plain text stays as it is");
  expect(isUtf8(filled), "a filled format is text", filled);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const TextTable table = parseTextTable(fuzz::textOf(data, size));
  std::string written;
  for (const auto& [key, text] : table.texts) {
    written += inQuotes(key) + " = " + inQuotes(text) + "\n";
    checkFormat(text);
  }
  for (const std::string& problem : table.problems) {
    expect(problem.starts_with("line ") && problem.size() < 200, "a fault has its line", problem);
  }
  if (written.size() > TextTable::kMaximumBytes) return 0;
  const TextTable again = parseTextTable(written);
  expect(again.problems.empty(), "what is written has no fault",
         again.problems.empty() ? "" : again.problems.front());
  expect(again.texts == table.texts, "reading changes nothing");
  return 0;
}
