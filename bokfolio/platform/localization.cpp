#include "bokfolio/platform/localization.hpp"

#include <map>
#include <mutex>
#include <utility>

#include "bokfolio/platform/internal/text_table.hpp"

namespace bokfolio {

namespace {

// Most specific first, without repetition: "sv_SE", "sv", "en".
std::vector<std::string> languagesFor(const Locale& locale) {
  std::vector<std::string> languages;
  const std::string language = locale.languageCode().value_or("en");
  if (const auto country = locale.countryCode()) languages.push_back(language + "_" + *country);
  languages.push_back(language);
  if (language != "en") languages.emplace_back("en");
  return languages;
}

// Reads "@" or "<position>$@" behind a percent sign. `position` is 0 for the next argument; answers
// the characters used, 0 when this is no placeholder.
std::size_t readPlaceholder(std::string_view text, std::size_t& position) {
  constexpr std::size_t kMostDigits = 4;
  position = 0;
  if (text.substr(0, 1) == "@") return 1;
  std::size_t digits = 0;
  while (digits < text.size() && digits < kMostDigits && text[digits] >= '0' &&
         text[digits] <= '9') {
    position = position * 10 + static_cast<std::size_t>(text[digits] - '0');
    ++digits;
  }
  const bool isPositional = position > 0 && text.substr(digits, 2) == "$@";
  return isPositional ? digits + 2 : 0;
}

}  // namespace

struct CatalogLocalizer::Catalog {
  const TextTable& table(const std::string& language, const std::string& name) {
    const std::string resource = "localization/" + language + "/" + name;
    const auto [entry, isNew] = tables.try_emplace(resource);
    if (isNew) {
      if (const auto bytes = resources->load(resource, "texts")) {
        entry->second = parseTextTable(*bytes);
      }
    }
    return entry->second;
  }

  std::shared_ptr<const Resources> resources;
  std::vector<std::string> languages;
  std::map<std::string, TextTable> tables;
  std::mutex mutex;
};

Localizer::~Localizer() = default;

CatalogLocalizer::CatalogLocalizer(std::shared_ptr<const Resources> resources, const Locale& locale)
    : catalog_(std::make_unique<Catalog>()) {
  catalog_->resources = std::move(resources);
  catalog_->languages = languagesFor(locale);
}

CatalogLocalizer::~CatalogLocalizer() = default;

std::string CatalogLocalizer::text(std::string_view key, std::string_view table) const {
  const std::string name(table.empty() ? "default" : table);
  const std::scoped_lock lock(catalog_->mutex);
  for (const std::string& language : catalog_->languages) {
    const auto& texts = catalog_->table(language, name).texts;
    if (const auto found = texts.find(key); found != texts.end()) return found->second;
  }
  return std::string(key);
}

std::vector<std::string> CatalogLocalizer::problems() const {
  std::vector<std::string> all;
  const std::scoped_lock lock(catalog_->mutex);
  for (const auto& [name, table] : catalog_->tables) {
    for (const std::string& problem : table.problems) all.push_back(name + ": " + problem);
  }
  return all;
}

std::string fillFormat(std::string_view format, std::span<const std::string> arguments) {
  std::string filled;
  std::size_t next = 0;
  while (!format.empty()) {
    const auto percent = format.find('%');
    filled += format.substr(0, percent);
    if (percent == std::string_view::npos) break;
    format.remove_prefix(percent + 1);
    std::size_t position = 0;
    if (format.substr(0, 1) == "%") {
      filled += '%';
      format.remove_prefix(1);
    } else if (const std::size_t used = readPlaceholder(format, position); used > 0) {
      const std::size_t index = position > 0 ? position - 1 : next++;
      if (index < arguments.size()) filled += arguments[index];
      format.remove_prefix(used);
    } else {
      filled += '%';
    }
  }
  return filled;
}

}  // namespace bokfolio
