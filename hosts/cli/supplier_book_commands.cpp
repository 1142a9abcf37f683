// `supplier book` and `supplier pay`: the entries of a bill, when it comes and when it is paid.
// What is booked is rounded to the hundredth as the bill is shown; the library's rows are exact.

#include <memory>

#include "bill_sums.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "commands.hpp"
#include "entry_rows.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_steps.hpp"
#include "invoice_sums.hpp"
#include "ledger_output.hpp"
#include "supplier_commands.hpp"
#include "supplier_output.hpp"

namespace bokfolio::cli {

namespace {

struct BookingOptions {
  std::string bill;
  std::string date;
  std::string credit;
  std::string rate;
  std::string from;
  std::string amount;
  bool inFull = false;
};

void setNet(Row* row, const Decimal& net) {
  row->setDebit(net.isNegative() ? Decimal() : net);
  row->setCredit(net.isNegative() ? net.negated() : Decimal());
}

void addPosting(Entry* entry, Account* account, const Decimal& net) {
  if (net.isZero()) return;
  auto* row = entry->managedObjectContext().insert<Row>();
  row->setAccount(account);
  row->setStatus(RowStatus::Committed);
  setNet(row, net);
  row->setEntry(entry);
}

// The new entry, made ready for what happens to the bill on that day.
Entry* entryFor(const Session& session, SupplierInvoice* bill, CivilDate day,
                const std::string& title) {
  Entry* entry = newEntry(session);
  refuseUnfinished(*entry);
  entry->setDate(session.host().noonOf(day));
  entry->setName(title + (bill->number() ? " " + *bill->number() : "") + ", " +
                 bill->name().value_or(""));
  entry->setSupplierInvoice(bill);
  return entry;
}

CivilDate dayOr(const Session& session, const std::string& text, CivilDate otherwise) {
  return text.empty() ? otherwise : dayFromText(text, session.environment().locale());
}

void refuseUnbookable(const SupplierInvoice& bill) {
  if (isBooked(bill)) {
    throw Failure(ExitStatus::Refused, billTitle(bill) + " is booked already",
                  "'bokfolio supplier show' shows the entry, 'bokfolio entry edit' corrects it");
  }
  if (bill.creditAccount() == nullptr) {
    throw Failure(ExitStatus::Refused, billTitle(bill) + " has no account for the debt",
                  "name one with --credit, such as --credit 2440");
  }
  if (bill.lines().empty()) {
    throw Failure(ExitStatus::Refused, billTitle(bill) + " has no lines",
                  "add them with 'bokfolio supplier line'");
  }
  std::size_t place = 0;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    ++place;
    const std::string subject = "line " + std::to_string(place) + " of " + billTitle(bill);
    const std::string remedy = "take it away with 'bokfolio supplier line --remove " +
                               std::to_string(place) + "' and add it anew";
    if (!line->isBookable()) {
      throw Failure(ExitStatus::Refused, subject + " lacks an amount or an account", remedy);
    }
    if (line->account() == bill.creditAccount() || line->vatAccount() == bill.creditAccount()) {
      throw Failure(ExitStatus::Refused, subject + " is on the account of the debt", remedy);
    }
  }
}

// What one of the bill's currency is in the book's.
Decimal rateOf(const Session& session, const SupplierInvoice& bill, const std::string& given) {
  const std::string home = findBook(session)->currency().value_or("");
  if (!isForeign(session, bill)) {
    if (given.empty()) return Decimal(1);
    throw Failure(ExitStatus::Usage, billTitle(bill) + " is in " + home + " already",
                  "leave out --rate");
  }
  const std::string currency = bill.currency().value_or("");
  const std::string remedy = "name what one " + currency + " is in " + home + " with --rate";
  if (given.empty()) {
    throw Failure(ExitStatus::Refused,
                  billTitle(bill) + " is in " + currency + ", the book in " + home, remedy);
  }
  const Decimal rate = amountFromText(given, session.environment().locale());
  if (rate.sign() > 0) return rate;
  throw Failure(ExitStatus::Usage, "\"" + given + "\" is no exchange rate", remedy);
}

// The library makes the rows, cost before VAT; here they get the amounts that add up.
void addPurchaseRows(Entry* entry, const SupplierInvoice& bill, const BillSums& sums) {
  std::size_t place = 0;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    const std::vector<Row*> rows = line->addPurchaseRowsToEntry(*entry);
    setNet(rows.back(), sums.lines[place].net);
    if (rows.size() > 1) setNet(rows.front(), sums.lines[place].vat);
    // Less than half a hundredth is no posting.
    for (Row* row : rows) {
      if (row->net().isZero()) row->deleteWithoutPardon();
    }
    ++place;
  }
}

