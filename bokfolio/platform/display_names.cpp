#include "bokfolio/platform/display_names.hpp"

#include <unicode/locdspnm.h>
#include <unicode/unistr.h>

#include <memory>

#include "bokfolio/platform/internal/locale_state.hpp"

namespace bokfolio {

namespace {

template <class Ask>
std::optional<std::string> displayName(std::string_view code, const Locale& locale, Ask ask) {
  // Substitution would answer the code itself.
  UDisplayContext contexts[] = {UDISPCTX_NO_SUBSTITUTE};
  const std::unique_ptr<icu::LocaleDisplayNames> names(
      icu::LocaleDisplayNames::createInstance(locale.state().icu, contexts, 1));
  if (names == nullptr) return std::nullopt;
  icu::UnicodeString name;
  ask(*names, std::string(code).c_str(), name);
  if (name.isBogus() || name.isEmpty()) return std::nullopt;
  std::string text;
  name.toUTF8String(text);
  return text;
}

}  // namespace

std::optional<std::string> displayCountryName(std::string_view code, const Locale& locale) {
  return displayName(code, locale, [](const auto& names, const char* region, auto& name) {
    names.regionDisplayName(region, name);
  });
}

std::optional<std::string> displayLanguageName(std::string_view code, const Locale& locale) {
  return displayName(code, locale, [](const auto& names, const char* language, auto& name) {
    names.languageDisplayName(language, name);
  });
}

std::string capitalized(std::string_view text, const Locale& locale) {
  icu::UnicodeString words = icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
  std::string result;
  words.toTitle(nullptr, locale.isKnown() ? locale.state().icu : icu::Locale::getRoot())
      .toUTF8String(result);
  return result;
}

}  // namespace bokfolio
