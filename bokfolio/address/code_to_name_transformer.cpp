#include "bokfolio/address/code_to_name_transformer.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "bokfolio/platform/display_names.hpp"

namespace bokfolio {

namespace {

// "YU" was retired in 2003 and stays: addresses written before then have it.
constexpr std::array<std::string_view, 187> kCountryCodes = {
    "AD", "AE", "AF", "AL", "AR", "AT", "AU", "AW", "AX", "AZ", "BA", "BB", "BD", "BE", "BF", "BG",
    "BH", "BI", "BJ", "BM", "BN", "BO", "BR", "BS", "BT", "BW", "BY", "BZ", "CA", "CD", "CG", "CH",
    "CI", "CL", "CM", "CN", "CO", "CR", "CU", "CY", "CZ", "DE", "DJ", "DK", "DM", "DO", "DZ", "EC",
    "EE", "EG", "ER", "ES", "ET", "FI", "FJ", "FK", "FM", "FO", "FR", "GA", "GB", "GD", "GE", "GF",
    "GG", "GH", "GI", "GL", "GM", "GN", "GP", "GQ", "GR", "GT", "GU", "GY", "HK", "HN", "HR", "HT",
    "HU", "ID", "IE", "IL", "IN", "IQ", "IR", "IS", "IT", "JE", "JM", "JO", "JP", "KE", "KG", "KH",
    "KI", "KM", "KP", "KR", "KW", "KZ", "LA", "LB", "LI", "LK", "LR", "LS", "LT", "LU", "LV", "LY",
    "MA", "MC", "MD", "MG", "MK", "ML", "MM", "MN", "MQ", "MR", "MT", "MU", "MV", "MX", "MY", "MZ",
    "NA", "NE", "NG", "NI", "NL", "NO", "NP", "NZ", "OM", "PA", "PE", "PF", "PG", "PH", "PK", "PL",
    "PR", "PS", "PT", "PW", "PY", "QA", "RO", "RU", "RW", "SA", "SC", "SD", "SE", "SG", "SI", "SK",
    "SL", "SN", "SO", "SR", "SV", "SY", "SZ", "TD", "TH", "TJ", "TM", "TN", "TR", "TW", "TZ", "UA",
    "UG", "US", "UY", "UZ", "VE", "VN", "YE", "YU", "ZA", "ZM", "ZW",
};

constexpr std::array<std::string_view, 69> kLanguageCodes = {
    "af",  "ar", "be", "bg",  "br", "bs",  "ca",  "cs", "cy", "da",  "de", "el", "en", "eo",
    "es",  "et", "eu", "fa",  "fi", "fil", "fr",  "ga", "he", "hi",  "hr", "hu", "ia", "id",
    "ira", "is", "it", "ja",  "ko", "la",  "lt",  "lv", "mk", "mn",  "mo", "mt", "nb", "ne",
    "nl",  "nn", "no", "pa",  "pl", "pt",  "rom", "ru", "sc", "scn", "sk", "sl", "so", "sq",
    "sr",  "sv", "sw", "syr", "ta", "tr",  "uk",  "ur", "vi", "wa",  "yi", "zh", "zu",
};

using Names = std::map<std::string, std::string, std::less<>>;

std::string smallLetters(std::string_view code) {
  std::string result(code);
  for (char& c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return result;
}

Names countryNames(const Locale& locale) {
  Names names;
  for (const std::string_view code : kCountryCodes) {
    if (auto name = displayCountryName(code, locale)) {
      names.emplace(smallLetters(code), *std::move(name));
    }
  }
  return names;
}

Names languageNames(const Locale& locale) {
  Names names;
  for (const std::string_view code : kLanguageCodes) {
    if (const auto name = displayLanguageName(code, locale)) {
      names.emplace(code, capitalized(*name, locale));
    }
  }
  return names;
}

// A code is no word of the user's language.
std::string capitalizedCode(const std::string& code) { return capitalized(code, Locale("")); }

}  // namespace

CodeToNameTransformer::CodeToNameTransformer(Names names) : lookupDictionary_(std::move(names)) {
  sortedNames_.reserve(lookupDictionary_.size());
  for (const auto& [code, name] : lookupDictionary_) sortedNames_.push_back(name);
  std::sort(sortedNames_.begin(), sortedNames_.end());
}

std::optional<std::string> CodeToNameTransformer::transformedValue(
    const std::optional<std::string>& code) const {
  if (!code) return std::nullopt;
  const auto found = lookupDictionary_.find(smallLetters(*code));
  return found != lookupDictionary_.end() ? found->second : capitalizedCode(*code);
}

std::optional<std::string> CodeToNameTransformer::reverseTransformedValue(
    const std::optional<std::string>& name) const {
  const auto found = std::find_if(lookupDictionary_.begin(), lookupDictionary_.end(),
                                  [&](const auto& known) { return known.second == name; });
  return found != lookupDictionary_.end() ? found->first : name;
}

CountryCodeToNameTransformer::CountryCodeToNameTransformer(const Environment& environment)
    : CodeToNameTransformer(countryNames(environment.locale())) {}

std::span<const std::string_view> CountryCodeToNameTransformer::codes() noexcept {
  return kCountryCodes;
}

LanguageCodeToNameTransformer::LanguageCodeToNameTransformer(const Environment& environment)
    : CodeToNameTransformer(languageNames(environment.locale())) {}

std::span<const std::string_view> LanguageCodeToNameTransformer::codes() noexcept {
  return kLanguageCodes;
}

}  // namespace bokfolio
