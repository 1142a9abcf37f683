// `import`: a file of another bookkeeping program, read into the document.

#include <memory>
#include <set>
#include <utility>

#include "bokfolio/interchange/sie/sie_importer.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "import_report.hpp"
#include "input.hpp"
#include "lookup.hpp"
#include "progress.hpp"

namespace bokfolio::cli {

namespace {

struct ImportOptions {
  std::string file;
  std::optional<int> dimension;
  bool again = false;
  bool anyCurrency = false;
};

SieFile readSieFile(const std::string& path) {
  std::optional<Error> error;
  auto file = readSie(readFile(path, SieReadOptions{}.maxBytes), &error);
  if (file) return *std::move(file);
  Failure failure = failureOf(error, ExitStatus::Input);
  throw failure.about(path);
}

// How an imported voucher can be known again: by the comments that the import gives its entry, and
// by its day.
using Mark = std::pair<std::string, std::string>;

std::set<Mark> marksInDocument(const Session& session) {
  std::set<Mark> marks;
  for (const Entry* entry : session.context().fetch<Entry>(Predicate("comments != nil"))) {
    marks.emplace(*entry->comments(), session.host().day(entry->date()));
  }
  return marks;
}

void refuseRepetition(const Session& session, const SieFile& file) {
  const std::set<Mark> marks = marksInDocument(session);
  if (marks.empty()) return;
  std::size_t known = 0;
  for (const SieVoucher& voucher : file.vouchers) {
    if (voucher.number.empty()) continue;
    std::string comment(voucher.series);
    if (!comment.empty()) comment += ' ';
    comment += voucher.number;
    if (marks.contains({comment, isoDay(voucher.date)})) ++known;
  }
  if (known == 0) return;
  throw Failure(ExitStatus::Refused,
                std::to_string(known) + " of its " + std::to_string(file.vouchers.size()) +
                    " vouchers are in the document already",
                "add --again to import them nonetheless");
}

void refuseCurrency(const SieImportReport& report) {
  if (report.bookCurrency.empty() || report.fileCurrency == report.bookCurrency) return;
  throw Failure(
      ExitStatus::Refused,
      "its amounts are in " + report.fileCurrency + ", the document's in " + report.bookCurrency,
      "add --any-currency to take the figures as they are");
}

SieImportReport importFile(const Session& session, const SieFile& file,
                           const ImportOptions& options) {
  const bool watched = standardErrorIsTerminal() && !session.host().options.quiet;
  Progress progress(options.file, watched);
  SieImportOptions how;
  how.tagDimension = options.dimension;
  how.progress = [&](std::size_t done, std::size_t total) { progress.advance(done, total); };
  std::optional<Error> error;
  auto report = importSie(session.context(), file, how, &error);
  if (!report) {
    Failure failure = failureOf(error);
    const std::string line = error ? error->text(kLineErrorKey) : "";
    throw failure.about(options.file + (line.empty() ? "" : ":" + line));
  }
  if (!options.anyCurrency) refuseCurrency(*report);
  return *std::move(report);
}

void import(Host& host, const ImportOptions& options) {
  const SieFile file = readSieFile(options.file);
  Session session = Session::writing(host);
  session.context().setUndoEnabled(false);
  SieImportReport report;
  session.change([&] {
    try {
      if (!options.again) refuseRepetition(session, file);
      report = importFile(session, file, options);
      newEntry(session);
    } catch (Failure& failure) {
      failure.about(options.file);
      throw;
    }
  });
  if (host.options.quiet) return;
  if (host.json()) return host.print(importJson(options.file, file, report));
  printImport(host, options.file, file, report);
}

}  // namespace

void addImportCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App* command = app.add_subcommand("import", "Import a SIE file, types 1 to 4");
  command->add_option("file", options->file, "The file")->required()->type_name("FILE");
  command
      ->add_option("--dimension", options->dimension,
                   "Dimension whose objects become tags, 0 for none (default: the one most rows "
                   "use)")
      ->type_name("NUMBER");
  command->add_flag("--again", options->again, "Import vouchers although they are there already");
  command->add_flag("--any-currency", options->anyCurrency,
                    "Import amounts although they are in another currency");
  command->footer(
      "Accounts, fiscal years, opening balances, tags and vouchers are taken over; what the\n"
      "document has no place for is counted, vouchers that do not balance are left out and listed\n"
      "with their lines, and closing balances are compared with those that the file states.\n"
      "A malformed file changes nothing.");
  onRun(command, host, [options](Host& h) { import(h, *options); });
}

}  // namespace bokfolio::cli
