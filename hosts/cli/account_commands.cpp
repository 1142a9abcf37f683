// `account`: the chart of accounts.

#include <memory>

#include "bokfolio/model/ledger/starting_balance.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

constexpr std::int64_t kHighestNumber = 999'999'999;

struct AccountOptions {
  std::string account;
  std::optional<std::string> newNumber;
  std::optional<std::string> name;
  std::optional<std::string> type;
  std::optional<std::string> taxCode;
  std::optional<std::string> vatCode;
  std::string pattern;
  bool used = false;
};

std::int64_t accountNumber(const std::string& text) {
  const auto number = numberFromText(text);
  if (number && *number >= 1 && *number <= kHighestNumber) return *number;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no account number",
                "use a number such as 1930");
}

// The plan of accounts common in Sweden: assets, debts, income, and four classes of costs.
std::int64_t typeOfClass(std::int64_t number) {
  switch (std::to_string(number)[0]) {
    case '1':
      return 0;
    case '2':
      return 1;
    case '3':
      return 2;
    case '4':
    case '5':
    case '6':
    case '7':
      return 3;
    default:
      throw Failure(ExitStatus::Usage,
                    "the number " + std::to_string(number) + " does not tell the account's type",
                    "add --type asset, debt, income, cost or equity");
  }
}

