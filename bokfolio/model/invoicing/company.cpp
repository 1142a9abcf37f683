#include "bokfolio/model/invoicing/company.hpp"

#include <algorithm>
#include <iterator>

#include "bokfolio/model/ledger/book.hpp"

namespace bokfolio {

EntityDescription Company::table() {
  EntityTable<Company> table{std::string(kEntityName)};
  table.attribute(Slots::orgname, "orgname");
  table.attribute(Slots::orgid, "orgid");
  table.attribute(Slots::vatno, "vatno");
  table.attribute(Slots::registeredForTax, "registeredForTax").defaultValue(0);
  table.attribute(Slots::street, "street");
  table.attribute(Slots::zipcode, "zipcode");
  table.attribute(Slots::city, "city");
  table.attribute(Slots::county, "county");
  table.attribute(Slots::country, "country");
  table.attribute(Slots::phone, "phone");
  table.attribute(Slots::fax, "fax");
  table.attribute(Slots::email, "email");
  table.attribute(Slots::homepage, "homepage");
  table.attribute(Slots::bank, "bank");
  table.attribute(Slots::bankAccount, "bankAccount");
  table.attribute(Slots::bic, "bic");
  table.attribute(Slots::paymentOption1, "paymentOption1");
  table.attribute(Slots::paymentOption2, "paymentOption2");
  table.attribute(Slots::logotype, "logotype");
  table.derived<&Company::isOutsideEU>("isOutsideEU");
  return table.description();
}

std::optional<Image> Company::logotype() const {
  const auto bytes = get(Slots::logotype);
  if (!bytes || bytes->empty()) return std::nullopt;
  return Image::decode(*bytes);
}

bool Company::setLogotype(const std::optional<Image>& image, ErrorOut error) {
  std::optional<Bytes> bytes;
  if (image) {
    bytes = image->storedBytes(error);
    if (!bytes) return false;
  }
  set(Slots::logotype, bytes);
  return true;
}

bool Company::outsideEU(const std::optional<std::string>& countryCode) {
  constexpr std::string_view kInside[] = {"at", "be", "bg", "cs", "cy", "cz", "de", "dk", "es",
                                          "fi", "fr", "gb", "gr", "hu", "ie", "it", "lu", "nl",
                                          "pl", "pt", "ro", "se", "si", "sk", "uk"};
  return !countryCode ||
         std::find(std::begin(kInside), std::end(kInside), *countryCode) == std::end(kInside);
}

bool Company::isOutsideEU() const { return outsideEU(country()); }

// Book belongs to the ledger, which knows this class by name only; what needs the whole class
// stands here.
Company* Book::company() const { return get(Slots::company); }

void Book::setCompany(Company* company) { set(Slots::company, company); }

}  // namespace bokfolio
