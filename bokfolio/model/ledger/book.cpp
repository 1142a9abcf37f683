#include "bokfolio/model/ledger/book.hpp"

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription Book::table() {
  EntityTable<Book> table{std::string(kEntityName)};
  table.attribute(Slots::currency, "currency").validatedBy<&Book::validateCurrency>();
  table.attribute(Slots::templateName, "templateName");
  table.attribute(Slots::autoBook, "autoBook").defaultValue(1);
  table.attribute(Slots::bookOnce, "bookOnce")
      .defaultValue(0)
      .validatedBy<&Book::validateBookOnce>();
  table.attribute(Slots::days, "days").defaultValue(30);
  table.attribute(Slots::vatMode, "vatMode").defaultValue(0);
  table.toOne(Slots::company, "company", "Company").onDelete(DeleteRule::Cascade);
  table.toOne(Slots::accountsReceivable, "accountsReceivable", "Account");
  table.toOne(Slots::currencyGains, "currencyGains", "Account");
  table.toOne(Slots::currencyLosses, "currencyLosses", "Account");
  table.toOne(Slots::roundingAccount, "roundingAccount", "Account");
  table.toOne(Slots::results, "results", "Account");
  table.announced("exchangeRates");
  return table.description();
}

Book* Book::currentBookInContext(Context& context) { return context.fetchFirst<Book>(); }

Account* Book::accountsReceivable() const { return get(Slots::accountsReceivable); }

void Book::setAccountsReceivable(Account* account) { set(Slots::accountsReceivable, account); }

Account* Book::currencyGains() const { return get(Slots::currencyGains); }

void Book::setCurrencyGains(Account* account) { set(Slots::currencyGains, account); }

Account* Book::currencyLosses() const { return get(Slots::currencyLosses); }

void Book::setCurrencyLosses(Account* account) { set(Slots::currencyLosses, account); }

Account* Book::roundingAccount() const { return get(Slots::roundingAccount); }

void Book::setRoundingAccount(Account* account) { set(Slots::roundingAccount, account); }

Account* Book::results() const { return get(Slots::results); }

void Book::setResults(Account* account) { set(Slots::results, account); }

}  // namespace bokfolio
