#include <string>
#include <vector>

#include "bokfolio/platform/number_text.hpp"
#include "failure.hpp"
#include "input.hpp"

namespace bokfolio::cli {

namespace {

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

bool allDigits(std::string_view text) {
  for (const char letter : text) {
    if (!isDigit(letter)) return false;
  }
  return !text.empty();
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
    text.replace(at, from.size(), to);
    at += to.size();
  }
}

// Every blank that groups digits somewhere, as a plain one; the minus sign as a hyphen; apostrophes
// alike.
std::string withPlainMarks(std::string_view text) {
  std::string plain(text);
  for (const char* blank : {"\u00A0", "\u202F", "\u2009", "\u2007"}) replaceAll(plain, blank, " ");
  replaceAll(plain, "\u2212", "-");
  replaceAll(plain, "\u2019", "'");
  const std::size_t first = plain.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return plain.substr(first, plain.find_last_not_of(' ') - first + 1);
}

struct Marks {
  std::string decimal = ".";
  std::string grouping;
};

std::string between(const std::string& text, char left, char right) {
  const std::size_t from = text.find(left);
  const std::size_t to = text.find(right, from == std::string::npos ? 0 : from);
  if (from == std::string::npos || to == std::string::npos) return "";
  return withPlainMarks(text.substr(from + 1, to - from - 1)).empty() && to > from + 1
             ? " "
             : withPlainMarks(text.substr(from + 1, to - from - 1));
}

// How the locale writes numbers, learnt from what it writes.
Marks marksOf(const Locale& locale) {
  Marks marks;
  const std::string decimal = between(decimalDescription(*Decimal::parse("1.5"), locale), '1', '5');
  if (!decimal.empty()) marks.decimal = decimal;
  marks.grouping = between(amountText(Decimal(1234567), locale), '1', '2');
  return marks;
}

// Digits in groups of three, the first of one to three, without the marks between them.
std::optional<std::string> withoutGrouping(std::string_view text, std::string_view mark) {
  std::string digits;
  bool first = true;
  while (true) {
    const std::size_t end = mark.empty() ? std::string_view::npos : text.find(mark);
    const std::string_view group = text.substr(0, end);
    const bool whole = first && end == std::string_view::npos;
    if (!allDigits(group) || (!whole && (first ? group.size() > 3 : group.size() != 3))) {
      return std::nullopt;
    }
    digits += group;
    first = false;
    if (end == std::string_view::npos) return digits;
    text.remove_prefix(end + mark.size());
  }
}

std::optional<Decimal> read(std::string_view text, const std::string& decimal,
                            const std::string& grouping) {
  const std::size_t at = text.find(decimal);
  const std::string_view whole = text.substr(0, at);
  const std::string_view fraction =
      at == std::string_view::npos ? "" : text.substr(at + decimal.size());
  if (at != std::string_view::npos && !allDigits(fraction)) return std::nullopt;
  const std::optional<std::string> digits =
      whole.empty() && !fraction.empty() ? "0" : withoutGrouping(whole, grouping);
  if (!digits) return std::nullopt;
  return Decimal::parse(fraction.empty() ? *digits : *digits + "." + std::string(fraction));
}

// "1.500": thousands to some, a fraction to others.
bool looksLikeThousands(std::string_view text) {
  const std::size_t at = text.find('.');
  return at != std::string_view::npos && at >= 1 && at <= 3 && text[0] != '0' &&
         text.size() - at == 4 && allDigits(text.substr(0, at)) && allDigits(text.substr(at + 1));
}

[[noreturn]] void refuseDoubtful(std::string_view text, std::string_view digits,
                                 const Decimal& small, const Locale& locale) {
  std::string thousands(digits);
  replaceAll(thousands, ".", "");
  throw Failure(ExitStatus::Usage, "the amount \"" + std::string(text) + "\" can be read two ways",
                "write " + thousands + " or " + decimalDescription(small, locale));
}

}  // namespace

Decimal amountFromText(std::string_view text, const Locale& locale) {
  std::string plain = withPlainMarks(text);
  const bool negative = !plain.empty() && plain[0] == '-';
  if (!plain.empty() && (plain[0] == '-' || plain[0] == '+')) plain.erase(0, 1);

  const Marks marks = marksOf(locale);
  std::optional<Decimal> amount = read(plain, marks.decimal, marks.grouping);
  if (!amount) amount = read(plain, marks.decimal, " ");
  const std::optional<Decimal> point = read(plain, ".", " ");
  if (point && marks.decimal != "." && looksLikeThousands(plain)) {
    refuseDoubtful(text, plain, *point, locale);
  }
  if (!amount) amount = point;
  if (!amount) {
    throw Failure(ExitStatus::Usage, "\"" + std::string(text) + "\" is no amount",
                  "write it like " + decimalDescription(*Decimal::parse("1234.5"), locale) +
                      ", credit with a minus in front");
  }
  return negative ? amount->negated() : *amount;
}

}  // namespace bokfolio::cli
