// Steps with articles and with invoices that are not sent yet.
#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

bool isUnsent(const PlainInvoice& invoice) { return !invoice.isSent(); }

// Whole fours, so that with VAT they are whole fives, or any number of öre.
Amount somePrice(unsigned number) {
  return number % 2 == 0 ? whole(number % 500 * 4 + 4) : ore(number % 50'000 + 1);
}

// Percentages that a binary fraction times 100 gives back exactly.
std::optional<PlainRebate> someRebate(unsigned kind, unsigned value) {
  constexpr std::int64_t kPercents[] = {5, 10, 20, 25, 50};
  if (kind % 4 == 0) return std::nullopt;
  if (kind % 4 == 1) return PlainRebate{true, whole(value % 40 * 5 + 5)};
  return PlainRebate{false, whole(kPercents[value % 5])};
}

std::optional<std::string> typed(const std::optional<PlainRebate>& rebate) {
  if (!rebate) return std::nullopt;
  return textOf(rebate->value) + (rebate->absolute ? "" : "%");
}

// A rebate of a fixed amount wants suitable lines.
bool isReckonable(const PlainInvoice& invoice) {
  return !invoice.rebate || !invoice.rebate->absolute || invoice.suitsFixedRebate();
}

bool addLineTo(Desk& desk, PlainFirm& plain, Id invoice, unsigned article, unsigned quantity) {
  const Id id = pick(plain.articles, article);
  if (id == 0) return false;
  const PlainArticle& sold = plain.articles.at(id);
  PlainInvoice& edited = plain.invoices.edit(invoice);
  edited.lines.push_back({id, quantity % 12 + 1, sold.price, sold.vat, {}});
  if (!isReckonable(edited)) throw Unreckonable();
  auto* line = desk.context().insert<InvoiceLine>();
  line->setInvoice(desk.get<Invoice>(invoice));
  line->setArticleNumber(std::to_string(sold.number));
  line->setQuantity(quantity % 12 + 1);
  return true;
}

}  // namespace

// A late one keeps what it inherits from the article before it.
Outcome addArticle(Desk& desk, PlainFirm& plain, const Step& step) {
  constexpr int kRates[] = {25, 25, 12, 0};
  PlainArticle article{1, somePrice(step[0]), kRates[step[1] % 4], 0, 0};
  for (const auto& [id, other] : plain.articles) {
    if (other->number < article.number) continue;
    article.number = other->number + 1;
    article.sales = other->sales;
    article.vatAccount = other->vatAccount;
  }
  auto* live = desk.context().insert<Article>();
  live->setName("Article " + std::to_string(++plain.names));
  live->setPrice(decimal(article.price));
  live->setVat(article.vat);
  if (step[2] % 4 != 0) {
    desk.settle();
    article.sales = plain.roles[step[2] % 2 == 0 ? kSales : kServices];
    article.vatAccount = article.vat == 0 ? 0 : plain.roles[kOutputVat];
    live->setSalesAccount(desk.get<Account>(article.sales));
    live->setVatAccount(desk.getOrNull<Account>(article.vatAccount));
  }
  plain.articles.add(live->id(), article);
  return Outcome::Done;
}

Outcome priceArticle(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.articles, step[0]);
  if (id == 0) return Outcome::Nothing;
  plain.articles.edit(id).price = somePrice(step[1]);
  desk.get<Article>(id)->setPrice(decimal(somePrice(step[1])));
  return Outcome::Done;
}

Outcome dropArticle(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.articles, step[0]);
  if (id == 0) return Outcome::Nothing;
  bool used = false;
  for (const auto& [number, invoice] : plain.invoices)
    for (const PlainLine& line : invoice->lines) used = used || line.article == id;
  desk.context().deleteObject(desk.get<Article>(id));
  if (used) return refusedBySave(desk);
  plain.articles.drop(id);
  return Outcome::Done;
}

// A late one gets its number when the step is over.
Outcome addInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  if (plain.articles.size() == 0) return Outcome::Nothing;
  PlainInvoice invoice;
  invoice.number = plain.nextInvoiceNumber();
  invoice.date = desk.now();
  invoice.foreign = step[2] % 4 == 1;
  invoice.vatfree = step[2] % 8 == 2;
  invoice.rounding = step[2] % 16 >= 8;
  invoice.tag = step[2] % 3 == 0 ? pick(plain.tags, step[0]) : 0;
  auto* live = desk.context().insert<Invoice>();
  live->setCompany("Customer " + std::to_string(step[0]));
  live->setLanguage("en");
  live->setCurrency(!invoice.foreign ? "SEK" : step[2] % 8 == 5 ? "USD" : "EUR");
  live->setVatfree(invoice.vatfree);
  live->setRounding(invoice.rounding);
  live->setTag(desk.getOrNull<Tag>(invoice.tag));
  plain.invoices.add(live->id(), std::move(invoice));
  if (step[3] % 3 != 0) desk.settle();
  addLineTo(desk, plain, live->id(), step[0], step[1]);
  return Outcome::Done;
}

