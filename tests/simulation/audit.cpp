// What the document says of everything that the plain book knows.
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

void expectCount(Desk& desk, const char* entity, std::size_t plain) {
  expectSame(entity, 0, signedCount(desk.context().count(entity)), signedCount(plain));
}

void auditEntry(Desk& desk, Id id, const PlainEntry& entry) {
  const Entry* live = desk.get<Entry>(id);
  expectSame("the number of an entry", id, live->number().value_or(0), entry.number);
  expectSame("the date of an entry", id, live->date().value_or(Date()).microseconds(), entry.date);
  expectSameId("the year of an entry", id, live->fiscalYear(), entry.year);
  expectSameId("the bill of an entry", id, live->supplierInvoice(), entry.bill);
  expectTrue("an entry has its name", live->name().value_or("") == entry.name);
  std::vector<PlainRow> rows;
  for (const Row* row : live->rows().members()) rows.push_back(plainRow(*row));
  std::vector<PlainRow> foreseen = entry.rows;
  std::sort(rows.begin(), rows.end());
  std::sort(foreseen.begin(), foreseen.end());
  if (rows != foreseen) throw Disagreement("the rows of entry " + std::to_string(id) + " differ");
  if (entry.year != 0)
    expectSame("the sum of a filed entry", id, live->rows().sum("net"), Amount(0));
}

// Every number from 1, each once.
void auditNumbers(FiscalYear* year) {
  std::vector<std::int64_t> numbers;
  for (const Entry* entry : year->entries().members()) numbers.push_back(entry->number().value());
  std::sort(numbers.begin(), numbers.end());
  for (std::size_t i = 0; i < numbers.size(); ++i)
    expectSame("a number in the row of numbers", year->id(), numbers[i], signedCount(i + 1));
}

void auditYear(Desk& desk, const PlainFirm& plain, Id id, const PlainYear& year) {
  auto* live = desk.get<FiscalYear>(id);
  expectSame("the start of a year", id, live->start()->microseconds(), year.start());
  expectSame("the end of a year", id, live->end()->microseconds(), year.end());
  expectSame("the highest number of a year", id, live->highestEntryNumber(),
             plain.highestNumber(id));
  expectSame("the latest date of a year", id, live->dateOfLatestEntry().microseconds(),
             plain.latestDate(id));
  expectTrue("one year is the latest", live->isLatest() == (id == plain.latestYear()));
  expectSameId("the year before", id, live->previous(), plain.previousYear(id));
  expectSame("the profit of a year", id, live->profitLoss(), plain.profit(id));
  expectSame("the profit with the result account", id, live->profitLossIncludingProfitAccount(),
             plain.profitWithResults(id));
  const Instant middle = instantOf(year.year, 90, 12);
  expectSame("the profit up to a date", id, live->profitLossByDate(date(middle)),
             plain.profit(id, middle));
  auditNumbers(live);
}

// All sums at once, because there are many.
void auditBalances(Desk& desk, const PlainFirm& plain) {
  std::map<std::pair<Id, Id>, Amount> sums = plain.openings;
  for (const auto& [id, entry] : plain.entries)
    for (const PlainRow& row : entry->rows)
      if (entry->year != 0) sums[{row.account, entry->year}] += row.net();
  for (const auto& [account, content] : plain.accounts)
    for (const auto& [year, bounds] : plain.years)
      expectSame(
          "a balance", account,
          desk.get<Account>(account)->balanceByDate(std::nullopt, desk.get<FiscalYear>(year)),
          sums[{account, year}]);
  expectCount(desk, "StartingBalance", plain.openings.size());
  for (const StartingBalance* opening : desk.context().fetch<StartingBalance>()) {
    const auto found = plain.openings.find({idOf(opening->account()), idOf(opening->fiscalYear())});
    expectTrue("an opening is foreseen", found != plain.openings.end());
    expectSame("an opening", opening->id(), opening->balance().value_or(0), found->second);
  }
}

void auditInvoice(Desk& desk, const PlainFirm& plain, Id id, const PlainInvoice& invoice) {
  const Invoice* live = desk.get<Invoice>(id);
  expectSame("the number of an invoice", id, live->number().value_or(0), invoice.number);
  expectSame<std::int64_t>("the status of an invoice", id, live->status().value_or(-1),
                           invoice.statusAt(desk.now()));
  expectTrue("an invoice knows its currency", live->foreignCurrency() == invoice.foreign);
  expectSameId("the tag of an invoice", id, live->tag(), invoice.tag);
  expectSame("the number of lines", id, signedCount(live->lines().count()),
             signedCount(invoice.lines.size()));
  expectSame("the total of an invoice", id, live->totalAmount(), invoice.total());
  expectSame("the total without VAT", id, live->totalAmountExclVat(), invoice.totalExclVat());
  expectSame("the VAT of an invoice", id, live->vatAmount(),
             invoice.unrounded() - invoice.totalExclVat());
  expectSame("the rounding of an invoice", id, live->roundingAmount(),
             invoice.total() - invoice.unrounded());
  // One that is returned without having been sent has no terms.
  expectSame<std::int64_t>("the days of an invoice", id, live->days().value_or(0),
                           invoice.isSent() ? invoice.days : plain.days);
  if (invoice.days == 0) return;
  expectSame("the amount owed", id, live->localAmount().value_or(0), invoice.local);
  expectSame("the amount paid", id, live->paidAmount().value_or(0), invoice.paid.value_or(0));
  expectSame("the amount remaining", id, live->amountRemaining().value_or(0), invoice.remaining());
  expectSame("the rate of an invoice", id, live->exchangeRate().value_or(0), invoice.rate);
  expectSame("the due date", id, live->dueDate().value_or(Date()).microseconds(), invoice.due());
}

}  // namespace

