// `new`: a document that can be kept books in at once.

#include <filesystem>
#include <memory>
#include <system_error>

#include "bokfolio/model/chart.hpp"
#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

constexpr std::string_view kNoChart = "none";

struct NewOptions {
  std::string file;
  std::string year;
  std::string currency;
  std::string company;
  std::string organisation;
  std::string chart{kSwedishChart};
};

std::string withExtension(const std::string& file) {
  return std::filesystem::path(file).has_extension() ? file : file + ".bokfolio";
}

CivilDate dayOfYear(Host& host, const NewOptions& options) {
  if (options.year.empty()) return host.today();
  const auto year = numberFromText(options.year);
  if (!year || *year < 1900 || *year > 9999) {
    throw Failure(ExitStatus::Usage, "\"" + options.year + "\" is no year",
                  "write it like --year 2025");
  }
  return {static_cast<int>(*year), 7, 1};
}

FiscalYear* makeInitialRecords(const Session& session, const NewOptions& options, CivilDate day) {
  Context& context = session.context();
  Book* book = Book::createDefaultInContext(context);
  if (!options.currency.empty()) book->setCurrency(options.currency);
  if (!options.company.empty()) book->company()->setOrgname(options.company);
  if (!options.organisation.empty()) book->company()->setOrgid(options.organisation);
  std::optional<Error> error;
  if (options.chart != kNoChart && !installChart(context, options.chart, &error)) {
    throw failureOf(error).advise("choose --chart sweden or --chart none");
  }
  FiscalYear* year = FiscalYear::latestFiscalYearInContext(context);
  year->setToCalendarYearContaining(session.host().noonOf(day));
  return year;
}

void createNew(Host& host, const NewOptions& options) {
  if (!options.currency.empty()) currencyFromText(options.currency);
  const CivilDate day = dayOfYear(host, options);
  const std::string path = withExtension(options.file);
  Json result = {{"document", path}};
  std::string sentence = path + ": a new document";
  Session session = Session::creating(host, path);
  try {
    session.change([&] {
      const FiscalYear* year = makeInitialRecords(session, options, day);
      const std::string currency =
          Book::currentBookInContext(session.context())->currency().value_or("");
      const std::size_t accounts = session.context().count(Account::kEntityName);
      result["currency"] = currency;
      result["year"] = yearJson(*year);
      result["accounts"] = accounts;
      sentence += " with fiscal year " + year->name().value_or("") + ", in " + currency;
      if (accounts > 0) sentence += ", " + std::to_string(accounts) + " accounts";
    });
  } catch (...) {
    // A document without book is of no use to anybody.
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    throw;
  }
  host.confirm(sentence, result);
}

}  // namespace

void addNewCommand(CLI::App& app, Host& host) {
  auto options = std::make_shared<NewOptions>();
  CLI::App* command = app.add_subcommand("new", "Make a new document");
  command
      ->add_option("file", options->file,
                   "Where; \".bokfolio\" is added when the name has no extension")
      ->required()
      ->type_name("FILE");
  command->add_option("-y,--year", options->year, "First fiscal year (default: this year)")
      ->type_name("YEAR");
  command
      ->add_option("--currency", options->currency,
                   "Home currency (default: the locale's, or else SEK)")
      ->type_name("CODE");
  command->add_option("--company", options->company, "Name of the company")->type_name("NAME");
  command->add_option("--orgid", options->organisation, "Its organisation number")
      ->type_name("NUMBER");
  command
      ->add_option(
          "--chart", options->chart,
          "Accounts to begin with: sweden, for a small business there, or none (default: sweden)")
      ->type_name("NAME");
  onRun(command, host, [options](Host& h) { createNew(h, *options); });
}

}  // namespace bokfolio::cli
