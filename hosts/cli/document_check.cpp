#include "document_check.hpp"

#include <set>
#include <utility>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "ledger_output.hpp"
#include "lookup.hpp"

namespace bokfolio::cli {

namespace {

template <class T>
std::vector<T*> ordered(Context& context, const char* key) {
  return context.fetch<T>(std::nullopt, std::vector{SortDescriptor(key)});
}

std::string yearTitle(const FiscalYear& year) { return "year " + year.name().value_or("?"); }

}  // namespace

DocumentCheck::DocumentCheck(Host& host, Context& context,
                             std::function<void(const Finding&)> report)
    : host_(host), context_(context), report_(std::move(report)) {}

DocumentCheck::Counts DocumentCheck::run() {
  checkStore();
  checkBook();
  checkAccounts();
  checkTags();
  checkYears();
  checkStartingBalances();
  checkUnfiled();
  checkLooseRows();
  return counts_;
}

void DocumentCheck::fault(const std::string& subject, const std::string& message) {
  ++counts_.faults;
  report_({Finding::Weight::Fault, subject, message});
}

void DocumentCheck::remark(const std::string& subject, const std::string& message) {
  ++counts_.remarks;
  report_({Finding::Weight::Remark, subject, message});
}

void DocumentCheck::checkStore() {
  std::optional<Error> error;
  if (!context_.persistence().verify(&error)) {
    fault("file", error ? error->localizedDescription() : "is damaged");
  }
  for (const std::string& wrong : context_.verify()) fault("store", wrong);
}

void DocumentCheck::checkBook() {
  const std::size_t books = context_.count(Book::kEntityName);
  if (books != 1) fault("book", "there are " + std::to_string(books) + " of them, not one");
}

void DocumentCheck::checkAccounts() {
  std::optional<std::int64_t> before;
  for (const Account* account : ordered<Account>(context_, "number")) {
    ++counts_.accounts;
    const std::string subject = "account " + account->description();
    if (!account->number()) {
      fault(subject, "has no number");
    } else if (before == account->number()) {
      fault(subject, "another account has the same number");
    }
    before = account->number();
    if (typeWord(account->type().value_or(0)).empty()) {
      fault(subject, "is of unknown type " + std::to_string(*account->type()));
    }
  }
}

void DocumentCheck::checkTags() {
  std::optional<std::int64_t> before;
  for (const Tag* tag : ordered<Tag>(context_, "number")) {
    ++counts_.tags;
    const std::string subject = "tag " + tag->name().value_or("?");
    if (!tag->number()) {
      fault(subject, "has no number");
    } else if (before == tag->number()) {
      fault(subject, "another tag has the number " + std::to_string(*before));
    }
    before = tag->number();
  }
}

void DocumentCheck::checkYears() {
  const FiscalYear* before = nullptr;
  for (FiscalYear* year : ordered<FiscalYear>(context_, "start")) {
    ++counts_.years;
    const std::string subject = yearTitle(*year);
    if (!year->start() || !year->end() || !(*year->start() < *year->end())) {
      fault(subject, "does not end later than it starts");
    } else if (before != nullptr && *year->start() < *before->end()) {
      fault(subject, "overlaps " + yearTitle(*before));
    }
    if (year->start() && year->end()) before = year;
    checkYear(*year);
  }
}

void DocumentCheck::checkYear(FiscalYear& year) {
  std::map<std::int64_t, std::size_t> numbers;
  const auto entries =
      context_.fetch<Entry>(year.predicate(), std::vector{SortDescriptor("number")});
  for (const Entry* entry : entries) {
    checkEntry(*entry);
    if (entry->isNew() || !entry->number()) {
      fault(entryTitle(*entry), "is in " + yearTitle(year) + " without a number of its own");
    } else {
      ++numbers[*entry->number()];
    }
  }
  checkNumbers(year, numbers);
}

void DocumentCheck::checkNumbers(FiscalYear& year, std::map<std::int64_t, std::size_t>& numbers) {
  std::int64_t expected = 1;
  for (const auto& [number, times] : numbers) {
    const std::string subject =
        "entry " + std::to_string(number) + " of " + year.name().value_or("?");
    if (times > 1) fault(subject, "there are " + std::to_string(times) + " of that number");
    if (number < 1) fault(subject, "numbers begin with 1");
    if (number == expected + 1) {
      fault("entry " + std::to_string(expected) + " of " + year.name().value_or("?"),
            "is missing from the numbers");
    } else if (number > expected) {
      fault("entries " + std::to_string(expected) + " to " + std::to_string(number - 1) + " of " +
                year.name().value_or("?"),
            "are missing from the numbers");
    }
    expected = number + 1;
  }
}

void DocumentCheck::checkStartingBalances() {
  std::set<std::pair<const Record*, const Record*>> seen;
  for (const StartingBalance* balance : context_.fetch<StartingBalance>()) {
    const Account* account = balance->account();
    const FiscalYear* year = balance->fiscalYear();
    const std::string subject =
        "opening balance of " + (account != nullptr ? account->description() : "no account");
    if (account == nullptr) fault(subject, "belongs to no account");
    if (year == nullptr) fault(subject, "belongs to no fiscal year");
    if (account != nullptr && !account->balanceAccount()) {
      fault(subject, "income and costs have none");
    }
    if (account != nullptr && year != nullptr && !seen.insert({account, year}).second) {
      fault(subject, "there is more than one in " + yearTitle(*year));
    }
  }
  for (const FiscalYear* year : ordered<FiscalYear>(context_, "start")) {
    const Decimal sum = year->startingBalances().sum("balance");
    if (sum.isZero()) continue;
    remark(yearTitle(*year), "opening balances are off zero by " + host_.amount(sum));
  }
}

// Entries without year: the new one, and those that wait to be filed.
void DocumentCheck::checkUnfiled() {
  std::size_t waiting = 0;
  std::size_t fresh = 0;
  for (const Entry* entry : context_.fetch<Entry>(Predicate("fiscalYear == nil"))) {
    if (entry->isNew()) {
      ++fresh;
      continue;
    }
    checkEntry(*entry);
    if (entry->number()) fault(entryTitle(*entry), "has a number and no fiscal year");
    if (!entry->number()) ++waiting;
  }
  if (fresh > 1) fault("new entry", "there are " + std::to_string(fresh) + " of them");
  if (waiting > 0) {
    remark("entries", std::to_string(waiting) + " wait to be filed");
  }
}

void DocumentCheck::checkEntry(const Entry& entry) {
  ++counts_.entries;
  checkDate(entry);
  checkBalanced(entry);
  const std::string subject = entryTitle(entry);
  std::set<std::int64_t> places;
  for (const Row* row : rowsOf(entry)) {
    const std::string place = std::to_string(placeOf(*row));
    if (!places.insert(placeOf(*row)).second) {
      fault(subject, "has more than one row " + place);
    }
    checkRow(*row, "row " + place + " of " + subject);
  }
}

void DocumentCheck::checkDate(const Entry& entry) {
  const FiscalYear* year = entry.fiscalYear();
  if (!entry.date()) {
    fault(entryTitle(entry), "has no date");
  } else if (year != nullptr && !year->containsDate(entry.date())) {
    fault(entryTitle(entry), "is dated " + host_.day(entry.date()) + ", outside its fiscal year");
  }
}

void DocumentCheck::checkBalanced(const Entry& entry) {
  Decimal difference;
  std::size_t rows = 0;
  for (const Row* row : entry.rows().members()) {
    ++rows;
    if (row->isRemoved()) continue;
    difference += row->debit().value_or(Decimal()) - row->credit().value_or(Decimal());
  }
  if (rows == 0) fault(entryTitle(entry), "has no rows");
  if (difference.isZero()) return;
  fault(entryTitle(entry), difference.isNegative()
                               ? "credit exceeds debit by " + host_.amount(difference.negated())
                               : "debit exceeds credit by " + host_.amount(difference));
}

void DocumentCheck::checkRow(const Row& row, const std::string& subject) {
  ++counts_.rows;
  if (row.account() == nullptr) fault(subject, "has no account");
  const bool blank =
      row.debit().value_or(Decimal()).isZero() && row.credit().value_or(Decimal()).isZero();
  if (blank) fault(subject, "has no amount");
  if (row.isRemoved() && (!row.who() || !row.when())) {
    fault(subject, "is struck without telling by whom and when");
  }
  if (row.isEditable() && row.entry()->fiscalYear() != nullptr) {
    fault(subject, "belongs to an edit that was not finished");
  }
}

void DocumentCheck::checkLooseRows() {
  const std::size_t loose = context_.count(Row::kEntityName, Predicate("entry == nil"));
  if (loose > 0) fault("rows", std::to_string(loose) + " belong to no entry");
}

}  // namespace bokfolio::cli
