#include "bokfolio/store/internal/predicate/lexer.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "bokfolio/store/internal/predicate/date_literal.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::predicate {

namespace {

struct Word {
  std::string_view upper;
  TokenKind kind;
  int truth = 0;
};

constexpr std::array kWords = {
    Word{"AND", TokenKind::And},        Word{"OR", TokenKind::Or},
    Word{"NOT", TokenKind::Not},        Word{"LIKE", TokenKind::Compare},
    Word{"NIL", TokenKind::Literal},    Word{"NULL", TokenKind::Literal},
    Word{"TRUE", TokenKind::Truth, 1},  Word{"YES", TokenKind::Truth, 1},
    Word{"FALSE", TokenKind::Truth, 0}, Word{"NO", TokenKind::Truth, 0},
    Word{"SELF", TokenKind::Path},
};

struct Sign {
  std::string_view text;
  TokenKind kind;
  Comparison comparison = Comparison::Equal;
};

// Longer signs before those they begin with.
constexpr std::array kSigns = {
    Sign{"==", TokenKind::Compare, Comparison::Equal},
    Sign{"=<", TokenKind::Compare, Comparison::LessOrEqual},
    Sign{"=>", TokenKind::Compare, Comparison::GreaterOrEqual},
    Sign{"=", TokenKind::Compare, Comparison::Equal},
    Sign{"!=", TokenKind::Compare, Comparison::NotEqual},
    Sign{"<>", TokenKind::Compare, Comparison::NotEqual},
    Sign{"<=", TokenKind::Compare, Comparison::LessOrEqual},
    Sign{"<", TokenKind::Compare, Comparison::Less},
    Sign{">=", TokenKind::Compare, Comparison::GreaterOrEqual},
    Sign{">", TokenKind::Compare, Comparison::Greater},
    Sign{"&&", TokenKind::And},
    Sign{"||", TokenKind::Or},
    Sign{"!", TokenKind::Not},
    Sign{"(", TokenKind::Open},
    Sign{")", TokenKind::Close},
};

constexpr std::size_t kQuotedBytes = 200;  // of a text in a message

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

const Word* findWord(std::string_view text) {
  const auto same = [&](const Word& word) {
    return std::equal(word.upper.begin(), word.upper.end(), text.begin(), text.end(),
                      [](char a, char b) { return a == upper(b); });
  };
  const auto found = std::find_if(kWords.begin(), kWords.end(), same);
  return found == kWords.end() ? nullptr : &*found;
}

// Integers where they fit, else decimals; a double only for what is beyond a decimal's range.
std::optional<Value> numberFrom(std::string_view text) {
  const char* end = text.data() + text.size();
  std::int64_t integer = 0;
  if (const auto read = std::from_chars(text.data(), end, integer);
      read.ec == std::errc{} && read.ptr == end)
    return Value(integer);
  if (const auto decimal = Decimal::parse(text)) return Value(*decimal);
  double real = 0;
  if (const auto read = std::from_chars(text.data(), end, real);
      read.ec == std::errc{} && read.ptr == end && !Decimal::fromDouble(real))
    return Value(real);
  return std::nullopt;
}

}  // namespace

std::string located(std::string_view text, std::size_t offset, std::string_view what) {
  const auto column = static_cast<std::size_t>(
      std::count_if(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset),
                    [](char c) { return !isContinuation(c); }));
  std::size_t shown = text.size();
  if (shown > kQuotedBytes) {
    shown = kQuotedBytes;
    // A character has no more than three; others are no text.
    for (int back = 0; back < 3 && isContinuation(text[shown]); ++back) --shown;
  }
  std::string message(what);
  message += ", column " + std::to_string(column + 1) + " of \"";
  message += text.substr(0, shown);
  message += shown < text.size() ? "...\"" : "\"";
  return message;
}

bool isReservedWord(std::string_view word) { return findWord(word) != nullptr; }

void Lexer::fail(std::size_t offset, std::string_view what) const {
  throw PredicateError(located(text_, offset, what));
}

bool Lexer::takes(std::string_view sign) {
  if (text_.substr(at_, sign.size()) != sign) return false;
  at_ += sign.size();
  return true;
}

void Lexer::skipBlanks() {
  constexpr std::string_view kBlanks = " \t\r\n";
  at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size());
}

void Lexer::count(std::size_t offset, std::size_t size) {
  size_ += size;
  if (size_ > kMaximumSize)
    fail(offset, "a condition of more than 65536 words, signs, and characters of texts and keys");
}

