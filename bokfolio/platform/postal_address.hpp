// Postal addresses as blocks of lines. Which field stands on which line, and what comes between,
// is the custom of the country the mail goes to; the country's own name is written in the language
// of whoever sends it.
#pragma once

#include <optional>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/attributed_text.hpp"
#include "bokfolio/platform/locale.hpp"

namespace bokfolio {

// Fields that are nil or empty have no place in the block, nor have the marks around them. The
// street may have several lines; county is whatever larger area the country's mail uses (state,
// province, region); country is a code of two letters, capital or not.
struct PostalAddress {
  std::optional<std::string> street;
  std::optional<std::string> zipcode;
  std::optional<std::string> city;
  std::optional<std::string> county;
  std::optional<std::string> country;
};

// What a block carries on every character unless the caller wants something else.
BOKFOLIO_EXPORT const TextAttributes& postalAddressAttributes();

// The lines, separated by line breaks, all with the given attributes. The order is that of the
// address's country, without one that of the locale's, and where no custom is known street, then
// zipcode and city, then county. The country line is last: its name in the locale's language, the
// code itself when it has none. Empty when nothing is to be written.
BOKFOLIO_EXPORT AttributedText
formatPostalAddress(const PostalAddress& address, bool countryIncluded, const Locale& locale,
                    const TextAttributes& attributes = postalAddressAttributes());

}  // namespace bokfolio
