#include "bokfolio/platform/locale.hpp"

#include <unicode/gregocal.h>
#include <unicode/ucurr.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/internal/locale_state.hpp"

namespace bokfolio {

namespace {

bool isAll(std::string_view text, char first, char last) {
  return std::all_of(text.begin(), text.end(), [=](char c) { return first <= c && c <= last; });
}

// "sv_SE.UTF-8@euro" -> "sv_SE": codeset and POSIX modifier go, ICU keywords ("@currency=EUR")
// stay.
std::string withoutCodeset(std::string_view identifier) {
  const auto modifierAt = std::min(identifier.find('@'), identifier.size());
  const std::string_view modifier = identifier.substr(modifierAt);
  std::string name(identifier.substr(0, modifierAt));
  if (const auto dot = name.find('.'); dot != std::string::npos) name.resize(dot);
  if (modifier.find('=') != std::string_view::npos) name += modifier;
  return name;
}

bool saysNothing(std::string_view name) {
  constexpr std::array<std::string_view, 5> kNothing = {"", "C", "POSIX", "root", "und"};
  return std::find(kNothing.begin(), kNothing.end(), name) != kNothing.end();
}

// Days before 1582 are Gregorian too, as in the rest of the library.
void makeProleptic(icu::SimpleDateFormat& format) {
  const auto* shared = dynamic_cast<const icu::GregorianCalendar*>(format.getCalendar());
  if (shared == nullptr) return;
  std::unique_ptr<icu::GregorianCalendar> calendar(shared->clone());
  UErrorCode status = U_ZERO_ERROR;
  calendar->setGregorianChange(-std::numeric_limits<double>::max(), status);
  if (U_SUCCESS(status)) format.adoptCalendar(calendar.release());
}

// ICU's own window for years of two digits moves with the day it is made; this one stands still.
void fixTwoDigitYears(icu::SimpleDateFormat& format) {
  constexpr std::int64_t k1969 = -31'536'000;
  UErrorCode status = U_ZERO_ERROR;
  format.set2DigitYearStart(static_cast<UDate>(k1969) * 1000.0, status);
}

}  // namespace

Locale::State::State(std::string text) : identifier(std::move(text)) {
  const std::string name = withoutCodeset(identifier);
  known = !saysNothing(name);
  icu = icu::Locale::createFromName(known ? name.c_str() : "en");
}

const NumberFormatters& Locale::State::numbers() const {
  std::call_once(numbersOnce_, [this] {
    const auto base = icu::number::NumberFormatter::withLocale(icu);
    numbers_ = std::make_unique<const NumberFormatters>(NumberFormatters{
        base.grouping(UNUM_GROUPING_OFF).precision(icu::number::Precision::unlimited()),
        base.precision(icu::number::Precision::minFraction(2))});
  });
  return *numbers_;
}

icu::SimpleDateFormat* Locale::State::shortDay() const {
  std::call_once(shortDayOnce_, [this] {
    std::unique_ptr<icu::DateFormat> made(
        icu::DateFormat::createDateInstance(icu::DateFormat::kShort, icu));
    auto* simple = dynamic_cast<icu::SimpleDateFormat*>(made.get());
    if (simple == nullptr) return;
    static_cast<void>(made.release());
    shortDay_.reset(simple);
    simple->setTimeZone(*icu::TimeZone::getGMT());
    makeProleptic(*simple);
    fixTwoDigitYears(*simple);
    simple->setLenient(false);
    UErrorCode status = U_ZERO_ERROR;
    for (const auto leniency : {UDAT_PARSE_ALLOW_WHITESPACE, UDAT_PARSE_ALLOW_NUMERIC,
                                UDAT_PARSE_PARTIAL_LITERAL_MATCH}) {
      simple->setBooleanAttribute(leniency, false, status);
    }
  });
  return shortDay_.get();
}

const icu::Collator* Locale::State::numericOrder() const {
  std::call_once(numericOrderOnce_, [this] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> made(icu::Collator::createInstance(icu, status));
    if (U_FAILURE(status)) return;
    made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    if (U_SUCCESS(status)) numericOrder_ = std::move(made);
  });
  return numericOrder_.get();
}

Locale::Locale(std::string identifier)
    : state_(std::make_shared<const State>(std::move(identifier))) {}

Locale Locale::system() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return Locale(value);
  }
  return Locale("");
}

const std::string& Locale::identifier() const noexcept { return state_->identifier; }

bool Locale::isKnown() const noexcept { return state_->known; }

std::optional<std::string> Locale::countryCode() const {
  const std::string_view country = state_->icu.getCountry();
  if (!state_->known || country.size() != 2 || !isAll(country, 'A', 'Z')) return std::nullopt;
  return std::string(country);
}

std::optional<std::string> Locale::currencyCode() const {
  if (!state_->known) return std::nullopt;
  std::array<char16_t, 4> code{};
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t length = ucurr_forLocale(state_->icu.getName(), code.data(),
                                              static_cast<std::int32_t>(code.size()), &status);
  if (U_FAILURE(status) || length != 3) return std::nullopt;
  std::string currency;
  for (std::size_t i = 0; i < 3; ++i) currency += static_cast<char>(code[i]);
  return currency;
}

std::optional<std::string> Locale::languageCode() const {
  const std::string_view language = state_->icu.getLanguage();
  if (language.size() < 2 || language.size() > 3) return std::nullopt;
  return std::string(language);
}

}  // namespace bokfolio
