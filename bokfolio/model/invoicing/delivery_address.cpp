#include "bokfolio/model/invoicing/delivery_address.hpp"

#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/postal_address.hpp"

namespace bokfolio {

EntityDescription DeliveryAddress::table() {
  EntityTable<DeliveryAddress> table{std::string(kEntityName)};
  table.attribute(Slots::name, "name");
  table.attribute(Slots::company, "company");
  table.attribute(Slots::street, "street");
  table.attribute(Slots::zipcode, "zipcode");
  table.attribute(Slots::city, "city");
  table.attribute(Slots::county, "county");
  table.attribute(Slots::country, "country");
  return table.description();
}

AttributedText DeliveryAddress::formattedAddressWithCountryIncluded(bool countryIncluded) const {
  const PostalAddress postal{street(), zipcode(), city(), county(), country()};
  AttributedText block = formatPostalAddress(postal, countryIncluded, environment().locale());
  const TextAttributes attributes = block.attributesAt(0);
  for (const auto& line : {name(), company()})
    if (line) block.insert(0, *line + "\n", attributes);
  return block;
}

}  // namespace bokfolio