std::vector<Entry*> book(const Session& session, SupplierInvoice* bill,
                         const BookingOptions& options) {
  Host& host = session.host();
  if (!options.credit.empty() && !isBooked(*bill)) {
    bill->setCreditAccount(findAccount(session, options.credit));
  }
  refuseUnbookable(*bill);
  const BillSums sums = BillSums::at(*bill, rateOf(session, *bill, options.rate));
  const Date billed = bill->date().value_or(session.environment().now());
  const CivilDate day =
      dayOr(session, options.date, civilDate(billed, session.environment().timeZone()));
  Entry* entry = entryFor(session, bill, day, host.text("Supplier's bill"));
  addPurchaseRows(entry, *bill, sums);
  addPosting(entry, bill->creditAccount(), sums.total.negated());
  bill->setLocalAmount(sums.total);
  if (sums.total.isZero()) bill->setPaidDate(entry->date());
  return fileNewEntry(session, entry);
}

void bookBill(Host& host, const BookingOptions& options) {
  Session session = Session::writing(host);
  SupplierInvoice* bill = nullptr;
  std::vector<Entry*> filed;
  session.change([&] {
    bill = findBill(session, options.bill);
    filed = book(session, bill, options);
  });
  const auto home = findBook(session)->currency();
  confirmBooking(session,
                 "Booked " + billTitle(*bill) + " as " + entryTitle(*filed.back()) + ", " +
                     amountIn(host, bill->localAmount().value_or(Decimal()), home) +
                     (bill->dueDate() ? " due " + host.day(bill->dueDate()) : ""),
                 *bill, filed);
}

// A payment in the book's currency. `settled` is what it takes off the debt; the rest is what the
// exchange rate did since the bill was booked.
struct BillPayment {
  Decimal amount;
  Decimal settled;
};

BillPayment paymentOf(const Session& session, const SupplierInvoice& bill,
                      const BookingOptions& options, const Decimal& owed) {
  if (options.amount.empty()) return {owed, owed};
  Host& host = session.host();
  const Decimal amount = amountFromText(options.amount, session.environment().locale());
  const bool foreign = isForeign(session, bill);
  const std::string left =
      amountIn(host, owed, findBook(session)->currency()) + " is left to pay of " + billTitle(bill);
  if (amount.sign() != owed.sign()) {
    throw Failure(ExitStatus::Usage, left + ", not " + host.amount(amount),
                  "what a supplier pays back has a minus, what is paid has none");
  }
  // Entries of other hosts may owe more digits than anybody pays.
  if (amount == toHundredths(owed)) return {owed, owed};
  if (options.inFull && foreign) return {amount, owed};
  if (options.inFull || amount.absolute() > owed.absolute()) {
    throw Failure(ExitStatus::Refused, left,
                  foreign ? "add --in-full; the difference is then the exchange rate's"
                          : "leave out --amount to pay just that");
  }
  return {amount, amount};
}

// Where an exchange difference goes: a loss when more was paid than was owed.
Account* differenceAccount(const Session& session, const Decimal& difference) {
  const Book& book = *findBook(session);
  const bool loss = !difference.isNegative();
  Account* account = loss ? book.currencyLosses() : book.currencyGains();
  if (account != nullptr || difference.isZero()) return account;
  const std::string what = loss ? "losses" : "gains";
  throw Failure(ExitStatus::Refused, "the book has no account of exchange " + what,
                "'bokfolio book set --" + what + " ACCOUNT' names one");
}

