#include "bokfolio/model/ledger/row.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/internal/ordering.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription Row::table() {
  EntityTable<Row> table{std::string(kEntityName)};
  table.attribute(Slots::debit, "debit").validatedBy<&Row::validateDebit>();
  table.attribute(Slots::credit, "credit").validatedBy<&Row::validateCredit>();
  table.attribute(Slots::who, "who");
  table.attribute(Slots::when, "when");
  table.attribute(Slots::status, "status")
      .defaultValue(static_cast<std::int64_t>(RowStatus::Committed));
  table.attribute(Slots::number, "number").readBy<&Row::number>();
  table.toOne(Slots::tag, "tag", "Tag", "rows").writtenBy<&Row::setTag>();
  table.toOne(Slots::account, "account", "Account", "rows")
      .required()
      .writtenBy<&Row::setAccount>();
  table.toOne(Slots::entry, "entry", "Entry", "rows").writtenBy<&Row::setEntry>();
  table.derived<&Row::net>("net");
  table.derived<&Row::changeText>("changeText");
  table.derived<&Row::isRemoved>("isRemoved");
  table.derived<&Row::isEditable>("isEditable");
  table.derived<&Row::isEmpty>("isEmpty");
  table.derived<&Row::accountNumber, &Row::setAccountNumber>("accountNumber");
  table.derived<&Row::accountName, &Row::setAccountName>("accountName");
  table.derived<&Row::description>("description");
  table.dependsOn("changeText", {"status", "who", "when"});
  table.dependsOn("description", {"name", "number"});
  table.dependsOn("isRemoved", {"status"});
  table.dependsOn("isEditable", {"status"});
  table.dependsOn("accountNumber", {"account"});
  table.dependsOn("accountName", {"account"});
  table.dependsOn("net", {"debit", "credit", "status"});
  KeptSumDescription net;
  net.plus = "debit";
  net.minus = "credit";
  net.unless = "status";
  net.unlessValue = static_cast<std::int64_t>(RowStatus::Removed);
  net.owner = "account";
  net.mark = "tag";
  net.via = "entry";
  net.period = "fiscalYear";
  net.instant = "date";
  table.keepSum(std::move(net));
  table.byLookup();
  return table.description();
}

Predicate Row::noRemovedRows() { return Predicate("status != 1"); }

void Row::awakeFromInsert() {
  Record::awakeFromInsert();
  setPrimitive(Slots::number, environment().now().secondsSinceReferenceDate());
  setPrimitive(Slots::debit, Decimal());
  setPrimitive(Slots::credit, Decimal());
}

std::optional<std::int64_t> Row::number() const {
  if (!environment().preferences().boolForKey(kSortRowsByAccount)) return get(Slots::number);
  const Account* own = account();
  return own == nullptr ? kNumberWithoutAccount : own->number();
}

Tag* Row::tag() const { return get(Slots::tag); }

void Row::setTag(const Value& tag) {
  if (tag.string() != nullptr) {
    setNumberedObject(tag, "tag");
  } else {
    setById("tag", tag);
  }
}

Account* Row::account() const { return get(Slots::account); }

void Row::setAccount(const Value& account) { setById("account", account); }

Entry* Row::entry() const { return get(Slots::entry); }

void Row::setEntry(Entry* entry) {
  set(Slots::entry, entry);
  if (entry != nullptr) renumberRowsOf(*entry);
}

void Row::renumberRowsOf(Entry& entry) {
  struct Numbered {
    std::optional<std::int64_t> number;  // nil comes first
    Row* row;
  };
  const auto comesBefore = [](const Numbered& a, const Numbered& b) { return a.number < b.number; };
  std::vector<Numbered> rows;
  for (Row* row : entry.rows().members()) rows.push_back({row->number(), row});
  // Nearly always the new row is the last one, as it was made last.
  if (!std::is_sorted(rows.begin(), rows.end(), comesBefore))
    std::stable_sort(rows.begin(), rows.end(), comesBefore);
  std::int64_t place = 0;
  for (const Numbered& each : rows) {
    ++place;
    if (each.row->get(Slots::number) != place) each.row->setNumber(place);
  }
}

void Row::setById(std::string_view key, const Value& value) {
  if (value.isNumber()) {
    setNumberedObject(value, key);
  } else if (value.isNil() || value.record() != nullptr) {
    setObject(value, key);
  } else {
    throw ValueKindError("Row." + std::string(key) + " takes a record or a number, not " +
                         value.description());
  }
}

std::optional<std::int64_t> Row::accountNumber() const {
  const Account* own = account();
  return own == nullptr ? std::nullopt : own->number();
}

