// Steps with journal entries: composing, filing, correcting.
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

bool isFiled(const PlainEntry& entry) { return entry.year != 0; }
bool isPending(const PlainEntry& entry) { return entry.number == 0; }
bool hasRows(const PlainEntry& entry) { return !entry.rows.empty(); }

// A row of the entry that is not struck out; nullptr when there is none.
PlainRow* pickRow(PlainEntry& entry, unsigned which) {
  std::vector<PlainRow*> eligible;
  for (PlainRow& row : entry.rows)
    if (!row.isRemoved()) eligible.push_back(&row);
  return eligible.empty() ? nullptr : eligible[which % eligible.size()];
}

Amount someAmount(unsigned number) { return ore(number % 100'000 + 1); }

}  // namespace

Instant someNoon(const PlainFirm& plain, unsigned number) {
  const int year = plain.years.at(pick(plain.years, number)).year;
  return instantOf(year, static_cast<int>(number / 8 % 365), 12);
}

Instant someDate(const PlainFirm& plain, unsigned number) {
  const Instant noon = someNoon(plain, number);
  return number % 23 == 0 ? plain.years.at(pick(plain.years, number)).start() : noon;
}

PlainRow plainRow(const Row& row) {
  const auto idOf = [](const Record* record) { return record == nullptr ? 0 : record->id(); };
  return {idOf(row.account()), amount(row.debit().value_or(0)), amount(row.credit().value_or(0)),
          static_cast<int>(row.status().value_or(0)), idOf(row.tag())};
}

Row* findRow(Desk& desk, Id entry, const PlainRow& plain) {
  for (Row* row : desk.get<Entry>(entry)->rows().members())
    if (plainRow(*row) == plain) return row;
  throw Disagreement("a row of entry " + std::to_string(entry) + " is not what it should be");
}

Row* addRow(Desk& desk, PlainEntry& entry, Id liveEntry, Id account, Amount amount, Id tag) {
  auto* row = desk.context().insert<Row>();
  row->setAccount(desk.get<Account>(account));
  row->setTag(desk.getOrNull<Tag>(tag));
  amount < 0 ? row->setCredit(decimal(-amount)) : row->setDebit(decimal(amount));
  row->setEntry(desk.get<Entry>(liveEntry));
  entry.rows.push_back({account, amount < 0 ? 0 : amount, amount < 0 ? -amount : 0, 0, tag});
  return row;
}

void adopt(Desk& desk, PlainFirm& plain, PlainEntry made) {
  std::size_t known = 0;
  for (const auto& [id, entry] : plain.entries)
    if (entry->name == made.name) ++known;
  const auto found = desk.context().fetch<Entry>(Predicate("name == %@", {made.name}));
  expectSame<std::int64_t>("the number of entries of a name", 0,
                           static_cast<std::int64_t>(found.size()),
                           static_cast<std::int64_t>(known + 1));
  plain.entries.add(found.back()->id(), std::move(made));
}

// Dates the new entry and adds rows that balance, together with what is there already.
Outcome compose(Desk& desk, PlainFirm& plain, const Step& step) {
  PlainEntry& entry = plain.entries.edit(plain.newEntry);
  Entry* live = Entry::findTheNewInContext(desk.context());
  expectTrue("there is one new entry", live == desk.get<Entry>(plain.newEntry));
  if (entry.name.empty()) entry.name = "Entry " + std::to_string(++plain.names);
  live->setName(entry.name);
  entry.date = someDate(plain, step[3]);
  live->setDate(date(entry.date));
  const Id tag = step[4] % 2 == 0 ? 0 : pick(plain.tags, step[4]);
  for (unsigned i = 0; i <= step[0] % 3; ++i)
    addRow(desk, entry, plain.newEntry, pick(plain.accounts, step[1] + i * 5),
           someAmount(step[2] * (i + 1)), tag);
  const Amount sum = entry.sum();
  if (sum == 0) return Outcome::Done;
  const Id account = pick(plain.accounts, step[1] * 3 + step[2]);
  auto* balancing = desk.context().insert<Row>();
  balancing->setAccount(plain.accounts.at(account).number);
  balancing->setEntry(live);
  balancing->makeEntryBalanced();
  entry.rows.push_back({account, sum > 0 ? 0 : -sum, sum > 0 ? sum : 0, 0, 0});
  return Outcome::Done;
}

Outcome addLooseRow(Desk& desk, PlainFirm& plain, const Step& step) {
  addRow(desk, plain.entries.edit(plain.newEntry), plain.newEntry, pick(plain.accounts, step[0]),
         -someAmount(step[1]));
  return Outcome::Done;
}

Outcome clearRows(Desk& desk, PlainFirm& plain, const Step&) {
  for (Row* row : desk.get<Entry>(plain.newEntry)->rows().members()) row->deleteWithoutPardon();
  plain.entries.edit(plain.newEntry).rows.clear();
  return Outcome::Done;
}

Outcome copyRows(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id source = pick(plain.entries, step[0], isFiled);
  if (source == 0) return Outcome::Nothing;
  desk.get<Entry>(plain.newEntry)->copyRowsFromOtherEntry(*desk.get<Entry>(source));
  std::vector<PlainRow>& rows = plain.entries.edit(plain.newEntry).rows;
  rows.clear();
  for (PlainRow row : plain.entries.at(source).rows) {
    if (row.isRemoved()) continue;
    row.status = 0;
    rows.push_back(row);
  }
  return Outcome::Done;
}

Outcome fileNewEntry(Desk& desk, PlainFirm& plain, const Step&) {
  std::vector<Id> foreseen;
  const int code = plain.file(plain.newEntry, foreseen);
  std::optional<Error> error;
  const auto filed = desk.get<Book>(plain.book)->fileTheNewEntry(&error);
  expectTrue("filing is refused as foreseen", filed.has_value() == (code == 0));
  if (code != 0) {
    expectCode("the refusal of filing", error, code);
    return Outcome::TakeBack;
  }
  std::vector<Id> ids;
  for (const Entry* entry : *filed) ids.push_back(entry->id());
  expectTrue("entries are filed in their order", ids == foreseen);
  auto* next = desk.context().insert<Entry>();
  plain.newEntry = next->id();
  plain.entries.add(next->id(), {"", kNewNumber, *plain.latestFiledDate(), 0, {}, 0});
  return Outcome::Done;
}

Outcome book(Desk& desk, PlainFirm& plain, const Step& step) {
  compose(desk, plain, step);
  return fileNewEntry(desk, plain, step);
}

Outcome addPending(Desk& desk, PlainFirm& plain, const Step& step) {
  PlainEntry entry{"Entry " + std::to_string(++plain.names), 0, someNoon(plain, step[2]), 0, {}, 0};
  auto* live = desk.context().insert<Entry>();
  live->setNumber(std::nullopt);
  live->setName(entry.name);
  live->setDate(date(entry.date));
  const Amount amount = someAmount(step[1]);
  addRow(desk, entry, live->id(), pick(plain.accounts, step[0]), amount, pick(plain.tags, step[1]));
  addRow(desk, entry, live->id(), pick(plain.accounts, step[0] * 3 + step[1]), -amount);
  plain.entries.add(live->id(), std::move(entry));
  return Outcome::Done;
}

// Strikes a row out and books its amount on another account.
Outcome correctRow(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.entries, step[0], isFiled);
  if (id == 0) return Outcome::Nothing;
  PlainEntry& entry = plain.entries.edit(id);
  PlainRow* struck = pickRow(entry, step[1]);
  if (struck == nullptr || struck->net() == 0) return Outcome::Nothing;
  const Amount net = struck->net();
  Row* removed = findRow(desk, id, *struck);
  removed->remove();
  struck->status = 1;
  expectTrue("a struck row counts nothing", removed->isRemoved() && removed->net().isZero());
  Row* added = addRow(desk, entry, id, pick(plain.accounts, step[2]), net, struck->tag);
  added->setStatus(RowStatus::Editable);
  expectTrue("a correction is accepted", desk.get<Entry>(id)->editFinished());
  for (const Row* row : {removed, added})
    expectTrue("a correction is signed", row->who() && row->when() == desk.world.clock->now());
  return Outcome::Done;
}

