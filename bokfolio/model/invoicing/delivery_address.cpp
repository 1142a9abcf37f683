#include "bokfolio/model/invoicing/delivery_address.hpp"

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

}  // namespace bokfolio
