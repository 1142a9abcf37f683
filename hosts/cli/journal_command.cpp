// `journal`: the entries of a fiscal year with all their rows, written one by one.

#include <functional>
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "ledger_output.hpp"
#include "selection.hpp"
#include "text_width.hpp"

namespace bokfolio::cli {

namespace {

// Entries that were written need not stay in memory.
void visitEach(Session& session, const std::vector<Entry*>& entries,
               const std::function<void(const Entry&)>& visit) {
  constexpr std::size_t kTogether = 20'000;
  std::size_t visited = 0;
  for (const Entry* entry : entries) {
    visit(*entry);
    if (++visited % kTogether == 0) session.context().releaseUnused();
  }
}

void printText(Session& session, const std::vector<Entry*>& entries) {
  Host& host = session.host();
  Decimal sum;
  visitEach(session, entries, [&](const Entry& entry) {
    std::cout << entry.numberAsString().value_or("") << "  " << host.day(entry.date()) << "  "
              << printable(entry.name().value_or("")) << '\n';
    Table table = rowTable(host, false);
    addEntryRows(host, table, entry);
    host.print(table);
    sum += turnover(entry);
  });
  host.printLine(host.text("Entries") + ": " + std::to_string(entries.size()) + ", " +
                 host.text("Sum") + " " + host.amount(sum));
}

void printJson(Session& session, const std::vector<Entry*>& entries) {
  const char* before = "[\n";
  visitEach(session, entries, [&](const Entry& entry) {
    std::cout
        << before
        << entryJson(session.host(), entry).dump(-1, ' ', false, Json::error_handler_t::replace);
    before = ",\n";
  });
  std::cout << (entries.empty() ? "[]\n" : "\n]\n");
}

}  // namespace

void addJournalCommand(CLI::App& app, Host& host) {
  const auto selection = std::make_shared<Selection>();
  CLI::App* command = app.add_subcommand("journal", "All entries of a fiscal year with their rows");
  addSelectionOptions(command, *selection);
  onRun(command, host, [selection](Host& h) {
    Session session = Session::reading(h);
    session.read([&] {
      FiscalYear* year = yearOf(session, *selection);
      const auto entries = selectEntries(session, year, *selection);
      h.json() ? printJson(session, entries) : printText(session, entries);
    });
  });
}

}  // namespace bokfolio::cli
