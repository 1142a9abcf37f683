#include "tests/faults/firm.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/entry_image.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

namespace bokfolio::faults {

namespace {

constexpr Date kNow = Date::fromSeconds(1'238'500'800);  // 2009-03-31 12:00 UTC

Account* account(Context& context, std::int64_t number) {
  return Account::accountWithNumber(number, context);
}

Account* addAccount(Context& context, std::int64_t number, AccountType type) {
  auto* made = context.insert<Account>();
  made->setNumber(number);
  made->setType(type);
  made->setName("Account " + std::to_string(number));
  return made;
}

void addRow(Entry* entry, Account* account, const Decimal& amount, Tag* tag = nullptr) {
  auto* row = entry->managedObjectContext().insert<Row>();
  row->setAccount(account);
  row->setTag(tag);
  amount.isNegative() ? row->setCredit(-amount) : row->setDebit(amount);
  row->setEntry(entry);
}

Entry* addEntry(Context& context, const std::string& name, Date date, const Decimal& amount,
                Tag* tag) {
  auto* entry = context.insert<Entry>();
  entry->setNumber(std::nullopt);
  entry->setName(name);
  entry->setDate(date);
  addRow(entry, account(context, 4010), amount, tag);
  addRow(entry, account(context, 1930), -amount);
  return entry;
}

void addEntries(Context& context) {
  auto* tag = context.insert<Tag>();
  tag->setNumber(1);
  context.insert<Tag>()->setNumber(2);
  for (int count = 1; count <= 24; ++count) {
    const Date date = test::cetDate(2008 + count / 13, count % 12 + 1, 7, 12);
    Entry* entry =
        addEntry(context, "Purchase " + std::to_string(count), date,
                 Decimal(count * 100) + Decimal(count) / 100, count % 3 == 0 ? tag : nullptr);
    expect(entry->fileMe().has_value(), "a purchase is filed");
    if (count != 20) continue;
    auto* scan = context.insert<EntryImage>();
    scan->setImage(Bytes(20'000, 'x'));
    scan->setEntry(entry);
  }
  addEntry(context, "Waiting", test::cetDate(2009, 1, 15, 12), 55, nullptr);
}

Invoice* addInvoice(Context& context, std::int64_t number, Article* article) {
  auto* invoice = context.insert<Invoice>();
  invoice->setNumber(number);
  invoice->setBook(Book::currentBookInContext(context));
  invoice->setLanguage("en");
  invoice->setCompany("Customer " + std::to_string(number));
  invoice->setCurrency("SEK");
  for (int count = 1; count <= 2; ++count) {
    auto* line = context.insert<InvoiceLine>();
    line->setArticle(article);
    line->setQuantity(count);
    line->setPrice(Decimal(400));
    line->setVat(Decimal(25));
    line->setInvoice(invoice);
    line->setNumber(count);
  }
  return invoice;
}

// 1 is to be sent, 2 was sent, 3 is paid in part, 4 in full.
void addInvoices(Context& context) {
  auto* article = context.insert<Article>();
  article->setName("Table");
  article->setNumber("1");
  article->setVat(Decimal(25));
  article->setPrice(Decimal(400));
  article->setSalesAccount(account(context, 3001));
  article->setVatAccount(account(context, 2611));
  const Decimal payments[] = {0, 0, 500, 1500};
  for (int number = 1; number <= 4; ++number) {
    Invoice* invoice = addInvoice(context, number, article);
    if (number > 1) expect(invoice->sendMeWithExchangeRate(std::nullopt), "an invoice is sent");
    if (number > 2)
      expect(invoice->payMeWithFinalAmount(payments[number - 1], kNow, number == 4,
                                           account(context, 1930)),
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
  book->setCurrency("SEK");
  using enum AccountType;
  for (const std::int64_t number : {1910, 1930, 1510, 2641}) addAccount(context, number, Asset);
  for (const std::int64_t number : {2440, 2611}) addAccount(context, number, DebtAndEquity);
  for (const std::int64_t number : {3001, 3740, 3960}) addAccount(context, number, Income);
  for (const std::int64_t number : {4010, 7960, 8999}) addAccount(context, number, Cost);
  book->setAccountsReceivable(account(context, 1510));
  book->setRoundingAccount(account(context, 3740));
  book->setCurrencyGains(account(context, 3960));
  book->setCurrencyLosses(account(context, 7960));
  book->setResults(account(context, 8999));
  FiscalYear::createFiscalYearWithDate(test::cetDate(2008, 7, 1), context);
  addEntries(context);
  addInvoices(context);
  addBill(context);
  beginAnew();
  std::optional<Error> error;
  expect(context.save(&error), error ? error->localizedDescription() : "saved");
}

Dump dumpOf(Context& context, Ids ids) {
  auto places = placesOf(context);
  const auto nameOf = [&](const Record* record) {
    return ids == Ids::ByPlace ? places[record] : std::to_string(record->id());
  };
  const auto textOf = [&](const Value& value) {
    if (const Record* record = value.record()) return nameOf(record);
    if (const RecordSet* set = value.records()) {
      std::string text;
      for (const Record* member : set->snapshot()) text += nameOf(member) + ' ';
      return text;
    }
    if (const Bytes* bytes = value.bytes())
      return std::to_string(std::hash<std::string>()(std::string(bytes->begin(), bytes->end())));
    return value.description();
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

Folder::Folder() : path_((std::filesystem::temp_directory_path() / "faults-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder can be made: " + path_);
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void Folder::clear() const {
  for (const auto& each : std::filesystem::directory_iterator(path_))
    std::filesystem::remove_all(each.path());
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

const Sample& sample() {
  static const Sample made = [] {
    const Folder folder;
    beginAnew();
    auto context = createDocument(folder / "firm", world().environment);
    expect(context != nullptr, "a document is made");
    makeFirm(*context);
    context = nullptr;
    context = openDocument(folder / "firm", OpenMode::ReadOnly, world().environment);
    expect(context != nullptr && unsoundness(*context).empty(), "the sample is sound");
    return Sample{bytesOf(folder / "firm"), dumpOf(*context)};
  }();
  return made;
}

}  // namespace bokfolio::faults