Token Lexer::next() {
  skipBlanks();
  Token token;
  token.offset = at_;
  if (at_ < text_.size()) count(at_, 1);
  if (at_ < text_.size() && !sign(token)) {
    const char first = peek();
    if (startsIdentifier(first)) {
      word(token);
    } else if (first == '#') {
      ++at_;
      path(token, true);
    } else if (first == '%') {
      place(token);
    } else if (first == '\'' || first == '"') {
      quoted(token);
    } else if (isDigit(first) || first == '.' || first == '-' || first == '+') {
      number(token);
    } else {
      fail(at_, "a character that has no meaning here");
    }
  }
  token.end = at_;
  return token;
}

bool Lexer::sign(Token& token) {
  for (const Sign& candidate : kSigns) {
    if (!takes(candidate.text)) continue;
    token.kind = candidate.kind;
    token.comparison = candidate.comparison;
    return true;
  }
  return false;
}

void Lexer::word(Token& token) {
  std::size_t end = at_;
  while (end < text_.size() && continuesIdentifier(text_[end])) ++end;
  const bool dotted = end < text_.size() && text_[end] == '.';
  const Word* word = findWord(text_.substr(at_, end - at_));
  if (word == nullptr || (dotted && word->kind != TokenKind::Path)) {
    path(token, false);
    return;
  }
  at_ = end;
  token.kind = word->kind;
  if (word->kind == TokenKind::Truth) token.value = Value(word->truth);
  if (word->kind == TokenKind::Compare) likeOption(token);
  if (word->kind == TokenKind::Path && dotted) {
    ++at_;
    path(token, true);
  }
}

void Lexer::likeOption(Token& token) {
  token.comparison = Comparison::Like;
  const std::size_t word = at_;
  skipBlanks();
  if (peek() != '[') {
    at_ = word;
    return;
  }
  if (!takes("[c]") && !takes("[C]")) fail(at_, "LIKE knows the option [c] only");
  token.comparison = Comparison::LikeAnyCase;
}

void Lexer::path(Token& token, bool reservedAllowed) {
  token.kind = TokenKind::Path;
  const std::size_t from = at_;
  while (at_ < text_.size() &&
         (continuesIdentifier(text_[at_]) || text_[at_] == '.' || text_[at_] == '@'))
    ++at_;
  count(from, at_ - from);
  try {
    token.path = parseKeyPath(text_.substr(from, at_ - from));
  } catch (const PredicateError&) {
    fail(from, reservedAllowed && at_ == from ? "a key is missing" : "no key path");
  }
}

void Lexer::number(Token& token) {
  token.kind = TokenKind::Literal;
  if (const std::size_t length = dateLiteralLength(text_.substr(at_))) {
    const auto date = parseDateLiteral(text_.substr(at_, length));
    if (!date) fail(at_, "a date that does not exist");
    token.value = Value(*date);
    at_ += length;
    return;
  }
  const std::size_t from = at_;
  const std::size_t digits = from + (text_[from] == '+' ? 1 : 0);
  if (peek() == '-' || peek() == '+') ++at_;
  const auto isExponentSign = [&] {
    return (peek() == '-' || peek() == '+') && (text_[at_ - 1] == 'e' || text_[at_ - 1] == 'E');
  };
  while (continuesIdentifier(peek()) || peek() == '.' || (at_ > from && isExponentSign())) ++at_;
  const auto value = numberFrom(text_.substr(digits, at_ - digits));
  if (!value) fail(from, "no number, or one with more digits than a decimal has");
  token.value = *value;
}

void Lexer::quoted(Token& token) {
  token.kind = TokenKind::Literal;
  const std::size_t from = at_;
  const char quote = text_[at_++];
  std::string content;
  while (at_ < text_.size() && text_[at_] != quote) {
    char character = text_[at_++];
    if (character == '\\' && at_ < text_.size()) {
      character = text_[at_++];
      if (character == 'n') character = '\n';
      if (character == 't') character = '\t';
      if (character == 'r') character = '\r';
    }
    content.push_back(character);
  }
  if (at_ == text_.size()) fail(from, "a quoted text without its end");
  ++at_;
  count(from, content.size());
  token.value = Value(std::move(content));
}

void Lexer::place(Token& token) {
  token.kind = TokenKind::Place;
  switch (peek(1)) {
    case '@':
      token.place = Place::Kind::Value;
      break;
    case 'd':
      token.place = Place::Kind::Integer;
      break;
    case 'K':
      token.place = Place::Kind::Key;
      break;
    default:
      fail(at_, "only %@, %d and %K take arguments");
  }
  at_ += 2;
  if (continuesIdentifier(peek()) || peek() == '.')
    fail(at_, "an argument must stand for a whole operand");
}

}  // namespace bokfolio::predicate
