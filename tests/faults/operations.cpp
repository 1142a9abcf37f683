#include "tests/faults/operations.hpp"

#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/faults/firm.hpp"

namespace bokfolio::faults {

namespace {

Answer refused(std::optional<Error> error) { return {false, std::move(error), ""}; }

// A record that is known to be there.
template <class T>
T* one(Context& context, const Predicate& predicate) {
  const auto found = context.fetchEntitiesWithName(T::kEntityName, predicate, std::nullopt, 1);
  if (!found) throw LoadError(context.fetchFailure());
  if (found->empty()) throw Broken("there is no record with " + predicate.description());
  return static_cast<T*>(found->front());
}

Invoice* invoiceNumbered(Context& context, int number) {
  return one<Invoice>(context, Predicate("number == %d", {number}));
}

Account* accountNumbered(Context& context, int number) {
  return one<Account>(context, Predicate("number == %d", {number}));
}

Row* addRow(Context& context, Entry* entry, std::int64_t account, const Decimal& amount) {
  auto* row = context.insert<Row>();
  row->setAccount(account);
  amount.isNegative() ? row->setCredit(-amount) : row->setDebit(amount);
  row->setEntry(entry);
  return row;
}

// As hosts do it, which trust an answer of none.
Answer fileEntry(Context& context) {
  Entry* entry = Entry::findTheNewInContext(context);
  if (entry == nullptr) entry = context.insert<Entry>();
  entry->setName("Rent");
  entry->setDate(test::cetDate(2009, 3, 1, 12));
  addRow(context, entry, 4010, 900);
  addRow(context, entry, 1930, -900)->setTag(std::int64_t{1});
  std::optional<Error> error;
  Book* book = one<Book>(context, Predicate("currency != nil"));
  if (!book->fileTheNewEntry(&error)) return refused(error);
  context.insert<Entry>();
  return saved(context);
}

Answer correctEntry(Context& context) {
  Entry* entry = one<Entry>(context, Predicate("name == %@", {"Purchase 14"}));
  Row* struck = entry->rows().first();
  const Decimal amount = struck->net();
  struck->remove();
  addRow(context, entry, 7960, amount)->setStatus(RowStatus::Editable);
  std::optional<Error> error;
  if (!entry->setValidated("date", test::cetDate(2009, 2, 2, 12), &error)) return refused(error);
  if (!entry->editFinished(&error)) return refused(error);
  return saved(context);
}

Answer openYear(Context& context) {
  FiscalYear* year = FiscalYear::createFiscalYearWithDate(test::cetDate(2010, 7, 1), context);
  std::optional<Error> error;
  if (!year->updateStartingBalances(&error)) return refused(error);
  return saved(context);
}

Answer sendInvoice(Context& context) {
  auto* invoice = context.insert<Invoice>();
  invoice->setLanguage("en");
  invoice->setCompany("New customer");
  invoice->setCurrency("SEK");
  auto* line = context.insert<InvoiceLine>();
  line->setInvoice(invoice);
  line->setArticleNumber("1");
  line->setQuantity(3);
  invoice->setAllowanceString("10%");
  world().runLoop->advance(1'000'000);
  std::optional<Error> error;
  if (!invoice->sendMeWithExchangeRate(std::nullopt, &error)) return refused(error);
  return saved(context);
}

template <int number, int amount, bool inFull>
Answer pay(Context& context) {
  std::optional<Error> error;
  Invoice* invoice = invoiceNumbered(context, number);
  if (!invoice->payMeWithFinalAmount(Decimal(amount), test::cetDate(2009, 3, 30, 12), inFull,
                                     accountNumbered(context, 1930), &error))
    return refused(error);
  return saved(context);
}

Answer takeBack(Context& context) {
  std::optional<Error> error;
  if (!invoiceNumbered(context, 4)->registerReturnWithError(&error, accountNumbered(context, 1930)))
    return refused(error);
  return saved(context);
}

Answer addArticle(Context& context) {
  auto* article = context.insert<Article>();
  article->setName("Chair");
  world().runLoop->advance(1'000'000);
  auto* invoice = invoiceNumbered(context, 1)->duplicate();
  invoice->setCompany("Another customer");
  world().runLoop->advance(1'000'000);
  return saved(context);
}

// Booked, and paid the same day.
Answer settleBill(Context& context) {
  auto* bill = one<SupplierInvoice>(context, Predicate("name == %@", {"Supplier"}));
  const Decimal amount = bill->amountInclVAT();
  for (const bool paying : {false, true}) {
    auto* entry = context.insert<Entry>();
    entry->setNumber(std::nullopt);
    entry->setName(paying ? "Bill paid" : "Bill");
    entry->setSupplierInvoice(bill);
    if (!paying)
      for (const SupplierInvoiceLine* line : bill->lines().members())
        line->addPurchaseRowsToEntry(*entry);
    addRow(context, entry, 2440, paying ? amount : -amount);
    if (paying) addRow(context, entry, 1930, -amount);
    std::optional<Error> error;
    if (!entry->fileMe(&error)) return refused(error);
  }
  bill->setPaidDate(world().clock->now());
  return saved(context);
}

Answer importFile(Context& context) {
  std::optional<Error> error;
  if (!importVouchers(context, 8, &error)) return refused(error);
  return saved(context);
}

Answer deleteRecords(Context& context) {
  context.deleteObject(one<Entry>(context, Predicate("name == %@", {"Waiting"})));
  context.deleteObject(invoiceNumbered(context, 1));
  context.deleteObject(one<Tag>(context, Predicate("number == 1")));
  context.deleteObject(accountNumbered(context, 1910));
  Entry* filed = one<Entry>(context, Predicate("name == %@", {"Purchase 20"}));
  context.deleteObject(filed->valueForKey("entryImage").record());
  return saved(context);
}

Answer undoAndRedo(Context& context) {
  Entry* entry = one<Entry>(context, Predicate("name == %@", {"Waiting"}));
  std::optional<Error> error;
  entry->setName("Waited");
  if (!entry->fileMe(&error)) return refused(error);
  context.closeUndoGroup();
  context.deleteObject(one<Tag>(context, Predicate("number == 1")));
  context.closeUndoGroup();
  context.deleteObject(invoiceNumbered(context, 1));
  context.closeUndoGroup();
  expect(context.undo() && context.undo() && context.redo(), "steps can be undone and repeated");
  return saved(context);
}

Answer rebuild(Context& context) {
  Answer answer;
  answer.done = context.rebuildSums(&answer.error);
  return answer;
}

Answer backUp(Context& context) {
  const TemporaryFolder folder;
  Answer answer;
  answer.done = context.persistence().backup(folder / "copy", &answer.error);
  return answer;
}

// A report, with memory given back between its parts.
Answer ask(Context& context) {
  Answer answer;
  for (FiscalYear* year : {one<FiscalYear>(context, Predicate("name == '2008'")),
                           one<FiscalYear>(context, Predicate("name == '2009'"))}) {
    for (const int number : {1930, 4010, 3001}) {
      const Account* account = accountNumbered(context, number);
      answer.figures += account->balanceByDate(std::nullopt, year).toString() + ' ' +
                        account->balanceByDate(test::cetDate(2009, 2, 1), year).toString() + ' ';
      context.releaseUnused();
    }
    for (const Entry* entry : year->entries().membersBy({SortDescriptor("number")}))
      answer.figures += entry->description() + ' ' + entry->rows().sum("debit").toString() + ' ';
    context.releaseUnused();
    answer.figures += std::to_string(year->highestEntryNumber()) + ' ';
  }
  answer.figures += std::to_string(context.count("Row", Predicate("debit > 500"))) + ' ';
  const auto found = context.fetchEntitiesWithName("Invoice", Predicate("status != 0"));
  for (const Record* invoice : found.value_or(std::vector<Record*>()))
    answer.figures += static_cast<const Invoice*>(invoice)->totalAmount().toString() + ' ';
  answer.done = context.fetchFailure().empty();
  if (!answer.done)
    answer.error = Error(kPersistenceErrorDomain, static_cast<int>(PersistenceError::Failed),
                         context.fetchFailure());
  return answer;
}

}  // namespace

Answer saved(Context& context) {
  Answer answer;
  answer.done = context.save(&answer.error);
  return answer;
}

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {"filing an entry", fileEntry},
      {"correcting an entry", correctEntry},
      {"a new year, carried forward", openYear},
      {"sending an invoice", sendInvoice},
      {"a payment in part", pay<2, 400, false>},
      {"a payment in full", pay<3, 1000, true>},
      {"a return", takeBack},
      {"numbering articles and invoices", addArticle},
      {"booking and paying a bill", settleBill},
      {"importing a SIE file", importFile},
      {"deleting records", deleteRecords},
      {"undo, redo and a save", undoAndRedo},
      {"rebuilding sums", rebuild},
      {"a report", ask},
      {"a backup", backUp},
      {"opening and filing", fileEntry, true},
  };
  return all;
}

}  // namespace bokfolio::faults
