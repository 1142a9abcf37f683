// `entry edit`, `strike`, `attach`: corrections of filed entries. What was filed stays readable:
// rows are struck, never deleted, and a changed date or text is noted in the comments.

#include <memory>

#include "commands.hpp"
#include "entry_rows.hpp"
#include "failure.hpp"
#include "ledger_output.hpp"

namespace bokfolio::cli {

namespace {

struct CorrectOptions {
  std::string number;
  std::string year;
  std::string date;
  std::optional<std::string> text;
  std::optional<std::string> comment;
  std::vector<std::string> rows;
  std::vector<std::int64_t> struck;
  std::string receipt;
};

Entry* filedEntry(const Session& session, const CorrectOptions& options) {
  if (options.number == "new") {
    throw Failure(ExitStatus::Usage, "the new entry is not filed yet",
                  "add to it with 'entry add --no-file', empty it with 'entry discard'");
  }
  return findEntry(session, findYearInUse(session, options.year), options.number);
}

void strike(const Entry& entry, const std::vector<std::int64_t>& places) {
  for (const std::int64_t place : places) {
    Row* row = findRow(entry, place);
    if (row->isRemoved()) {
      throw Failure(ExitStatus::Refused, "row " + std::to_string(place) + " is struck already",
                    "'bokfolio entry show' marks the struck rows");
    }
    // What was never filed leaves no trail, and filing would take a struck row for one that counts.
    if (entry.number()) {
      row->remove();
    } else {
      row->deleteWithoutPardon();
    }
  }
}

// A line of the trail that rows carry by themselves and dates and texts do not.
void noteChange(Entry* entry, Host& host, const std::string& what) {
  const Environment& environment = host.environment();
  std::string comments = entry->comments().value_or("");
  if (!comments.empty()) comments += '\n';
  comments += host.day(environment.now()) + " " + environment.user().fullName() + ": " + what;
  entry->setComments(comments);
}

void redescribe(const Session& session, Entry* entry, const CorrectOptions& options) {
  Host& host = session.host();
  if (!options.date.empty()) {
    const std::string before = host.day(entry->date());
    const CivilDate day = dayFromText(options.date, session.environment().locale());
    std::optional<Error> error;
    if (!entry->setValidated("date", host.noonOf(day), &error)) {
      throw failureOf(error).advise("a filed entry stays in its fiscal year");
    }
    noteChange(entry, host,
               host.text("date") + " " + before + " \u2192 " + host.day(entry->date()));
  }
  if (options.text) {
    const std::string before = entry->name().value_or("");
    entry->setName(*options.text);
    noteChange(entry, host,
               host.text("text") + " \"" + before + "\" \u2192 \"" + *options.text + "\"");
  }
  if (options.comment) {
    const std::string before = entry->comments().value_or("");
    entry->setComments(before.empty() ? *options.comment : before + "\n" + *options.comment);
  }
}

void finish(const Session& session, Entry* entry) {
  std::optional<Error> error;
  if (!entry->editFinished(&error)) throw refusalOf(session.host(), *entry, error);
}

void correct(Host& host, const CorrectOptions& options) {
  const std::vector<RowText> rows = rowsFromTexts(host, options.rows);
  std::optional<Image> receipt;
  if (!options.receipt.empty()) receipt = readPicture(options.receipt);
  Session session = Session::writing(host);
  Entry* entry = nullptr;
  session.change([&] {
    entry = filedEntry(session, options);
    strike(*entry, options.struck);
    addRows(session, entry, rows, RowStatus::Editable);
    redescribe(session, entry, options);
    if (receipt) attachReceipt(entry, *receipt);
    finish(session, entry);
  });
  host.confirm("Corrected " + entryTitle(*entry) + ": " + host.day(entry->date()) + " " +
                   entry->name().value_or("") + ", " + host.amount(turnover(*entry)),
               entryJson(host, *entry));
}

void edit(Host& host, const CorrectOptions& options) {
  const bool nothing = options.rows.empty() && options.struck.empty() && options.date.empty() &&
                       !options.text && !options.comment;
  if (nothing) {
    throw Failure(ExitStatus::Usage, "nothing to change was named",
                  "name rows to add, or --strike, --date, --text, --comment");
  }
  correct(host, options);
}

using Shared = std::shared_ptr<CorrectOptions>;

void addEntryOptions(CLI::App* command, const Shared& options) {
  command
      ->add_option("entry", options->number,
                   "Number of the entry; u1 is the first that waits to be filed")
      ->required();
  command->add_option("-y,--year", options->year, "Fiscal year (default: the latest with entries)")
      ->type_name("YEAR");
}

void addEdit(CLI::App& group, Host& host, const Shared& options) {
  CLI::App* command = group.add_subcommand("edit", "Correct an entry, leaving the trail");
  addEntryOptions(command, options);
  command
      ->add_option("rows", options->rows,
                   "Rows to add: ACCOUNT:AMOUNT[:TAG]; one may lack its amount")
      ->type_name("ROW");
  command->add_option("-s,--strike", options->struck, "Strike that row; may be repeated")
      ->type_name("ROWNUMBER")
      ->allow_extra_args(false);
  command->add_option("--date", options->date, "New accounting date, in the same fiscal year")
      ->type_name("DAY");
  command->add_option("-t,--text", options->text, "New text")->type_name("TEXT");
  command->add_option("--comment", options->comment, "Remark to add")->type_name("TEXT");
  command->footer(
      "Example: bokfolio entry edit 12 --strike 2 4010:750\n"
      "Struck rows stay with who struck them and when; added rows tell who added them; a changed\n"
      "date or text is noted in the comments. The entry must balance afterwards.");
  onRun(command, host, [options](Host& h) { edit(h, *options); });
}

}  // namespace

void addEntryCorrections(CLI::App& entry, Host& host) {
  const auto options = std::make_shared<CorrectOptions>();
  addEdit(entry, host, options);

  CLI::App* strikeRows = entry.add_subcommand("strike", "Strike rows of an entry");
  addEntryOptions(strikeRows, options);
  strikeRows->add_option("rows", options->struck, "Numbers of the rows to strike")
      ->required()
      ->type_name("ROWNUMBER");
  strikeRows->footer("The entry must balance afterwards; striking all its rows voids it.");
  onRun(strikeRows, host, [options](Host& h) { correct(h, *options); });

  CLI::App* attach = entry.add_subcommand("attach", "Attach a receipt to an entry");
  addEntryOptions(attach, options);
  attach->add_option("file", options->receipt, "PDF, TIFF, PNG, JPEG...; replaces the present one")
      ->required()
      ->type_name("FILE");
  onRun(attach, host, [options](Host& h) { correct(h, *options); });
}

}  // namespace bokfolio::cli
