#include "bokfolio/model/invoicing/article.hpp"

#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"

namespace bokfolio {

EntityDescription Article::table() {
  EntityTable<Article> table{std::string(kEntityName)};
  table.attribute(Slots::name, "name");
  table.attribute(Slots::number, "number");
  table.attribute(Slots::unit, "unit");
  table.attribute(Slots::vat, "vat");
  table.attribute(Slots::price, "price");
  table.attribute(Slots::isDependentTax, "isDependentTax").defaultValue(0);
  table.attribute(Slots::dependentTaxLevel, "dependentTaxLevel");
  table.toMany(Slots::invoiceLines, "invoiceLines", "InvoiceLine", "article")
      .onDelete(DeleteRule::Deny);
  table.toOne(Slots::salesAccount, "salesAccount", "Account");
  table.toOne(Slots::vatAccount, "vatAccount", "Account");
  table.index({"number"});
  return table.description();
}

void Article::awakeFromInsert() { Record::awakeFromInsert(); }

std::string Article::description() const { return Record::description(); }

RecordSetOf<InvoiceLine> Article::invoiceLines() const { return get(Slots::invoiceLines); }

Account* Article::salesAccount() const { return get(Slots::salesAccount); }

void Article::setSalesAccount(Account* salesAccount) { set(Slots::salesAccount, salesAccount); }

Account* Article::vatAccount() const { return get(Slots::vatAccount); }

void Article::setVatAccount(Account* vatAccount) { set(Slots::vatAccount, vatAccount); }

}  // namespace bokfolio