void refuseUnpayable(Host& host, const SupplierInvoice& bill, const Decimal& owed) {
  if (!isBooked(bill)) {
    throw Failure(ExitStatus::Refused, billTitle(bill) + " is not booked yet",
                  "book it with 'bokfolio supplier book'");
  }
  if (bill.paidDate()) {
    throw Failure(ExitStatus::Refused,
                  billTitle(bill) + " was paid on " + host.day(bill.paidDate()),
                  "correct the payment's entry with 'bokfolio entry edit'");
  }
  if (!owed.isZero()) return;
  throw Failure(ExitStatus::Refused, "nothing is owed on " + billTitle(bill),
                "'bokfolio supplier show' shows its entries");
}

std::vector<Entry*> pay(const Session& session, SupplierInvoice* bill,
                        const BookingOptions& options) {
  Host& host = session.host();
  const Decimal owed = owedOn(session, *bill).value_or(Decimal());
  refuseUnpayable(host, *bill, owed);
  Account* from = findAccount(session, options.from);
  if (from == bill->creditAccount()) {
    throw Failure(ExitStatus::Usage, "that is the account of the debt itself",
                  "name the account that pays, such as --from 1930");
  }
  const BillPayment payment = paymentOf(session, *bill, options, owed);
  const Decimal difference = payment.amount - payment.settled;
  Entry* entry = entryFor(session, bill, dayOr(session, options.date, host.today()),
                          host.text("Paid supplier's bill"));
  addPosting(entry, bill->creditAccount(), payment.settled);
  addPosting(entry, from, payment.amount.negated());
  addPosting(entry, differenceAccount(session, difference), difference);
  if (payment.settled == owed) bill->setPaidDate(entry->date());
  return fileNewEntry(session, entry);
}

void payBill(Host& host, const BookingOptions& options) {
  Session session = Session::writing(host);
  SupplierInvoice* bill = nullptr;
  std::vector<Entry*> filed;
  session.change([&] {
    bill = findBill(session, options.bill);
    filed = pay(session, bill, options);
  });
  const Decimal left = owedOn(session, *bill).value_or(Decimal());
  const std::string sentence =
      bill->paidDate() ? "Paid " + billTitle(*bill) + " in full"
                       : "Paid a part of " + billTitle(*bill) + ", " +
                             amountIn(host, left, findBook(session)->currency()) + " is left";
  confirmBooking(session, sentence + ", " + entryTitle(*filed.back()), *bill, filed);
}

using Shared = std::shared_ptr<BookingOptions>;

void addBooking(CLI::App& supplier, Host& host, const Shared& options) {
  CLI::App* command = supplier.add_subcommand("book", "Book a bill: make its entry and file it");
  addBillArgument(command, options->bill);
  command->add_option("--date", options->date, "Accounting date (default: the date of the bill)")
      ->type_name("DAY");
  command->add_option("--credit", options->credit, "Account of the debt (default: the one it has)")
      ->type_name("ACCOUNT");
  command
      ->add_option("--rate", options->rate,
                   "What one of a foreign currency is in the book's; no rate is guessed")
      ->type_name("EXCHANGE");
  command->footer(
      "Each line is debited to its account, its VAT to the account of VAT, and the total is\n"
      "credited; a tag marks the costs. Amounts are rounded to the hundredth.");
  onRun(command, host, [options](Host& h) { bookBill(h, *options); });
}

}  // namespace

void addBillBooking(CLI::App& supplier, Host& host) {
  const auto options = std::make_shared<BookingOptions>();
  addBooking(supplier, host, options);
  CLI::App* command = supplier.add_subcommand("pay", "Pay a booked bill, wholly or in part");
  addBillArgument(command, options->bill);
  command->add_option("--from", options->from, "Account that pays, such as 1930")
      ->required()
      ->type_name("ACCOUNT");
  command->add_option("--date", options->date, "Day of the payment (default: today)")
      ->type_name("DAY");
  command
      ->add_option("--amount", options->amount,
                   "What is paid, in the book's currency (default: all that is owed)")
      ->type_name("AMOUNT");
  command->add_flag("--in-full", options->inFull,
                    "It settles a bill in a foreign currency; the rest is the exchange rate's");
  command->footer("Example: bokfolio supplier pay 4711 --from 1930 --date 2025-04-14");
  onRun(command, host, [options](Host& h) { payBill(h, *options); });
}

}  // namespace bokfolio::cli
