// Days as people type them, in several locales, and instants as conditions write them: what is read
// can be written and read again as the same.
#include "bokfolio/platform/date_text.hpp"

#include <vector>

#include "bokfolio/store/internal/predicate/date_literal.hpp"
#include "tests/fuzz/support/fuzz.hpp"

namespace {

using namespace bokfolio;
using fuzz::expect;

const std::vector<Locale>& locales() {
  static const std::vector<Locale> all = {Locale("sv_SE"), Locale("en_US"), Locale("en_GB"),
                                          Locale("ja_JP"), Locale("th_TH"), Locale("fa_IR"),
                                          Locale("C")};
  return all;
}

void checkDay(std::string_view text, const Locale& locale) {
  const auto day = parseDay(text, locale);
  if (!day) return;
  expect(isValid(*day) && day->year >= 1 && day->year <= 9999, "a day exists", text);
  const std::string iso = isoDay(*day);
  expect(iso.size() == 10 && parseDay(iso, locale) == day, "a day is written and read", iso);
  const Date noon = dateFromCivil(*day, {12, 0, 0}, TimeZone::utc());
  expect(isoDay(noon, TimeZone::utc()) == iso, "noon belongs to its day", iso);
  const std::string brief = shortDate(noon, locale, TimeZone::utc());
  // Two digits of a year stand for 1969 to 2068.
  if (day->year < 1969 || day->year > 2068) return;
  expect(parseDay(brief, locale) == day, "the locale's form is written and read", brief);
}

void checkInstant(std::string_view text) {
  const std::size_t length = predicate::dateLiteralLength(text);
  expect(length <= text.size(), "a date lies within the text");
  if (length == 0) return;
  const auto date = predicate::parseDateLiteral(text.substr(0, length));
  if (!date) return;
  const auto written = predicate::dateLiteral(*date);
  expect(written && predicate::dateLiteralLength(*written) == written->size() &&
             predicate::parseDateLiteral(*written) == date,
         "an instant is written and read", text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::textOf(data, size);
  for (const Locale& locale : locales()) checkDay(text, locale);
  checkInstant(text);
  return 0;
}
