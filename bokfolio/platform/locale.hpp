// Locale: the user's language and country, and what follows from them: the home currency of a new
// book and the shape of numbers and dates. A value: copies share the formatters that
// number_text.hpp and date_text.hpp build on first use, so keep one and copy it rather than making
// it anew.
//
// An identifier that says nothing ("", "C", "POSIX", "root", also with a codeset) makes a locale
// that is not known: it has no country and no currency, its language is "en", numbers are written
// the English way and days as yyyy-MM-dd. A host should then ask the user for the currency.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "bokfolio/export.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT Locale {
 public:
  struct BOKFOLIO_NO_EXPORT State;

  // "sv_SE", "sv-SE", "sv_SE.UTF-8", "nb"; ICU keywords such as "sv_SE@currency=EUR" are
  // understood. Never fails; a text that is no locale has no country, no currency and no language.
  explicit Locale(std::string identifier);
  // From the environment variables LC_ALL, LC_MESSAGES and LANG, the first that is not empty.
  static Locale system();

  // The text given.
  const std::string& identifier() const noexcept;
  // False when the identifier says nothing (above).
  bool isKnown() const noexcept;
  // Two capital letters; nullopt for a locale without country and for regions larger than a
  // country.
  std::optional<std::string> countryCode() const;
  // Three capital letters: the country's currency of today. nullopt without country.
  std::optional<std::string> currencyCode() const;
  // Two or three small letters; "en" when not known.
  std::optional<std::string> languageCode() const;

  // Equal when the identifiers are.
  friend bool operator==(const Locale& a, const Locale& b) noexcept {
    return a.identifier() == b.identifier();
  }

  // The shared formatters: for the library's own sources.
  const State& state() const noexcept { return *state_; }

 private:
  std::shared_ptr<const State> state_;
};

}  // namespace bokfolio
