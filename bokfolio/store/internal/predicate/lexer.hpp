// Lexer: a format text as tokens. It knows the words and signs of the language and nothing of what
// may follow what. A key path is one token, and so is a place for an argument.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "bokfolio/store/internal/predicate/node.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio::predicate {

// Bounds on a condition as text, refused beyond. Its size counts one for each token and one for
// each byte of a quoted text's content and of a key path. Printing what was parsed never makes it
// larger, though it may well make it longer (blanks, digits instead of an exponent, line ends as
// \n): what is printed is read again. A token prints in some hundred bytes at most, so that the
// second bound leaves room for that.
inline constexpr std::size_t kMaximumSize = std::size_t{64} << 10;
inline constexpr std::size_t kMaximumBytes = std::size_t{16} << 20;

enum class TokenKind : std::uint8_t {
  End,
  Path,     // path
  Literal,  // value: nil, a number, a text, a date
  Truth,    // value: TRUE or FALSE, which may also stand as a condition
  Place,    // place
  Compare,  // comparison
  And,
  Or,
  Not,
  Open,
  Close,
};

struct Token {
  TokenKind kind = TokenKind::End;
  std::size_t offset = 0;  // of its first byte
  std::size_t end = 0;     // behind its last
  KeyPath path;
  Value value;
  Place::Kind place = Place::Kind::Value;
  Comparison comparison = Comparison::Equal;
};

class Lexer {
 public:
  // The text must outlive the lexer.
  explicit Lexer(std::string_view text) : text_(text) {}

  // End again and again at the end. Throws PredicateError for what begins no token, and for a token
  // beyond the maximum size.
  Token next();

  // Throws a PredicateError that says what is wrong, at which column, of which text.
  [[noreturn]] void fail(std::size_t offset, std::string_view what) const;

 private:
  char peek(std::size_t ahead = 0) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
  }
  bool takes(std::string_view sign);
  void skipBlanks();
  void count(std::size_t offset, std::size_t size);
  bool sign(Token& token);
  void word(Token& token);
  void path(Token& token, bool reservedAllowed);
  void number(Token& token);
  void quoted(Token& token);
  void place(Token& token);
  void likeOption(Token& token);
  bool reserved(std::string_view word, Token& token);

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t size_ = 0;
};

// `what, column N of "text"`; a long text is cut.
std::string located(std::string_view text, std::size_t offset, std::string_view what);

// Whether a key must be written with '#' in front because the language has that word.
bool isReservedWord(std::string_view word);

}  // namespace bokfolio::predicate
