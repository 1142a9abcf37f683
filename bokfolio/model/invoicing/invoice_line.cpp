#include "bokfolio/model/invoicing/invoice_line.hpp"

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"

namespace bokfolio {

EntityDescription InvoiceLine::table() {
  EntityTable<InvoiceLine> table{std::string(kEntityName)};
  table.attribute(Slots::number, "number");
  table.attribute(Slots::quantity, "quantity");
  table.attribute(Slots::price, "price");
  table.attribute(Slots::vat, "vat");
  table.attribute(Slots::comment, "comment");
  table.toOne(Slots::allowance, "allowance", "Allowance", "invoiceline")
      .onDelete(DeleteRule::Cascade);
  table.toOne(Slots::article, "article", "Article", "invoiceLines");
  table.toOne(Slots::invoice, "invoice", "Invoice", "lines");
  table.triggersChangeOf({"vat", "quantity", "allowance", "price"}, "lineSum");
  table.triggersChangeOf({"vat", "quantity", "allowance", "price"}, "lineVat");
  table.triggersChangeOf({"quantity", "allowance", "price"}, "lineSumExclVat");
  table.triggersChangeOf({"allowance"}, "allowanceString");
  table.triggersChangeOf({"article"}, "articleNumber");
  table.triggersChangeOf({"article"}, "articleName");
  return table.description();
}

void InvoiceLine::awakeFromInsert() { Record::awakeFromInsert(); }

Allowance* InvoiceLine::allowance() const { return get(Slots::allowance); }

void InvoiceLine::setAllowance(Allowance* allowance) { set(Slots::allowance, allowance); }

Article* InvoiceLine::article() const { return get(Slots::article); }

void InvoiceLine::setArticle(const Value& article) { setNumberedObject(article, "article"); }

Invoice* InvoiceLine::invoice() const { return get(Slots::invoice); }

void InvoiceLine::setInvoice(Invoice* invoice) { set(Slots::invoice, invoice); }

}  // namespace bokfolio
