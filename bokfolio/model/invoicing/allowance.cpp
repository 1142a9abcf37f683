#include "bokfolio/model/invoicing/allowance.hpp"

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"

namespace bokfolio {

EntityDescription Allowance::table() {
  EntityTable<Allowance> table{std::string(kEntityName)};
  table.attribute(Slots::value, "value");
  table.attribute(Slots::absolute, "absolute").defaultValue(0);
  table.toOne(Slots::invoice, "invoice", "Invoice", "allowance");
  table.toOne(Slots::invoiceline, "invoiceline", "InvoiceLine", "allowance");
  return table.description();
}

std::string Allowance::description() const { return Record::description(); }

Invoice* Allowance::invoice() const { return get(Slots::invoice); }

void Allowance::setInvoice(Invoice* invoice) { set(Slots::invoice, invoice); }

InvoiceLine* Allowance::invoiceline() const { return get(Slots::invoiceline); }

void Allowance::setInvoiceline(InvoiceLine* invoiceline) { set(Slots::invoiceline, invoiceline); }

}  // namespace bokfolio
