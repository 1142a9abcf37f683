#include "bokfolio/model/ledger/account.hpp"

#include <cstdio>

#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/internal/ordering.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription Account::table() {
  EntityTable<Account> table{std::string(kEntityName)};
  table.attribute(Slots::name, "name");
  table.attribute(Slots::number, "number").validatedBy<&Account::validateNumber>();
  table.attribute(Slots::type, "type").defaultValue(static_cast<std::int64_t>(AccountType::Asset));
  table.attribute(Slots::taxCode, "taxCode");
  table.attribute(Slots::vatCode, "vatCode");
  table.toMany(Slots::rows, "rows", "Row", "account").onDelete(DeleteRule::Deny);
  table.toMany(Slots::startingBalances, "startingBalances", "StartingBalance", "account")
      .onDelete(DeleteRule::Cascade);
  table.attribute(Slots::cachedBalance1, "cachedBalance1").transient();
  table.attribute(Slots::cachedBalance2, "cachedBalance2").transient();
  table.derived<&Account::balance>("balance");
  table.derived<&Account::balanceAccount>("balanceAccount");
  table.derived<&Account::typeDescription>("typeDescription");
  table.derived<&Account::description>("description");
  table.derived<&Account::used>("used");
  table.derived<&Account::isNormallyOnlyDebited>("isNormallyOnlyDebited");
  table.derived<&Account::isNormallyOnlyCredited>("isNormallyOnlyCredited");
  table.dependsOn("balanceAccount", {"type"});
  table.dependsOn("description", {"name", "number"});
  table.dependsOn("used", {"rows", "startingBalances"});
  table.dependsOn("balance", {"rows", "startingBalances"});
  // For whoever binds rows through an account; an account itself has none of these keys.
  table.dependsOn("debit", {"account"});
  table.dependsOn("credit", {"account"});
  table.index({"number"});
  table.index({"name"});
  return table.description();
}

RecordSetOf<Row> Account::rows() const { return get(Slots::rows); }

RecordSetOf<StartingBalance> Account::startingBalances() const {
  return get(Slots::startingBalances);
}

Predicate Account::balanceAccountPredicate() { return Predicate("type == 0 OR type == 1"); }

Predicate Account::balanceAccountPredicateForRows() {
  return Predicate("account.type == 0 OR account.type == 1");
}

Predicate Account::resultAccountPredicate() { return Predicate("type == 3 OR type == 2"); }

Account* Account::accountWithNumber(std::optional<std::int64_t> number, Context& context) {
  if (!number) return nullptr;
  return context.fetchFirst<Account>(Predicate("number == %@", {*number}));
}

Account* Account::accountWithName(const std::optional<std::string>& name, Context& context) {
  if (!name) return nullptr;
  return context.fetchFirst<Account>(Predicate("name == %@", {*name}));
}

void Account::removeEmptyAccountsInContext(Context& context) {
  const Predicate blank("number == nil && name == nil && rows.@count == 0");
  for (Account* account : context.fetch<Account>(blank)) context.deleteObject(account);
}

int Account::compare(const Account& other) const {
  return internal::compareNilFirst(number(), other.number());
}

std::optional<Decimal> Account::balance() const {
  FiscalYear* latest = FiscalYear::latestFiscalYearInContext(managedObjectContext());
  if (latest == nullptr) return std::nullopt;
  return balanceByDate(std::nullopt, latest);
}

Decimal Account::balanceByDate(std::optional<Date> date, FiscalYear* year, Tag* tag) const {
  if (year == nullptr) {
    environment().assertions().handleFailure("No fiscal year in balance request", "Account", 95);
    return {};
  }
  const Decimal sum = sumOfNets(*year, date, false, date ? tag : nullptr);
  for (const StartingBalance* opening : startingBalances().members())
    if (opening->fiscalYear() == year) return sum + opening->balance().value_or(Decimal());
  return sum;
}

Decimal Account::sumOfNets(const FiscalYear& year, std::optional<Date> date, bool including,
                           const Tag* tag) const {
  return managedObjectContext().keptSum(Row::kEntityName, {this, tag, &year, date, including});
}

bool Account::hasType(AccountType wanted) const {
  return type().value_or(0) == static_cast<std::int64_t>(wanted);
}

bool Account::balanceAccount() const {
  return hasType(AccountType::Asset) || hasType(AccountType::DebtAndEquity) ||
         hasType(AccountType::Equity);
}

std::optional<std::string> Account::typeDescription() const {
  if (hasType(AccountType::Asset)) return environment().text("account_type_asset");
  if (hasType(AccountType::DebtAndEquity)) return environment().text("account_type_debt&equity");
  if (hasType(AccountType::Income)) return environment().text("account_type_income");
  if (hasType(AccountType::Cost)) return environment().text("account_type_cost");
  if (hasType(AccountType::Equity)) return environment().text("account_type_equity");
  return std::nullopt;
}

std::string Account::description() const {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%04lld", static_cast<long long>(number().value_or(0)));
  const auto own = name();
  return std::string(digits) + " " + (own ? *own : environment().text("Unnamed account."));
}

bool Account::used() const { return !rows().empty() || !startingBalances().empty(); }

bool Account::isNormallyOnlyDebited() const { return hasType(AccountType::Cost); }

bool Account::isNormallyOnlyCredited() const { return hasType(AccountType::Income); }

void Account::nullifyLinkedProducts() {
  if (hasType(AccountType::DebtAndEquity) || hasType(AccountType::Equity)) {
    resetObjectsWithEntityName("Article", "vatAccount");
  } else if (hasType(AccountType::Income)) {
    resetObjectsWithEntityName("Article", "salesAccount");
  }
}

void Account::nullifyLinkedSuppliers() {
  if (hasType(AccountType::Asset)) {
    resetObjectsWithEntityName("SupplierInvoice", "creditAccount");
  } else if (hasType(AccountType::DebtAndEquity) || hasType(AccountType::Equity)) {
    resetObjectsWithEntityName("SupplierInvoiceLine", "vatAccount");
    resetObjectsWithEntityName("SupplierInvoice", "creditAccount");
  } else if (hasType(AccountType::Cost)) {
    resetObjectsWithEntityName("SupplierInvoiceLine", "account");
  }
}

void Account::resetObjectsWithEntityName(std::string_view entityName, std::string_view key) {
  const auto linked = managedObjectContext().fetchEntitiesWithName(
      entityName, Predicate("%K = %@", {Value(key), Value(this)}));
  if (!linked) return;
  for (Record* record : *linked) record->setValueForKey(nullptr, key);
}

bool Account::validateNumber(std::optional<std::int64_t>& proposed, ErrorOut /*error*/) {
  if (proposed.value_or(0) == number().value_or(0) || !used()) return true;
  const Environment& host = environment();
  Question question;
  question.message = host.text("Validation_konto_change_no");
  question.informative = host.text("Validation_konto_change_no_more");
  question.firstButton = host.text("No");
  question.secondButton = host.text("Yes");
  if (host.dialog().ask(question) != kSecondButton) proposed = number();
  return true;
}

}  // namespace bokfolio
