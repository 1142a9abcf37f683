#include "tests/faults/firm.hpp"

#include <sstream>

#include "bokfolio/interchange/sie/sie_importer.hpp"
#include "bokfolio/interchange/sie/sie_reader.hpp"
#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/entry_image.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

namespace bokfolio::faults {

namespace {

constexpr Date kNow = Date::fromSeconds(1'238'500'800);  // 2009-03-31 12:00 UTC

Account* account(Context& context, std::int64_t number) {
  return Account::accountWithNumber(number, context);
}

// A voucher a month, every third one tagged.
std::string vouchersOfTwoYears() {
  std::ostringstream text;
  text << "#FLAGGA 0\n#SIETYP 4\n#RAR 0 20090101 20091231\n#RAR -1 20080101 20081231\n"
          "#DIM 1 Department\n#OBJEKT 1 \"1\" Shop\n#OBJEKT 1 \"2\" Yard\n";
  for (const int number : {1910, 1930, 1510, 2440, 2611, 2641, 3001, 3740, 3960, 4010, 7960, 8999})
    text << "#KONTO " << number << " \"Account " << number << "\"\n";
  text << "#KTYP 2641 T\n#KTYP 3740 I\n#KTYP 8999 K\n";
  for (int number = 1; number <= 24; ++number) {
    const std::string tag = number % 3 == 0 ? "{1 \"1\"} " : "{} ";
    text << "#VER A " << number << " 200" << 8 + number / 13 << (number % 12 < 9 ? "0" : "")
         << number % 12 + 1 << "07 \"Purchase " << number << "\"\n{\n#TRANS 4010 " << tag
         << number * 100 << ".25\n#TRANS 1930 {} -" << number * 100 << ".25\n}\n";
  }
  return text.str();
}

bool importText(Context& context, const std::string& text, ErrorOut error) {
  const auto file = readSie(text);
  expect(file.has_value(), "a file of vouchers can be read");
  return importSie(context, *file, {}, error).has_value();
}

// One with a picture, and one that waits for its number.
void addToEntries(Context& context) {
  auto* scan = context.insert<EntryImage>();
  scan->setImage(Bytes(20'000, 'x'));
  scan->setEntry(context.fetchFirst<Entry>(Predicate("name == 'Purchase 20'")));
  auto* waiting = context.insert<Entry>();
  waiting->setNumber(std::nullopt);
  waiting->setName("Waiting");
  waiting->setDate(test::cetDate(2009, 1, 15, 12));
  for (const bool debit : {true, false}) {
    auto* row = context.insert<Row>();
    row->setAccount(account(context, debit ? 4010 : 1930));
    debit ? row->setDebit(Decimal(55)) : row->setCredit(Decimal(55));
    row->setEntry(waiting);
  }
}

Article* addArticle(Context& context) {
  auto* article = context.insert<Article>();
  article->setName("Table");
  article->setNumber("1");
  article->setVat(Decimal(25));
  article->setPrice(Decimal(400));
  article->setSalesAccount(account(context, 3001));
  article->setVatAccount(account(context, 2611));
  return article;
}

// 1 is to be sent, 2 was sent, 3 is paid in part, 4 in full.
void addInvoices(Context& context) {
  Article* article = addArticle(context);
  for (int number = 1; number <= 4; ++number) {
    auto* invoice = context.insert<Invoice>();
    invoice->setNumber(number);
    invoice->setBook(Book::currentBookInContext(context));
    invoice->setLanguage("en");
    invoice->setCompany("Customer");
    invoice->setCurrency("SEK");
    auto* line = context.insert<InvoiceLine>();
    line->setInvoice(invoice);
    line->setArticle(article);
    line->setPrice(Decimal(1200));
    line->setQuantity(1);
    line->setVat(Decimal(25));
    expect(number < 2 || invoice->sendMeWithExchangeRate(std::nullopt), "an invoice is sent");
    expect(number < 3 || invoice->payMeWithFinalAmount(Decimal(number == 4 ? 1500 : 500), kNow,
                                                       number == 4, account(context, 1930)),
           "an invoice is paid");
  }
}

void addBill(Context& context) {
  auto* bill = context.insert<SupplierInvoice>();
  bill->setName("Supplier");
  bill->setCreditAccount(account(context, 2440));
  for (int count = 1; count <= 3; ++count) {
    auto* line = context.insert<SupplierInvoiceLine>();
    line->setAmount(Decimal(count * 1000));
    line->setVat(Decimal(25));
    line->setAccount(account(context, 4010));
    line->setVatAccount(account(context, 2641));
    line->setInvoice(bill);
  }
}

// Each record with its place, counted from 1.
std::map<const Record*, std::string> placesOf(Context& context) {
  std::map<const Record*, std::string> places;
  for (const Entity& entity : context.schema().entities()) {
    const auto records = context.fetchEntitiesWithName(entity.name());
    if (!records) throw LoadError(context.fetchFailure());
    std::size_t place = 0;
    for (const Record* record : *records) places[record] = std::to_string(++place);
  }
  return places;
}

}  // namespace

void expect(bool holds, const std::string& what) {
  if (!holds) throw Broken(what);
}

test::TestWorld& world() {
  static test::TestWorld made;
  return made;
}

void beginAnew() {
  while (world().runLoop->pending() > 0) world().runLoop->advance(1'000'000);
  world().clock->set(kNow);
}

void makeFirm(Context& context) {
  Book* book = Book::createDefaultInContext(context);
  expect(importText(context, vouchersOfTwoYears(), nullptr), "two years are imported");
  book->setCurrency("SEK");
  book->setAccountsReceivable(account(context, 1510));
  book->setRoundingAccount(account(context, 3740));
  book->setCurrencyGains(account(context, 3960));
  book->setCurrencyLosses(account(context, 7960));
  book->setResults(account(context, 8999));
  addToEntries(context);
  addInvoices(context);
  addBill(context);
  beginAnew();
  std::optional<Error> error;
  expect(context.save(&error), error ? error->localizedDescription() : "saved");
}

bool importVouchers(Context& context, int vouchers, ErrorOut error) {
  std::ostringstream text;
  text << "#FLAGGA 0\n#SIETYP 4\n#RAR 0 20090101 20091231\n#KONTO 1930 Bank\n#KONTO 5010 Rent\n"
          "#DIM 1 Department\n#OBJEKT 1 \"7\" Shed\n#IB 0 1930 1000\n#IB 0 2440 -1000\n";
  for (int number = 1; number <= vouchers; ++number)
    text << "#VER A " << number << " 200903" << 10 + number % 20 << " \"Voucher " << number
         << "\"\n{\n#TRANS 5010 {1 \"7\"} " << number << ".25\n#TRANS 1930 {} -" << number
         << ".25\n}\n";
  return importText(context, text.str(), error);
}

Dump dumpOf(Context& context, Ids ids) {
  auto places = placesOf(context);
  const auto nameOf = [&](const Record* record) {
    return ids == Ids::ByPlace ? places[record] : std::to_string(record->id());
  };
  const auto textOf = [&](const Value& value) {
    if (const Record* record = value.record()) return nameOf(record);
    if (const Bytes* bytes = value.bytes()) return std::string(bytes->begin(), bytes->end());
    if (value.records() == nullptr) return value.description();
    std::string text;
    for (const Record* member : value.records()->snapshot()) text += nameOf(member) + ' ';
    return text;
  };
  Dump all;
  for (const auto& [record, place] : places) {
    std::string& text = all[record->entityName() + ' ' + nameOf(record)];
    for (const Property& property : record->entity().properties())
      if (!property.transient())
        text +=
            property.name() + '=' + textOf(record->primitiveValueForKey(property.name())) + "; ";
  }
  return all;
}

std::string difference(const Dump& expected, const Dump& seen) {
  for (const auto& [record, text] : expected) {
    const auto found = seen.find(record);
    if (found == seen.end()) return record + " is missing";
    if (found->second != text)
      return record + " is\n  " + found->second + "\nand should be\n  " + text;
  }
  for (const auto& [record, text] : seen)
    if (!expected.contains(record)) return record + " should not be there: " + text;
  return "";
}

std::string unsoundness(Context& context) {
  std::optional<Error> error;
  if (!context.persistence().verify(&error)) {
    expect(error && !error->localizedDescription().empty(), "verifying finds without words");
    return error->localizedDescription();
  }
  const auto found = context.verify();
  return found.empty() ? "" : found.front();
}

std::unique_ptr<Context> opened(const std::string& path, OpenMode mode) {
  std::optional<Error> error;
  beginAnew();
  auto context = openDocument(path, mode, world().environment, &error);
  expect(context != nullptr, error ? error->localizedDescription() : "not opened, without words");
  return context;
}

const Sample& sample() {
  static const Sample made = [] {
    const TemporaryFolder folder;
    beginAnew();
    makeFirm(*createDocument(folder / "firm", world().environment));
    const auto context = opened(folder / "firm", OpenMode::ReadOnly);
    expect(unsoundness(*context).empty(), "the sample is sound");
    return Sample{bytesOf(folder / "firm"), dumpOf(*context)};
  }();
  return made;
}

}  // namespace bokfolio::faults
