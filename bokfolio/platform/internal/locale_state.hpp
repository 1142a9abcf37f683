// What copies of one Locale share: its ICU locale and the formatters made from it on first use. Not
// installed, so that ICU stays out of the public headers.
#pragma once

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/smpdtfmt.h>

#include <memory>
#include <mutex>
#include <string>

#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

struct NumberFormatters {
  icu::number::LocalizedNumberFormatter plain;
  icu::number::LocalizedNumberFormatter grouped;
};

struct BOKFOLIO_NO_EXPORT Locale::State {
  explicit State(std::string text);

  // Immutable once made.
  const NumberFormatters& numbers() const;
  // The short day style in the time zone GMT; null when the locale has none. Use it under dayMutex.
  icu::SimpleDateFormat* shortDay() const;
  // Orders texts with runs of digits by value. Immutable once made; null when ICU has no order.
  const icu::Collator* numericOrder() const;

  std::string identifier;
  bool known;
  icu::Locale icu;  // English for a locale that is not known
  mutable std::mutex dayMutex;

 private:
  mutable std::once_flag numbersOnce_;
  mutable std::unique_ptr<const NumberFormatters> numbers_;
  mutable std::once_flag shortDayOnce_;
  mutable std::unique_ptr<icu::SimpleDateFormat> shortDay_;
  mutable std::once_flag numericOrderOnce_;
  mutable std::unique_ptr<const icu::Collator> numericOrder_;
};

}  // namespace bokfolio
