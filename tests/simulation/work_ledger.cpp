// Steps with accounts, tags, years, openings and the plug-in's budgets.
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

// One that has no part to play.
Id pickFree(const PlainFirm& plain, unsigned which) {
  std::vector<Id> free;
  for (const auto& [id, account] : plain.accounts)
    if (std::find(plain.roles.begin(), plain.roles.end(), id) == plain.roles.end())
      free.push_back(id);
  return free.empty() ? 0 : free[which % free.size()];
}

// The plug-in requires both, so that its records must go first.
template <class Condition>
void dropBudgets(Desk& desk, PlainFirm& plain, Condition condition) {
  for (auto at = plain.budgets.begin(); at != plain.budgets.end();) {
    if (!condition(at->first)) {
      ++at;
      continue;
    }
    desk.context().deleteObject(desk.get<Budget>(at->second.id));
    at = plain.budgets.erase(at);
  }
}

template <class Condition>
void forgetOpenings(PlainFirm& plain, Condition condition) {
  std::erase_if(plain.openings, [&](const auto& item) { return condition(item.first); });
}

}  // namespace

Outcome refusedBySave(Desk& desk) {
  std::optional<Error> error;
  expectTrue("a save refuses what must not be saved", !desk.context().save(&error));
  expectTrue("a refusal has a reason", error.has_value());
  return Outcome::TakeBack;
}

void expectCode(const char* what, const std::optional<Error>& error, int code) {
  expectTrue("a refusal has a reason", error.has_value());
  expectSame<std::int64_t>(what, 0, error->code(), code);
}

Outcome addAccount(Desk& desk, PlainFirm& plain, const Step& step) {
  const std::int64_t number = 5000 + plain.accountNumbers++;
  auto* account = desk.context().insert<Account>();
  account->setNumber(number);
  account->setType(step[0] % 5);
  account->setName("Account " + std::to_string(number));
  plain.accounts.add(account->id(), {number, static_cast<int>(step[0] % 5), ""});
  return Outcome::Done;
}

// A used account asks first.
Outcome renumberAccount(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.accounts, step[0]);
  const bool agreed = step[1] != 0;
  const bool used = plain.hasRows(id) || plain.hasOpenings(id);
  const std::int64_t number = 5000 + plain.accountNumbers++;
  const std::size_t asked = desk.world.dialog->questions().size();
  if (used) desk.world.dialog->answerNext(agreed ? kSecondButton : kFirstButton);
  expectTrue("a number is accepted", desk.get<Account>(id)->setValidated("number", number));
  expectTrue("only used accounts ask",
             desk.world.dialog->questions().size() == asked + (used ? 1 : 0));
  if (!used || agreed) plain.accounts.edit(id).number = number;
  return Outcome::Done;
}

// What has an opening balance stays a balance account.
Outcome retypeAccount(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pickFree(plain, step[0]);
  if (id == 0) return Outcome::Nothing;
  constexpr int kBalanceTypes[] = {0, 1, 4};
  const int type =
      plain.hasOpenings(id) ? kBalanceTypes[step[1] % 3] : static_cast<int>(step[1] % 5);
  desk.get<Account>(id)->setType(type);
  plain.accounts.edit(id).type = type;
  return Outcome::Done;
}

Outcome dropAccount(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pickFree(plain, step[0]);
  if (id == 0) return Outcome::Nothing;
  const auto concerned = [id](const std::pair<Id, Id>& key) { return key.first == id; };
  const bool denied = plain.hasRows(id);
  dropBudgets(desk, plain, concerned);
  desk.context().deleteObject(desk.get<Account>(id));
  if (denied) return refusedBySave(desk);
  forgetOpenings(plain, concerned);
  plain.dropAccount(id);
  return Outcome::Done;
}

Outcome addTag(Desk& desk, PlainFirm& plain, const Step&) {
  std::int64_t number = 1;
  for (const auto& [id, tag] : plain.tags) number = std::max(number, tag->number + 1);
  auto* tag = desk.context().insert<Tag>();
  tag->setNumber(number);
  plain.tags.add(tag->id(), {number});
  return Outcome::Done;
}

Outcome dropTag(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.tags, step[0]);
  if (id == 0) return Outcome::Nothing;
  desk.context().deleteObject(desk.get<Tag>(id));
  plain.forgetTag(id);
  return Outcome::Done;
}

// After the last one, or now and then before the first.
Outcome addYear(Desk& desk, PlainFirm& plain, const Step& step) {
  int first = 9999;
  int last = 0;
  for (const auto& [id, year] : plain.years) {
    first = std::min(first, year->year);
    last = std::max(last, year->year);
  }
  if (plain.years.size() >= 8) return Outcome::Nothing;
  const int number = step[0] % 5 == 0 ? first - 1 : last + 1;
  FiscalYear* year =
      FiscalYear::createFiscalYearWithDate(date(instantOf(number, 180, 12)), desk.context());
  plain.years.add(year->id(), {number});
  return Outcome::Done;
}

Outcome dropYear(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.years, step[0]);
  if (plain.years.size() == 1) return Outcome::Nothing;
  const auto concerned = [id](const std::pair<Id, Id>& key) { return key.second == id; };
  const bool denied = plain.highestNumber(id) > 0;
  dropBudgets(desk, plain, concerned);
  desk.context().deleteObject(desk.get<FiscalYear>(id));
  if (denied) return refusedBySave(desk);
  forgetOpenings(plain, concerned);
  plain.years.drop(id);
  return Outcome::Done;
}

