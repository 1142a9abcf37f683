// `invoice file`: numbers for the entries that invoices made.

#include <memory>

#include "commands.hpp"
#include "entry_rows.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_commands.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"
#include "selection.hpp"

namespace bokfolio::cli {

namespace {

struct FileOptions {
  std::string to;
};

// In date order, so that numbers follow days. What one refuses, stops them all.
std::vector<Entry*> fileWaiting(const Session& session, const FileOptions& options) {
  Host& host = session.host();
  std::optional<Date> bound;
  if (!options.to.empty()) {
    bound = endOf(host, dayFromText(options.to, session.environment().locale()));
  }
  std::vector<Entry*> filed;
  for (Entry* entry : unfiledEntries(session)) {
    if (bound && entry->date() && !(*entry->date() < *bound)) continue;
    std::optional<Error> error;
    const auto done = entry->fileMe(&error);
    if (!done) throw refusalOf(host, *entry, error);
    filed.insert(filed.end(), done->begin(), done->end());
  }
  return filed;
}

void fileEntries(Host& host, const FileOptions& options) {
  Session session = Session::writing(host);
  std::vector<Entry*> filed;
  session.change([&] { filed = fileWaiting(session, options); });
  Json list = Json::array();
  for (const Entry* entry : filed) list.push_back(entryJson(host, *entry));
  if (host.json()) return host.confirm("", {{"filed", list}});
  if (filed.empty()) return host.confirm("No entry waits to be filed", {});
  for (const Entry* entry : filed) {
    host.confirm("Filed " + entryTitle(*entry) + ": " + host.day(entry->date()) + " " +
                     entry->name().value_or("") + ", " + host.amount(turnover(*entry)),
                 {});
  }
}

}  // namespace

void addInvoiceFiling(CLI::App& invoice, Host& host) {
  const auto options = std::make_shared<FileOptions>();
  CLI::App* command =
      invoice.add_subcommand("file", "File the entries that invoices made, in date order");
  command->add_option("--to", options->to, "Only entries up to that day")->type_name("DAY");
  command->footer(
      "Every entry that waits is filed, or none: 'bokfolio entry list --unfiled' shows them, and\n"
      "'bokfolio entry edit u1' corrects the first.");
  onRun(command, host, [options](Host& h) { fileEntries(h, *options); });
}

}  // namespace bokfolio::cli
