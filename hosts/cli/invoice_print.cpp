// The sheet of an invoice: who it goes to, what was sold, what it comes to, how to pay. Below it,
// what the book knows and the customer does not see.

#include <sstream>

#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "bokfolio/platform/postal_address.hpp"
#include "invoice_output.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

using Texts = std::vector<std::string>;

const Company* companyOf(const Invoice& invoice) {
  return invoice.book() != nullptr ? invoice.book()->company() : nullptr;
}

void addLinesOf(Texts& lines, const std::string& block) {
  std::istringstream stream(block);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
}

void addIfSet(Texts& lines, const std::optional<std::string>& text,
              const std::string& before = "") {
  if (text && !text->empty()) lines.push_back(before + *text);
}

// Abroad the country belongs to the address.
bool isAbroad(const Invoice& invoice, const std::optional<std::string>& country) {
  const Company* company = companyOf(invoice);
  return country && company != nullptr && company->country() != country;
}

Texts recipientOf(Host& host, const Invoice& invoice) {
  Texts lines;
  addIfSet(lines, invoice.company() ? invoice.company() : invoice.yourRef());
  addIfSet(lines, invoice.attention(), host.text("Att.") + " ");
  const PostalAddress address{invoice.street(), invoice.zipcode(), invoice.city(), invoice.county(),
                              invoice.country()};
  addLinesOf(lines, formatPostalAddress(address, isAbroad(invoice, invoice.country()),
                                        host.environment().locale())
                        .text());
  return lines;
}

Texts delivery(Host& host, const Invoice& invoice) {
  Texts lines;
  const DeliveryAddress* to = invoice.deliveryAddress();
  if (to == nullptr) return lines;
  addIfSet(lines, to->company());
  if (to->name() != to->company()) addIfSet(lines, to->name());
  const PostalAddress address{to->street(), to->zipcode(), to->city(), to->county(), to->country()};
  addLinesOf(lines, formatPostalAddress(address, isAbroad(invoice, to->country()),
                                        host.environment().locale())
                        .text());
  return lines;
}

void addField(Table& table, const std::string& label, const Texts& lines) {
  for (std::size_t at = 0; at < lines.size(); ++at) {
    table.addRow({at == 0 ? label : "", lines[at]});
  }
}

void addField(Table& table, const std::string& label, const std::optional<std::string>& text) {
  Texts lines;
  if (text) addLinesOf(lines, *text);
  addField(table, label, lines);
}

Texts senderOf(Host& host, const Invoice& invoice) {
  Texts lines;
  const Company* company = companyOf(invoice);
  if (company == nullptr) return lines;
  addIfSet(lines, company->orgname());
  const PostalAddress address{company->street(), company->zipcode(), company->city(),
                              company->county(), company->country()};
  addLinesOf(lines, formatPostalAddress(address, isAbroad(invoice, invoice.country()),
                                        host.environment().locale())
                        .text());
  addIfSet(lines, company->orgid(), host.text("Org. no") + " ");
  addIfSet(lines, company->vatno(), host.text("VAT no") + " ");
  return lines;
}

std::string termsOf(Host& host, const Invoice& invoice) {
  const std::string days = invoice.days() ? std::to_string(*invoice.days()) : "";
  std::string terms = days.empty() ? "" : days + " " + host.text("days");
  if (invoice.dueDate()) {
    terms = host.day(invoice.dueDate()) + (terms.empty() ? "" : " (" + terms + ")");
  }
  return terms;
}

void printHead(Host& host, const Invoice& invoice) {
  const std::string number = invoice.number() ? std::to_string(*invoice.number()) : "?";
  host.printLine(host.text("Invoice") + " " + number + "  " + host.day(invoice.date()) + "  " +
                 invoice.statusDescription().value_or(""));
  Table table({{""}, {""}});
  addField(table, host.text("From"), senderOf(host, invoice));
  addField(table, host.text("To"), recipientOf(host, invoice));
  addField(table, host.text("Customer's VAT no"), invoice.vatno());
  addField(table, host.text("Delivered to"), delivery(host, invoice));
  if (invoice.yourRef() != invoice.company()) {
    addField(table, host.text("Your reference"), invoice.yourRef());
  }
  addField(table, host.text("Our reference"), invoice.ourRef());
  addField(table, host.text("Your order"), invoice.purchaseOrderNo());
  addField(table, host.text("Delivery"), invoice.deliveryMethod());
  const bool due = invoice.dueDate().has_value();
  addField(table, due ? host.text("To be paid by") : host.text("Payment term"),
           termsOf(host, invoice));
  addField(table, host.text("Note"), invoice.note());
  host.print(table);
}

std::string textOf(const InvoiceLine& line) {
  std::string text = line.articleName().value_or("");
  const std::string comment = line.comment().value_or("");
  if (!comment.empty()) text += (text.empty() ? "" : ", ") + comment;
  return text;
}

