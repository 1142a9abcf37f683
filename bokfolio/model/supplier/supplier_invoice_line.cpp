#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

#include "bokfolio/model/invoicing/vat_rates.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription SupplierInvoiceLine::table() {
  EntityTable<SupplierInvoiceLine> table{std::string(kEntityName)};
  table.attribute(Slots::amount, "amount")
      .writtenBy<&SupplierInvoiceLine::setAmount>()
      .validatedBy<&SupplierInvoiceLine::validateAmount>();
  table.attribute(Slots::name, "name");
  table.attribute(Slots::vat, "vat");
  table.toOne(Slots::account, "account", "Account").writtenBy<&SupplierInvoiceLine::setAccount>();
  table.toOne(Slots::vatAccount, "vatAccount", "Account")
      .writtenBy<&SupplierInvoiceLine::setVatAccount>();
  table.toOne(Slots::invoice, "invoice", "SupplierInvoice", "lines");
  table.derived<&SupplierInvoiceLine::accountName, &SupplierInvoiceLine::setAccountName>(
      "accountName");
  table.derived<&SupplierInvoiceLine::vatAccountName, &SupplierInvoiceLine::setVatAccountName>(
      "vatAccountName");
  table.derived<&SupplierInvoiceLine::amountInclVAT>("amountInclVAT");
  table.dependsOn("accountName", {"account"});
  table.dependsOn("vatAccountName", {"vatAccount"});
  table.dependsOn("amountInclVAT", {"amount", "vat"});
  table.index({"invoice"});
  table.byLookup();
  return table.description();
}

void SupplierInvoiceLine::awakeFromInsert() {
  Record::awakeFromInsert();
  setPrimitive(Slots::vat, vatRateForCountry(environment().locale().countryCode()));
  setPrimitive(Slots::amount, Decimal());
}

void SupplierInvoiceLine::removeEmptyLinesInContext(Context& context) {
  for (SupplierInvoiceLine* line : context.fetch<SupplierInvoiceLine>(Predicate("invoice == nil")))
    context.deleteObject(line);
}

void SupplierInvoiceLine::announceValidity() const {
  if (SupplierInvoice* own = invoice()) own->updateValidity();
}

void SupplierInvoiceLine::setAmount(const std::optional<Decimal>& amount) {
  set(Slots::amount, amount);
  announceValidity();
}

Account* SupplierInvoiceLine::account() const { return get(Slots::account); }

void SupplierInvoiceLine::setAccount(Account* account) {
  set(Slots::account, account);
  announceValidity();
}

Account* SupplierInvoiceLine::vatAccount() const { return get(Slots::vatAccount); }

void SupplierInvoiceLine::setVatAccount(Account* vatAccount) {
  set(Slots::vatAccount, vatAccount);
  announceValidity();
}

std::optional<std::string> SupplierInvoiceLine::accountName() const {
  const Account* own = account();
  return own == nullptr ? std::nullopt : own->name();
}

void SupplierInvoiceLine::setAccountName(const std::optional<std::string>& name) {
  Account* former = account();
  setNamedObject(name, "account");
  if (name && account() == nullptr) set(Slots::account, former);
  announceValidity();
}

std::optional<std::string> SupplierInvoiceLine::vatAccountName() const {
  const Account* own = vatAccount();
  return own == nullptr ? std::nullopt : own->name();
}

void SupplierInvoiceLine::setVatAccountName(const std::optional<std::string>& name) {
  Account* former = vatAccount();
  setNamedObject(name, "account", "vatAccount");
  if (name && vatAccount() == nullptr) set(Slots::vatAccount, former);
  announceValidity();
}

SupplierInvoice* SupplierInvoiceLine::invoice() const { return get(Slots::invoice); }

void SupplierInvoiceLine::setInvoice(SupplierInvoice* invoice) { set(Slots::invoice, invoice); }

Decimal SupplierInvoiceLine::amountInclVAT() const {
  const Decimal rate = vat().value_or(Decimal()).scaledByPowerOf10(-2);
  return amount().value_or(Decimal()) * (Decimal(1) + rate);
}

bool SupplierInvoiceLine::hasVat() const { return !vat().value_or(Decimal()).isZero(); }

bool SupplierInvoiceLine::isBookable() const {
  return !amount().value_or(Decimal()).isZero() && account() != nullptr &&
         (!hasVat() || vatAccount() != nullptr);
}

std::vector<Row*> SupplierInvoiceLine::addPurchaseRowsToEntry(Entry& entry) const {
  const auto present = static_cast<std::int64_t>(entry.rows().count());
  const Decimal cost = amount().value_or(Decimal());
  Row* costRow = addRow(entry, present + 1, cost, account());
  costRow->setTag(invoice() == nullptr ? nullptr : invoice()->tag());
  if (!hasVat()) return {costRow};
  const Decimal tax = (cost * vat().value_or(Decimal())).scaledByPowerOf10(-2);
  return {addRow(entry, present + 2, tax, vatAccount()), costRow};
}

Row* SupplierInvoiceLine::addRow(Entry& entry, std::int64_t number, const Decimal& debit,
                                 Account* account) const {
  auto* row = managedObjectContext().insert<Row>();
  row->setEntry(&entry);
  row->setNumber(number);
  row->setDebit(debit.isNegative() ? Decimal() : debit);
  row->setCredit(debit.isNegative() ? debit.negated() : Decimal());
  row->setAccount(account);
  row->setStatus(RowStatus::Committed);
  return row;
}

SupplierInvoiceLine* SupplierInvoiceLine::duplicate() const {
  auto* copy = managedObjectContext().insert<SupplierInvoiceLine>();
  copyKeys({"amount", "name", "vat", "account", "vatAccount"}, *copy);
  return copy;
}

bool SupplierInvoiceLine::validateAmount(std::optional<Decimal>& proposed, ErrorOut /*error*/) {
  if (!proposed) proposed = Decimal();
  return true;
}

}  // namespace bokfolio
