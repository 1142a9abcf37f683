// `supplier add` and `supplier line`: a bill as it came, before it is booked.

#include <memory>

#include "bill_sums.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_steps.hpp"
#include "lookup.hpp"
#include "selection.hpp"
#include "supplier_commands.hpp"
#include "supplier_output.hpp"

namespace bokfolio::cli {

namespace {

struct AddOptions {
  std::string name;
  std::string number;
  std::string date;
  std::string due;
  std::string days;
  std::string currency;
  std::string tag;
  std::string credit;
  GivenTexts texts;
};

struct LineOptions {
  std::string bill;
  std::string text;
  std::string row;
  std::string vat;
  std::string vatAccount;
  std::size_t removed = 0;
};

// The same bill twice would be paid twice.
void refuseTwice(const Session& session, const AddOptions& options) {
  if (options.number.empty()) return;
  for (const auto& [place, bill] : allBills(session)) {
    if (bill->number() != options.number || bill->name() != options.name) continue;
    throw Failure(ExitStatus::Refused, billTitle(*bill) + " is registered already, as " + place,
                  "'bokfolio supplier show " + place + "' shows it");
  }
}

// Due until that day is over.
void setDue(Host& host, SupplierInvoice* bill, CivilDate day) {
  bill->setDueDate(endOf(host, day).addingSeconds(-1));
}

void setDays(const Session& session, SupplierInvoice* bill, const AddOptions& options) {
  Host& host = session.host();
  const Locale& locale = session.environment().locale();
  const CivilDate day = options.date.empty() ? host.today() : dayFromText(options.date, locale);
  bill->setDate(host.noonOf(day));
  if (!options.days.empty()) {
    const auto days = numberFromText(options.days);
    if (!days || *days > 9999) {
      throw Failure(ExitStatus::Usage, "\"" + options.days + "\" is no number of days",
                    "write a number such as 30");
    }
    bill->setCreditPeriod(*days);
  }
  if (!options.due.empty()) {
    const CivilDate due = dayFromText(options.due, locale);
    if (daysFromCivil(due) < daysFromCivil(day)) {
      throw Failure(ExitStatus::Usage, "the bill would be due before its date",
                    "name its date with --date, and a later day with --due");
    }
    return setDue(host, bill, due);
  }
  if (const auto days = bill->creditPeriod()) {
    setDue(host, bill, civilFromDays(daysFromCivil(day) + *days));
  }
}

SupplierInvoice* addedBill(const Session& session, const AddOptions& options) {
  refuseTwice(session, options);
  auto* bill = session.context().insert<SupplierInvoice>();
  // The defaults at once, so that what was named outweighs them.
  session.host().drainRunLoop();
  setChecked(bill, "name", options.name);
  setChecked(bill, "number", textOrNil(options.number));
  for (std::size_t i = 0; i < options.texts.size(); ++i) {
    if (!options.texts[i]) continue;
    if (std::string_view(kBillTexts[i].key) == "country") checkCountry(*options.texts[i]);
    setChecked(bill, kBillTexts[i].key, textOrNil(*options.texts[i]));
  }
  if (!options.currency.empty()) bill->setCurrency(currencyFromText(options.currency));
  if (!options.tag.empty()) bill->setTag(findTag(session, options.tag));
  if (!options.credit.empty()) bill->setCreditAccount(findAccount(session, options.credit));
  setDays(session, bill, options);
  return bill;
}

void addBill(Host& host, const AddOptions& options) {
  if (options.name.empty()) {
    throw Failure(ExitStatus::Usage, "the supplier has no name", "write whom the bill is from");
  }
  if (!options.due.empty() && !options.days.empty()) {
    throw Failure(ExitStatus::Usage, "the due date is given twice", "name it with --due or --days");
  }
  Session session = Session::writing(host);
  SupplierInvoice* bill = nullptr;
  session.change([&] { bill = addedBill(session, options); });
  const std::string place = placeOf(session, *bill);
  host.confirm("Registered " + billTitle(*bill) + " as " + place +
                   (bill->dueDate() ? ", due " + host.day(bill->dueDate()) : "") +
                   "; 'bokfolio supplier line " + place + "' adds its lines",
               billJson(session, *bill, place));
}

void refuseBooked(const SupplierInvoice& bill) {
  if (bill.allowEditAndRemove()) return;
  throw Failure(ExitStatus::Refused, billTitle(bill) + " is booked",
                "its lines stay; correct the entry with 'bokfolio entry edit'");
}

Decimal percentFromText(std::string text, const Locale& locale) {
  if (text.back() == '%') text.pop_back();
  const Decimal percent = amountFromText(text, locale);
  if (!percent.isNegative() && percent <= Decimal(100)) return percent;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no rate of VAT",
                "write a percentage from 0 to 100");
}

// Of the latest line of the bill with the same rate.
Account* usualVatAccount(const SupplierInvoice& bill, const SupplierInvoiceLine& line) {
  Account* account = nullptr;
  for (const SupplierInvoiceLine* other : linesOf(bill)) {
    if (other != &line && other->vat() == line.vat()) account = other->vatAccount();
  }
  return account;
}

void addLine(const Session& session, SupplierInvoice* bill, const LineOptions& options) {
  const Locale& locale = session.environment().locale();
  const RowText row = rowFromText(options.row, locale);
  if (!row.amount || row.amount->isZero() || !row.tag.empty()) {
    throw Failure(ExitStatus::Usage,
                  row.tag.empty() ? "the line has no amount" : "a line has no tag of its own",
                  row.tag.empty() ? "write ACCOUNT:AMOUNT, such as 4010:800"
                                  : "a bill gets one with 'bokfolio supplier add --tag'");
  }
  auto* line = session.context().insert<SupplierInvoiceLine>();
  line->setInvoice(bill);
  line->setName(options.text);
  line->setAmount(*row.amount);
  line->setAccount(findAccount(session, row.account));
  if (!options.vat.empty()) line->setVat(percentFromText(options.vat, locale));
  line->setVatAccount(options.vatAccount.empty() ? usualVatAccount(*bill, *line)
                                                 : findAccount(session, options.vatAccount));
  if (line->isBookable()) return;
  throw Failure(ExitStatus::Usage, "the account of the VAT is not named",
                "add --vat-account, such as --vat-account 2641, or --vat 0");
}

void removeLine(const Session& session, const SupplierInvoice& bill, std::size_t place) {
  const auto lines = linesOf(bill);
  if (place <= lines.size()) return session.context().deleteObject(lines[place - 1]);
  throw Failure(ExitStatus::Refused, billTitle(bill) + " has no line " + std::to_string(place),
                "'bokfolio supplier show' numbers the lines");
}

void changeLines(Host& host, const LineOptions& options) {
  const bool adding = !options.text.empty() && !options.row.empty();
  if (adding == (options.removed > 0)) {
    throw Failure(ExitStatus::Usage, "no line is described, or two changes at once are",
                  "write TEXT ACCOUNT:AMOUNT, or --remove and the number of a line");
  }
  Session session = Session::writing(host);
  SupplierInvoice* bill = nullptr;
  session.change([&] {
    bill = findBill(session, options.bill);
    refuseBooked(*bill);
    adding ? addLine(session, bill, options) : removeLine(session, *bill, options.removed);
  });
  host.confirm((adding ? "Added a line to " : "Removed a line from ") + billTitle(*bill) +
                   "; its total is now " +
                   amountIn(host, BillSums::of(*bill).total, bill->currency()),
               billJson(session, *bill, placeOf(session, *bill)));
}

void addAdding(CLI::App& supplier, Host& host) {
  const auto options = std::make_shared<AddOptions>();
  CLI::App* add = supplier.add_subcommand("add", "Register a bill");
  add->add_option("name", options->name, "Whom it is from")->required();
  add->add_option("number", options->number, "The supplier's number of it");
  add->add_option("--date", options->date, "Date of the bill (default: today)")->type_name("DAY");
  add->add_option("--due", options->due, "Day by which it is to be paid")->type_name("DAY");
  add->add_option("--days", options->days, "Instead, days from its date until then")
      ->type_name("DAYS");
  add->add_option("--currency", options->currency, "Currency of its amounts, such as EUR")
      ->type_name("CODE");
  add->add_option("--credit", options->credit, "Account of the debt, such as 2440")
      ->type_name("ACCOUNT");
  add->add_option("--tag", options->tag, "Cost centre or project of its costs")->type_name("TAG");
  addSettingOptions(add, kBillTexts, options->texts);
  add->footer(
      "Currency and days are those of the bill registered before, of the first one those of the\n"
      "book and 30 days. Example: bokfolio supplier add 'Oak & Elm' 4711 --credit 2440 --days 20\n"
      "Next: 'bokfolio supplier line' adds what it is for, 'bokfolio supplier book' books it.");
  onRun(add, host, [options](Host& h) { addBill(h, *options); });
}

void addLines(CLI::App& supplier, Host& host) {
  const auto options = std::make_shared<LineOptions>();
  CLI::App* line = supplier.add_subcommand("line", "Add a line to a bill, or remove one");
  addBillArgument(line, options->bill);
  line->add_option("text", options->text, "What it is for");
  line->add_option("row", options->row,
                   "ACCOUNT:AMOUNT, the account of the cost and what it is, excluding VAT")
      ->type_name("ROW");
  line->add_option("--vat", options->vat, "VAT in percent (default: that of the locale's country)")
      ->type_name("PERCENT");
  line->add_option("--vat-account", options->vatAccount,
                   "Account of the VAT (default: that of the line before with the same VAT)")
      ->type_name("ACCOUNT");
  line->add_option("--remove", options->removed, "Instead, remove the line with that number")
      ->type_name("ROWNUMBER");
  line->footer(
      "Example: bokfolio supplier line 4711 'Oak boards' 4010:800 --vat 25 --vat-account 2641\n"
      "What is credited has a minus: 4010:-80. Accounts are numbers or names.");
  onRun(line, host, [options](Host& h) { changeLines(h, *options); });
}

}  // namespace

void addBillComposing(CLI::App& supplier, Host& host) {
  addAdding(supplier, host);
  addLines(supplier, host);
}

}  // namespace bokfolio::cli
