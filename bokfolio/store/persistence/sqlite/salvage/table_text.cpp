#include "bokfolio/store/persistence/sqlite/salvage/internal/table_text.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace bokfolio::internal {

namespace {

char capital(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

std::string capitals(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), capital);
  return result;
}

struct Token {
  enum class Kind : char { End, Word, Quoted, Sign } kind = Kind::End;
  std::string text;
};

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  Token next() {
    while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    if (at_ == text_.size()) return {};
    const char first = text_[at_];
    if (isWordPart(first)) {
      const std::size_t begin = at_;
      while (at_ < text_.size() && isWordPart(text_[at_])) ++at_;
      return {Token::Kind::Word, std::string(text_.substr(begin, at_ - begin))};
    }
    if (first == '"' || first == '`' || first == '\'' || first == '[') return quoted(first);
    ++at_;
    return {Token::Kind::Sign, std::string(1, first)};
  }

 private:
  static bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
  }
  static bool isWordPart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           (static_cast<unsigned char>(c) & 0x80U) != 0;
  }

  Token quoted(char open) {
    const char close = open == '[' ? ']' : open;
    Token token{Token::Kind::Quoted, ""};
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] == close) {
        const bool doubled = close != ']' && at_ + 1 < text_.size() && text_[at_ + 1] == close;
        ++at_;
        if (!doubled) return token;
      }
      token.text += text_[at_];
      if (text_[at_] == close) continue;
    }
    return {};
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

class TableParser {
 public:
  explicit TableParser(std::string_view text) : lexer_(text) { advance(); }

  std::optional<DeclaredTable> parse() {
    DeclaredTable table;
    if (!takeWord("CREATE") || !takeWord("TABLE") || !takeName(table.name) || !takeSign("(")) {
      return std::nullopt;
    }
    do {
      if (!takeDefinition(table)) return std::nullopt;
    } while (takeSign(","));
    if (!takeSign(")")) return std::nullopt;
    for (; token_.kind != Token::Kind::End; advance())
      if (isWord("WITHOUT") || isWord("AS")) return std::nullopt;
    return table;
  }

 private:
  void advance() { token_ = lexer_.next(); }
  bool isWord(std::string_view word) const {
    return token_.kind == Token::Kind::Word && capitals(token_.text) == word;
  }
  bool isSign(std::string_view sign) const {
    return token_.kind == Token::Kind::Sign && token_.text == sign;
  }
  bool takeWord(std::string_view word) {
    const bool found = isWord(word);
    if (found) advance();
    return found;
  }
  bool takeSign(std::string_view sign) {
    const bool found = isSign(sign);
    if (found) advance();
    return found;
  }
  bool takeName(std::string& name) {
    if (token_.kind != Token::Kind::Word && token_.kind != Token::Kind::Quoted) return false;
    name = std::exchange(token_.text, "");
    advance();
    return true;
  }

  // One column, or a constraint of the table, up to the comma or the last parenthesis.
  bool takeDefinition(DeclaredTable& table) {
    for (const char* constraint : {"CONSTRAINT", "PRIMARY", "UNIQUE", "CHECK", "FOREIGN"}) {
      if (isWord(constraint)) {
        DeclaredColumn ignored;
        return takeRest(ignored);
      }
    }
    DeclaredColumn column;
    if (!takeName(column.name)) return false;
    if (token_.kind == Token::Kind::Word) {
      column.type = capitals(token_.text);
      advance();
    }
    if (!takeRest(column)) return false;
    table.columns.push_back(std::move(column));
    return true;
  }

  bool takeRest(DeclaredColumn& column) {
    for (int depth = 0; token_.kind != Token::Kind::End; advance()) {
      while (depth == 0 && takeWord("REFERENCES"))
        if (!takeName(column.target)) return false;
      if (isWord("GENERATED") || isWord("AS")) return false;
      if (isSign("(")) ++depth;
      if (depth == 0 && (isSign(",") || isSign(")"))) return true;
      if (isSign(")")) --depth;
    }
    return false;
  }

  Lexer lexer_;
  Token token_;
};

}  // namespace

std::optional<DeclaredTable> parseTableText(std::string_view text) {
  return TableParser(text).parse();
}

}  // namespace bokfolio::internal
