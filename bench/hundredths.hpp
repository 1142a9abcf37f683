// Amounts as a short C program keeps them: hundredths in one machine word. They serve floors only.
#pragma once

#include <cstdint>
#include <string>

namespace bokfolio::bench {

// "-12.5" in hundredths, digits beyond them dropped; no text is nothing.
inline std::int64_t hundredths(const unsigned char* text) {
  if (text == nullptr) return 0;
  const bool negative = *text == '-';
  if (negative) ++text;
  std::int64_t value = 0;
  for (; *text != 0 && *text != '.'; ++text) value = value * 10 + (*text - '0');
  value *= 100;
  if (*text == '.') {
    value += (text[1] - '0') * 10;
    if (text[2] != 0) value += text[2] - '0';
  }
  return negative ? -value : value;
}

// The shortest plain form, as Decimal writes it, of what is not negative.
inline std::string hundredthsText(std::int64_t value) {
  std::string text = std::to_string(value / 100);
  const std::int64_t rest = value % 100;
  if (rest != 0) text += '.' + std::to_string(rest / 10);
  if (rest % 10 != 0) text += std::to_string(rest % 10);
  return text;
}

}  // namespace bokfolio::bench
