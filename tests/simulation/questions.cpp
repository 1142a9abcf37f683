// Single questions, each of which reads little: by index, by relationship, by order and limit, or
// by a sum. After a document was opened they are what brings its records in, piece by piece.
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

using Ids = std::vector<Id>;

template <class T>
Ids idsOf(const std::vector<T*>& records) {
  Ids ids;
  for (const T* record : records) ids.push_back(record->id());
  return ids;
}
template <class T, class Condition>
Ids idsWhere(const Shelf<T>& shelf, Condition condition) {
  Ids ids;
  for (const auto& [id, content] : shelf)
    if (condition(*content)) ids.push_back(id);
  return ids;
}
void expectIds(const char* what, const Ids& library, const Ids& plain) {
  if (library == plain) return;
  std::string text = std::string(what) + " are";
  for (const Id id : library) text += ' ' + std::to_string(id);
  text += ", the plain book has";
  for (const Id id : plain) text += ' ' + std::to_string(id);
  throw Disagreement(text);
}
template <class Condition>
std::int64_t countRows(const PlainFirm& plain, Condition condition) {
  std::int64_t count = 0;
  for (const auto& [id, entry] : plain.entries)
    for (const PlainRow& row : entry->rows)
      if (condition(*entry, row)) ++count;
  return count;
}
std::int64_t counted(std::size_t count) { return static_cast<std::int64_t>(count); }

using Question = void (*)(Desk&, const PlainFirm&, unsigned which);

void accountByNumber(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.accounts, which);
  const auto* found = Account::accountWithNumber(plain.accounts.at(id).number, desk.context());
  expectTrue("an account is found by its number", found == desk.get<Account>(id));
}

void rowsOfAccount(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.accounts, which);
  const auto rows = desk.get<Account>(id)->rows();
  expectSame("the number of rows of an account", id, counted(rows.count()),
             countRows(plain, [id](auto&, const PlainRow& row) { return row.account == id; }));
  expectSame("the rows of an account that count", id,
             counted(rows.filtered(Row::noRemovedRows()).count()),
             countRows(plain, [id](auto&, const PlainRow& row) {
               return row.account == id && !row.isRemoved();
             }));
}

void rowsOfTag(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.tags, which);
  if (id == 0) return;
  const auto marked = [id](auto&, const PlainRow& row) { return row.tag == id; };
  expectSame("the number of rows of a tag", id, counted(desk.get<Tag>(id)->rows().count()),
             countRows(plain, marked));
  expectSame("the balance of a tag", id, desk.get<Tag>(id)->balance().value_or(-1),
             plain.tagBalance(id));
}

void entriesOfYear(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.years, which);
  auto* year = desk.get<FiscalYear>(id);
  const auto inYear = [id](const PlainEntry& entry) { return entry.year == id; };
  expectSame("the number of entries of a year", id, counted(year->entries().count()),
             counted(idsWhere(plain.entries, inYear).size()));
  expectSame("the highest number", id, year->highestEntryNumber(), plain.highestNumber(id));
  expectSame("the latest date", id, year->dateOfLatestEntry().microseconds(), plain.latestDate(id));
}

void lastNumbers(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.years, which);
  const auto found =
      desk.context().fetch<Entry>(Predicate("fiscalYear == %@", {desk.get<FiscalYear>(id)}),
                                  std::vector{SortDescriptor("number", false)}, 3);
  Ids foreseen;
  for (std::int64_t number = plain.highestNumber(id); number > 0 && foreseen.size() < 3; --number)
    for (const Id entry : idsWhere(plain.entries, [&](const PlainEntry& each) {
           return each.year == id && each.number == number;
         }))
      foreseen.push_back(entry);
  expectIds("the last entries of a year", idsOf(found), foreseen);
}

void waitingBefore(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Instant bound = someNoon(plain, which * 8);
  expectIds(
      "the entries that wait",
      idsOf(desk.context().fetch<Entry>(Predicate("number == nil && date < %@", {date(bound)}))),
      idsWhere(plain.entries, [bound](const PlainEntry& entry) {
        return entry.number == 0 && entry.date < bound;
      }));
}

void entryByName(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.entries, which);
  const std::string& name = plain.entries.at(id).name;
  if (name.empty()) return;
  expectIds("the entries of a name",
            idsOf(desk.context().fetch<Entry>(Predicate("name = %@", {name}))),
            idsWhere(plain.entries, [&](const PlainEntry& entry) { return entry.name == name; }));
}

