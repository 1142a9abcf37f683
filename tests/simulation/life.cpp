#include "tests/simulation/life.hpp"

#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "tests/simulation/work.hpp"

namespace bokfolio::simulation {

namespace {

constexpr struct {
  std::int64_t number;
  AccountType type;
} kRoleAccounts[kRoles] = {
    {1930, AccountType::Asset},         {1510, AccountType::Asset},
    {2440, AccountType::DebtAndEquity}, {2611, AccountType::DebtAndEquity},
    {2641, AccountType::Asset},         {3001, AccountType::Income},
    {3041, AccountType::Income},        {3740, AccountType::Income},
    {3960, AccountType::Income},        {7960, AccountType::Cost},
    {4010, AccountType::Cost},          {8999, AccountType::Cost},
};

void makeAccounts(Context& context, PlainFirm& plain) {
  for (std::size_t role = 0; role < kRoles; ++role) {
    auto* account = context.insert<Account>();
    account->setNumber(kRoleAccounts[role].number);
    account->setType(kRoleAccounts[role].type);
    account->setName("Account " + std::to_string(kRoleAccounts[role].number));
    plain.roles[role] = account->id();
    plain.accounts.add(account->id(), {kRoleAccounts[role].number,
                                       static_cast<int>(kRoleAccounts[role].type), ""});
  }
}

}  // namespace

std::string inWords(Amount amount) { return textOf(amount); }

Life::Life(bool sqlite) : desk_(sqlite) {
  Context& context = desk_.context();
  Book* book = Book::createDefaultInContext(context);
  book->setCurrency("SEK");
  book->setVatMode(0);
  makeAccounts(context, now_);
  const auto account = [&](Role role) { return desk_.get<Account>(now_.roles[role]); };
  book->setAccountsReceivable(account(kReceivable));
  book->setRoundingAccount(account(kRounding));
  book->setCurrencyGains(account(kGains));
  book->setCurrencyLosses(account(kLosses));
  book->setResults(account(kResults));
  now_.book = book->id();
  now_.years.add(context.fetchFirst<FiscalYear>()->id(), {2009});
  const Entry* entry = Entry::findTheNewInContext(context);
  now_.newEntry = entry->id();
  now_.entries.add(entry->id(), {"", kNewNumber, desk_.now(), 0, {}, 0});
  save(false);
}

void Life::change(const Work& work) {
  Context& context = desk_.context();
  const bool joining = std::exchange(joining_, false);
  const bool unrecorded = std::exchange(unrecorded_, false);
  PlainFirm next = now_;
  next.dump = std::make_shared<Dump>();
  if (unrecorded) {
    context.setUndoEnabled(false);
    open_ = false;
    forgetSteps();
  }
  Outcome outcome = Outcome::Nothing;
  try {
    outcome = work(desk_, next);
  } catch (const Unreckonable&) {
    // Plans are made before anything is touched.
  }
  ++tally_[current_][static_cast<std::size_t>(outcome)];
  const bool wasOpen = std::exchange(open_, false);
  if (outcome != Outcome::Nothing) {
    next.mark = ++marks_;
    desk_.get<Book>(now_.book)->setVatMode(next.mark);
  }
  if (outcome == Outcome::TakeBack) {
    takeBack(wasOpen, unrecorded);
  } else if (outcome == Outcome::Done) {
    if (!wasOpen && !unrecorded) undo_.push_back(now_);
    redo_.clear();
    now_ = std::move(next);
    open_ = joining && !unrecorded;
  } else {
    open_ = wasOpen;
  }
  if (!open_) context.closeUndoGroup();
  // What a record does a moment after its insertion belongs to the group of that insertion.
  if (desk_.world.runLoop->pending() > 0) desk_.settle();
  if (unrecorded) context.setUndoEnabled(true);
  compareState();
}

// The group of a refused step holds what came before in the same group, too.
void Life::takeBack(bool wasOpen, bool unrecorded) {
  Context& context = desk_.context();
  context.closeUndoGroup();
  if (unrecorded || ++takenBack_ % 6 == 0) return rollback();
  if (wasOpen) {
    now_ = std::move(undo_.back());
    undo_.pop_back();
  }
  expectTrue("what was refused can be undone", context.undo());
  redo_.clear();
  redo_.emplace_back();
}

void Life::forgetSteps() {
  undo_.clear();
  redo_.clear();
}

void Life::undo() {
  expectTrue("undo answers as foreseen", desk_.context().undo() == !undo_.empty());
  open_ = false;
  if (!undo_.empty()) {
    redo_.emplace_back(std::move(now_));
    now_ = std::move(undo_.back());
    undo_.pop_back();
  }
  compareState();
}

void Life::redo() {
  Context& context = desk_.context();
  expectTrue("redo answers as foreseen", context.redo() == !redo_.empty());
  if (!redo_.empty() && redo_.back()) {
    undo_.push_back(std::move(now_));
    now_ = std::move(*redo_.back());
    redo_.pop_back();
  } else if (!redo_.empty()) {
    expectTrue("a repeated step can be undone", context.undo());
  }
  compareState();
}

void Life::rollback() {
  desk_.context().rollback();
  now_ = saved_;
  open_ = false;
  forgetSteps();
  expectTrue("a rollback leaves no changes", !desk_.context().hasChanges());
  compareState();
}

void Life::save(bool reopened) {
  std::optional<Error> error;
  if (!desk_.context().save(&error))
    throw Disagreement("a save is refused: " +
                       (error ? error->localizedDescription() : std::string("without a reason")));
  saved_ = now_;
  open_ = false;
  forgetSteps();
  expectTrue("a save leaves no changes", !desk_.context().hasChanges());
  if (reopened) reopen();
  compareState();
}

void Life::failToSave() {
  PersistenceFault fault;
  fault.operation = PersistenceOperation::Commit;
  desk_.faults->add(fault);
  const bool changed = desk_.context().hasChanges();
  expectTrue("what differs from the saved state is a change", changed || now_.mark == saved_.mark);
  expectTrue("a save fails with its engine", desk_.context().save() == !changed);
  expectTrue("a failed save leaves its changes", desk_.context().hasChanges() == changed);
  desk_.faults->clear();
  if (!changed) {
    open_ = false;
    forgetSteps();
  }
  compareState();
}

void Life::abandon() {
  reopen();
  now_ = saved_;
  open_ = false;
  forgetSteps();
  compareState();
}

void Life::changeWithoutPlugin(const Work& work) {
  save(false);
  reopen(Desk::Plugin::Away);
  change(work);
  save(true);
}

void Life::linkPastUndo(unsigned which) {
  const Id id = pick(now_.articles, which);
  if (id == 0) return;
  Context& context = desk_.context();
  context.closeUndoGroup();
  open_ = false;
  auto* article = desk_.get<Article>(id);
  const Value before = article->primitiveValueForKey("salesAccount");
  auto* account = context.insert<Account>();
  context.closeUndoGroup();
  article->setPrimitiveValueForKey(Value(account), "salesAccount");
  for (const bool isBack : {false, true, false}) {
    expectTrue("what was inserted comes and goes", isBack ? context.redo() : context.undo());
    expectSameId("a link past undo", id, article->salesAccount(), isBack ? account->id() : 0);
  }
  article->setPrimitiveValueForKey(before, "salesAccount");
  redo_.clear();
  redo_.emplace_back();
  // So that the account can never come back.
  change([](Desk&, PlainFirm&) { return Outcome::Done; });
}

void Life::reopen(Desk::Plugin plugin) {
  watched_.clear();
  desk_.reopen(plugin);
}

void Life::observe(unsigned kind, unsigned which) {
  constexpr std::size_t kAtMost = 6;
  const auto watch = [this](Record* record, const char* key) {
    watched_.push_back(desk_.context().observe(*record, key, [record, key](const Change& change) {
      if (change.phase == Change::Phase::Did && !record->isGone() && !record->isDeleted())
        record->valueForKey(key);
    }));
  };
  if (watched_.size() == kAtMost) watched_.erase(watched_.begin());
  const Id account = pick(now_.accounts, which);
  const Id entry = pick(now_.entries, which);
  const Id invoice = pick(now_.invoices, which);
  if (kind % 3 == 0) watch(desk_.get<Account>(account), "balance");
  if (kind % 3 == 1) watch(desk_.get<Entry>(entry), "rows");
  if (kind % 3 == 2 && invoice != 0) watch(desk_.get<Invoice>(invoice), "totalAmount");
}

void Life::compareDump() {
  Dump seen = desk_.dump();
  if (now_.dump->empty()) {
    *now_.dump = std::move(seen);
    return;
  }
  for (const auto& [record, text] : *now_.dump) {
    const auto found = seen.find(record);
    if (found == seen.end()) throw Disagreement(record + " is missing");
    if (found->second != text)
      throw Disagreement(record + " is\n  " + found->second + "\nand was\n  " + text);
  }
  for (const auto& [record, text] : seen)
    if (!now_.dump->contains(record)) throw Disagreement(record + " was not there before: " + text);
}

// What is cheap enough to be asked after every step.
void Life::compareState() {
  Context& context = desk_.context();
  expectTrue("undo is offered as foreseen", context.canUndo() == !undo_.empty());
  expectTrue("redo is offered as foreseen", context.canRedo() == !redo_.empty());
  expectSame("the mark of the state", now_.book, desk_.get<Book>(now_.book)->vatMode().value_or(-1),
             now_.mark);
}

void Life::finish() {
  for (const bool reopened : {false, true}) {
    auditLedger(desk_, now_);
    auditInvoicing(desk_, now_);
    auditInverses(desk_);
    desk_.verify();
    compareDump();
    if (!reopened) save(true);
  }
}

}  // namespace bokfolio::simulation
