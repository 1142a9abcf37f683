#include "bokfolio/model/invoicing/company.hpp"

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
  return table.description();
}

// Book belongs to the ledger, which knows this class by name only; what needs the whole class
// stands here.
Company* Book::company() const { return get(Slots::company); }

void Book::setCompany(Company* company) { set(Slots::company, company); }

}  // namespace bokfolio
