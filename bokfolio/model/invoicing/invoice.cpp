#include "bokfolio/model/invoicing/invoice.hpp"

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/tag.hpp"

namespace bokfolio {

EntityDescription Invoice::table() {
  EntityTable<Invoice> table{std::string(kEntityName)};
  table.attribute(Slots::number, "number");
  table.attribute(Slots::date, "date");
  table.attribute(Slots::days, "days");
  table.attribute(Slots::dueDate, "dueDate");
  table.attribute(Slots::creditDetails, "creditDetails");
  table.attribute(Slots::status, "status").defaultValue(0);
  table.attribute(Slots::company, "company");
  table.attribute(Slots::yourRef, "yourRef");
  table.attribute(Slots::attention, "attention");
  table.attribute(Slots::street, "street");
  table.attribute(Slots::zipcode, "zipcode");
  table.attribute(Slots::city, "city");
  table.attribute(Slots::county, "county");
  table.attribute(Slots::country, "country");
  table.attribute(Slots::vatno, "vatno");
  table.attribute(Slots::ourRef, "ourRef");
  table.attribute(Slots::language, "language");
  table.attribute(Slots::currency, "currency");
  table.attribute(Slots::exchangeRate, "exchangeRate");
  table.attribute(Slots::localAmount, "localAmount");
  table.attribute(Slots::paidAmount, "paidAmount");
  table.attribute(Slots::paidDate, "paidDate");
  table.attribute(Slots::deliveryMethod, "deliveryMethod");
  table.attribute(Slots::purchaseOrderNo, "purchaseOrderNo");
  table.attribute(Slots::note, "note");
  table.attribute(Slots::vatfree, "vatfree").defaultValue(0);
  table.attribute(Slots::rounding, "rounding").defaultValue(0);
  table.attribute(Slots::bookOnce, "bookOnce");
  table.attribute(Slots::vatOK, "vatOK").transient();
  table.toOne(Slots::book, "book", "Book");
  table.toMany(Slots::lines, "lines", "InvoiceLine", "invoice").onDelete(DeleteRule::Cascade);
  table.toOne(Slots::allowance, "allowance", "Allowance", "invoice").onDelete(DeleteRule::Cascade);
  table.toOne(Slots::tag, "tag", "Tag", "invoices");
  table.toOne(Slots::deliveryAddress, "deliveryAddress", "DeliveryAddress")
      .onDelete(DeleteRule::Cascade);
  table.triggersChangeOf({"days"}, "status");
  table.triggersChangeOf({"lines"}, "isEmpty");
  for (const char* key : {"isPaid", "isSent", "canBePaid", "isLossOrReturn", "indicator"})
    table.triggersChangeOf({"status"}, key);
  table.triggersChangeOf({"vatno"}, "vatOK");
  table.triggersChangeOf({"yourRef", "company"}, "description");
  table.dependsOn("allowanceString", {"allowance"});
  table.dependsOn("sendable", {"lines", "yourRef", "company", "totalAmount", "language"});
  table.dependsOn("totalAmount", {"lines", "allowance", "rounding", "vatfree"});
  table.dependsOn("foreignCurrency", {"currency", "book.currency"});
  table.dependsOn("hasDeliveryAddress", {"deliveryAddress"});
  table.dependsOn("amountRemaining", {"localAmount", "paidAmount"});
  table.index({"number"});
  table.index({"dueDate"});
  return table.description();
}

void Invoice::awakeFromInsert() { Record::awakeFromInsert(); }

std::string Invoice::description() const { return Record::description(); }

Book* Invoice::book() const { return get(Slots::book); }

void Invoice::setBook(Book* book) { set(Slots::book, book); }

RecordSetOf<InvoiceLine> Invoice::lines() const { return get(Slots::lines); }

Allowance* Invoice::allowance() const { return get(Slots::allowance); }

void Invoice::setAllowance(Allowance* allowance) { set(Slots::allowance, allowance); }

Tag* Invoice::tag() const { return get(Slots::tag); }

void Invoice::setTag(const Value& tag) { setNumberedObject(tag, "tag"); }

DeliveryAddress* Invoice::deliveryAddress() const { return get(Slots::deliveryAddress); }

void Invoice::setDeliveryAddress(DeliveryAddress* deliveryAddress) {
  set(Slots::deliveryAddress, deliveryAddress);
}

}  // namespace bokfolio
