// `tag`: cost centres and projects.

#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

struct TagOptions {
  std::string tag;
  std::optional<std::string> newNumber;
  std::optional<std::string> name;
  std::string year;
};

std::int64_t tagNumber(const std::string& text) {
  const auto number = numberFromText(text);
  if (number && *number <= 999'999'999) return *number;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no number of a tag",
                "use a number such as 10");
}

std::string title(const Tag& tag) {
  return "tag " + (tag.number() ? std::to_string(*tag.number()) : "without number") + " " +
         tag.name().value_or("");
}

void refuseTaken(const Session& session, std::int64_t number) {
  if (Tag::tagWithNumber(number, session.context()) == nullptr) return;
  throw Failure(ExitStatus::Refused, "there is a tag " + std::to_string(number) + " already",
                "change it with 'bokfolio tag set " + std::to_string(number) + "'");
}

void addTag(Host& host, const TagOptions& options) {
  const std::int64_t number = tagNumber(options.tag);
  Session session = Session::writing(host);
  Tag* tag = nullptr;
  session.change([&] {
    refuseTaken(session, number);
    tag = session.context().insert<Tag>();
    tag->setNumber(number);
    tag->setName(options.name);
  });
  host.confirm("Added " + title(*tag), tagJson(*tag));
}

void setTag(Host& host, const TagOptions& options) {
  if (!options.newNumber && !options.name) {
    throw Failure(ExitStatus::Usage, "nothing to change was named", "add --name or --number");
  }
  Session session = Session::writing(host);
  Tag* tag = nullptr;
  session.change([&] {
    tag = findTag(session, options.tag);
    if (options.newNumber) {
      const std::int64_t number = tagNumber(*options.newNumber);
      if (tag->number() != number) refuseTaken(session, number);
      tag->setNumber(number);
    }
    if (options.name) tag->setName(options.name);
  });
  host.confirm("Changed " + title(*tag), tagJson(*tag));
}

void removeTag(Host& host, const TagOptions& options) {
  Session session = Session::writing(host);
  std::string removedTitle;
  Json removed;
  session.change([&] {
    Tag* tag = findTag(session, options.tag);
    removedTitle = title(*tag);
    removed = tagJson(*tag);
    if (tag->rows().count() > 0 || tag->invoices().count() > 0) {
      throw Failure(ExitStatus::Refused, removedTitle + " is in use",
                    "a tag that rows or invoices carry stays");
    }
    session.context().deleteObject(tag);
  });
  host.confirm("Removed " + removedTitle, {{"removed", removed}});
}

// nil when the document has no year.
std::optional<Decimal> sumIn(const FiscalYear* year, const Tag& tag) {
  if (year == nullptr) return std::nullopt;
  return tag.managedObjectContext().keptSum(Row::kEntityName, {nullptr, &tag, year, {}});
}

void listTags(Host& host, const TagOptions& options) {
  const Session session = Session::reading(host);
  const bool anyYear = session.context().count(FiscalYear::kEntityName) > 0;
  const FiscalYear* year = nullptr;
  session.read([&] {
    if (anyYear || !options.year.empty()) year = findYearInUse(session, options.year);
  });
  const auto tags =
      session.context().fetch<Tag>(std::nullopt, std::vector{SortDescriptor("number")});
  Json list = Json::array();
  Table table({{host.text("Tag"), Table::Align::Right},
               {host.text("Name")},
               {host.text("Rows"), Table::Align::Right},
               {host.text("Balance"), Table::Align::Right}});
  for (const Tag* tag : tags) {
    const std::optional<Decimal> balance = sumIn(year, *tag);
    if (host.json()) {
      list.push_back(tagJson(*tag));
      list.back()["rows"] = tag->rows().count();
      list.back()["balance"] = toJson(balance);
    } else {
      table.addRow({tag->number() ? std::to_string(*tag->number()) : "", tag->name().value_or(""),
                    std::to_string(tag->rows().count()), balance ? host.amount(*balance) : ""});
    }
  }
  if (host.json()) return host.print(list);
  if (!table.empty()) host.print(table);
  if (table.empty()) host.note("there are no tags");
}

}  // namespace

void addTagCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "tag", "Cost centres and projects: add, set, remove, list");
  const auto options = std::make_shared<TagOptions>();
  CLI::App* add = group->add_subcommand("add", "Add a tag");
  add->add_option("number", options->tag, "Its number")->required();
  add->add_option("name", options->name, "Its name")->required();
  onRun(add, host, [options](Host& h) { addTag(h, *options); });

  CLI::App* set = group->add_subcommand("set", "Change a tag");
  set->add_option("tag", options->tag, "Its number or name")->required();
  set->add_option("--number", options->newNumber, "New number")->type_name("NUMBER");
  set->add_option("--name", options->name, "New name")->type_name("NAME");
  onRun(set, host, [options](Host& h) { setTag(h, *options); });

  CLI::App* remove = group->add_subcommand("remove", "Remove a tag that is not in use");
  remove->add_option("tag", options->tag, "Its number or name")->required();
  onRun(remove, host, [options](Host& h) { removeTag(h, *options); });

  CLI::App* list = group->add_subcommand("list", "Show the tags, with their sums in a fiscal year");
  list->add_option("-y,--year", options->year, "Fiscal year (default: the latest with entries)")
      ->type_name("YEAR");
  onRun(list, host, [options](Host& h) { listTags(h, *options); });
}

}  // namespace bokfolio::cli
