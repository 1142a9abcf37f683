#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"

namespace bokfolio {

EntityDescription SupplierInvoiceLine::table() {
  EntityTable<SupplierInvoiceLine> table{std::string(kEntityName)};
  table.attribute(Slots::amount, "amount");
  table.attribute(Slots::name, "name");
  table.attribute(Slots::vat, "vat");
  table.toOne(Slots::account, "account", "Account");
  table.toOne(Slots::vatAccount, "vatAccount", "Account");
  table.toOne(Slots::invoice, "invoice", "SupplierInvoice", "lines");
  table.index({"invoice"});
  return table.description();
}

Account* SupplierInvoiceLine::account() const { return get(Slots::account); }

void SupplierInvoiceLine::setAccount(Account* account) { set(Slots::account, account); }

Account* SupplierInvoiceLine::vatAccount() const { return get(Slots::vatAccount); }

void SupplierInvoiceLine::setVatAccount(Account* vatAccount) { set(Slots::vatAccount, vatAccount); }

SupplierInvoice* SupplierInvoiceLine::invoice() const { return get(Slots::invoice); }

void SupplierInvoiceLine::setInvoice(SupplierInvoice* invoice) { set(Slots::invoice, invoice); }

}  // namespace bokfolio