void addLine(Host& host, Table& table, const InvoiceLine& line, std::size_t place,
             const Decimal& amount) {
  const bool priced = line.price() && line.quantity();
  const std::string unit = line.article() != nullptr ? line.article()->unit().value_or("") : "";
  table.addRow({std::to_string(place), textOf(line),
                priced ? decimalDescription(*line.quantity(), host.environment().locale()) : "",
                priced ? unit : "", priced ? host.amount(*line.price()) : "",
                priced && !line.invoice()->vatfree() ? percentText(host, line.vat()) : "",
                rebateText(host, line.allowance()), priced ? host.amount(amount) : ""});
}

void addSum(Table& table, const std::string& label, const std::string& amount) {
  table.addRow({"", label, "", "", "", "", "", amount});
}

void addVat(Host& host, Table& table, const Invoice& invoice, const InvoiceSums& sums) {
  if (invoice.vatfree()) return addSum(table, host.text("Without VAT"), host.amount(Decimal()));
  for (const InvoiceSums::Rate& rate : sums.rates) {
    addSum(table,
           host.text("VAT") + " " + percentText(host, rate.percent) + " " + host.text("of") + " " +
               host.amount(rate.base),
           host.amount(rate.vat));
  }
}

void addSums(Host& host, Table& table, const Invoice& invoice, const InvoiceSums& sums) {
  table.addRule();
  if (const Allowance* rebate = invoice.allowance()) {
    addSum(table, host.text("Sum of the lines"), host.amount(sums.linesSum));
    const std::string of = rebateText(host, rebate);
    addSum(table,
           host.text("Rebate") + " " + of +
               (rebate->absolute() && !invoice.vatfree() ? " " + host.text("with VAT") : ""),
           host.amount(sums.rebate));
  }
  addSum(table, host.text("Excluding VAT"), host.amount(sums.net));
  addVat(host, table, invoice, sums);
  if (invoice.rounding()) addSum(table, host.text("Rounding"), host.amount(sums.rounding));
  table.addRule();
  addSum(table, host.text("To pay") + ", " + invoice.currency().value_or("?"),
         host.amount(sums.total));
}

void printLines(Host& host, const Invoice& invoice) {
  using Align = Table::Align;
  const InvoiceSums sums = InvoiceSums::of(invoice);
  Table table({{host.text("Line"), Align::Right},
               {host.text("Text")},
               {host.text("Quantity"), Align::Right},
               {host.text("Unit")},
               {host.text("Price"), Align::Right},
               {host.text("VAT"), Align::Right},
               {host.text("Rebate"), Align::Right},
               {host.text("Amount"), Align::Right}});
  std::size_t place = 0;
  for (const InvoiceLine* line : invoice.sortedInvoiceLines()) {
    addLine(host, table, *line, place + 1, sums.lines[place]);
    ++place;
  }
  addSums(host, table, invoice, sums);
  host.print(table);
}

void printFoot(Host& host, const Invoice& invoice) {
  Table table({{""}, {""}});
  const Company* company = companyOf(invoice);
  if (company != nullptr) {
    Texts ways;
    std::string account = company->bankAccount().value_or("");
    if (!account.empty() && company->bank()) account = *company->bank() + " " + account;
    addIfSet(ways, account);
    addIfSet(ways, company->bic(), "BIC ");
    addIfSet(ways, company->paymentOption1());
    addIfSet(ways, company->paymentOption2());
    addField(table, host.text("Pay to"), ways);
  }
  addField(table, host.text("Terms"), invoice.creditDetails());
  if (!table.empty()) host.print(table);
}

void printBooked(Host& host, const Invoice& invoice) {
  if (!invoice.isSent()) return;
  const std::string home =
      invoice.book() != nullptr ? " " + invoice.book()->currency().value_or("") : "";
  const auto amount = [&](const std::optional<Decimal>& value) {
    return value ? host.amount(toHundredths(*value)) + home : "";
  };
  Table table({{""}, {""}});
  const auto rate = invoice.exchangeRate();
  if (invoice.foreignCurrency() && rate) {
    const Locale& locale = host.environment().locale();
    addField(table, host.text("Exchange rate"), decimalDescription(*rate, locale));
    const Decimal vat = InvoiceSums::of(invoice).vat;
    if (!vat.isZero()) addField(table, host.text("VAT"), amount(vat * *rate));
  }
  addField(table, host.text("Owed"), amount(invoice.localAmount()));
  addField(table, host.text("Paid"), amount(invoice.paidAmount()));
  addField(table, host.text("Paid in full"), host.day(invoice.paidDate()));
  if (invoice.canBePaid()) {
    addField(table, host.text("Still owed"), amount(invoice.amountRemaining()));
  }
  if (const Tag* tag = invoice.tag()) addField(table, host.text("Tag"), tag->name());
  if (table.empty()) return;
  host.printLine("");
  host.print(table);
}

}  // namespace

void printInvoice(Host& host, const Invoice& invoice) {
  printHead(host, invoice);
  host.printLine("");
  printLines(host, invoice);
  host.printLine("");
  printFoot(host, invoice);
  printBooked(host, invoice);
}

}  // namespace bokfolio::cli
