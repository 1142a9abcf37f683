#include "bokfolio/model/invoicing/allowance.hpp"

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription Allowance::table() {
  EntityTable<Allowance> table{std::string(kEntityName)};
  table.attribute(Slots::value, "value");
  table.attribute(Slots::absolute, "absolute").defaultValue(0);
  table.toOne(Slots::invoice, "invoice", "Invoice", "allowance");
  table.toOne(Slots::invoiceline, "invoiceline", "InvoiceLine", "allowance");
  table.derived<&Allowance::formattedValue>("formattedValue");
  table.derived<&Allowance::description>("description");
  table.dependsOn("formattedValue", {"value", "absolute"});
  table.dependsOn("description", {"value", "absolute"});
  return table.description();
}

Invoice* Allowance::invoice() const { return get(Slots::invoice); }

void Allowance::setInvoice(Invoice* invoice) { set(Slots::invoice, invoice); }

InvoiceLine* Allowance::invoiceline() const { return get(Slots::invoiceline); }

void Allowance::setInvoiceline(InvoiceLine* invoiceline) { set(Slots::invoiceline, invoiceline); }

Decimal Allowance::amountOnDecimal(const Decimal& amount) const {
  const Decimal own = value().value_or(Decimal());
  return (absolute() ? own : (own * amount).scaledByPowerOf10(-2)).negated();
}

double Allowance::calculateAllowanceOn(double amount) const {
  const double own = value().value_or(Decimal()).toDouble();
  return absolute() ? -own : -own * 0.01 * amount;
}

Allowance* Allowance::duplicate() const {
  auto* copy = managedObjectContext().insert<Allowance>();
  // Models that extend rebates give them a type and a name; here these keys are inert.
  copyKeys({"absolute", "type", "value", "name"}, *copy);
  return copy;
}

}  // namespace bokfolio
