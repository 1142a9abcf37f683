// Settings: what `book`, `company` and `supplier` have in common. They show one record as a form,
// change single settings by option, and leave all others as they are.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// The document's book, and its company; Failure when the document lacks them.
Book* findBook(const Session& session);
Company* findCompany(const Session& session);

// A text that is kept under a key as it was given; "" clears it.
struct TextSetting {
  const char* key;
  const char* option;
  const char* typeName;
  const char* help;
  const char* label;
};

// What companies, customers and suppliers alike have of an address.
inline constexpr TextSetting kStreet{"street", "--street", "TEXT", "Street and number", "Street"};
inline constexpr TextSetting kZipcode{"zipcode", "--zipcode", "CODE", "Postal code", "Postal code"};
inline constexpr TextSetting kCity{"city", "--city", "NAME", "City", "City"};
inline constexpr TextSetting kCounty{"county", "--county", "NAME", "County or state", "County"};
inline constexpr TextSetting kCountry{"country", "--country", "CODE", "Country, by its two letters",
                                      "Country"};
inline constexpr TextSetting kPhone{"phone", "--phone", "NUMBER", "Telephone", "Telephone"};
inline constexpr TextSetting kFax{"fax", "--fax", "NUMBER", "Fax", "Fax"};
inline constexpr TextSetting kEmail{"email", "--email", "ADDRESS", "E-mail", "E-mail"};
inline constexpr TextSetting kHomepage{"homepage", "--homepage", "ADDRESS", "Home page",
                                       "Home page"};

// What was given for each setting of a list, in its order; nullopt for those that stay.
using GivenTexts = std::vector<std::optional<std::string>>;
// `given` gets its size here and must not be resized later.
template <class Setting, std::size_t N>
void addSettingOptions(CLI::App* command, const Setting (&settings)[N], GivenTexts& given) {
  given.resize(N);
  for (std::size_t i = 0; i < N; ++i) {
    command->add_option(settings[i].option, given[i], settings[i].help)
        ->type_name(settings[i].typeName);
  }
}

// Runs the record's rules on the value and keeps what they leave; their refusal as Failure.
void setChecked(Record* record, std::string_view key, const Value& value);
// The text that a record keeps under a key.
std::optional<std::string> textUnder(const Record& record, std::string_view key);
// Failure unless it is two letters, or "" for none.
void checkCountry(const std::string& code);
// nil for "", for settings that can be cleared.
Value textOrNil(const std::string& text);

// "yes", "no" in English or Swedish.
bool yesNoFromText(const std::string& text);
std::string yesNo(Host& host, bool yes);

}  // namespace bokfolio::cli
