// `entry list` and `entry show`.

#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "selection.hpp"

namespace bokfolio::cli {

namespace {

struct ViewOptions {
  Selection selection;
  std::string number;
  std::string extract;
  std::size_t last = 0;
  bool unfiled = false;
};

std::string marksOf(Host& host, const Entry& entry) {
  std::string marks;
  for (const Row* row : entry.rows().members()) {
    if (row->isRemoved()) marks = host.text("corrected");
    if (row->isRemoved()) break;
  }
  if (entry.entryImage() != nullptr) {
    marks += (marks.empty() ? "" : ", ") + host.text("Receipt");
  }
  return marks;
}

std::vector<Entry*> listedEntries(const Session& session, const ViewOptions& options) {
  if (options.unfiled) {
    return unfiledEntries(session);
  }
  FiscalYear* year = yearOf(session, options.selection);
  auto entries = selectEntries(session, year, options.selection);
  if (options.last > 0 && entries.size() > options.last) {
    entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(options.last));
  }
  return entries;
}

void listEntries(Host& host, const ViewOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    const auto entries = listedEntries(session, options);
    if (host.json()) {
      Json list = Json::array();
      for (const Entry* entry : entries) list.push_back(entryJson(host, *entry));
      return host.print(list);
    }
    Table table({{host.text("Entry"), Table::Align::Right},
                 {host.text("Date")},
                 {host.text("Text")},
                 {host.text("Amount"), Table::Align::Right},
                 {host.text("Note")}});
    std::size_t place = 0;
    for (const Entry* entry : entries) {
      ++place;
      table.addRow({options.unfiled ? "u" + std::to_string(place)
                                    : std::to_string(entry->number().value_or(0)),
                    host.day(entry->date()), entry->name().value_or(""),
                    host.amount(turnover(*entry)), marksOf(host, *entry)});
    }
    if (!table.empty()) host.print(table);
    if (table.empty()) host.note("no such entry");
  });
}

void extractReceipt(const Entry& entry, const std::string& path) {
  const auto bytes = entry.imageBytes();
  if (!bytes) {
    throw Failure(ExitStatus::Refused, entryTitle(entry) + " has no receipt",
                  "attach one with 'bokfolio entry attach'");
  }
  writeFile(path, *bytes);
}

void showEntry(Host& host, const ViewOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    FiscalYear* year =
        options.number == "new" ? nullptr : findYearInUse(session, options.selection.year);
    const Entry* entry = findEntry(session, year, options.number);
    if (!options.extract.empty()) extractReceipt(*entry, options.extract);
    if (host.json()) return host.print(entryJson(host, *entry));
    printEntry(host, *entry);
  });
}

}  // namespace

void addEntryViews(CLI::App& entry, Host& host) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* list = entry.add_subcommand("list", "Show the entries of a fiscal year");
  addSelectionOptions(list, options->selection);
  list->add_option("--last", options->last, "Only the last ones")->type_name("COUNT");
  list->add_flag("--unfiled", options->unfiled, "Instead, the entries that wait to be filed");
  onRun(list, host, [options](Host& h) { listEntries(h, *options); });

  CLI::App* show = entry.add_subcommand("show", "Show one entry with all its rows");
  show->add_option("entry", options->number,
                   "Its number, new, or u1 for the first that waits to be filed")
      ->required();
  show->add_option("-y,--year", options->selection.year,
                   "Fiscal year (default: the latest with entries)")
      ->type_name("YEAR");
  show->add_option("--extract", options->extract, "Write its receipt to that file")
      ->type_name("FILE");
  onRun(show, host, [options](Host& h) { showEntry(h, *options); });
}

}  // namespace bokfolio::cli
