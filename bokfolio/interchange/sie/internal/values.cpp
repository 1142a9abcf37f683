#include "bokfolio/interchange/sie/internal/values.hpp"

#include <cstddef>

namespace bokfolio::sie_internal {
namespace {

constexpr std::size_t kMaxWholeDigits = 9;
constexpr int kMaxIntegerDigits = 18;
constexpr int kMaxFractionDigits = 20;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// nullopt unless there are digits only, at least one and no more than an int holds.
std::optional<int> digitsOnly(std::string_view text) {
  if (text.empty() || text.size() > kMaxWholeDigits) return std::nullopt;
  int value = 0;
  for (const char c : text) {
    if (!isDigit(c)) return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

}  // namespace

std::optional<int> parseWhole(std::string_view text) {
  if (!text.starts_with('-')) return digitsOnly(text);
  const std::optional<int> value = digitsOnly(text.substr(1));
  return value ? std::optional(-*value) : std::nullopt;
}

std::optional<Decimal> parseAmount(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  UInt128 mantissa = 0;
  int integerDigits = 0;
  int fractionDigits = 0;
  bool pointSeen = false;
  for (const char c : text) {
    if (c == '.' && !pointSeen) {
      pointSeen = true;
    } else if (isDigit(c)) {
      mantissa = mantissa * 10 + static_cast<unsigned>(c - '0');
      if (++(pointSeen ? fractionDigits : integerDigits) >
          (pointSeen ? kMaxFractionDigits : kMaxIntegerDigits)) {
        return std::nullopt;
      }
    } else {
      return std::nullopt;
    }
  }
  if (integerDigits + fractionDigits == 0) return std::nullopt;
  return Decimal::fromParts(mantissa, -fractionDigits, negative);
}

std::optional<CivilDate> parseDay(std::string_view text) {
  if (text.size() != 8) return std::nullopt;
  const std::optional<int> digits = digitsOnly(text);
  if (!digits) return std::nullopt;
  const CivilDate day{*digits / 10000, *digits / 100 % 100, *digits % 100};
  return day.year > 0 && isValid(day) ? std::optional(day) : std::nullopt;
}

}  // namespace bokfolio::sie_internal
