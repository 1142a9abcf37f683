// Transformers between the codes under which addresses keep countries and languages and the names
// that the user reads and picks. The names are those of the environment's locale at the moment a
// transformer is made; the lists of codes are fixed.
//
// A code that is not in the list is shown as it is, with a capital, and a name that is not in the
// list is kept as it was typed: nothing that a user enters is lost.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/value_transformer.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT CodeToNameTransformer : public ValueTransformer {
 public:
  // The name of a code, capital or not; for another text each word with a capital first letter and
  // small ones after it. nil for nil.
  std::optional<std::string> transformedValue(
      const std::optional<std::string>& code) const override;
  // The code (small letters) of a name; of several codes with that name the alphabetically first.
  // Another text comes back unchanged. nil for nil.
  std::optional<std::string> reverseTransformedValue(
      const std::optional<std::string>& name) const override;

  // All names, for a pop-up: in the order of their bytes, which is the same in every language and
  // in none quite the dictionary's ("Åland" after "Zambia").
  const std::vector<std::string>& sortedNames() const noexcept { return sortedNames_; }
  // The names by code in small letters.
  const std::map<std::string, std::string, std::less<>>& lookupDictionary() const noexcept {
    return lookupDictionary_;
  }

 protected:
  explicit CodeToNameTransformer(std::map<std::string, std::string, std::less<>> names);

 private:
  std::map<std::string, std::string, std::less<>> lookupDictionary_;
  std::vector<std::string> sortedNames_;
};

// Countries by ISO 3166-1 codes of two letters; the names as the locale writes them.
class BOKFOLIO_EXPORT CountryCodeToNameTransformer final : public CodeToNameTransformer {
 public:
  // A code for which the locale has no name is left out. Costs a millisecond: keep it.
  explicit CountryCodeToNameTransformer(const Environment& environment = Environment::process());

  // The codes in capital letters, in the order in which they are looked up.
  static std::span<const std::string_view> codes() noexcept;
};

// Languages by ISO 639 codes of two or three letters; each word of a name gets a capital.
class BOKFOLIO_EXPORT LanguageCodeToNameTransformer final : public CodeToNameTransformer {
 public:
  explicit LanguageCodeToNameTransformer(const Environment& environment = Environment::process());

  // The codes in small letters.
  static std::span<const std::string_view> codes() noexcept;
};

}  // namespace bokfolio
