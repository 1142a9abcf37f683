#include "invoice_output.hpp"

#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "invoice_lookup.hpp"
#include "invoice_sums.hpp"
#include "ledger_output.hpp"

namespace bokfolio::cli {

namespace {

constexpr const char* kCustomerKeys[] = {"company", "yourRef", "attention", "street", "zipcode",
                                         "city",    "county",  "country",   "vatno"};
constexpr const char* kTermKeys[] = {
    "ourRef", "language", "currency", "deliveryMethod", "purchaseOrderNo", "note", "creditDetails"};
constexpr const char* kAddressKeys[] = {"name", "company", "street", "zipcode",
                                        "city", "county",  "country"};

Json textUnder(const Record& record, const char* key) {
  const Value value = record.valueForKey(key);
  return value.string() != nullptr ? Json(*value.string()) : Json(nullptr);
}

Json dayJson(Host& host, const std::optional<Date>& date) {
  return date ? Json(host.day(date)) : Json(nullptr);
}

Json numberOf(const Account* account) {
  return account != nullptr ? toJson(account->number()) : Json(nullptr);
}

Json rebateJson(const Allowance* rebate) {
  if (rebate == nullptr) return nullptr;
  return {{rebate->absolute() ? "amount" : "percent", toJson(rebate->value())}};
}

Json lineJson(const InvoiceLine& line, std::size_t place, const Decimal& amount) {
  const Article* article = line.article();
  Json json;
  json["line"] = place;
  json["article"] = toJson(line.articleNumber());
  json["name"] = toJson(line.articleName());
  json["text"] = toJson(line.comment());
  json["quantity"] = toJson(line.quantity());
  json["unit"] = article != nullptr ? toJson(article->unit()) : Json(nullptr);
  json["price"] = toJson(line.price());
  json["vat"] = toJson(line.vat());
  json["rebate"] = rebateJson(line.allowance());
  json["amount"] = toJson(amount);
  return json;
}

Json sumsJson(const InvoiceSums& sums) {
  Json rates = Json::array();
  for (const InvoiceSums::Rate& rate : sums.rates) {
    rates.push_back({{"percent", toJson(rate.percent)},
                     {"base", toJson(rate.base)},
                     {"vat", toJson(rate.vat)}});
  }
  return {{"lines", toJson(sums.linesSum)}, {"rebate", toJson(sums.rebate)},
          {"net", toJson(sums.net)},        {"rates", rates},
          {"vat", toJson(sums.vat)},        {"rounding", toJson(sums.rounding)},
          {"total", toJson(sums.total)}};
}

// What is owed and paid, in the book's currency.
void addSettlement(Host& host, Json& json, const Invoice& invoice) {
  const Book* book = invoice.book();
  json["bookCurrency"] = book != nullptr ? toJson(book->currency()) : Json(nullptr);
  json["bookedOnce"] = invoice.bookOnce();
  json["exchangeRate"] = toJson(invoice.exchangeRate());
  json["owed"] = toJson(invoice.localAmount());
  json["paid"] = toJson(invoice.paidAmount());
  json["remaining"] = toJson(invoice.amountRemaining());
  json["paidDate"] = dayJson(host, invoice.paidDate());
}

}  // namespace

Json articleJson(const Article& article) {
  Json json;
  json["number"] = toJson(article.number());
  json["name"] = toJson(article.name());
  json["unit"] = toJson(article.unit());
  json["price"] = toJson(article.price());
  json["vat"] = toJson(article.vat());
  json["percentOfLineAbove"] =
      article.isDependentTax() ? toJson(article.dependentTaxLevel()) : Json(nullptr);
  json["salesAccount"] = numberOf(article.salesAccount());
  json["vatAccount"] = numberOf(article.vatAccount());
  json["used"] = article.isUsed();
  return json;
}

Json invoiceJson(Host& host, const Invoice& invoice) {
  Json json;
  json["number"] = toJson(invoice.number());
  json["status"] = statusWord(invoice);
  json["overdue"] = isOverdue(invoice);
  json["date"] = dayJson(host, invoice.date());
  json["days"] = toJson(invoice.days());
  json["dueDate"] = dayJson(host, invoice.dueDate());
  for (const char* key : kCustomerKeys) json[key] = textUnder(invoice, key);
  for (const char* key : kTermKeys) json[key] = textUnder(invoice, key);
  json["tag"] = invoice.tag() != nullptr ? toJson(invoice.tag()->number()) : Json(nullptr);
  json["deliveryAddress"] = nullptr;
  if (const DeliveryAddress* address = invoice.deliveryAddress()) {
    json["deliveryAddress"] = Json::object();
    for (const char* key : kAddressKeys) json["deliveryAddress"][key] = textUnder(*address, key);
  }
  json["vatFree"] = invoice.vatfree();
  json["rounded"] = invoice.rounding();
  json["rebate"] = rebateJson(invoice.allowance());
  const InvoiceSums sums = InvoiceSums::of(invoice);
  json["lines"] = Json::array();
  std::size_t place = 0;
  for (const InvoiceLine* line : invoice.sortedInvoiceLines()) {
    json["lines"].push_back(lineJson(*line, place + 1, sums.lines[place]));
    ++place;
  }
  json["sums"] = sumsJson(sums);
  addSettlement(host, json, invoice);
  return json;
}

std::string percentText(Host& host, const std::optional<Decimal>& percent) {
  return percent ? decimalDescription(*percent, host.environment().locale()) + " %" : "";
}

std::string rebateText(Host& host, const Allowance* rebate) {
  if (rebate == nullptr || !rebate->value()) return "";
  return rebate->absolute() ? host.amount(*rebate->value()) : percentText(host, rebate->value());
}

void printInvoices(Host& host, const std::vector<Invoice*>& invoices) {
  using Align = Table::Align;
  Table table({{host.text("Invoice"), Align::Right},
               {host.text("Date")},
               {host.text("Due")},
               {host.text("Customer")},
               {host.text("Total"), Align::Right},
               {host.text("Currency")},
               {host.text("Still owed"), Align::Right},
               {host.text("Status")}});
  Decimal owed;
  for (const Invoice* invoice : invoices) {
    const auto remaining = invoice->canBePaid() ? invoice->amountRemaining() : std::nullopt;
    owed += toHundredths(remaining.value_or(Decimal()));
    table.addRow({invoice->number() ? std::to_string(*invoice->number()) : "",
                  host.day(invoice->date()), host.day(invoice->dueDate()), customerOf(*invoice),
                  host.amount(InvoiceSums::of(*invoice).total), invoice->currency().value_or(""),
                  remaining ? host.amount(toHundredths(*remaining)) : "",
                  invoice->statusDescription().value_or("")});
  }
  if (table.empty()) return host.note("no such invoice");
  table.addRule();
  table.addRow({"", "", "", host.text("Sum"), "", "", host.amount(owed)});
  host.print(table);
}

void confirmStep(Host& host, const std::string& sentence, const Invoice& invoice,
                 const std::vector<Entry*>& entries) {
  Json list = Json::array();
  for (const Entry* entry : entries) list.push_back(entryJson(host, *entry));
  host.confirm(sentence, {{"invoice", invoiceJson(host, invoice)}, {"entries", list}});
  if (host.json() || host.options.quiet) return;
  for (const Entry* entry : entries) {
    host.printLine("");
    host.printLine(host.day(entry->date()) + "  " + entry->name().value_or(""));
    Table table = rowTable(host, true);
    addEntryRows(host, table, *entry);
    host.print(table);
  }
}

}  // namespace bokfolio::cli
