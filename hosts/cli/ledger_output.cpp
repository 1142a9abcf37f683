#include "ledger_output.hpp"

#include "bokfolio/model/ledger/entry_image.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

std::string_view statusWord(const Row& row) {
  if (row.isRemoved()) return "struck";
  return row.isEditable() ? "editable" : "committed";
}

Json rowJson(Host& host, const Row& row) {
  Json json;
  json["row"] = placeOf(row);
  json["account"] = toJson(row.accountNumber());
  json["accountName"] = toJson(row.accountName());
  json["debit"] = toJson(row.debit());
  json["credit"] = toJson(row.credit());
  json["tag"] = row.tag() != nullptr ? toJson(row.tag()->number()) : Json(nullptr);
  json["status"] = statusWord(row);
  json["who"] = toJson(row.who());
  json["when"] = row.when() ? Json(host.instant(*row.when())) : Json(nullptr);
  return json;
}

std::string receiptText(Host& host, const Entry& entry) {
  if (entry.entryImage() == nullptr || !entry.entryImage()->image()) return "";
  const Bytes bytes = *entry.entryImage()->image();
  return host.text("Receipt") + ": " + pictureText(bytes);
}

std::string noteOf(Host& host, const Row& row) {
  const std::string change = row.changeText().value_or("");
  if (!row.isRemoved()) return change;
  return host.text("struck") + (change.empty() ? "" : ": " + change);
}

std::string numberText(const std::optional<std::int64_t>& number) {
  return number ? std::to_string(*number) : "";
}

}  // namespace

Json accountJson(const Account& account) {
  Json json;
  json["number"] = toJson(account.number());
  json["name"] = toJson(account.name());
  json["type"] = typeWord(account.type().value_or(0));
  json["taxCode"] = toJson(account.taxCode());
  json["vatCode"] = toJson(account.vatCode());
  return json;
}

Json tagJson(const Tag& tag) {
  Json json;
  json["number"] = toJson(tag.number());
  json["name"] = toJson(tag.name());
  return json;
}

Json yearJson(const FiscalYear& year) {
  Json json;
  json["name"] = toJson(year.name());
  json["first"] = firstDay(year);
  json["last"] = lastDay(year);
  return json;
}

Json entryJson(Host& host, const Entry& entry) {
  Json json;
  const bool isNew = entry.isNew();
  json["number"] = isNew ? Json(nullptr) : toJson(entry.number());
  json["new"] = isNew;
  json["year"] = entry.fiscalYear() != nullptr ? toJson(entry.fiscalYear()->name()) : nullptr;
  json["date"] = entry.date() ? Json(host.day(entry.date())) : Json(nullptr);
  json["text"] = toJson(entry.name());
  json["comments"] = toJson(entry.comments());
  json["receipt"] = entry.entryImage() != nullptr;
  json["rows"] = Json::array();
  for (const Row* row : rowsOf(entry)) json["rows"].push_back(rowJson(host, *row));
  return json;
}

Json openingsJson(const FiscalYear& year) {
  Json list = Json::array();
  for (const StartingBalance* opening :
       year.startingBalances().membersBy({SortDescriptor("account.number")})) {
    list.push_back(
        {{"account", toJson(opening->number())}, {"balance", toJson(opening->balance())}});
  }
  return {{"year", toJson(year.name())},
          {"balances", list},
          {"sum", toJson(year.startingBalances().sum("balance"))}};
}

std::string withOpeningSum(Host& host, std::string sentence, const FiscalYear& year) {
  const Decimal sum = year.startingBalances().sum("balance");
  if (!sum.isZero()) sentence += "; together they are off zero by " + host.amount(sum);
  return sentence;
}

std::string_view pictureKind(const Bytes& bytes) {
  const bool pdf = bytes.size() >= 4 && std::string(bytes.begin(), bytes.begin() + 4) == "%PDF";
  return pdf ? "PDF" : "TIFF";
}

std::string pictureText(const Bytes& bytes) {
  return std::string(pictureKind(bytes)) + ", " + std::to_string((bytes.size() + 1023) / 1024) +
         " kB";
}

std::string firstDay(const FiscalYear& year) {
  return year.start() ? isoDay(*year.start(), TimeZone::cet()) : "";
}

std::string lastDay(const FiscalYear& year) {
  return year.end() ? isoDay(year.end()->addingSeconds(-1), TimeZone::cet()) : "";
}

std::string entryTitle(const Entry& entry) {
  if (entry.isNew()) return "the new entry";
  if (!entry.number()) return "the unfiled entry \"" + entry.name().value_or("") + "\"";
  const std::string number = "entry " + std::to_string(*entry.number());
  const FiscalYear* year = entry.fiscalYear();
  return year == nullptr ? number : number + " of " + year->name().value_or("its year");
}

Decimal turnover(const Entry& entry) {
  Decimal sum;
  for (const Row* row : entry.rows().members()) {
    if (!row->isRemoved()) sum += row->debit().value_or(Decimal());
  }
  return sum;
}

Table rowTable(Host& host, bool headings) {
  const auto heading = [&](const char* key) { return headings ? host.text(key) : ""; };
  using Align = Table::Align;
  const std::size_t name = headings ? 0 : 32;
  const std::size_t amount = headings ? 0 : 12;
  return Table({{heading("Row"), Align::Right, 4},
                {heading("Account"), Align::Right, 5},
                {heading("Name"), Align::Left, name},
                {heading("Tag"), Align::Right, 4},
                {heading("Debit"), Align::Right, amount},
                {heading("Credit"), Align::Right, amount},
                {heading("Note"), Align::Left}});
}

void addEntryRows(Host& host, Table& table, const Entry& entry) {
  for (const Row* row : rowsOf(entry)) {
    table.addRow({std::to_string(placeOf(*row)), numberText(row->accountNumber()),
                  row->accountName().value_or(""),
                  row->tag() != nullptr ? numberText(row->tag()->number()) : "",
                  host.amountOrBlank(row->debit()), host.amountOrBlank(row->credit()),
                  noteOf(host, *row)});
  }
}

void printEntry(Host& host, const Entry& entry) {
  std::string title = entryTitle(entry);
  title[0] = static_cast<char>(title[0] - 'a' + 'A');
  host.printLine(title + "  " + host.day(entry.date()) + "  " + entry.name().value_or(""));
  Table table = rowTable(host, true);
  addEntryRows(host, table, entry);
  Decimal debit;
  Decimal credit;
  for (const Row* row : entry.rows().members()) {
    if (row->isRemoved()) continue;
    debit += row->debit().value_or(Decimal());
    credit += row->credit().value_or(Decimal());
  }
  table.addRule();
  table.addRow({"", "", host.text("Sum"), "", host.amount(debit), host.amount(credit)});
  host.print(table);
  if (const std::string comments = entry.comments().value_or(""); !comments.empty()) {
    host.printLine(host.text("Comments") + ": " + comments);
  }
  if (const std::string receipt = receiptText(host, entry); !receipt.empty())
    host.printLine(receipt);
}

}  // namespace bokfolio::cli
