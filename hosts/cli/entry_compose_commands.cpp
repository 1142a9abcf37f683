// `entry add`, `file`, `discard`: composing on the new entry and filing it.

#include <memory>

#include "bokfolio/model/ledger/entry_image.hpp"
#include "commands.hpp"
#include "entry_rows.hpp"
#include "entry_xml.hpp"
#include "failure.hpp"
#include "ledger_output.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

namespace {

struct ComposeOptions {
  std::string date;
  std::optional<std::string> text;
  std::optional<std::string> comment;
  std::string receipt;
  std::vector<std::string> rows;
  std::string xml;
  bool noFile = false;
};

// The date that was named; else today, unless an earlier composing chose one.
void describe(Session& session, Entry* entry, const ComposeOptions& options) {
  Host& host = session.host();
  const bool fresh = entry->rows().empty();
  if (!options.date.empty()) {
    entry->setDate(host.noonOf(dayFromText(options.date, session.environment().locale())));
  } else if (fresh) {
    entry->setDate(host.noonOf(host.today()));
  }
  if (options.text) entry->setName(*options.text);
  if (options.comment) entry->setComments(*options.comment);
}

void confirmFiled(Host& host, const std::vector<Entry*>& filed) {
  Json list = Json::array();
  for (const Entry* entry : filed) {
    list.push_back(entryJson(host, *entry));
    if (host.json()) continue;
    host.confirm("Filed " + entryTitle(*entry) + ": " + host.day(entry->date()) + " " +
                     entry->name().value_or("") + ", " + host.amount(turnover(*entry)),
                 {});
  }
  if (host.json()) host.confirm("", {{"filed", list}});
}

void confirmComposed(Host& host, const Entry& entry) {
  const std::size_t rows = entry.rows().count();
  const Decimal difference = imbalance(entry);
  std::string sentence =
      "The new entry holds " + std::to_string(rows) + " row" + (rows == 1 ? "" : "s");
  sentence += difference.isZero() ? " and balances" : ", off zero by " + host.amount(difference);
  host.confirm(sentence + "; 'bokfolio entry file' files it", entryJson(host, entry));
}

void addEntry(Host& host, const ComposeOptions& options) {
  if (options.rows.empty() == options.xml.empty()) {
    throw Failure(ExitStatus::Usage,
                  options.xml.empty() ? "there are no rows" : "the rows are given twice",
                  "name rows such as 1930:500 3001:-500, or a file with --xml");
  }
  const std::vector<RowText> rows = rowsFromTexts(host, options.rows);
  std::optional<XmlDocument> described;
  if (!options.xml.empty()) described = readDescription(options.xml);
  std::optional<Image> receipt;
  if (!options.receipt.empty()) receipt = readPicture(options.receipt);
  Session session = Session::writing(host);
  std::vector<Entry*> filed;
  Entry* entry = nullptr;
  session.change([&] {
    entry = newEntry(session);
    if (!options.noFile || described) refuseUnfinished(*entry);
    describe(session, entry, options);
    if (described) {
      defineFromDescription(session, entry, described->root(), options.xml);
      describe(session, entry, options);  // what was named outweighs the file
    }
    addRows(session, entry, rows, RowStatus::Editable);
    if (receipt) attachReceipt(entry, *receipt);
    if (!options.noFile) filed = fileNewEntry(session, entry);
  });
  if (options.noFile) return confirmComposed(host, *entry);
  confirmFiled(host, filed);
}

void fileNew(Host& host, const ComposeOptions& options) {
  Session session = Session::writing(host);
  std::vector<Entry*> filed;
  session.change([&] {
    Entry* entry = findEntry(session, nullptr, "new");
    describe(session, entry, options);
    filed = fileNewEntry(session, entry);
  });
  confirmFiled(host, filed);
}

void discardNew(Host& host) {
  Session session = Session::writing(host);
  std::size_t rows = 0;
  session.change([&] {
    Entry* entry = newEntry(session);
    for (Row* row : entry->rows().members()) {
      row->deleteWithoutPardon();
      ++rows;
    }
    entry->setName(std::nullopt);
    entry->setComments(std::nullopt);
    if (entry->entryImage() != nullptr) session.context().deleteObject(entry->entryImage());
  });
  host.confirm("Dropped " + std::to_string(rows) + " rows from the new entry",
               {{"droppedRows", rows}});
}

using Shared = std::shared_ptr<ComposeOptions>;

void addDescribingOptions(CLI::App* command, const Shared& options, const std::string& date) {
  command->add_option("--date", options->date, date)->type_name("DAY");
  command->add_option("-t,--text", options->text, "What it is about")->type_name("TEXT");
  command->add_option("--comment", options->comment, "Further remarks")->type_name("TEXT");
}

}  // namespace

void addEntryComposing(CLI::App& entry, Host& host) {
  const auto options = std::make_shared<ComposeOptions>();
  CLI::App* add = entry.add_subcommand("add", "Compose an entry and file it");
  add->add_option("rows", options->rows,
                  "ACCOUNT:AMOUNT[:TAG]; debit positive, credit negative; one may lack its amount "
                  "and takes the rest")
      ->type_name("ROW");
  add->add_option("--xml", options->xml, "Instead of rows, the whole entry from that file")
      ->type_name("FILE");
  addDescribingOptions(add, options, "Accounting date (default: today)");
  add->add_option("--attach", options->receipt, "Receipt: PDF or picture")->type_name("FILE");
  add->add_flag("--no-file", options->noFile, "Leave it as the new entry, to go on with later");
  add->footer(
      "Example: bokfolio entry add --date 2025-03-04 --text \"Oak boards\" 4010:800 2641:200 1930\n"
      "Accounts and tags are numbers or names.\n"
      "XML: <entry><name>Oak boards</name><note>Ordered in May</note><date>2025-03-04</date>\n"
      "<row><account>4010</account><amount>800</amount><tag>10</tag></row>...</entry>\n"
      "Only rows with account and amount are required. Options outweigh what the file says.");
  onRun(add, host, [options](Host& h) { addEntry(h, *options); });

  CLI::App* file = entry.add_subcommand("file", "File the new entry");
  addDescribingOptions(file, options, "Accounting date (default: the one it has)");
  onRun(file, host, [options](Host& h) { fileNew(h, *options); });

  CLI::App* discard = entry.add_subcommand("discard", "Empty the new entry");
  onRun(discard, host, [](Host& h) { discardNew(h); });
}

void addEntryCommands(CLI::App& app, Host& host) {
  CLI::App* group =
      addGroup(app, "entry", "Entries: add, file, discard, list, show, edit, strike, attach");
  addEntryComposing(*group, host);
  addEntryViews(*group, host);
  addEntryCorrections(*group, host);
}

}  // namespace bokfolio::cli
