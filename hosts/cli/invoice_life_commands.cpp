// `invoice send`, `remind`, `pay`, `return`, `loss`: the life of an invoice after it is composed.

#include <memory>

#include "bokfolio/model/ledger/book.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "input.hpp"
#include "invoice_commands.hpp"
#include "invoice_lookup.hpp"
#include "invoice_output.hpp"
#include "invoice_steps.hpp"
#include "lookup.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

namespace {

struct StepOptions {
  std::string number;
  std::string rate;
  std::string amount;
  std::string account;
  std::string date;
  bool inFull = false;
  bool round = false;
};

// Takes the step on the invoice and tells what came of it.
template <class Find, class Step, class Sentence>
void takeStep(Host& host, const StepOptions& options, Find find, Step step, Sentence sentence) {
  Session session = Session::writing(host);
  Invoice* invoice = nullptr;
  std::vector<Entry*> entries;
  session.change([&] {
    invoice = find(session, options.number);
    if (invoice->book() == nullptr) invoice->setBook(findBook(session));
    step(session, invoice);
    entries = entriesMade(session);
  });
  std::string said = sentence(*invoice);
  said[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(said[0])));
  if (!entries.empty()) said += "; 'bokfolio invoice file' files its entry";
  confirmStep(host, said, *invoice, entries);
}

std::string owedText(Host& host, const Invoice& invoice, const std::optional<Decimal>& amount) {
  return amountIn(host, amount.value_or(Decimal()), invoice.book()->currency());
}

void send(Host& host, const StepOptions& options) {
  takeStep(
      host, options, findUnsentInvoice,
      [&](const Session& session, Invoice* invoice) {
        sendInvoice(session, invoice, rateForSending(session, invoice, options.rate));
      },
      [&](const Invoice& invoice) {
        return invoiceTitle(invoice) + " is sent to " + customerOf(invoice) + ", " +
               owedText(host, invoice, invoice.localAmount()) + " due " +
               host.day(invoice.dueDate());
      });
}

std::string paidSentence(Host& host, const Invoice& invoice) {
  if (invoice.isPaid()) return invoiceTitle(invoice) + " is paid in full";
  std::string sentence = invoiceTitle(invoice) + " is paid in part, " +
                         owedText(host, invoice, invoice.amountRemaining()) + " is left";
  if (invoice.bookOnce() && invoice.book()->autoBook()) {
    sentence += "; it is booked when all is paid";
  }
  return sentence;
}

void pay(Host& host, const StepOptions& options) {
  const Locale& locale = host.environment().locale();
  Payment payment;
  payment.inFull = options.inFull;
  payment.day =
      host.noonOf(options.date.empty() ? host.today() : dayFromText(options.date, locale));
  if (!options.amount.empty()) {
    payment.amount = amountFromText(options.amount, locale);
    if (payment.amount->sign() <= 0) {
      throw Failure(ExitStatus::Usage, "a payment of " + options.amount + " is none",
                    "give money back with 'bokfolio invoice return'");
    }
  }
  takeStep(
      host, options, findInvoice,
      [&](const Session& session, Invoice* invoice) {
        if (!options.account.empty()) payment.account = findAccount(session, options.account);
        payInvoice(session, invoice, payment);
      },
      [&](const Invoice& invoice) { return paidSentence(host, invoice); });
}

// What was paid and is in no entry, or left over by the exchange rate, a bookkeeper must know.
std::string withLeftovers(Host& host, const Invoice& invoice, bool wasPaid, std::string sentence) {
  if (!invoice.book()->autoBook() || !invoice.paidAmount()) return sentence;
  if (invoice.bookOnce() && !wasPaid) {
    return sentence + "; the " + owedText(host, invoice, invoice.paidAmount()) +
           " that were paid are in no entry, book them by hand";
  }
  const Decimal left = invoice.amountRemaining().value_or(Decimal());
  if (!wasPaid || invoice.bookOnce() || left.isZero()) return sentence;
  return sentence + "; the exchange difference of " + owedText(host, invoice, left) +
         " is now on accounts receivable, book it back by hand";
}