void askBalance(Desk& desk, const PlainFirm& plain, const Step& step) {
  const Id account = pick(plain.accounts, step[0]);
  const Id year = pick(plain.years, step[1]);
  const Id tag = pick(plain.tags, step[3]);
  // Half of the time the very instant of an entry, which does not count any more.
  const Instant before = step[2] % 2 == 0 ? someDate(plain, step[2])
                                          : plain.entries.at(pick(plain.entries, step[2])).date;
  const auto* live = desk.get<Account>(account);
  auto* in = desk.get<FiscalYear>(year);
  expectSame("a balance by date", account, live->balanceByDate(date(before), in),
             plain.balance(account, year, before));
  if (tag == 0) return;
  auto* mark = desk.get<Tag>(tag);
  expectSame("a balance by date and tag", account, live->balanceByDate(date(before), in, mark),
             plain.balance(account, year, before, tag));
  expectSame("a balance by tag alone", account, live->balanceByDate(std::nullopt, in, mark),
             plain.balance(account, year));
}

void auditLedger(Desk& desk, const PlainFirm& plain) {
  Context& context = desk.context();
  expectCount(desk, "Account", plain.accounts.size());
  for (const auto& [id, account] : plain.accounts) {
    const auto* live = desk.get<Account>(id);
    expectSameId("the account of a number", id,
                 Account::accountWithNumber(account->number, context), id);
    expectSame<std::int64_t>("the type of an account", id, live->type().value_or(-1),
                             account->type);
    expectTrue("an account keeps its note",
               live->valueForKey("budgetNote") ==
                   (account->note.empty() ? Value() : Value(account->note)));
    expectTrue("an account knows whether it is used",
               live->used() == (plain.hasRows(id) || plain.hasOpenings(id)));
  }
  expectCount(desk, "Entry", plain.entries.size());
  for (const auto& [id, entry] : plain.entries) auditEntry(desk, id, *entry);
  expectSameId("the new entry", 0, Entry::findTheNewInContext(context), plain.newEntry);
  expectCount(desk, "FiscalYear", plain.years.size());
  for (const auto& [id, year] : plain.years) auditYear(desk, plain, id, *year);
  auditBalances(desk, plain);
  expectCount(desk, "Tag", plain.tags.size());
  for (const auto& [id, tag] : plain.tags)
    expectSame("the balance of a tag", id, desk.get<Tag>(id)->balance().value_or(-1),
               plain.tagBalance(id));
}

void auditInvoicing(Desk& desk, const PlainFirm& plain) {
  expectCount(desk, "Article", plain.articles.size());
  for (const auto& [id, article] : plain.articles) {
    const auto* live = desk.get<Article>(id);
    expectTrue("articles are numbered on", live->number() == std::to_string(article->number));
    expectSame("the price of an article", id, live->price().value_or(-1), article->price);
    expectSameId("the account of an article", id, live->salesAccount(), article->sales);
    expectSameId("the VAT account of an article", id, live->vatAccount(), article->vatAccount);
  }
  expectCount(desk, "Invoice", plain.invoices.size());
  std::size_t lines = 0;
  std::size_t rebates = 0;
  for (const auto& [id, invoice] : plain.invoices) {
    auditInvoice(desk, plain, id, *invoice);
    lines += invoice->lines.size();
    if (invoice->rebate) ++rebates;
    for (const PlainLine& line : invoice->lines)
      if (line.rebate) ++rebates;
  }
  expectCount(desk, "InvoiceLine", lines);
  expectCount(desk, "Allowance", rebates);
  expectCount(desk, "SupplierInvoice", plain.bills.size());
  for (const auto& [id, bill] : plain.bills) {
    const auto* live = desk.get<SupplierInvoice>(id);
    bool filed = false;
    for (const auto& [number, entry] : plain.entries)
      filed = filed || (entry->bill == id && entry->year != 0);
    expectSame("the amount of a bill", id, live->amount(), bill->amount());
    expectSame("the amount of a bill with VAT", id, live->amountInclVAT(), bill->amountInclVat());
    expectTrue("a filed bill is closed", live->allowEditAndRemove() == !filed);
    expectTrue("a bill is registered", live->addedDate().has_value());
    expectSameId("the tag of a bill", id, live->tag(), bill->tag);
  }
  expectCount(desk, "Budget", plain.budgets.size());
  for (const auto& [key, budget] : plain.budgets) {
    const auto* live = desk.get<Budget>(budget.id);
    expectSameId("the account of a budget", budget.id, live->account(), key.first);
    expectSame("a budget", budget.id, live->amount().value_or(-1), budget.amount);
  }
}

static std::vector<Record*> allOf(Desk& desk, const Entity& entity) {
  auto found = desk.context().fetchEntitiesWithName(entity.name());
  if (!found) throw Disagreement(entity.name() + " cannot be read");
  return std::move(*found);
}

// Each to-one is in the set of the record that it leads to, and no set holds others.
void auditInverses(Desk& desk) {
  for (const Entity& entity : desk.context().schema().entities()) {
    for (const Property& many : entity.properties()) {
      if (!many.isToMany()) continue;
      std::size_t members = 0;
      for (const Record* owner : allOf(desk, entity)) {
        const RecordSet set = *owner->valueForKey(many.name()).records();
        members += set.count();
        for (const Record* member : set.snapshot())
          expectSameId("the way back", member->id(),
                       member->primitiveValueForKey(many.inverse().name()).record(), owner->id());
      }
      std::size_t links = 0;
      for (const Record* member : allOf(desk, many.target()))
        if (!member->primitiveValueForKey(many.inverse().name()).isNil()) ++links;
      expectSame(many.name().c_str(), 0, signedCount(members), signedCount(links));
    }
  }
}

}  // namespace bokfolio::simulation
