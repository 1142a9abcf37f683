// `balance`: the trial balance of a fiscal year, account by account.

#include <array>
#include <map>
#include <memory>

#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "commands.hpp"
#include "input.hpp"
#include "ledger_output.hpp"
#include "selection.hpp"

namespace bokfolio::cli {

namespace {

struct BalanceOptions {
  std::string year;
  std::string date;
  std::string tag;
  bool all = false;
};

struct Line {
  const Account* account = nullptr;
  Decimal opening;
  Decimal closing;
};

struct Sums {
  Decimal opening;
  Decimal closing;
  void add(const Sums& other) {
    opening += other.opening;
    closing += other.closing;
  }
};

struct TrialBalance {
  FiscalYear* year = nullptr;
  Tag* tag = nullptr;
  std::optional<CivilDate> day;
  // By type of account, each by number.
  std::map<std::int64_t, std::vector<Line>> sections;
  Decimal result;
};

// Types in the order of a balance sheet followed by an income statement, then any other.
constexpr std::array<std::int64_t, 5> kOrder = {0, 1, 4, 2, 3};

std::vector<std::int64_t> sectionOrder(const TrialBalance& balance) {
  std::vector<std::int64_t> order;
  for (const std::int64_t type : kOrder) {
    if (balance.sections.contains(type)) order.push_back(type);
  }
  for (const auto& [type, lines] : balance.sections) {
    if (typeWord(type).empty()) order.push_back(type);
  }
  return order;
}

// Rows count when dated before the bound. The bound of a year is its end, which lets a tag narrow
// the rows even when no day was named.
Line lineOf(const TrialBalance& balance, const Account& account, const Predicate& inYear,
            std::optional<Date> bound) {
  Line line{&account, {}, {}};
  const StartingBalance* starting = account.startingBalances().filtered(inYear).first();
  const Decimal opening = starting != nullptr ? starting->balance().value_or(Decimal()) : 0;
  line.closing = account.balanceByDate(bound, balance.year, balance.tag);
  if (balance.tag == nullptr) {
    line.opening = opening;
  } else {
    // What an account holds when the year begins carries no tag.
    line.closing -= opening;
  }
  return line;
}

void computeResult(Host& host, TrialBalance& balance) {
  if (balance.tag != nullptr) {
    for (const std::int64_t type : {2, 3}) {
      for (const Line& line : balance.sections[type]) balance.result -= line.closing;
    }
  } else if (balance.day) {
    balance.result =
        balance.year->profitLossByDate(endOf(host, *balance.day).addingMicroseconds(-1));
  } else {
    balance.result = balance.year->profitLoss();
  }
}

TrialBalance compute(const Session& session, const BalanceOptions& options) {
  Host& host = session.host();
  TrialBalance balance;
  if (!options.date.empty()) {
    balance.day = dayFromText(options.date, session.environment().locale());
  }
  balance.year = findYearInUse(
      session, options.year.empty() && balance.day ? isoDay(*balance.day) : options.year);
  if (!options.tag.empty()) balance.tag = findTag(session, options.tag);
  std::optional<Date> bound;
  if (balance.tag != nullptr) bound = balance.year->end();
  if (balance.day) bound = endOf(host, *balance.day);
  const Predicate inYear("fiscalYear == %@", {balance.year});
  const auto accounts =
      session.context().fetch<Account>(std::nullopt, std::vector{SortDescriptor("number")});
  for (const Account* account : accounts) {
    const Line line = lineOf(balance, *account, inYear, bound);
    const bool blank = line.opening.isZero() && line.closing.isZero();
    if (blank && !options.all && (balance.tag != nullptr || !account->used())) continue;
    balance.sections[account->type().value_or(0)].push_back(line);
  }
  computeResult(host, balance);
  return balance;
}

Sums sumsOf(const std::vector<Line>& lines) {
  Sums sums;
  for (const Line& line : lines) sums.add({line.opening, line.closing});
  return sums;
}

Json sumsJson(const Sums& sums) {
  return {{"opening", toJson(sums.opening)},
          {"change", toJson(sums.closing - sums.opening)},
          {"closing", toJson(sums.closing)}};
}

void printJson(Host& host, const TrialBalance& balance) {
  Json json;
  json["year"] = toJson(balance.year->name());
  json["date"] = balance.day ? Json(isoDay(*balance.day)) : Json(nullptr);
  json["tag"] = balance.tag != nullptr ? toJson(balance.tag->number()) : Json(nullptr);
  json["accounts"] = Json::array();
  json["totals"] = Json::object();
  Sums all;
  for (const std::int64_t type : sectionOrder(balance)) {
    const std::vector<Line>& lines = balance.sections.at(type);
    for (const Line& line : lines) {
      Json account = accountJson(*line.account);
      account.erase("taxCode");
      account.erase("vatCode");
      account.update(sumsJson({line.opening, line.closing}));
      json["accounts"].push_back(account);
    }
    json["totals"][std::string(typeWord(type))] = sumsJson(sumsOf(lines));
    all.add(sumsOf(lines));
  }
  json["sum"] = sumsJson(all);
  json["result"] = toJson(balance.result);
  host.print(json);
}

void addSums(Host& host, Table& table, const std::string& number, const std::string& name,
             const Sums& sums) {
  table.addRow({number, name, host.amount(sums.opening), host.amount(sums.closing - sums.opening),
                host.amount(sums.closing)});
}

std::string titleOf(Host& host, const TrialBalance& balance) {
  std::string title = host.text("Trial balance") + " " + balance.year->name().value_or("");
  if (balance.day) title += ", " + host.text("at the end of") + " " + isoDay(*balance.day);
  if (balance.tag != nullptr) {
    title += ", " + host.text("only tag") + " " +
             std::to_string(balance.tag->number().value_or(0)) + " " +
             balance.tag->name().value_or("");
  }
  return title;
}

void printText(Host& host, const TrialBalance& balance) {
  host.printLine(titleOf(host, balance));
  Table table({{host.text("Account"), Table::Align::Right},
               {host.text("Name")},
               {host.text("Opening"), Table::Align::Right},
               {host.text("Change"), Table::Align::Right},
               {host.text("Closing"), Table::Align::Right}});
  Sums all;
  for (const std::int64_t type : sectionOrder(balance)) {
    const std::vector<Line>& lines = balance.sections.at(type);
    if (lines.empty()) continue;
    const auto description = lines.front().account->typeDescription();
    table.addHeading(description.value_or(host.text("Other types")));
    for (const Line& line : lines) {
      addSums(host, table, std::to_string(line.account->number().value_or(0)),
              line.account->name().value_or(""), {line.opening, line.closing});
    }
    addSums(host, table, "", host.text("Sum"), sumsOf(lines));
    table.addRule();
    all.add(sumsOf(lines));
  }
  addSums(host, table, "", host.text("Sum of all accounts"), all);
  table.addRow({"", host.text("Result"), "", "", host.amount(balance.result)});
  host.print(table);
}

}  // namespace

void addBalanceCommand(CLI::App& app, Host& host) {
  const auto options = std::make_shared<BalanceOptions>();
  CLI::App* command = app.add_subcommand("balance", "Trial balance and result of a fiscal year");
  command
      ->add_option("-y,--year", options->year,
                   "Fiscal year (default: that of the day, or else the latest with entries)")
      ->type_name("YEAR");
  command->add_option("--date", options->date, "As it was at the end of that day")
      ->type_name("DAY");
  command->add_option("--tag", options->tag, "Only rows of that tag; opening balances left out")
      ->type_name("TAG");
  command->add_flag("-a,--all", options->all, "Accounts that are not in use, too");
  command->footer(
      "Amounts are debit-positive: assets and costs show positive, debts, equity and income\n"
      "negative balances. The result is positive for a profit.");
  onRun(command, host, [options](Host& h) {
    const Session session = Session::reading(h);
    session.read([&] {
      const TrialBalance balance = compute(session, *options);
      h.json() ? printJson(h, balance) : printText(h, balance);
    });
  });
}

}  // namespace bokfolio::cli