void takeBack(Host& host, const StepOptions& options) {
  bool wasPaid = false;
  takeStep(
      host, options, findInvoice,
      [&](const Session& session, Invoice* invoice) {
        wasPaid = invoice->isPaid();
        Account* account =
            options.account.empty() ? nullptr : findAccount(session, options.account);
        returnInvoice(session, invoice, account, options.round);
      },
      [&](const Invoice& invoice) {
        return withLeftovers(host, invoice, wasPaid, invoiceTitle(invoice) + " is returned");
      });
}

void writeOff(Host& host, const StepOptions& options) {
  takeStep(
      host, options, findInvoice,
      [&](const Session& session, Invoice* invoice) {
        writeOffInvoice(session, invoice, options.round);
      },
      [&](const Invoice& invoice) {
        return withLeftovers(host, invoice, false, invoiceTitle(invoice) + " is a customer loss");
      });
}

void remind(Host& host, const StepOptions& options) {
  takeStep(
      host, options, findInvoice,
      [&](const Session&, Invoice* invoice) {
        const auto before = invoice->rawStatus();
        invoice->reminder();
        if (invoice->rawStatus() != before) return;
        throw Failure(ExitStatus::Refused,
                      invoiceTitle(*invoice) +
                          " wants no reminder: " + invoice->statusDescription().value_or(""),
                      "reminders are for whole invoices past their day");
      },
      [&](const Invoice& invoice) {
        return invoiceTitle(invoice) + " to " + customerOf(invoice) + ": " +
               invoice.statusDescription().value_or("") + ", " +
               owedText(host, invoice, invoice.amountRemaining()) + " was due " +
               host.day(invoice.dueDate());
      });
}

using Shared = std::shared_ptr<StepOptions>;

void addSending(CLI::App& invoice, Host& host, const Shared& options) {
  CLI::App* command = invoice.add_subcommand("send", "Send an invoice: fix its terms and book it");
  addInvoiceNumber(command, options->number);
  command
      ->add_option("--rate", options->rate,
                   "What one of a foreign currency is in the book's (default: the rate of the day)")
      ->type_name("RATE");
  command
      ->add_option("--server", host.options.rateServer,
                   "Server that publishes the rates (default: the European Central Bank's)")
      ->envname("BOKFOLIO_RATE_SERVER")
      ->type_name("URL");
  onRun(command, host, [options](Host& h) { send(h, *options); });

  CLI::App* reminder = invoice.add_subcommand("remind", "Note that the customer was reminded");
  addInvoiceNumber(reminder, options->number);
  reminder->footer("The first reminder of an overdue invoice, then the second.");
  onRun(reminder, host, [options](Host& h) { remind(h, *options); });
}

void addPaying(CLI::App& invoice, Host& host, const Shared& options) {
  CLI::App* command = invoice.add_subcommand("pay", "Register a payment");
  addInvoiceNumber(command, options->number);
  command->add_option("amount", options->amount,
                      "What was received, in the book's currency (default: all that is owed)");
  command->add_option("-a,--account", options->account, "Account that received it")
      ->type_name("ACCOUNT");
  command->add_option("--date", options->date, "Day of the payment (default: today)")
      ->type_name("DAY");
  command->add_flag("--in-full", options->inFull,
                    "It settles an invoice in a foreign currency; the difference is the rate's");
  command->footer("Example: bokfolio invoice pay 12 5000 --account 1930");
  onRun(command, host, [options](Host& h) { pay(h, *options); });
}

void addReversing(CLI::App& invoice, Host& host, const Shared& options) {
  CLI::App* back = invoice.add_subcommand("return", "Take an invoice back");
  addInvoiceNumber(back, options->number);
  back->add_option("--refund-from", options->account, "Account from which what was paid goes back")
      ->type_name("ACCOUNT");
  CLI::App* loss = invoice.add_subcommand("loss", "Write off what will never be paid");
  addInvoiceNumber(loss, options->number);
  for (CLI::App* command : {back, loss}) {
    command->add_flag("--round", options->round,
                      "Let the account of rounding take what would not balance");
  }
  onRun(back, host, [options](Host& h) { takeBack(h, *options); });
  onRun(loss, host, [options](Host& h) { writeOff(h, *options); });
}

}  // namespace

void addInvoiceLife(CLI::App& invoice, Host& host) {
  const auto options = std::make_shared<StepOptions>();
  addSending(invoice, host, options);
  addPaying(invoice, host, options);
  addReversing(invoice, host, options);
}

}  // namespace bokfolio::cli
