#include "bokfolio/platform/internal/text_table.hpp"

#include <optional>

#include "bokfolio/platform/internal/plain_text.hpp"

namespace bokfolio {

namespace {

// Reads a quoted text from the front of `rest` and takes it off, blanks before it included.
std::optional<std::string> takeQuoted(std::string_view& rest) {
  rest = trimmed(rest);
  if (rest.empty() || rest.front() != '"') return std::nullopt;
  std::string text;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == '"') {
      rest.remove_prefix(i + 1);
      return text;
    }
    if (rest[i] != '\\') {
      text += rest[i];
      continue;
    }
    if (++i == rest.size()) break;
    switch (rest[i]) {
      case 'n':
        text += '\n';
        break;
      case 't':
        text += '\t';
        break;
      case '"':
      case '\\':
        text += rest[i];
        break;
      default:
        return std::nullopt;
    }
  }
  return std::nullopt;
}

bool takeEquals(std::string_view& rest) {
  rest = trimmed(rest);
  if (rest.empty() || rest.front() != '=') return false;
  rest.remove_prefix(1);
  return true;
}

// "" when the line was taken, otherwise what is wrong with it.
std::string_view takeLine(std::string_view line, TextTable& table) {
  line = trimmed(line);
  if (line.empty() || line.front() == '#') return "";
  const auto key = takeQuoted(line);
  if (!key || key->empty()) return "no quoted key";
  if (!takeEquals(line)) return "no \"=\" after the key";
  const auto text = takeQuoted(line);
  if (!text) return "no quoted text";
  if (!trimmed(line).empty()) return "something after the text";
  if (!isUtf8(*key) || !isUtf8(*text)) return "not UTF-8";
  if (!table.texts.emplace(*key, *text).second) return "the key occurs a second time";
  return "";
}

}  // namespace

TextTable parseTextTable(std::string_view bytes) {
  TextTable table;
  if (bytes.size() > TextTable::kMaximumBytes) {
    table.problems.emplace_back("line 1: the table is larger than 1 MiB");
    return table;
  }
  for (std::size_t number = 1; !bytes.empty(); ++number) {
    const auto end = bytes.find('\n');
    const std::string_view problem = takeLine(bytes.substr(0, end), table);
    if (!problem.empty()) {
      table.problems.push_back("line " + std::to_string(number) + ": " + std::string(problem));
    }
    bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
  }
  return table;
}

}  // namespace bokfolio
