#include "bokfolio/model/invoicing/invoice.hpp"

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

namespace {

constexpr auto kSetStatus =
    static_cast<void (Invoice::*)(std::optional<std::int64_t>)>(&Invoice::setStatus);

using InvoiceTable = EntityTable<Invoice>;

void addDerivedKeys(InvoiceTable& table) {
  table.derived<&Invoice::isEmpty>("isEmpty");
  table.derived<&Invoice::isSent>("isSent");
  table.derived<&Invoice::isPaid>("isPaid");
  table.derived<&Invoice::canBePaid>("canBePaid");
  table.derived<&Invoice::isLossOrReturn>("isLossOrReturn");
  table.derived<&Invoice::foreignCurrency>("foreignCurrency");
  table.derived<&Invoice::hasDeliveryAddress, &Invoice::setHasDeliveryAddress>(
      "hasDeliveryAddress");
  table.derived<&Invoice::sendable>("sendable");
  table.derived<&Invoice::recipient>("recipient");
  table.derived<&Invoice::description>("description");
  table.derived<&Invoice::statusDescription>("statusDescription");
  table.derived<&Invoice::indicatorBytes>("indicator");
  table.derived<&Invoice::rawStatus, &Invoice::setRawStatus>("rawStatus");
  table.derived<&Invoice::allowanceString, &Invoice::setAllowanceString>("allowanceString");
  table.derived<&Invoice::totalAmount>("totalAmount");
  table.derived<&Invoice::totalAmountExclVat>("totalAmountExclVat");
  table.derived<&Invoice::vatAmount>("vatAmount");
  table.derived<&Invoice::roundingAmount>("roundingAmount");
  table.derived<&Invoice::rebateAmount>("rebateAmount");
  table.derived<&Invoice::amountRemaining>("amountRemaining");
}

// Nothing announces rawStatus and statusDescription: who shows them watches status.
void addDependencies(InvoiceTable& table) {
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
}

}  // namespace

EntityDescription Invoice::table() {
  InvoiceTable table{std::string(kEntityName)};
  table.attribute(Slots::number, "number");
  table.attribute(Slots::date, "date");
  table.attribute(Slots::days, "days").readBy<&Invoice::days>();
  table.attribute(Slots::dueDate, "dueDate").readBy<&Invoice::dueDate>();
  table.attribute(Slots::creditDetails, "creditDetails").readBy<&Invoice::creditDetails>();
  table.attribute(Slots::status, "status")
      .defaultValue(0)
      .readBy<&Invoice::status>()
      .writtenBy<kSetStatus>();
  table.attribute(Slots::company, "company");
  table.attribute(Slots::yourRef, "yourRef");
  table.attribute(Slots::attention, "attention");
  table.attribute(Slots::street, "street");
  table.attribute(Slots::zipcode, "zipcode");
  table.attribute(Slots::city, "city");
  table.attribute(Slots::county, "county");
  table.attribute(Slots::country, "country");
  table.attribute(Slots::vatno, "vatno").writtenBy<&Invoice::setVatno>();
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
  table.toOne(Slots::tag, "tag", "Tag", "invoices").writtenBy<&Invoice::setTag>();
  table.toOne(Slots::deliveryAddress, "deliveryAddress", "DeliveryAddress")
      .onDelete(DeleteRule::Cascade);
  addDerivedKeys(table);
  addDependencies(table);
  table.index({"number"});
  table.index({"dueDate"});
  table.byLookup();
  return table.description();
}

Book* Invoice::book() const { return get(Slots::book); }

void Invoice::setBook(Book* book) { set(Slots::book, book); }

RecordSetOf<InvoiceLine> Invoice::lines() const { return get(Slots::lines); }

Allowance* Invoice::allowance() const { return get(Slots::allowance); }

void Invoice::setAllowance(Allowance* allowance) { set(Slots::allowance, allowance); }

std::optional<std::string> Invoice::allowanceString() const {
  const Allowance* own = allowance();
  return own == nullptr ? std::nullopt : std::optional(own->description());
}

void Invoice::setAllowanceString(const std::optional<std::string>& text) {
  if (Allowance* former = allowance(); former != nullptr)
    managedObjectContext().deleteObject(former);
  setAllowance(text ? Allowance::createAllowanceFromString(text, currency(), managedObjectContext())
                    : nullptr);
}

Tag* Invoice::tag() const { return get(Slots::tag); }

void Invoice::setTag(const Value& tag) {
  if (tag.isNumber()) {
    setNumberedObject(tag, "tag");
  } else if (tag.isNil() || tag.record() != nullptr) {
    setObject(tag, "tag");
  } else {
    throw ValueKindError("Invoice.tag takes a tag or a number, not " + tag.description());
  }
}

DeliveryAddress* Invoice::deliveryAddress() const { return get(Slots::deliveryAddress); }

void Invoice::setDeliveryAddress(DeliveryAddress* deliveryAddress) {
  set(Slots::deliveryAddress, deliveryAddress);
}

bool Invoice::hasDeliveryAddress() const { return deliveryAddress() != nullptr; }

void Invoice::setVatno(const std::optional<std::string>& vatno) {
  setVatOK(std::nullopt);
  set(Slots::vatno, vatno);
}

bool Invoice::isEmpty() const { return lines().empty(); }

bool Invoice::foreignCurrency() const {
  const Book* own = book();
  const auto home = own == nullptr ? std::nullopt : own->currency();
  return !home || home != currency();
}

bool Invoice::sendable() const {
  return totalAmount().toDouble() != 0 && (yourRef() || company()) && language();
}

std::optional<std::string> Invoice::recipient() const {
  const auto person = yourRef();
  const auto firm = company();
  if (!person) return firm;
  return firm && firm != person ? *person + " / " + *firm : person;
}

std::string Invoice::description() const {
  const auto person = yourRef();
  const auto firm = company();
  if (person && firm) return *person + "/" + *firm;
  if (person) return *person;
  return firm ? *firm : environment().text("No recipient");
}

std::vector<InvoiceLine*> Invoice::sortedInvoiceLines() const {
  std::vector<InvoiceLine*> sorted;
  for (InvoiceLine* line : lines().membersBy({SortDescriptor("number")})) sorted.push_back(line);
  return sorted;
}

void Invoice::updateTotalAmount() {
  willChangeValueForKey("totalAmount");
  didChangeValueForKey("totalAmount");
}

}  // namespace bokfolio