Outcome addLine(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0], isUnsent);
  if (id == 0) return Outcome::Nothing;
  return addLineTo(desk, plain, id, step[1], step[2]) ? Outcome::Done : Outcome::Nothing;
}

Outcome dropLine(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0], isUnsent);
  if (id == 0 || plain.invoices.at(id).lines.empty()) return Outcome::Nothing;
  auto& lines = plain.invoices.edit(id).lines;
  const std::size_t index = step[1] % lines.size();
  desk.context().deleteObject(desk.get<Invoice>(id)->lines().members()[index]);
  lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(index));
  return Outcome::Done;
}

Outcome rebateLine(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0], isUnsent);
  if (id == 0 || plain.invoices.at(id).lines.empty()) return Outcome::Nothing;
  PlainInvoice& invoice = plain.invoices.edit(id);
  const std::size_t index = step[1] % invoice.lines.size();
  invoice.lines[index].rebate = someRebate(step[2], step[3]);
  if (!isReckonable(invoice)) return Outcome::Nothing;
  desk.get<Invoice>(id)->lines().members()[index]->setAllowanceString(
      typed(invoice.lines[index].rebate));
  return Outcome::Done;
}

Outcome rebateInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0], isUnsent);
  if (id == 0) return Outcome::Nothing;
  PlainInvoice& invoice = plain.invoices.edit(id);
  invoice.rebate = someRebate(step[1], step[2]);
  if (!isReckonable(invoice)) return Outcome::Nothing;
  desk.get<Invoice>(id)->setAllowanceString(typed(invoice.rebate));
  return Outcome::Done;
}

Outcome tagInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0]);
  const Id tag = pick(plain.tags, step[1]);
  if (id == 0 || tag == 0) return Outcome::Nothing;
  desk.get<Invoice>(id)->setTag(plain.tags.at(tag).number);
  plain.invoices.edit(id).tag = tag;
  return Outcome::Done;
}

// One that was sent is moved and put back: its due date follows, and with that its status.
Outcome dateInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0]);
  if (id == 0) return Outcome::Nothing;
  PlainInvoice& invoice = plain.invoices.edit(id);
  const Instant before = std::exchange(invoice.date, someDate(plain, step[1]));
  auto* live = desk.get<Invoice>(id);
  live->setDate(date(invoice.date));
  if (invoice.days == 0) return Outcome::Done;
  for (const Instant moved : {invoice.date, before}) {
    invoice.date = moved;
    live->setDate(date(moved));
    expectSame("the due date of a moved invoice", id,
               live->dueDate().value_or(Date()).microseconds(), invoice.due());
    expectSame<std::int64_t>("the status of a moved invoice", id, live->status().value_or(-1),
                             invoice.statusAt(desk.now()));
  }
  return Outcome::Done;
}

Outcome duplicateInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0]);
  if (id == 0) return Outcome::Nothing;
  const PlainInvoice& source = plain.invoices.at(id);
  PlainInvoice copy;
  copy.number = plain.nextInvoiceNumber();
  copy.date = desk.now();
  copy.foreign = source.foreign;
  copy.vatfree = source.vatfree;
  copy.rounding = source.rounding;
  copy.lines = source.lines;
  copy.rebate = source.rebate;
  copy.tag = source.tag;
  plain.invoices.add(desk.get<Invoice>(id)->duplicate()->id(), std::move(copy));
  return Outcome::Done;
}

Outcome dropInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0], isUnsent);
  if (id == 0) return Outcome::Nothing;
  desk.context().deleteObject(desk.get<Invoice>(id));
  plain.invoices.drop(id);
  return Outcome::Done;
}

Outcome changeSettings(Desk& desk, PlainFirm& plain, const Step& step) {
  plain.automatic = step[0] % 5 != 0;
  plain.once = step[1] % 3 == 0;
  plain.days = static_cast<int>(step[2] % 4 + 1) * 10;
  Book* book = desk.get<Book>(plain.book);
  book->setAutoBook(plain.automatic);
  book->setDays(plain.days);
  expectTrue("the way of booking may change", book->setValidated("bookOnce", plain.once ? 1 : 0));
  return Outcome::Done;
}

}  // namespace bokfolio::simulation
