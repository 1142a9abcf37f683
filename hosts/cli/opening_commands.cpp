// `opening`: what the balance accounts hold when a fiscal year begins.

#include <memory>

#include "bokfolio/model/ledger/starting_balance.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

struct OpeningOptions {
  std::string year;
  std::vector<std::string> balances;
};

StartingBalance* openingOf(const Account& account, const FiscalYear* year) {
  return account.startingBalances().filtered(Predicate("fiscalYear == %@", {year})).first();
}

void setOpening(const Session& session, FiscalYear* year, const std::string& accountText,
                const Decimal& amount) {
  Account* account = findAccount(session, accountText);
  if (!account->balanceAccount()) {
    throw Failure(ExitStatus::Refused,
                  "account " + account->description() + " is no balance account",
                  "income and costs begin each year at zero");
  }
  StartingBalance* opening = openingOf(*account, year);
  if (amount.isZero()) {
    if (opening != nullptr) session.context().deleteObject(opening);
    return;
  }
  if (opening == nullptr) {
    opening = session.context().insert<StartingBalance>();
    opening->setFiscalYear(year);
    opening->setAccount(account);
  }
  opening->setBalance(amount);
}

void setOpenings(Host& host, const OpeningOptions& options) {
  std::vector<RowText> wanted;
  for (const std::string& text : options.balances) {
    wanted.push_back(rowFromText(text, host.environment().locale()));
    if (!wanted.back().amount || !wanted.back().tag.empty()) {
      throw Failure(ExitStatus::Usage, "\"" + text + "\" is no opening balance",
                    "write ACCOUNT:AMOUNT, such as 1930:5000");
    }
  }
  Session session = Session::writing(host);
  FiscalYear* year = nullptr;
  session.change([&] {
    year = findYear(session, options.year);
    for (const RowText& row : wanted) setOpening(session, year, row.account, *row.amount);
  });
  const std::string sentence = "Set " + std::to_string(wanted.size()) + " opening balance" +
                               (wanted.size() == 1 ? "" : "s") + " of " + year->name().value_or("");
  host.confirm(withOpeningSum(host, sentence, *year), openingsJson(*year));
}

void listOpenings(Host& host, const OpeningOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    const FiscalYear* year = findYear(session, options.year);
    if (host.json()) return host.print(openingsJson(*year));
    Table table({{host.text("Account"), Table::Align::Right},
                 {host.text("Name")},
                 {host.text("Opening"), Table::Align::Right}});
    const auto openings = year->startingBalances().membersBy({SortDescriptor("account.number")});
    for (const StartingBalance* opening : openings) {
      const Account* account = opening->account();
      table.addRow({opening->number() ? std::to_string(*opening->number()) : "",
                    account != nullptr ? account->name().value_or("") : "",
                    host.amount(opening->balance().value_or(Decimal()))});
    }
    table.addRule();
    table.addRow({"", host.text("Sum"), host.amount(year->startingBalances().sum("balance"))});
    host.print(table);
  });
}

}  // namespace

void addOpeningCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "opening", "Opening balances of a fiscal year: set, list");
  const auto options = std::make_shared<OpeningOptions>();
  CLI::App* set = group->add_subcommand("set", "Set opening balances; 0 removes one");
  set->add_option("balances", options->balances, "ACCOUNT:AMOUNT, such as 1930:5000 2081:-5000")
      ->required()
      ->type_name("BALANCE");
  set->add_option("-y,--year", options->year, "Fiscal year (default: the latest)")
      ->type_name("YEAR");
  onRun(set, host, [options](Host& h) { setOpenings(h, *options); });

  CLI::App* list = group->add_subcommand("list", "Show opening balances");
  list->add_option("-y,--year", options->year, "Fiscal year (default: the latest)")
      ->type_name("YEAR");
  onRun(list, host, [options](Host& h) { listOpenings(h, *options); });
}

}  // namespace bokfolio::cli
