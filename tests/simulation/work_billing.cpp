// Steps in the life of invoices that are sent, and with bills.
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

// An entry of a bill, without rows and not filed.
Entry* insertEntryOf(Desk& desk, const PlainEntry& entry) {
  auto* live = desk.context().insert<Entry>();
  live->setNumber(std::nullopt);
  live->setName(entry.name);
  live->setDate(date(entry.date));
  live->setSupplierInvoice(desk.get<SupplierInvoice>(entry.bill));
  return live;
}

// What came of a step in an invoice's life: the refusal that was foreseen, or the entry. An entry
// that could not be filed, as a part of a loss may leave it, is the host's to take back.
Outcome conclude(Desk& desk, PlainFirm& plain, bool done, const std::optional<Error>& error,
                 int code, std::optional<PlainEntry>& made) {
  if (done != (code == 0))
    throw Disagreement("an invoice was foreseen to end with code " + std::to_string(code) +
                       ", the library says " +
                       (error ? error->localizedDescription() : std::string("nothing")));
  if (code != 0) {
    if (error) expectCode("an invoice's refusal", error, code);
    return Outcome::TakeBack;
  }
  if (!made) return Outcome::Done;
  const bool bookable = made->isBookable();
  adopt(desk, plain, std::move(*made));
  return bookable ? Outcome::Done : Outcome::TakeBack;
}

Amount roundedDown(Amount amount) { return amount - amount % kOre; }

bool canBePaid(const PlainInvoice& invoice) {
  return (invoice.status == 1 || invoice.status == 4 || invoice.status == 5 ||
          invoice.status == 7) &&
         invoice.remaining() > 0;
}

// One that may be returned or lost, now and then any.
Id pickEnding(const PlainFirm& plain, const Step& step) {
  const bool any = step[1] == 7;
  return pick(plain.invoices, step[0], [any](const PlainInvoice& invoice) {
    return any || (invoice.isSent() && invoice.status != 6 && invoice.status != 8);
  });
}

}  // namespace

Outcome sendInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  constexpr int kNoLines = 5;
  const Amount rates[] = {whole(8), whole(21) / 2, whole(45) / 4};
  const Id id = pick(plain.invoices, step[0], [](const PlainInvoice& invoice) {
    return !invoice.isSent() && (invoice.lines.empty() || invoice.total() > 0);
  });
  if (id == 0) return Outcome::Nothing;
  const Amount rate = rates[step[1] % 3];
  std::optional<PlainEntry> made;
  const int code = plain.invoices.at(id).lines.empty() ? kNoLines : plain.send(id, rate, made);
  std::optional<Error> error;
  const bool done = desk.get<Invoice>(id)->sendMeWithExchangeRate(decimal(rate), &error);
  return conclude(desk, plain, done, error, code, made);
}

Outcome remindInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0]);
  if (id == 0) return Outcome::Nothing;
  PlainInvoice& invoice = plain.invoices.edit(id);
  const int before = invoice.statusAt(desk.now());
  if (before == 2 || before == 4) invoice.status = before == 2 ? 4 : 5;
  desk.get<Invoice>(id)->reminder();
  return Outcome::Done;
}

// In full a foreign invoice brings a little more or less than was booked; in part a home one may
// bring too much.
Outcome payInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.invoices, step[0], canBePaid);
  if (id == 0) return Outcome::Nothing;
  const PlainInvoice& invoice = plain.invoices.at(id);
  const bool full = step[2] % 2 != 0;
  const auto part = static_cast<std::int64_t>(step[1] % 105);
  Amount amount = invoice.remaining();
  if (full && (invoice.foreign || part == 0)) {
    amount += ore(part - 50);
  } else if (!full && part == 50) {
    amount = share(amount, 1, 2);
  } else if (!full) {
    amount = roundedDown(amount * part / 100) + (part > 100 ? kOre : 0);
  }
  if (amount <= 0) return Outcome::Nothing;
  std::optional<PlainEntry> made;
  const int code = plain.pay(id, amount, full, desk.now(), made);
  std::optional<Error> error;
  const bool done =
      desk.get<Invoice>(id)->payMeWithFinalAmount(decimal(amount), desk.world.clock->now(), full,
                                                  desk.get<Account>(plain.roles[kBank]), &error);
  return conclude(desk, plain, done, error, code, made);
}

