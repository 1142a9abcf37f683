// `result`: the income statement of a fiscal year, account by account.

#include <memory>

#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "commands.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "selection.hpp"

namespace bokfolio::cli {

namespace {

struct ResultOptions {
  std::string year;
  std::string to;
  bool all = false;
};

// What the account adds to the result: income counts for it, costs against it.
struct Line {
  const Account* account = nullptr;
  Decimal amount;
};

struct Section {
  AccountType type;
  std::vector<Line> lines;
  Decimal sum;
};

struct Statement {
  FiscalYear* year = nullptr;
  std::optional<CivilDate> day;
  Section income{AccountType::Income, {}, {}};
  Section cost{AccountType::Cost, {}, {}};
  Decimal result;
  // Set when the result has been moved, in part or whole, from an account of the result itself.
  std::optional<Decimal> resultBeforeMoving;
};

void fill(const Session& session, const Statement& statement, Section& section,
          std::optional<Date> bound, bool all) {
  const auto accounts =
      session.context().fetch<Account>(Predicate("type == %@", {static_cast<int>(section.type)}),
                                       std::vector{SortDescriptor("number")});
  for (const Account* account : accounts) {
    const Decimal amount = account->sumOfNets(*statement.year, bound).negated();
    if (amount.isZero() && !all) continue;
    section.lines.push_back({account, amount});
    section.sum += amount;
  }
}

// The account that closing books the result on is one of costs itself, so that a closed year shows
// a result of zero. What the year earned is then told apart.
std::optional<Decimal> beforeMoving(const Session& session, const Statement& statement,
                                    std::optional<Date> bound) {
  const Book* book = Book::currentBookInContext(session.context());
  const Account* account = book != nullptr ? book->results() : nullptr;
  const std::int64_t type = account != nullptr ? account->type().value_or(0) : 0;
  if (type != static_cast<int>(AccountType::Income) && type != static_cast<int>(AccountType::Cost))
    return std::nullopt;
  const Decimal moved = account->sumOfNets(*statement.year, bound);
  return moved.isZero() ? std::nullopt : std::optional(statement.result + moved);
}

Statement compute(const Session& session, const ResultOptions& options) {
  Host& host = session.host();
  Statement statement;
  if (!options.to.empty()) {
    statement.day = dayFromText(options.to, session.environment().locale());
  }
  statement.year = findYearInUse(
      session, options.year.empty() && statement.day ? isoDay(*statement.day) : options.year);
  std::optional<Date> bound;
  if (statement.day) bound = endOf(host, *statement.day);
  fill(session, statement, statement.income, bound, options.all);
  fill(session, statement, statement.cost, bound, options.all);
  statement.result = statement.day ? statement.year->profitLossByDate(bound->addingMicroseconds(-1))
                                   : statement.year->profitLoss();
  statement.resultBeforeMoving = beforeMoving(session, statement, bound);
  return statement;
}

Json sectionJson(const Section& section) {
  Json accounts = Json::array();
  for (const Line& line : section.lines) {
    accounts.push_back({{"number", toJson(line.account->number())},
                        {"name", toJson(line.account->name())},
                        {"amount", toJson(line.amount)}});
  }
  return {{"accounts", accounts}, {"sum", toJson(section.sum)}};
}

void printJson(Host& host, const Statement& statement) {
  host.print(Json{{"year", toJson(statement.year->name())},
                  {"to", statement.day ? Json(isoDay(*statement.day)) : Json(nullptr)},
                  {"income", sectionJson(statement.income)},
                  {"cost", sectionJson(statement.cost)},
                  {"result", toJson(statement.result)},
                  {"resultBeforeMoving", toJson(statement.resultBeforeMoving)}});
}

void addSection(Host& host, Table& table, const Section& section) {
  if (section.lines.empty()) return;
  table.addHeading(section.lines.front().account->typeDescription().value_or(""));
  for (const Line& line : section.lines) {
    table.addRow({std::to_string(line.account->number().value_or(0)),
                  line.account->name().value_or(""), host.amount(line.amount)});
  }
  table.addRow({"", host.text("Sum"), host.amount(section.sum)});
  table.addRule();
}

void printText(Host& host, const Statement& statement) {
  std::string title = host.text("Result") + " " + statement.year->name().value_or("");
  if (statement.day) title += ", " + host.text("at the end of") + " " + isoDay(*statement.day);
  host.printLine(title);
  Table table({{host.text("Account"), Table::Align::Right},
               {host.text("Name")},
               {host.text("Amount"), Table::Align::Right}});
  addSection(host, table, statement.income);
  addSection(host, table, statement.cost);
  table.addRow({"", host.text("Result"), host.amount(statement.result)});
  if (statement.resultBeforeMoving) {
    table.addRow({"", host.text("Result before it was moved to equity"),
                  host.amount(*statement.resultBeforeMoving)});
  }
  host.print(table);
}

}  // namespace

void addResultCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<ResultOptions>();
  CLI::App* command = app.add_subcommand("result", "Income, costs and result of a fiscal year");
  command
      ->add_option("-y,--year", options->year,
                   "Fiscal year (default: that of the day, or else the latest with entries)")
      ->type_name("YEAR");
  command->add_option("--to", options->to, "Only what was booked up to that day")->type_name("DAY");
  command->add_flag("-a,--all", options->all, "Accounts that are not in use, too");
  command->footer("Amounts count for the result: income is positive, a cost negative.");
  onRun(command, host, [options](Host& h) {
    const Session session = Session::reading(h);
    session.read([&] {
      const Statement statement = compute(session, *options);
      h.json() ? printJson(h, statement) : printText(h, statement);
    });
  });
}

}  // namespace bokfolio::cli
