// `book`: the settings of the bookkeeping.

#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "lookup.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

namespace {

constexpr std::int64_t kLongestTerm = 3650;

// Accounts on which entries are made by rule. Type name and help as the options show them.
constexpr TextSetting kAccounts[] = {
    {"accountsReceivable", "--receivable", "ACCOUNT", "Account of what customers owe",
     "What customers owe"},
    {"currencyGains", "--gains", "ACCOUNT", "Account of exchange gains on payments",
     "Exchange gains"},
    {"currencyLosses", "--losses", "ACCOUNT", "Account of exchange losses on payments",
     "Exchange losses"},
    {"roundingAccount", "--rounding", "ACCOUNT", "Account of the rounding of invoices", "Rounding"},
    {"results", "--results", "ACCOUNT", "Account of the year's result", "The year's result"},
};

struct BookOptions {
  std::optional<std::string> currency;
  std::optional<std::string> days;
  std::optional<std::string> filing;
  std::optional<std::string> automatic;
  std::optional<std::string> layout;
  GivenTexts accounts;
};

const Account* accountUnder(const Book& book, const char* key) {
  return static_cast<const Account*>(book.valueForKey(key).record());
}

std::string filingWord(const Book& book) { return book.bookOnce() ? "once" : "twice"; }

Json bookJson(const Book& book) {
  Json accounts;
  for (const TextSetting& setting : kAccounts) {
    const Account* account = accountUnder(book, setting.key);
    accounts[setting.key] = account != nullptr ? toJson(account->number()) : Json(nullptr);
  }
  return {{"currency", toJson(book.currency())},
          {"days", toJson(book.days())},
          {"filing", filingWord(book)},
          {"automatic", book.autoBook()},
          {"layout", toJson(book.templateName())},
          {"accounts", accounts}};
}

void showBook(Host& host) {
  const Session session = Session::reading(host);
  session.read([&] {
    const Book& book = *findBook(session);
    if (host.json()) return host.print(bookJson(book));
    Table table({{""}, {""}});
    table.addRow({host.text("Currency"), book.currency().value_or("")});
    table.addRow(
        {host.text("Payment term, days"), book.days() ? std::to_string(*book.days()) : ""});
    table.addRow({host.text("Invoices are booked"),
                  book.bookOnce() ? host.text("when paid") : host.text("when sent and when paid")});
    table.addRow({host.text("Booked automatically"), yesNo(host, book.autoBook())});
    table.addRow({host.text("Invoice layout"), book.templateName().value_or("")});
    for (const TextSetting& setting : kAccounts) {
      const Account* account = accountUnder(book, setting.key);
      table.addRow({host.text(setting.label), account != nullptr ? account->description() : ""});
    }
    host.print(table);
  });
}

std::int64_t daysFromText(const std::string& text) {
  const auto days = numberFromText(text);
  if (days && *days <= kLongestTerm) return *days;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no payment term",
                "write a number of days such as 30");
}

bool onceFromText(const std::string& text) {
  if (text == "once" || text == "twice") return text == "once";
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no way of booking invoices",
                "use once (when paid) or twice (when sent and when paid)");
}

// Currency and filing are guarded by the book's own rules.
void changeSettings(const Session& session, Book* book, const BookOptions& options) {
  if (options.currency) setChecked(book, "currency", currencyFromText(*options.currency));
  if (options.days) setChecked(book, "days", daysFromText(*options.days));
  if (options.filing) setChecked(book, "bookOnce", onceFromText(*options.filing) ? 1 : 0);
  if (options.automatic) setChecked(book, "autoBook", yesNoFromText(*options.automatic) ? 1 : 0);
  if (options.layout) setChecked(book, "templateName", textOrNil(*options.layout));
  for (std::size_t i = 0; i < options.accounts.size(); ++i) {
    const auto& given = options.accounts[i];
    if (!given) continue;
    Account* account = given->empty() ? nullptr : findAccount(session, *given);
    setChecked(book, kAccounts[i].key, account != nullptr ? Value(account) : Value());
  }
}

bool nothingGiven(const BookOptions& options) {
  for (const auto& account : options.accounts) {
    if (account) return false;
  }
  return !options.currency && !options.days && !options.filing && !options.automatic &&
         !options.layout;
}

void setBook(Host& host, const BookOptions& options) {
  if (nothingGiven(options)) {
    throw Failure(ExitStatus::Usage, "nothing to change was named",
                  "'bokfolio book set --help' shows what can be");
  }
  Session session = Session::writing(host);
  session.change([&] { changeSettings(session, findBook(session), options); });
  host.confirm("Changed the settings of the book", bookJson(*findBook(session)));
}

}  // namespace

void addBookCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "book", "Settings of the book: show, set");
  CLI::App* show = group->add_subcommand("show", "Show the settings");
  onRun(show, host, [](Host& h) { showBook(h); });

  const auto options = std::make_shared<BookOptions>();
  CLI::App* set = group->add_subcommand("set", "Change settings; those not named stay");
  set->add_option("--currency", options->currency,
                  "Home currency, such as SEK; fixed by the first entry or invoice")
      ->type_name("CODE");
  set->add_option("--days", options->days, "Payment term of invoices, in days")->type_name("DAYS");
  set->add_option("--filing", options->filing,
                  "How often an invoice is booked: once (when paid) or twice (when sent, too)")
      ->type_name("once|twice");
  set->add_option("--automatic", options->automatic, "Whether invoices are booked by themselves")
      ->type_name("yes|no");
  set->add_option("--layout", options->layout, "Layout of printed invoices")->type_name("NAME");
  addSettingOptions(set, kAccounts, options->accounts);
  set->footer("Accounts are numbers or names; \"\" takes one away.");
  onRun(set, host, [options](Host& h) { setBook(h, *options); });
}

}  // namespace bokfolio::cli
