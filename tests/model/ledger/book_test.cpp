#include <gmock/gmock.h>

#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/host_document.hpp"
#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

using BookTest = LedgerWorld;

TEST_F(BookTest, ANewDocumentHasABookACompanyAYearAndTheNewEntry) {
  const Book* book = Book::createDefaultInContext(context());
  EXPECT_EQ(Book::currentBookInContext(context()), book);
  const Date now = world.environment.now();
  FiscalYear* current = FiscalYear::findFiscalYearForDate(now, context());
  ASSERT_NE(current, nullptr);
  EXPECT_TRUE(current->isCalendarYear(2009));
  const Entry* entry = Entry::findTheNewInContext(context());
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->date(), now);
  EXPECT_EQ(entry->fiscalYear(), nullptr);
  EXPECT_EQ(book->templateName(), "Built-in");
  EXPECT_EQ(context().insertedObjects().size(), 4U);
  EXPECT_TRUE(context().save());
}

TEST_F(BookTest, CurrencyAndCountryComeFromTheLocaleOrAreSwedish) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"sv_SE", "SEK", "SE"},
      {"nb_NO", "NOK", "NO"},
      {"en_US", "USD", "US"},
      {"de_DE", "EUR", "DE"},
      {"sv_SE@currency=EUR", "EUR", "SE"},
      {"C", "SEK", "SE"},
      {"POSIX", "SEK", "SE"},
      {"en", "SEK", "SE"},
  };
  for (const auto& [locale, currency, country] : cases) {
    SCOPED_TRACE(locale);
    world.useLocale(locale);
    open();
    Book* book = Book::createDefaultInContext(context());
    EXPECT_EQ(book->currency(), currency);
    ASSERT_NE(book->company(), nullptr);
    EXPECT_EQ(book->company()->country(), country);
    book->setCompany(nullptr);
    book->setCurrency("XXX");
    book->setDefaultsFromLocale();
    EXPECT_EQ(book->currency(), currency);
  }
}

TEST_F(BookTest, FilesTheNewEntryOrSaysWhyNot) {
  auto* book = context().insert<Book>();
  std::optional<Error> error;
  EXPECT_EQ(book->fileTheNewEntry(), std::nullopt);
  EXPECT_EQ(book->fileTheNewEntry(&error), std::nullopt);
  expectError(error, kBokfolioErrorDomain, 4, text("No new entry found."));

  Entry* made = transfer(cetDate(2009, 2, 1), 10, account(1930), account(3000));
  made->setNumber(Entry::kNewEntryNumber);
  EXPECT_EQ(book->fileTheNewEntry(&error), std::nullopt);
  expectError(error, kBokfolioErrorDomain, 2, text("No fiscal year."));
  year(2009);
  EXPECT_EQ(book->fileTheNewEntry(&error), (std::vector<Entry*>{made}));
  EXPECT_EQ(made->number(), 1);
}

class OpenDocument final : public HostDocument {
 public:
  explicit OpenDocument(const Context* shown) : shown_(shown) {}
  const Context* context() const override { return shown_; }

 private:
  const Context* shown_;
};

TEST_F(BookTest, FindsTheFrontmostDocumentOfItsContext) {
  const auto* book = context().insert<Book>();
  const auto other = Context::open(schema_, makeMemoryPersistence(), world.environment);
  OpenDocument empty(nullptr);
  OpenDocument foreign(other.get());
  OpenDocument first(&context());
  OpenDocument second(&context());
  EXPECT_EQ(book->theDocument({&empty, &foreign, nullptr, &second, &first}), &second);
  EXPECT_EQ(book->theDocument({&empty, &foreign}), nullptr);
}

TEST_F(BookTest, ChangingTheFilingMethodWarnsOnceInvoicesAreSent) {
  auto* book = context().insert<Book>();
  auto* invoice = context().insert<Invoice>();
  // Values in the order of asking; whether an invoice is sent by then; whether a warning comes.
  using Asked = std::optional<std::int64_t>;
  const std::tuple<Asked, bool, bool> cases[] = {
      {1, false, false}, {0, false, false}, {std::nullopt, true, false},
      {1, true, true},   {2, true, false},  {0, true, true},
      {0, true, false},
  };
  std::size_t warnings = 0;
  for (const auto& [asked, sent, warns] : cases) {
    const Value value(asked);
    invoice->setDueDate(sent ? std::optional(cetDate(2009, 5, 1)) : std::nullopt);
    EXPECT_TRUE(book->setValidated("bookOnce", value));
    EXPECT_EQ(book->bookOnce(), value.asBool());
    warnings += warns ? 1 : 0;
    EXPECT_EQ(world.dialog->notices().size(), warnings);
  }
  EXPECT_EQ(world.dialog->notices().back().message, "");
  EXPECT_EQ(world.dialog->notices().back().informative,
            text("You are changing the invoice filing method. This will not affect invoices that "
                 "are already sent."));
  EXPECT_EQ(world.dialog->notices().back().button, text("OK"));
}

TEST_F(BookTest, TheFilingMethodIsNotChangedWhileInvoicesCannotBeRead) {
  context().insert<Book>();
  ASSERT_TRUE(context().save());
  const auto faults = std::make_shared<PersistenceFaults>();
  const auto reopened = Context::open(
      schema_, makeFaultInjectingPersistence(makeMemoryPersistence(document_), faults),
      world.environment);
  Book* book = Book::currentBookInContext(*reopened);
  PersistenceFault fault;
  fault.call = 0;
  fault.operation = PersistenceOperation::Load;
  fault.description = "No disk.";
  faults->add(fault);
  std::optional<Error> error;
  EXPECT_FALSE(book->setValidated("bookOnce", 1));
  EXPECT_FALSE(book->setValidated("bookOnce", 1, &error));
  ASSERT_TRUE(error);
  EXPECT_THAT(error->localizedDescription(), testing::HasSubstr("No disk."));
  EXPECT_FALSE(book->bookOnce());
}

TEST_F(BookTest, TheCurrencyIsFixedByFiledAndWaitingEntriesAndByInvoices) {
  struct Case {
    const char* what;
    bool numbered;
    bool filed;
    bool invoice;
    bool locked;
  };
  const Case cases[] = {
      {"the new entry", true, false, false, false},
      {"a waiting entry", false, false, false, true},
      {"a filed entry", true, true, false, true},
      {"an invoice", true, false, true, true},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    context().rollback();
    auto* book = context().insert<Book>();
    book->setCurrency("SEK");
    auto* entry = context().insert<Entry>();
    if (!each.numbered) entry->setNumber(std::nullopt);
    if (each.filed) entry->setFiscalYear(year(2009));
    if (each.invoice) context().insert<Invoice>();

    const Error before("domain", 1, "before");
    std::optional<Error> untouched = before;
    EXPECT_TRUE(book->setValidated("currency", "SEK", &untouched));
    EXPECT_EQ(untouched, before);
    for (const Value& other : {Value("NOK"), Value("sek"), Value()}) {
      Value proposed = other;
      std::optional<Error> error;
      EXPECT_EQ(book->validateValue(proposed, "currency", &error), !each.locked);
      EXPECT_EQ(proposed, each.locked ? Value("SEK") : other);
      if (each.locked)
        expectError(error, kBokfolioErrorDomain, 19,
                    text("Cannot change currency once entries and/or invoices have been created."));
    }
    book->setCurrency(std::nullopt);
    EXPECT_TRUE(book->setValidated("currency", Value())) << "an unset currency does not bar saving";
  }
}

}  // namespace
}  // namespace bokfolio::test