std::optional<std::string> nilWhenEmpty(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

void setCodes(Account* account, const AccountOptions& options) {
  if (options.taxCode) account->setTaxCode(nilWhenEmpty(*options.taxCode));
  if (options.vatCode) account->setVatCode(nilWhenEmpty(*options.vatCode));
}

void refuseTaken(const Session& session, std::int64_t number) {
  if (Account::accountWithNumber(number, session.context()) == nullptr) return;
  throw Failure(ExitStatus::Refused, "there is an account " + std::to_string(number) + " already",
                "change it with 'bokfolio account set " + std::to_string(number) + "'");
}

void addAccount(Host& host, const AccountOptions& options) {
  const std::int64_t number = accountNumber(options.account);
  const std::int64_t type = options.type ? typeFromText(*options.type) : typeOfClass(number);
  Session session = Session::writing(host);
  session.change([&] {
    refuseTaken(session, number);
    auto* account = session.context().insert<Account>();
    account->setNumber(number);
    account->setName(options.name);
    account->setType(type);
    setCodes(account, options);
  });
  const Account* account = Account::accountWithNumber(number, session.context());
  host.confirm("Added account " + account->description() + " (" +
                   account->typeDescription().value_or("") + ")",
               accountJson(*account));
}

void changeType(Account* account, std::int64_t type) {
  if (account->type() == type) return;
  const bool balances = type == 0 || type == 1 || type == 4;
  if (!balances && account->startingBalances().count() > 0) {
    throw Failure(ExitStatus::Refused,
                  "account " + account->description() +
                      " has opening balances, which only "
                      "balance accounts have",
                  "set them to 0 first");
  }
  // What points at the account suits its present type.
  account->nullifyLinkedProducts();
  account->nullifyLinkedSuppliers();
  account->setType(type);
}

void changeNumber(const Session& session, Account* account, std::int64_t number) {
  if (account->number() == number) return;
  refuseTaken(session, number);
  std::optional<Error> error;
  if (!account->setValidated("number", number, &error)) throw failureOf(error);
  if (account->number() != number) {
    throw Failure(ExitStatus::Refused, "account " + account->description() + " is in use",
                  "add --yes to change its number in all its entries");
  }
}

void setAccount(Host& host, const AccountOptions& options) {
  const bool nothing =
      !options.newNumber && !options.name && !options.type && !options.taxCode && !options.vatCode;
  if (nothing) {
    throw Failure(ExitStatus::Usage, "nothing to change was named",
                  "add --name, --type, --number, --tax-code or --vat-code");
  }
  Session session = Session::writing(host);
  Account* account = nullptr;
  session.change([&] {
    account = findAccount(session, options.account);
    if (options.newNumber) changeNumber(session, account, accountNumber(*options.newNumber));
    if (options.name) account->setName(nilWhenEmpty(*options.name));
    if (options.type) changeType(account, typeFromText(*options.type));
    setCodes(account, options);
  });
  host.confirm("Changed account " + account->description() + " (" +
                   account->typeDescription().value_or("") + ")",
               accountJson(*account));
}

void removeAccount(Host& host, const AccountOptions& options) {
  Session session = Session::writing(host);
  std::string description;
  Json removed;
  session.change([&] {
    Account* account = findAccount(session, options.account);
    description = account->description();
    removed = accountJson(*account);
    if (account->used()) {
      throw Failure(ExitStatus::Refused, "account " + description + " is in use",
                    "an account with rows or opening balances stays");
    }
    account->nullifyLinkedProducts();
    account->nullifyLinkedSuppliers();
    session.context().deleteObject(account);
  });
  host.confirm("Removed account " + description, {{"removed", removed}});
}

std::vector<Account*> listedAccounts(const Session& session, const AccountOptions& options) {
  std::vector<Predicate> parts = {Predicate("number != nil OR name != nil")};
  if (options.type) parts.push_back(Predicate("type == %@", {typeFromText(*options.type)}));
  if (const auto number = numberFromText(options.pattern)) {
    parts.push_back(Predicate("number == %@", {*number}));
  } else if (!options.pattern.empty()) {
    parts.push_back(Predicate("name LIKE[c] %@", {"*" + options.pattern + "*"}));
  }
  auto accounts = session.context().fetch<Account>(Predicate::andPredicate(parts),
                                                   std::vector{SortDescriptor("number")});
  if (options.used) std::erase_if(accounts, [](const Account* a) { return !a->used(); });
  return accounts;
}

void listAccounts(Host& host, const AccountOptions& options) {
  const Session session = Session::reading(host);
  const auto accounts = listedAccounts(session, options);
  if (host.json()) {
    Json list = Json::array();
    for (const Account* account : accounts) list.push_back(accountJson(*account));
    host.print(list);
    return;
  }
  Table table({{host.text("Account"), Table::Align::Right},
               {host.text("Name")},
               {host.text("Type")},
               {host.text("Tax code")},
               {host.text("VAT code")}});
  for (const Account* account : accounts) {
    table.addRow({account->number() ? std::to_string(*account->number()) : "",
                  account->name().value_or(""), account->typeDescription().value_or(""),
                  account->taxCode().value_or(""), account->vatCode().value_or("")});
  }
  if (!table.empty()) host.print(table);
  if (table.empty()) host.note("no such account");
}

using Shared = std::shared_ptr<AccountOptions>;

void addCodeOptions(CLI::App* command, const Shared& options) {
  command->add_option("--tax-code", options->taxCode, "Code in the tax return")->type_name("CODE");
  command->add_option("--vat-code", options->vatCode, "Code in the VAT report")->type_name("CODE");
}

void addChanges(CLI::App& group, Host& host, const Shared& options) {
  CLI::App* add = group.add_subcommand("add", "Add an account");
  add->add_option("number", options->account, "Its number, such as 1930")->required();
  add->add_option("name", options->name, "Its name")->required();
  add->add_option("-t,--type", options->type,
                  "asset, debt, income, cost or equity (default: by the first digit, 1 asset, "
                  "2 debt, 3 income, 4 to 7 cost)")
      ->type_name("TYPE");
  addCodeOptions(add, options);
  onRun(add, host, [options](Host& h) { addAccount(h, *options); });

  CLI::App* set = group.add_subcommand("set", "Change an account");
  set->add_option("account", options->account, "Its number or name")->required();
  set->add_option("--number", options->newNumber, "New number")->type_name("NUMBER");
  set->add_option("--name", options->name, "New name")->type_name("NAME");
  set->add_option("-t,--type", options->type, "New type")->type_name("TYPE");
  addCodeOptions(set, options);
  set->add_flag("--yes", host.assumeYes, "Change the number even when the account is in use");
  onRun(set, host, [options](Host& h) { setAccount(h, *options); });

  CLI::App* remove = group.add_subcommand("remove", "Remove an account that is not in use");
  remove->add_option("account", options->account, "Its number or name")->required();
  onRun(remove, host, [options](Host& h) { removeAccount(h, *options); });
}

}  // namespace

void addAccountCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "account", "The chart of accounts: add, set, remove, list");
  const auto options = std::make_shared<AccountOptions>();
  addChanges(*group, host, options);
  CLI::App* list = group->add_subcommand("list", "Show the accounts");
  list->add_option("pattern", options->pattern, "Only that number, or names holding these words");
  list->add_option("-t,--type", options->type, "Only accounts of that type")->type_name("TYPE");
  list->add_flag("--used", options->used, "Only accounts with rows or opening balances");
  onRun(list, host, [options](Host& h) { listAccounts(h, *options); });
}

}  // namespace bokfolio::cli
