// Copies of an invoice, its delivery address, and lines that carry nothing.
#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

Invoice* Invoice::duplicate() const {
  Context& context = managedObjectContext();
  auto* copy = context.insert<Invoice>();
  copyKeys({"city", "company", "country", "county", "currency", "deliveryMethod", "attention",
            "language", "note", "ourRef", "purchaseOrderNo", "rounding", "street", "vatfree",
            "vatno", "yourRef", "zipcode"},
           *copy);
  copyKeys({"book", "tag"}, *copy);
  for (const InvoiceLine* line : lines().members()) line->duplicate()->setInvoice(copy);
  if (const Allowance* rebate = allowance(); rebate != nullptr)
    copy->setAllowance(rebate->duplicate());
  if (const DeliveryAddress* own = deliveryAddress(); own != nullptr) {
    auto* address = context.insert<DeliveryAddress>();
    own->copyKeys({"city", "company", "country", "county", "name", "street", "zipcode"}, *address);
    copy->setDeliveryAddress(address);
  }
  return copy;
}

void Invoice::createDeliveryAddress() {
  auto* address = managedObjectContext().insert<DeliveryAddress>();
  address->setCompany(company());
  address->setName(yourRef());
  address->setStreet(street());
  address->setCity(city());
  address->setCountry(country());
  address->setCounty(county());
  address->setZipcode(zipcode());
  setDeliveryAddress(address);
}

void Invoice::removeEmptyLines() {
  for (InvoiceLine* line : lines().members()) {
    if (line->article() != nullptr || line->comment()) continue;
    line->setInvoice(nullptr);
    managedObjectContext().deleteObject(line);
  }
}

}  // namespace bokfolio