// The same amount more on one debit and one credit.
Outcome adjustRows(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.entries, step[0], isFiled);
  if (id == 0) return Outcome::Nothing;
  PlainEntry& entry = plain.entries.edit(id);
  PlainRow* debit = nullptr;
  PlainRow* credit = nullptr;
  for (PlainRow& row : entry.rows) {
    if (row.isRemoved()) continue;
    if (row.debit > 0) debit = &row;
    if (row.credit > 0) credit = &row;
  }
  if (debit == nullptr || credit == nullptr || debit == credit) return Outcome::Nothing;
  Row* debited = findRow(desk, id, *debit);
  Row* credited = findRow(desk, id, *credit);
  debit->debit += someAmount(step[1]);
  credit->credit += someAmount(step[1]);
  debited->setDebit(decimal(debit->debit));
  credited->setCredit(decimal(credit->credit));
  return Outcome::Done;
}

Outcome unbalance(Desk& desk, PlainFirm& plain, const Step& step) {
  constexpr int kInvalid = 1;
  const Id id = pick(plain.entries, step[0], isFiled);
  PlainRow* row = id == 0 ? nullptr : pickRow(plain.entries.edit(id), step[1]);
  if (row == nullptr) return Outcome::Nothing;
  findRow(desk, id, *row)->setDebit(decimal(row->debit + someAmount(step[2])));
  std::optional<Error> error;
  expectTrue("an unbalanced edit is refused", !desk.get<Entry>(id)->editFinished(&error));
  expectCode("the refusal of an edit", error, kInvalid);
  return Outcome::TakeBack;
}