std::optional<std::string> Row::accountName() const {
  const Account* own = account();
  return own == nullptr ? std::nullopt : own->name();
}

void Row::setAccountNumber(const Value& number) { setNumberedObject(number, "account"); }

void Row::setAccountName(const Value& name) {
  Account* former = account();
  setNamedObject(name, "account");
  if (!name.isNil() && account() == nullptr) set(Slots::account, former);
}

int Row::compare(const Row& other) const {
  return internal::compareNilFirst(number(), other.number());
}

bool Row::hasStatus(RowStatus wanted) const {
  return status().value_or(0) == static_cast<std::int64_t>(wanted);
}

bool Row::isRemoved() const { return hasStatus(RowStatus::Removed); }

bool Row::isEditable() const { return hasStatus(RowStatus::Editable); }

bool Row::isEmpty() const {
  constexpr double kHalfHundredth = 0.005;
  const auto isSmall = [](const std::optional<Decimal>& amount) {
    return std::fabs(amount.value_or(Decimal()).toDouble()) < kHalfHundredth;
  };
  return account() == nullptr && tag() == nullptr && isSmall(debit()) && isSmall(credit());
}

Decimal Row::net() const {
  if (isRemoved()) return {};
  return debit().value_or(Decimal()) - credit().value_or(Decimal());
}

std::optional<std::string> Row::changeText() const {
  const auto changedBy = who();
  const auto changedAt = when();
  if (!changedBy || !changedAt) return std::nullopt;
  const Environment& host = environment();
  return host.text("Record of change",
                   {shortDate(*changedAt, host.locale(), host.timeZone()), *changedBy});
}

void Row::remove() {
  if (!hasStatus(RowStatus::Committed)) return;
  setStatus(RowStatus::Removed);
  touch();
}

void Row::touch() {
  setWho(environment().user().fullName());
  setWhen(environment().now());
}

void Row::deleteWithoutPardon() {
  setTag(nullptr);
  setAccount(nullptr);
  setEntry(nullptr);
  managedObjectContext().deleteObject(this);
}

void Row::copyOtherRow(const Row& other) {
  setTag(other.tag());
  setAccount(other.account());
  setWhen(other.when());
  setWho(other.who());
  setDebit(other.debit());
  setCredit(other.credit());
  setStatus(other.status());
  setNumber(other.number());
}

void Row::makeEntryBalanced() {
  setDebit(std::nullopt);
  setCredit(std::nullopt);
  const Entry* own = entry();
  const Decimal others = own == nullptr ? Decimal() : own->rows().sum("net");
  const bool toCredit = others.toDouble() > 0;
  setCredit(toCredit ? others : Decimal());
  setDebit(toCredit ? Decimal() : others.negated());
}

bool Row::validateDebit(std::optional<Decimal>& proposed, ErrorOut /*error*/) {
  if (!proposed) proposed = Decimal();
  return true;
}

bool Row::validateCredit(std::optional<Decimal>& proposed, ErrorOut error) {
  return validateDebit(proposed, error);
}

bool Row::validateForUpdate(ErrorOut error) {
  if (Record::validateForUpdate(error)) return validateAmounts(error);
  if (error != nullptr) rewordInheritedFailure(*error);
  return false;
}

bool Row::validateAmounts(ErrorOut error) {
  const bool hasAmount =
      !debit().value_or(Decimal()).isZero() || !credit().value_or(Decimal()).isZero();
  if (hasAmount) return true;
  if (entry() != nullptr) return refuse(error, "Invalid debit/credit for row", "debit");
  environment().log().write("Probable bug caught in -[Row validateDebit:]. Silently ignoring.");
  return true;
}

bool Row::refuse(ErrorOut error, std::string_view textKey, std::string_view failingKey) const {
  if (error == nullptr) return false;
  const Entry* own = entry();
  const std::string name = own == nullptr ? std::string() : own->name().value_or("");
  *error = Error(kStoreErrorDomain, static_cast<int>(LedgerStoreError::InvalidRow),
                 environment().text(textKey, {name}))
               .with(kValidationKeyErrorKey, std::string(failingKey));
  return false;
}

void Row::rewordInheritedFailure(std::optional<Error>& error) const {
  if (!error) return;
  if (!error->detailedErrors().empty()) {
    // Without a list to collect in, merging answers nil: the caller learns that the row is refused,
    // but not why.
    error = mergeValidationError(error, nullptr, environment());
  } else if (error->text(kValidationKeyErrorKey) == "account") {
    refuse(&error, "Invalid account for row", "account");
  }
}

}  // namespace bokfolio
