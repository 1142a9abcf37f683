// `journal`: the entries of a fiscal year with all their rows, written one by one.

#include <iostream>
#include <memory>

#include "commands.hpp"
#include "ledger_output.hpp"
#include "selection.hpp"
#include "text_width.hpp"

namespace bokfolio::cli {

namespace {

void printText(Host& host, const std::vector<Entry*>& entries) {
  Decimal sum;
  for (const Entry* entry : entries) {
    std::cout << entry->numberAsString().value_or("") << "  " << host.day(entry->date()) << "  "
              << printable(entry->name().value_or("")) << '\n';
    Table table = rowTable(host, false);
    addEntryRows(host, table, *entry);
    host.print(table);
    sum += turnover(*entry);
  }
  host.printLine(host.text("Entries") + ": " + std::to_string(entries.size()) + ", " +
                 host.text("Sum") + " " + host.amount(sum));
}

void printJson(Host& host, const std::vector<Entry*>& entries) {
  const char* before = "[\n";
  for (const Entry* entry : entries) {
    std::cout << before
              << entryJson(host, *entry).dump(-1, ' ', false, Json::error_handler_t::replace);
    before = ",\n";
  }
  std::cout << (entries.empty() ? "[]\n" : "\n]\n");
}

}  // namespace

void addJournalCommand(CLI::App& app, Host& host) {
  const auto selection = std::make_shared<Selection>();
  CLI::App* command = app.add_subcommand("journal", "All entries of a fiscal year with their rows");
  addSelectionOptions(command, *selection);
  onRun(command, host, [selection](Host& h) {
    const Session session = Session::reading(h);
    session.read([&] {
      FiscalYear* year = yearOf(session, *selection);
      const auto entries = selectEntries(session, year, *selection);
      h.json() ? printJson(h, entries) : printText(h, entries);
    });
  });
}

}  // namespace bokfolio::cli
