// `new`: a document that can be kept books in at once.

#include <filesystem>
#include <memory>
#include <system_error>

#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

struct NewOptions {
  std::string file;
  std::string year;
  std::string currency;
  std::string company;
  std::string organisation;
};

std::string withExtension(const std::string& file) {
  return std::filesystem::path(file).has_extension() ? file : file + ".bokfolio";
}

std::string currencyMeant(Host& host, const NewOptions& options) {
  if (options.currency.size() == 3) return options.currency;
  if (!options.currency.empty()) {
    throw Failure(ExitStatus::Usage, "\"" + options.currency + "\" is no currency",
                  "name one by its three letters, such as SEK");
  }
  if (const auto currency = host.environment().locale().currencyCode()) return *currency;
  throw Failure(ExitStatus::Usage, "the locale does not tell the book's currency",
                "name it with --currency, such as --currency SEK");
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

// The initial records: book and company, the fiscal year, the working new entry.
FiscalYear* makeInitialRecords(const Session& session, const NewOptions& options,
                               const std::string& currency, CivilDate day) {
  Context& context = session.context();
  auto* book = context.insert<Book>();
  auto* company = context.insert<Company>();
  book->setCompany(company);
  book->setCurrency(currency);
  company->setCountry(session.environment().locale().countryCode());
  if (!options.company.empty()) company->setOrgname(options.company);
  if (!options.organisation.empty()) company->setOrgid(options.organisation);
  auto* year = FiscalYear::createFiscalYearWithDate(session.host().noonOf(day), context);
  newEntry(session)->setDate(session.environment().now());
  return year;
}

void createNew(Host& host, const NewOptions& options) {
  const std::string currency = currencyMeant(host, options);
  const CivilDate day = dayOfYear(host, options);
  const std::string path = withExtension(options.file);
  Json result = {{"document", path}, {"currency", currency}};
  std::string yearName;
  {
    Session session = Session::creating(host, path);
    try {
      session.change([&] {
        const FiscalYear* year = makeInitialRecords(session, options, currency, day);
        yearName = year->name().value_or("");
        result["year"] = yearJson(*year);
      });
    } catch (...) {
      // A document without book is of no use to anybody.
      std::error_code ignored;
      std::filesystem::remove(path, ignored);
      throw;
    }
  }
  host.confirm(path + ": a new document with fiscal year " + yearName + ", in " + currency, result);
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
                   "Home currency, such as SEK (default: the locale's)")
      ->type_name("CODE");
  command->add_option("--company", options->company, "Name of the company")->type_name("NAME");
  command->add_option("--orgid", options->organisation, "Its organisation number")
      ->type_name("NUMBER");
  onRun(command, host, [options](Host& h) { createNew(h, *options); });
}

}  // namespace bokfolio::cli