// Files an entry while a broken year lies across one that is there and the next: what is in two
// years at once is refused. Such a year never stays.
Outcome overlapYears(Desk& desk, PlainFirm& plain, const Step& step) {
  const int number = plain.years.at(pick(plain.years, step[0])).year;
  const PlainYear broken{number, true};
  auto* year = desk.context().insert<FiscalYear>();
  year->setStart(date(broken.start()));
  year->setEnd(date(broken.end()));
  const Instant noon = instantOf(number, static_cast<int>(step[3] % 365), 12);
  std::size_t holding = broken.holds(noon) ? 1 : 0;
  for (const auto& [id, other] : plain.years) holding += other->holds(noon) ? 1U : 0U;
  plain.years.add(year->id(), broken);
  Context& context = desk.context();
  expectSame("the years of a date", year->id(),
             signedCount(FiscalYear::findFiscalYearsForDate(date(noon), context).size()),
             signedCount(holding));
  expectTrue("of several years none is the one",
             (FiscalYear::findFiscalYearForDate(date(noon), context.fetch<FiscalYear>()) !=
              nullptr) == (holding == 1));
  compose(desk, plain, step);
  desk.get<Entry>(plain.newEntry)->setDate(date(noon));
  plain.entries.edit(plain.newEntry).date = noon;
  fileNewEntry(desk, plain, step);
  return Outcome::TakeBack;
}

// Nobody is there to let go what the plug-in's budgets refer to: it must stay.
Outcome dropWhileAway(Desk& desk, PlainFirm& plain, const Step& step) {
  const bool isYear = step[1] % 3 == 0;
  const auto hasBudgets = [&](Id id) {
    return std::any_of(plain.budgets.begin(), plain.budgets.end(), [&](const auto& item) {
      return id == (isYear ? item.first.second : item.first.first);
    });
  };
  // Rather one of a budget, if there is one.
  Id id = isYear ? pick(plain.years, step[0]) : pickFree(plain, step[0]);
  for (unsigned next = 0; next < 10 && !hasBudgets(id); ++next)
    id = isYear ? pick(plain.years, step[0] + next) : pickFree(plain, step[0] + next);
  if (id == 0 || (isYear && plain.years.size() == 1)) return Outcome::Nothing;
  const bool denied = hasBudgets(id) || (isYear ? plain.highestNumber(id) > 0 : plain.hasRows(id));
  isYear ? desk.context().deleteObject(desk.get<FiscalYear>(id))
         : desk.context().deleteObject(desk.get<Account>(id));
  if (denied) return refusedBySave(desk);
  forgetOpenings(plain, [=](const std::pair<Id, Id>& key) {
    return isYear ? key.second == id : key.first == id;
  });
  isYear ? plain.years.drop(id) : plain.dropAccount(id);
  return Outcome::Done;
}

Outcome setOpening(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id account =
      pick(plain.accounts, step[0], [](const PlainAccount& each) { return each.isBalance(); });
  const Id year = pick(plain.years, step[1]);
  const Amount balance = ore(static_cast<std::int64_t>(step[2]) - 30'000);
  FiscalYear* live = desk.get<FiscalYear>(year);
  StartingBalance* opening = nullptr;
  for (StartingBalance* each : live->startingBalances().members())
    if (each->account() == desk.get<Account>(account)) opening = each;
  expectTrue("an opening is where it was put",
             (opening != nullptr) == plain.openings.contains({account, year}));
  if (opening == nullptr) {
    opening = desk.context().insert<StartingBalance>();
    opening->setAccount(plain.accounts.at(account).number);
    opening->setFiscalYear(live);
  }
  opening->setBalance(decimal(balance));
  plain.openings[{account, year}] = balance;
  return Outcome::Done;
}

Outcome carryForward(Desk& desk, PlainFirm& plain, const Step& step) {
  constexpr int kNoPrecedingYear = 6;
  const Id year = pick(plain.years, step[0]);
  const bool possible = plain.previousYear(year) != 0;
  std::optional<Error> error;
  expectTrue("a year is carried forward as foreseen",
             desk.get<FiscalYear>(year)->updateStartingBalances(&error) == possible);
  if (!possible) {
    expectCode("a first year's refusal", error, kNoPrecedingYear);
    return Outcome::TakeBack;
  }
  forgetOpenings(plain, [year](const std::pair<Id, Id>& key) { return key.second == year; });
  for (const auto& [account, sum] : plain.carried(year)) plain.openings[{account, year}] = sum;
  return Outcome::Done;
}

Outcome setBudget(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id account = pick(plain.accounts, step[0]);
  const Id year = pick(plain.years, step[1]);
  PlainBudget& budget = plain.budgets[{account, year}];
  auto* live = budget.id == 0 ? desk.context().insert<Budget>() : desk.get<Budget>(budget.id);
  budget = {live->id(), ore(step[2])};
  live->setAccount(desk.get<Account>(account));
  live->setFiscalYear(desk.get<FiscalYear>(year));
  live->setAmount(decimal(budget.amount));
  return Outcome::Done;
}

Outcome noteAccount(Desk& desk, PlainFirm& plain, const Step& step) {
  const Id id = pick(plain.accounts, step[0]);
  PlainAccount& account = plain.accounts.edit(id);
  account.note = "note " + std::to_string(++plain.names);
  desk.get<Account>(id)->setValueForKey(account.note, "budgetNote");
  return Outcome::Done;
}

}  // namespace bokfolio::simulation
