#include "command_line.hpp"

#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>

#include "bokfolio/version.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "help_text.hpp"

namespace bokfolio::cli {

namespace {

constexpr const char* kFooter = R"(
Documents:
  A document is one file. It is the one named with -d, or in BOKFOLIO_DOCUMENT, or the only *.bokfolio
  in the working folder. Commands that only read work while another program has it open. A command
  changes a document as a whole or not at all.

Amounts and days:
  Amounts are debit-positive: 500 is debit, -500 is credit. They are read in the form of the locale
  (1 234,50) or plainly (1234.50); one that can be read two ways is refused. Days are 2025-03-31.

A first book:
  bokfolio new workshop --year 2025
  bokfolio account list bank
  bokfolio account add 3015 "Oak furniture"
  bokfolio entry add --date 2025-01-15 --text "First sale" 1930:1000 3015:-1000
  bokfolio balance

Exit status:
  0  done
  1  refused by a rule of bookkeeping, or `check` found faults or losses
  2  the command line cannot be understood
  3  the document cannot be found, opened, created or written
  4  a file to be read cannot be read, or is malformed
  5  a fault of the program itself
  Each failure is one line on standard error; with --json it is on standard output, too.)";

constexpr const char* kShortFooter =
    "Options that all commands share (document, --json, --locale...): bokfolio --help";

void addSharedOptions(CLI::App& app, Host& host) {
  Options& options = host.options;
  app.add_option("-d,--document", options.document, "The document to work on")
      ->envname("BOKFOLIO_DOCUMENT")
      ->take_last()
      ->type_name("FILE");
  app.add_flag("--json", options.json, "Answer in JSON; amounts are texts with a decimal point");
  app.add_flag("-q,--quiet", options.quiet, "Say nothing when all goes well");
  app.add_flag("-v,--verbose", options.verbose, "Write the library's diagnostics, too");
  app.add_option("--locale", options.locale,
                 "Language and form of numbers, such as sv_SE (default: the system's)")
      ->type_name("LOCALE")
      ->take_last();
  app.add_option("--zone", options.zone, "Time zone of days (default: CET)")
      ->type_name("ZONE")
      ->take_last();
  app.add_option("--user", options.user, "Who makes the change (default: the system's user)")
      ->type_name("NAME")
      ->take_last();
  app.add_option("--now", options.now, "What time it is, instead of the clock: 2025-03-31T10:15")
      ->type_name("TIME")
      ->take_last();
}

std::size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t at = 0; at <= b.size(); ++at) row[at] = at;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row[b.size()];
}

// The command nearest to what was typed, if any is near.
std::string suggestion(const CLI::App& app, const std::string& typed) {
  std::string best;
  std::size_t least = 3;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    const std::size_t distance = editDistance(typed, command->get_name());
    if (distance < least) {
      least = distance;
      best = command->get_name();
    }
  }
  return best;
}

// The innermost command that was named, and its words.
struct Reached {
  const CLI::App* command;
  std::string words;
};

Reached reached(const CLI::App& app) {
  Reached at{&app, "bokfolio"};
  while (!at.command->get_subcommands().empty()) {
    at.command = at.command->get_subcommands().front();
    at.words += " " + at.command->get_name();
  }
  return at;
}

Failure usageFailure(const CLI::App& app, const CLI::ParseError& error) {
  const auto [command, words] = reached(app);
  const std::string remedy = "'" + words + " --help' shows what it takes";
  const std::vector<std::string> remaining = app.remaining(true);
  const bool wantsCommand = !command->get_subcommands([](const CLI::App*) { return true; }).empty();
  if (!remaining.empty() && remaining.front()[0] == '-') {
    return {ExitStatus::Usage, "there is no option \"" + remaining.front() + "\"", remedy};
  }
  if (wantsCommand && !remaining.empty()) {
    const std::string near = suggestion(*command, remaining.front());
    return {ExitStatus::Usage, "there is no command \"" + words + " " + remaining.front() + "\"",
            near.empty() ? remedy : "did you mean '" + words + " " + near + "'?"};
  }
  if (wantsCommand && command->get_subcommands().empty()) {
    return {ExitStatus::Usage, "'" + words + "' wants a command", remedy};
  }
  if (!remaining.empty()) {
    return {ExitStatus::Usage, "\"" + remaining.front() + "\" is one word too many", remedy};
  }
  return {ExitStatus::Usage, error.what(), remedy};
}

// "help entry add" says what "entry add --help" does.
void addHelpCommand(CLI::App& app, Host& host) {
  const auto words = std::make_shared<std::vector<std::string>>();
  CLI::App* command = app.add_subcommand("help", "Show what a command takes");
  command->add_option("command", *words, "The command, such as entry add");
  command->callback([&app, &host, words] {
    const CLI::App* meant = &app;
    std::string before;
    for (const std::string& word : *words) {
      before += (before.empty() ? "" : " ") + meant->get_name();
      const auto same = [&](const CLI::App* candidate) { return candidate->get_name() == word; };
      const auto found = meant->get_subcommands(same);
      if (found.empty()) {
        throw Failure(ExitStatus::Usage, "there is no command \"" + before + " " + word + "\"",
                      "'bokfolio --help' lists them");
      }
      meant = found.front();
    }
    translateHelp(app, host);
    // The program itself would otherwise show the command that it parsed: this one.
    std::cout << (words->empty()
                      ? app.get_formatter()->make_help(&app, "bokfolio", CLI::AppFormatMode::Normal)
                      : meant->help(before));
  });
}

void build(CLI::App& app, Host& host) {
  app.get_formatter()->column_width(34);
  app.fallthrough();
  app.require_subcommand(1);
  addSharedOptions(app, host);
  app.set_version_flag("--version", "bokfolio " + std::string(kVersion));
  app.footer(kShortFooter);
  addNewCommand(app, host);
  addImportCommand(app, host);
  addEntryCommands(app, host);
  addBalanceCommand(app, host);
  addResultCommand(app, host);
  addJournalCommand(app, host);
  addInvoiceCommands(app, host);
  addArticleCommands(app, host);
  addSupplierCommands(app, host);
  addAccountCommands(app, host);
  addTagCommands(app, host);
  addYearCommands(app, host);
  addOpeningCommands(app, host);
  addBookCommands(app, host);
  addCompanyCommands(app, host);
  addRatesCommand(app, host);
  addCheckCommand(app, host);
  addBackupCommand(app, host);
  addAddressCommand(app, host);
  addHelpCommand(app, host);
  app.footer(kFooter);
}

}  // namespace

CLI::App* addGroup(CLI::App& app, const std::string& name, const std::string& description) {
  CLI::App* group = app.add_subcommand(name, description);
  group->require_subcommand(1);
  return group;
}

void onRun(CLI::App* command, Host& host, std::function<void(Host&)> action) {
  command->callback([&host, action = std::move(action)] { host.action = action; });
}

void parseCommandLine(Host& host, std::vector<std::string> words) {
  CLI::App app("bokfolio keeps the books of a small business: accounts, entries, balances.",
               "bokfolio");
  build(app, host);
  std::reverse(words.begin(), words.end());
  try {
    app.parse(std::move(words));
  } catch (const CLI::Success& answer) {
    host.action = nullptr;
    translateHelp(app, host);
    app.exit(answer);
  } catch (const CLI::ParseError& error) {
    throw usageFailure(app, error);
  }
}

}  // namespace bokfolio::cli
