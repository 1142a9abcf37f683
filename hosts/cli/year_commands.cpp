// `year`: fiscal years.

#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

struct YearOptions {
  std::string year;
  std::string from;
  std::string to;
  std::string name;
};

FiscalYear* insertCalendarYear(const Session& session, const std::string& text) {
  const auto number = numberFromText(text);
  if (!number || *number < 1900 || *number > 9999) {
    throw Failure(ExitStatus::Usage, "\"" + text + "\" is no calendar year",
                  "write it like 2025, or name a broken year by --from and --to");
  }
  const CivilDate middle{static_cast<int>(*number), 7, 1};
  return FiscalYear::createFiscalYearWithDate(session.host().noonOf(middle), session.context());
}

FiscalYear* insertBrokenYear(const Session& session, const YearOptions& options) {
  const Locale& locale = session.environment().locale();
  const CivilDate first = dayFromText(options.from, locale);
  const CivilDate last = dayFromText(options.to, locale);
  auto* year = session.context().insert<FiscalYear>();
  year->setStart(session.host().noonOf(first));
  // The end of a year that closes with the first of a month is that day's midnight, so that the
  // day itself would be outside.
  year->setEnd(session.host().noonOf(last));
  if (last.day == 1) {
    throw Failure(ExitStatus::Usage, "a fiscal year cannot end with the first of a month",
                  "name the last day of the month before");
  }
  std::string name = std::to_string(first.year);
  if (last.year != first.year) name += "/" + std::to_string(last.year);
  year->setName(name);
  return year;
}

void refuseOverlap(const Session& session, const FiscalYear& added) {
  for (const FiscalYear* year : allYears(session)) {
    if (year == &added || !year->start() || !year->end()) continue;
    if (*year->start() < *added.end() && *year->end() > *added.start()) {
      throw Failure(ExitStatus::Refused,
                    "it would overlap fiscal year " + year->name().value_or("") + ", " +
                        firstDay(*year) + " to " + lastDay(*year),
                    "choose days that no other year holds");
    }
  }
}

void addYear(Host& host, const YearOptions& options) {
  if (options.year.empty() == (options.from.empty() || options.to.empty())) {
    throw Failure(ExitStatus::Usage, "which year is not clear",
                  "name a calendar year, or both --from and --to");
  }
  Session session = Session::writing(host);
  FiscalYear* year = nullptr;
  session.change([&] {
    year = options.year.empty() ? insertBrokenYear(session, options)
                                : insertCalendarYear(session, options.year);
    if (!options.name.empty()) year->setName(options.name);
    if (*year->start() < *year->end()) refuseOverlap(session, *year);
  });
  host.confirm("Added fiscal year " + year->name().value_or("") + ", " + firstDay(*year) + " to " +
                   lastDay(*year),
               yearJson(*year));
}

void carryForward(Host& host, const YearOptions& options) {
  Session session = Session::writing(host);
  FiscalYear* year = nullptr;
  session.change([&] {
    year = findYear(session, options.year);
    std::optional<Error> error;
    if (!year->updateStartingBalances(&error)) throw failureOf(error);
  });
  const std::size_t count = year->startingBalances().count();
  const std::string sentence = "Carried " + std::to_string(count) + " balance" +
                               (count == 1 ? "" : "s") + " forward to " + year->name().value_or("");
  host.confirm(withOpeningSum(host, sentence, *year), openingsJson(*year));
}

void listYears(Host& host) {
  const Session session = Session::reading(host);
  Json list = Json::array();
  Table table({{host.text("Year")},
               {host.text("First day")},
               {host.text("Last day")},
               {host.text("Entries"), Table::Align::Right},
               {host.text("Result"), Table::Align::Right}});
  for (const FiscalYear* year : allYears(session)) {
    const std::size_t entries = year->entries().count();
    const Decimal result = year->profitLoss();
    if (host.json()) {
      list.push_back(yearJson(*year));
      list.back()["entries"] = entries;
      list.back()["result"] = toJson(result);
    } else {
      table.addRow({year->name().value_or(""), firstDay(*year), lastDay(*year),
                    std::to_string(entries), host.amount(result)});
    }
  }
  if (host.json()) return host.print(list);
  if (!table.empty()) host.print(table);
  if (table.empty()) host.note("there is no fiscal year");
}

}  // namespace

void addYearCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(app, "year", "Fiscal years: add, carry-forward, list");
  const auto options = std::make_shared<YearOptions>();
  CLI::App* add = group->add_subcommand("add", "Add a fiscal year");
  add->add_option("year", options->year, "A calendar year, such as 2026");
  add->add_option("--from", options->from, "First day of a broken year")->type_name("DAY");
  add->add_option("--to", options->to, "Last day of a broken year")->type_name("DAY");
  add->add_option("--name", options->name, "Name (default: 2026, or 2025/2026)")->type_name("NAME");
  onRun(add, host, [options](Host& h) { addYear(h, *options); });

  CLI::App* carry = group->add_subcommand(
      "carry-forward", "Open a year with the balances that the year before closed with");
  carry->add_option("year", options->year, "The year to open (default: the latest)");
  carry->footer(
      "Assets, debts and equity of type debt are carried, and replace the opening balances that "
      "the\n"
      "year has. Book the result of the year before as equity first; as long as it is not, the\n"
      "opening balances are off zero by it. Later years do not follow: carry each in turn.");
  onRun(carry, host, [options](Host& h) { carryForward(h, *options); });

  CLI::App* list = group->add_subcommand("list", "Show the fiscal years and their results");
  onRun(list, host, [](Host& h) { listYears(h); });
}

}  // namespace bokfolio::cli
