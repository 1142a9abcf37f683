// What makes an entry part of the books: its validation, the end of an edit, and filing.
#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

bool Entry::refuse(ErrorOut error, std::string_view textKey) const {
  if (error == nullptr) return false;
  internal::refuse(error, LedgerError::Invalid, textKey, environment());
  (*error)->with(kEntryDescriptionKey, description());
  return false;
}

bool Entry::validateRows(Value& proposed, ErrorOut error) {
  if (isNew()) return true;
  const RecordSet* members = proposed.records();
  if (members == nullptr || members->empty()) return refuse(error, "This entry lacks any rows.");
  Decimal balance;
  for (const Row* row : RecordSetOf<Row>(*members).members())
    if (!row->isRemoved())
      balance += row->debit().value_or(Decimal()) - row->credit().value_or(Decimal());
  const Decimal nets = members->sum("net");
  Log& log = environment().log();
  if (balance != nets)
    log.write("sum.net mismatch " + balance.toString() + " " + nets.toString() + "!");
  if (balance.isZero()) return true;
  if (error != nullptr) log.write("entry: " + description() + ". z: " + balance.toString());
  return refuse(error, "This entry is not balanced.");
}

bool Entry::validateDate(std::optional<Date>& proposed, ErrorOut error) {
  const FiscalYear* year = fiscalYear();
  if (isNew() || year == nullptr || year->containsDate(proposed)) return true;
  return refuse(error, "The date is not in the fiscal year.");
}

bool Entry::validateWithRows(ErrorOut error) {
  if (!validateForUpdate(error)) return false;
  for (Row* row : rows().members())
    if (!row->validateForUpdate(error)) return false;
  return true;
}

bool Entry::checkValidation(ErrorOut error) {
  const auto remembered = number();
  setNumber(std::nullopt);
  bool accepted = false;
  try {
    accepted = validateWithRows(error);
  } catch (...) {
    setNumber(remembered);
    throw;
  }
  setNumber(remembered);
  return accepted;
}

bool Entry::editFinished(ErrorOut error) {
  removeEmptyRows();
  if (!checkValidation(error)) return false;
  for (Row* row : rows().members()) {
    if (!row->isEditable()) continue;
    row->touch();
    row->setStatus(RowStatus::Committed);
  }
  return true;
}

std::optional<std::vector<Entry*>> Entry::fileMe(ErrorOut error) {
  std::vector<Entry*> filed;
  removeEmptyRows();
  if (!name()) setName("");
  if (!checkValidation(error)) return std::nullopt;
  const bool wasFiled = fiscalYear() != nullptr;
  if (!wasFiled) {
    FiscalYear* year = fiscalYearForFiling(error);
    if (year == nullptr) return std::nullopt;
    if (number() && !fileEarlierEntries(filed, error)) return std::nullopt;
    // Read before this entry joins the year, after the earlier ones have taken their numbers.
    const std::int64_t next = year->highestEntryNumber() + 1;
    setFiscalYear(year);
    setNumber(next);
  }
  commitRows(wasFiled);
  filed.push_back(this);
  return filed;
}

FiscalYear* Entry::fiscalYearForFiling(ErrorOut error) const {
  const auto years = FiscalYear::findFiscalYearsForDate(date(), managedObjectContext());
  if (years.size() == 1) return years.front();
  if (years.empty()) {
    internal::refuse(error, LedgerError::NoFiscalYear, "No fiscal year.", environment());
  } else {
    internal::refuse(error, LedgerError::SeveralFiscalYears, "Multiple matching fiscal years.",
                     environment());
  }
  return nullptr;
}

bool Entry::fileEarlierEntries(std::vector<Entry*>& filed, ErrorOut error) {
  auto earlier = managedObjectContext().fetchEntitiesWithName(
      kEntityName, Predicate("number == nil && date < %@", {Value(date())}));
  if (!earlier) return true;
  sortRecordsBy(*earlier, [](const Record& a, const Record& b) {
    return static_cast<const Entry&>(a).compareDateAndName(static_cast<const Entry&>(b));
  });
  for (Record* record : *earlier) {
    const auto answer = static_cast<Entry*>(record)->fileMe(error);
    if (!answer) return false;
    filed.insert(filed.end(), answer->begin(), answer->end());
  }
  return true;
}

void Entry::commitRows(bool noteChanges) {
  for (Row* row : rows().members()) {
    if (noteChanges && row->isEditable()) row->touch();
    if (row->status() != static_cast<std::int64_t>(RowStatus::Committed))
      row->setStatus(RowStatus::Committed);
  }
}

}  // namespace bokfolio
