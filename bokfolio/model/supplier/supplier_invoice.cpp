#include "bokfolio/model/supplier/supplier_invoice.hpp"

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

namespace bokfolio {

EntityDescription SupplierInvoice::table() {
  EntityTable<SupplierInvoice> table{std::string(kEntityName)};
  table.attribute(Slots::date, "date");
  table.attribute(Slots::dueDate, "dueDate");
  table.attribute(Slots::paidDate, "paidDate");
  table.attribute(Slots::addedDate, "addedDate");
  table.attribute(Slots::name, "name");
  table.attribute(Slots::number, "number");
  table.attribute(Slots::currency, "currency");
  table.attribute(Slots::creditPeriod, "creditPeriod").defaultValue(30);
  table.attribute(Slots::localAmount, "localAmount");
  table.attribute(Slots::company, "company");
  table.attribute(Slots::street, "street");
  table.attribute(Slots::zipcode, "zipcode");
  table.attribute(Slots::city, "city");
  table.attribute(Slots::county, "county");
  table.attribute(Slots::country, "country");
  table.attribute(Slots::phone, "phone");
  table.attribute(Slots::fax, "fax");
  table.attribute(Slots::email, "email");
  table.attribute(Slots::homepage, "homepage");
  table.attribute(Slots::vatno, "vatno");
  table.attribute(Slots::paymentInfo, "paymentInfo");
  table.attribute(Slots::reserved, "reserved");
  table.toOne(Slots::tag, "tag", "Tag");
  table.toOne(Slots::creditAccount, "creditAccount", "Account");
  table.toMany(Slots::lines, "lines", "SupplierInvoiceLine", "invoice")
      .onDelete(DeleteRule::Cascade);
  table.toMany(Slots::entries, "entries", "Entry", "supplierInvoice");
  table.announced("validity");
  table.index({"addedDate"});
  return table.description();
}

Tag* SupplierInvoice::tag() const { return get(Slots::tag); }

void SupplierInvoice::setTag(Tag* tag) { set(Slots::tag, tag); }

Account* SupplierInvoice::creditAccount() const { return get(Slots::creditAccount); }

void SupplierInvoice::setCreditAccount(Account* creditAccount) {
  set(Slots::creditAccount, creditAccount);
}

RecordSetOf<SupplierInvoiceLine> SupplierInvoice::lines() const { return get(Slots::lines); }

RecordSetOf<Entry> SupplierInvoice::entries() const { return get(Slots::entries); }

// Entry belongs to the ledger, which knows this class by name only; what needs the whole class
// stands here.
SupplierInvoice* Entry::supplierInvoice() const { return get(Slots::supplierInvoice); }

void Entry::setSupplierInvoice(SupplierInvoice* invoice) { set(Slots::supplierInvoice, invoice); }

}  // namespace bokfolio
