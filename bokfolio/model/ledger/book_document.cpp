// What the book does for the document as a whole: its first records, its defaults, filing, and
// finding the host's document.
#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/host_document.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

constexpr std::string_view kDefaultCurrency = "SEK";
constexpr std::string_view kDefaultCountry = "SE";

}  // namespace

HostDocument::~HostDocument() = default;

Book* Book::createDefaultInContext(Context& context) {
  const Date now = context.environment().now();
  auto* book = context.insert<Book>();
  book->setValueForKey(context.insertNewObject("Company"), "company");
  book->setDefaultsFromLocale();
  FiscalYear::createFiscalYearWithDate(now, context);
  context.insert<Entry>()->setDate(now);
  return book;
}

void Book::awakeFromInsert() {
  Record::awakeFromInsert();
  setPrimitive(Slots::templateName, environment().text("Built-in", "invoice"));
}

void Book::setDefaultsFromLocale() {
  const Locale& locale = environment().locale();
  setCurrency(locale.currencyCode().value_or(std::string(kDefaultCurrency)));
  if (Record* own = valueForKey("company").record(); own != nullptr)
    own->setValueForKey(locale.countryCode().value_or(std::string(kDefaultCountry)), "country");
}

std::optional<std::vector<Entry*>> Book::fileTheNewEntry(ErrorOut error) {
  Entry* entry = Entry::findTheNewInContext(managedObjectContext());
  if (entry != nullptr) return entry->fileMe(error);
  internal::refuse(error, LedgerError::NoNewEntry, "No new entry found.", environment());
  return std::nullopt;
}

HostDocument* Book::theDocument(const std::vector<HostDocument*>& orderedDocuments) const {
  for (HostDocument* document : orderedDocuments)
    if (document != nullptr && document->context() == &managedObjectContext()) return document;
  return nullptr;
}

}  // namespace bokfolio
