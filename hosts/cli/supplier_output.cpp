#include "supplier_output.hpp"

#include <sstream>

#include "bill_sums.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "bokfolio/platform/postal_address.hpp"
#include "invoice_steps.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

Json dayJson(Host& host, const std::optional<Date>& date) {
  return date ? Json(host.day(date)) : Json(nullptr);
}

Json numberOf(const Account* account) {
  return account != nullptr ? toJson(account->number()) : Json(nullptr);
}

std::string titleOf(const Account* account) {
  if (account == nullptr) return "";
  const auto number = account->number();
  return (number ? std::to_string(*number) + " " : "") + account->name().value_or("");
}

std::string percentOf(Host& host, const std::optional<Decimal>& percent) {
  return decimalDescription(percent.value_or(Decimal()), host.environment().locale()) + " %";
}

Json lineJson(const SupplierInvoiceLine& line, std::size_t place, const BillSums::Line& sums) {
  Json json;
  json["line"] = place;
  json["text"] = toJson(line.name());
  json["amount"] = toJson(line.amount());
  json["vatPercent"] = toJson(line.vat());
  json["vat"] = toJson(sums.vat);
  json["account"] = numberOf(line.account());
  json["vatAccount"] = numberOf(line.vatAccount());
  return json;
}

Json sumsJson(const BillSums& sums) {
  Json rates = Json::array();
  for (const BillSums::Rate& rate : sums.rates) {
    rates.push_back({{"percent", toJson(rate.percent)},
                     {"base", toJson(rate.base)},
                     {"vat", toJson(rate.vat)}});
  }
  return {{"rates", rates},
          {"net", toJson(sums.net)},
          {"vat", toJson(sums.vat)},
          {"total", toJson(sums.total)}};
}

std::string stateText(Host& host, const SupplierInvoice& bill) {
  std::string text = host.text(stateWord(bill));
  if (bill.paidDate()) text += " " + host.day(bill.paidDate());
  if (!isBooked(bill)) text += ", " + host.text("not booked");
  return text;
}

// Street, city and country as the supplier's country writes them, a row each.
void addAddress(Host& host, Table& table, const SupplierInvoice& bill) {
  const PostalAddress address{bill.street(), bill.zipcode(), bill.city(), bill.county(),
                              bill.country()};
  const AttributedText block =
      formatPostalAddress(address, bill.country().has_value(), host.environment().locale());
  std::istringstream lines(block.text());
  for (std::string line; std::getline(lines, line);) table.addRow({"", line});
}

void printHead(const Session& session, const SupplierInvoice& bill) {
  Host& host = session.host();
  Table table({{""}, {""}});
  const auto add = [&](const char* label, const std::string& value) {
    if (!value.empty()) table.addRow({host.text(label), value});
  };
  add("Supplier", bill.name().value_or(""));
  if (bill.company() && bill.company() != bill.name()) table.addRow({"", *bill.company()});
  addAddress(host, table, bill);
  for (const char* key : {"phone", "fax", "email", "homepage", "vatno", "paymentInfo"}) {
    for (const TextSetting& setting : kBillTexts) {
      if (std::string_view(setting.key) != key) continue;
      add(setting.label, textUnder(bill, key).value_or(""));
    }
  }
  const std::string place = placeOf(session, bill);
  add("Bill", bill.number() ? *bill.number() + " (" + place + ")" : place);
  add("Date", host.day(bill.date()));
  add("Due", host.day(bill.dueDate()));
  add("Currency", bill.currency().value_or(""));
  add("Credit account", titleOf(bill.creditAccount()));
  if (bill.tag() != nullptr) add("Tag", bill.tag()->name().value_or(""));
  add("Status", stateText(host, bill));
  host.print(table);
}

void printLines(Host& host, const SupplierInvoice& bill, const BillSums& sums) {
  using Align = Table::Align;
  Table table({{host.text("Line"), Align::Right},
               {host.text("Text")},
               {host.text("Account")},
               {host.text("VAT account")},
               {host.text("VAT"), Align::Right},
               {host.text("Amount"), Align::Right}});
  std::size_t place = 0;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    table.addRow({std::to_string(place + 1), line->name().value_or(""), titleOf(line->account()),
                  titleOf(line->vatAccount()), percentOf(host, line->vat()),
                  host.amount(sums.lines[place].net)});
    ++place;
  }
  host.print(table);
}