Outcome returnInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pickEnding(plain, step);
  if (id == 0) return Outcome::Nothing;
  const bool toBank = step[1] % 4 != 0;
  std::optional<PlainEntry> made;
  const int code = plain.giveBack(id, toBank, desk.now(), made);
  std::optional<Error> error;
  const bool done = desk.get<Invoice>(id)->registerReturnWithError(
      &error, toBank ? desk.get<Account>(plain.roles[kBank]) : nullptr);
  return conclude(desk, plain, done, error, code, made);
}

Outcome loseInvoice(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pickEnding(plain, step);
  if (id == 0) return Outcome::Nothing;
  std::optional<PlainEntry> made;
  const int code = plain.writeOff(id, desk.now(), made);
  std::optional<Error> error;
  const bool done = desk.get<Invoice>(id)->registerCustomerLossWithError(&error);
  return conclude(desk, plain, done, error, code, made);
}

Outcome addBill(Desk& desk, PlainFirm& plain, const Step& step) {
  PlainBill bill;
  bill.tag = step[2] % 2 == 0 ? 0 : pick(plain.tags, step[2]);
  auto* live = desk.context().insert<SupplierInvoice>();
  live->setName("Supplier " + std::to_string(step[0]));
  live->setCreditAccount(desk.get<Account>(plain.roles[kPayable]));
  live->setTag(desk.getOrNull<Tag>(bill.tag));
  for (unsigned i = 0; i <= step[0] % 3; ++i) {
    bill.lines.push_back({ore((step[1] * (i + 1)) % 80'000 + 1), (step[0] + i) % 4 == 0 ? 0 : 25,
                          i == 0 ? plain.roles[kPurchases] : pick(plain.accounts, step[1] + i)});
    auto* line = desk.context().insert<SupplierInvoiceLine>();
    line->setAmount(decimal(bill.lines.back().amount));
    line->setVat(bill.lines.back().vat);
    line->setAccount(desk.get<Account>(bill.lines.back().account));
    line->setVatAccount(desk.get<Account>(plain.roles[kInputVat]));
    line->setInvoice(live);
  }
  plain.bills.add(live->id(), std::move(bill));
  return Outcome::Done;
}

Outcome bookBill(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.bills, step[0], [&](const PlainBill& bill) {
    return !bill.booked && std::all_of(bill.lines.begin(), bill.lines.end(), [&](auto& line) {
      return plain.accounts.find(line.account) != nullptr;
    });
  });
  if (id == 0) return Outcome::Nothing;
  PlainBill& bill = plain.bills.edit(id);
  PlainEntry entry{"Bill " + std::to_string(++plain.names), 0, desk.now(), 0, {}, id};
  Entry* live = insertEntryOf(desk, entry);
  for (const SupplierInvoiceLine* line : desk.get<SupplierInvoice>(id)->lines().members())
    line->addPurchaseRowsToEntry(*live);
  for (const PlainBillLine& line : bill.lines) {
    entry.rows.push_back({line.account, line.amount, 0, 0, bill.tag});
    if (line.vat != 0)
      entry.rows.push_back({plain.roles[kInputVat], percent(line.amount, line.vat), 0, 0, 0});
  }
  addRow(desk, entry, live->id(), plain.roles[kPayable], -bill.amountInclVat());
  plain.entries.add(live->id(), std::move(entry));
  bill.booked = true;
  return Outcome::Done;
}

Outcome payBill(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id =
      pick(plain.bills, step[0], [](const PlainBill& bill) { return bill.booked && !bill.paid; });
  if (id == 0) return Outcome::Nothing;
  PlainBill& bill = plain.bills.edit(id);
  PlainEntry entry{"Bill " + std::to_string(++plain.names), 0, desk.now(), 0, {}, id};
  Entry* live = insertEntryOf(desk, entry);
  addRow(desk, entry, live->id(), plain.roles[kPayable], bill.amountInclVat());
  addRow(desk, entry, live->id(), plain.roles[kBank], -bill.amountInclVat());
  plain.entries.add(live->id(), std::move(entry));
  desk.get<SupplierInvoice>(id)->setPaidDate(desk.world.clock->now());
  bill.paid = true;
  return Outcome::Done;
}

// Its entries stay in the books.
Outcome dropBill(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.bills, step[0]);
  if (id == 0) return Outcome::Nothing;
  desk.context().deleteObject(desk.get<SupplierInvoice>(id));
  std::vector<Id> entries;
  for (const auto& [entry, content] : plain.entries)
    if (content->bill == id) entries.push_back(entry);
  for (const Id entry : entries) plain.entries.edit(entry).bill = 0;
  plain.bills.drop(id);
  return Outcome::Done;
}

}  // namespace bokfolio::simulation
