// `invoice`: customer invoices. Here are the commands that only look; composing, the life of an
// invoice and filing have files of their own.

#include <memory>

#include "commands.hpp"
#include "failure.hpp"
#include "invoice_commands.hpp"
#include "invoice_lookup.hpp"
#include "invoice_output.hpp"

namespace bokfolio::cli {

namespace {

struct ListOptions {
  std::string number;
  std::string customer;
  bool unsent = false;
  bool unpaid = false;
  bool overdue = false;
};

bool isListed(const Invoice& invoice, const ListOptions& options) {
  if (options.unsent && invoice.isSent()) return false;
  if (options.unpaid && !invoice.canBePaid()) return false;
  return !options.overdue || isOverdue(invoice);
}

void listInvoices(Host& host, const ListOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    std::optional<Predicate> condition;
    if (!options.customer.empty()) {
      const std::string pattern = "*" + options.customer + "*";
      condition = Predicate("company LIKE[c] %@ OR yourRef LIKE[c] %@", {pattern, pattern});
    }
    auto invoices =
        session.context().fetch<Invoice>(condition, std::vector{SortDescriptor("number")});
    std::erase_if(invoices, [&](const Invoice* each) { return !isListed(*each, options); });
    if (!host.json()) return printInvoices(host, invoices);
    Json list = Json::array();
    for (const Invoice* invoice : invoices) list.push_back(invoiceJson(host, *invoice));
    host.print(list);
  });
}

void showInvoice(Host& host, const ListOptions& options) {
  const Session session = Session::reading(host);
  session.read([&] {
    const Invoice* invoice = findInvoice(session, options.number);
    if (host.json()) return host.print(invoiceJson(host, *invoice));
    printInvoice(host, *invoice);
  });
}

void addViews(CLI::App& group, Host& host) {
  const auto options = std::make_shared<ListOptions>();
  CLI::App* show = group.add_subcommand("show", "Show an invoice as the customer reads it");
  addInvoiceNumber(show, options->number);
  onRun(show, host, [options](Host& h) { showInvoice(h, *options); });

  CLI::App* list = group.add_subcommand("list", "Show the invoices and what is still owed");
  list->add_option("customer", options->customer, "Only customers whose name holds these words");
  list->add_flag("--unsent", options->unsent, "Only invoices that are not sent yet");
  list->add_flag("--unpaid", options->unpaid, "Only invoices that are sent and can be paid");
  list->add_flag("--overdue", options->overdue, "Only unpaid invoices past their day");
  list->footer(
      "What is still owed is in the book's currency, reminders and part payments counted.");
  onRun(list, host, [options](Host& h) { listInvoices(h, *options); });
}

}  // namespace

void addInvoiceNumber(CLI::App* command, std::string& number) {
  command->add_option("invoice", number, "Number of the invoice")->required()->type_name("NUMBER");
}

void addInvoiceCommands(CLI::App& app, Host& host) {
  CLI::App* group = addGroup(
      app, "invoice", "Customer invoices: new, line, rebate, show, send, pay, return, loss...");
  addInvoiceComposing(*group, host);
  addInvoiceLines(*group, host);
  addViews(*group, host);
  addInvoiceLife(*group, host);
  addInvoiceFiling(*group, host);
}

}  // namespace bokfolio::cli