void printSums(Host& host, const SupplierInvoice& bill, const BillSums& sums) {
  using Align = Table::Align;
  Table table({{host.text("VAT rate"), Align::Right},
               {host.text("Excluding VAT"), Align::Right},
               {host.text("VAT"), Align::Right},
               {host.text("Including VAT"), Align::Right}});
  for (const BillSums::Rate& rate : sums.rates) {
    table.addRow({percentOf(host, rate.percent), host.amount(rate.base), host.amount(rate.vat),
                  host.amount(rate.base + rate.vat)});
  }
  table.addRule();
  table.addRow(
      {host.text("Sum"), host.amount(sums.net), host.amount(sums.vat), host.amount(sums.total)});
  host.print(table);
  host.printLine("");
  host.printLine(host.text("Total") + ": " + amountIn(host, sums.total, bill.currency()));
}

}  // namespace

Json billJson(const Session& session, const SupplierInvoice& bill, const std::string& place) {
  Host& host = session.host();
  Json json;
  json["bill"] = place;
  json["number"] = toJson(bill.number());
  json["name"] = toJson(bill.name());
  json["state"] = stateWord(bill);
  json["booked"] = isBooked(bill);
  json["date"] = dayJson(host, bill.date());
  json["dueDate"] = dayJson(host, bill.dueDate());
  json["paidDate"] = dayJson(host, bill.paidDate());
  json["creditPeriod"] = toJson(bill.creditPeriod());
  json["currency"] = toJson(bill.currency());
  for (const TextSetting& setting : kBillTexts) {
    json[setting.key] = toJson(textUnder(bill, setting.key));
  }
  json["tag"] = bill.tag() != nullptr ? toJson(bill.tag()->number()) : Json(nullptr);
  json["creditAccount"] = numberOf(bill.creditAccount());
  const BillSums sums = BillSums::of(bill);
  json["lines"] = Json::array();
  std::size_t at = 0;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    json["lines"].push_back(lineJson(*line, at + 1, sums.lines[at]));
    ++at;
  }
  json["sums"] = sumsJson(sums);
  json["localAmount"] = toJson(bill.localAmount());
  json["owed"] = toJson(owedOn(session, bill));
  json["entries"] = Json::array();
  for (const Entry* entry : bill.entries().members()) {
    json["entries"].push_back(entryJson(host, *entry));
  }
  return json;
}

void printBills(const Session& session, const std::vector<PlacedBill>& bills) {
  Host& host = session.host();
  using Align = Table::Align;
  Table table({{""},
               {host.text("Bill")},
               {host.text("Supplier")},
               {host.text("Date")},
               {host.text("Due")},
               {host.text("Total"), Align::Right},
               {host.text("Currency")},
               {host.text("Left to pay"), Align::Right},
               {host.text("Status")}});
  Decimal sum;
  for (const auto& [place, bill] : bills) {
    const std::optional<Decimal> owed = owedOn(session, *bill);
    sum += owed.value_or(Decimal());
    table.addRow({place, bill->number().value_or(""), bill->name().value_or(""),
                  host.day(bill->date()), host.day(bill->dueDate()),
                  host.amount(BillSums::of(*bill).total), bill->currency().value_or(""),
                  owed ? host.amount(*owed) : "?", stateText(host, *bill)});
  }
  if (table.empty()) return host.note("no such bill");
  table.addRule();
  table.addRow({"", "", host.text("Sum"), "", "", "", "", host.amount(sum)});
  host.print(table);
}

void printBill(const Session& session, const SupplierInvoice& bill) {
  Host& host = session.host();
  const BillSums sums = BillSums::of(bill);
  printHead(session, bill);
  host.printLine("");
  printLines(host, bill, sums);
  host.printLine("");
  printSums(host, bill, sums);
  if (const auto owed = owedOn(session, bill); owed && isBooked(bill)) {
    const auto currency = findBook(session)->currency();
    host.printLine(host.text("Left to pay") + ": " + amountIn(host, *owed, currency));
  }
  for (const Entry* entry : bill.entries().members()) {
    host.printLine("");
    printEntry(host, *entry);
  }
}

void confirmBooking(const Session& session, const std::string& sentence,
                    const SupplierInvoice& bill, const std::vector<Entry*>& filed) {
  Host& host = session.host();
  Json list = Json::array();
  for (const Entry* entry : filed) list.push_back(entryJson(host, *entry));
  host.confirm(sentence,
               {{"bill", billJson(session, bill, placeOf(session, bill))}, {"filed", list}});
  if (host.json() || host.options.quiet) return;
  for (const Entry* entry : filed) {
    host.printLine("");
    printEntry(host, *entry);
  }
}

}  // namespace bokfolio::cli