void rowsOfEntry(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.entries, which);
  const auto rows = desk.get<Entry>(id)->rows();
  expectSame("the number of rows of an entry", id, counted(rows.count()),
             counted(plain.entries.at(id).rows.size()));
  expectSame("the sum of an entry", id, rows.sum("net"), plain.entries.at(id).sum());
}

// Across a relationship, where no index helps.
void rowsByDate(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id account = pick(plain.accounts, which);
  const Instant bound = someNoon(plain, which * 8);
  expectSame(
      "the number of rows before a date", account,
      counted(desk.context().count("Row", Predicate("account == %@ AND entry.date < %@",
                                                    {desk.get<Account>(account), date(bound)}))),
      countRows(plain, [&](const PlainEntry& entry, const PlainRow& row) {
        return row.account == account && entry.date < bound;
      }));
}

void openingsOfAccount(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.accounts, which);
  Amount sum = 0;
  for (const auto& [key, balance] : plain.openings) sum += key.first == id ? balance : 0;
  expectSame("the openings of an account", id,
             desk.get<Account>(id)->startingBalances().sum("balance"), sum);
  expectTrue("an account knows whether it is used",
             desk.get<Account>(id)->used() == (plain.hasRows(id) || plain.hasOpenings(id)));
}

void profitOfYear(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.years, which);
  const Instant bound = plain.entries.at(pick(plain.entries, which)).date;
  expectSame("the profit up to a date", id, desk.get<FiscalYear>(id)->profitLossByDate(date(bound)),
             plain.profit(id, bound));
}

void linesOfArticle(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.articles, which);
  if (id == 0) return;
  std::int64_t lines = 0;
  for (const auto& [number, invoice] : plain.invoices)
    for (const PlainLine& line : invoice->lines) lines += line.article == id ? 1 : 0;
  expectSame("the lines of an article", id, counted(desk.get<Article>(id)->invoiceLines().count()),
             lines);
}

void invoicesByStatus(Desk& desk, const PlainFirm& plain, unsigned which) {
  const auto status = static_cast<int>(which % 9);
  expectIds("the invoices of a status",
            idsOf(desk.context().fetch<Invoice>(Predicate("status == %d", {status}))),
            idsWhere(plain.invoices,
                     [status](const PlainInvoice& invoice) { return invoice.status == status; }));
}

void totalOfInvoice(Desk& desk, const PlainFirm& plain, unsigned which) {
  const Id id = pick(plain.invoices, which);
  if (id == 0) return;
  expectSame("the total of an invoice", id, desk.get<Invoice>(id)->totalAmount(),
             plain.invoices.at(id).total());
}

void latestInvoice(Desk& desk, const PlainFirm& plain, unsigned) {
  const auto* latest = desk.context().fetchFirst<Invoice>(
      Predicate("number != nil"), std::vector{SortDescriptor("number", false)});
  expectSame("the latest invoice's number", 0,
             latest == nullptr ? 0 : latest->number().value_or(-1), plain.nextInvoiceNumber() - 1);
}

constexpr Question kQuestions[] = {
    accountByNumber, rowsOfAccount,  rowsOfTag,        entriesOfYear,  lastNumbers,
    waitingBefore,   entryByName,    rowsOfEntry,      rowsByDate,     openingsOfAccount,
    profitOfYear,    linesOfArticle, invoicesByStatus, totalOfInvoice, latestInvoice};

}  // namespace

void askQuestion(Desk& desk, const PlainFirm& plain, const Step& step) {
  kQuestions[step[0] % std::size(kQuestions)](desk, plain, step[1]);
}

// While the engine cannot be read a question may have any answer; afterwards the right one.
void askWhileUnreadable(Desk& desk, const PlainFirm& plain, const Step& step) {
  PersistenceFault fault;
  fault.call = 1 + step[2] % 3;
  fault.afterRecords = step[2];
  desk.faults->add(fault);
  try {
    askQuestion(desk, plain, step);
  } catch (const Disagreement&) {
  } catch (const LoadError&) {
  }
  desk.faults->clear();
  desk.context().forgetFetchFailure();
  askQuestion(desk, plain, step);
}

}  // namespace bokfolio::simulation