Outcome moveEntry(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.entries, step[0]);
  PlainEntry& entry = plain.entries.edit(id);
  entry.date = isPending(entry) ? someNoon(plain, step[1]) : someDate(plain, step[1]);
  const bool allowed = !isFiled(entry) || plain.years.at(entry.year).holds(entry.date);
  expectTrue("an entry stays in its year",
             desk.get<Entry>(id)->setValidated("date", date(entry.date)) == allowed);
  return allowed ? Outcome::Done : Outcome::TakeBack;
}

Outcome tagRow(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.entries, step[0], hasRows);
  PlainRow* row = id == 0 ? nullptr : pickRow(plain.entries.edit(id), step[1]);
  if (row == nullptr) return Outcome::Nothing;
  const Id tag = step[2] == 0 ? 0 : pick(plain.tags, step[2]);
  Row* live = findRow(desk, id, *row);
  tag == 0 ? live->setTag(nullptr) : live->setTag(plain.tags.at(tag).number);
  row->tag = tag;
  return Outcome::Done;
}

Outcome moveRow(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.entries, step[0], hasRows);
  PlainRow* row = id == 0 ? nullptr : pickRow(plain.entries.edit(id), step[1]);
  if (row == nullptr) return Outcome::Nothing;
  const Id account = pick(plain.accounts, step[2]);
  findRow(desk, id, *row)->setAccountNumber(std::to_string(plain.accounts.at(account).number));
  row->account = account;
  return Outcome::Done;
}

Outcome dropPending(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.entries, step[0], isPending);
  if (id == 0) return Outcome::Nothing;
  desk.context().deleteObject(desk.get<Entry>(id));
  plain.entries.drop(id);
  return Outcome::Done;
}

Outcome saveUnbalanced(Desk& desk, PlainFirm& plain, const Step& step) {
  auto* live = desk.context().insert<Entry>();
  live->setNumber(std::nullopt);
  PlainEntry entry;
  addRow(desk, entry, live->id(), pick(plain.accounts, step[0]), someAmount(step[1]));
  return refusedBySave(desk);
}

}  // namespace bokfolio::simulation
