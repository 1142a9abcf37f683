// Work: the steps that change something, each done at the desk and in the plain book, and the short
// words they share. A step first foresees what must happen, then does it.
#pragma once

#include <optional>
#include <string>

#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "tests/simulation/life.hpp"

namespace bokfolio::simulation {

using Changing = Outcome(Desk& desk, PlainFirm& plain, const Step& step);

// --- work_ledger.cpp, work_entries.cpp
Changing addAccount, renumberAccount, retypeAccount, dropAccount, addTag, dropTag, addYear,
    dropYear, overlapYears, dropWhileAway, setOpening, carryForward, setBudget, noteAccount;
Changing compose, addLooseRow, clearRows, copyRows, fileNewEntry, book, addPending, correctRow,
    adjustRows, unbalance, moveEntry, tagRow, moveRow, dropPending, saveUnbalanced;
// --- work_invoices.cpp, work_billing.cpp
Changing addArticle, priceArticle, dropArticle, addInvoice, addLine, dropLine, rebateLine,
    rebateInvoice, tagInvoice, dateInvoice, duplicateInvoice, dropInvoice, changeSettings;
Changing sendInvoice, remindInvoice, payInvoice, returnInvoice, loseInvoice, addBill, bookBill,
    payBill, dropBill;

// --- Shared words
// One of those that satisfy the condition; 0 when none does.
template <class T, class Condition>
Id pick(const Shelf<T>& shelf, unsigned which, Condition condition) {
  std::vector<Id> eligible;
  for (const auto& [id, content] : shelf)
    if (condition(*content)) eligible.push_back(id);
  return eligible.empty() ? 0 : eligible[which % eligible.size()];
}
template <class T>
Id pick(const Shelf<T>& shelf, unsigned which) {
  return pick(shelf, which, [](const T&) { return true; });
}

inline Date date(Instant instant) { return Date::fromMicroseconds(instant); }
// Noon of a day of one of the years; someDate is now and then the first instant of a year, which is
// in none. What waits to be filed and is in no year keeps everything after it from being filed.
Instant someNoon(const PlainFirm& plain, unsigned number);
Instant someDate(const PlainFirm& plain, unsigned number);
// A row of both books; positive amounts are debits.
Row* addRow(Desk& desk, PlainEntry& entry, Id liveEntry, Id account, Amount amount, Id tag = 0);
// The live row that holds what the plain one does.
Row* findRow(Desk& desk, Id entry, const PlainRow& plain);
PlainRow plainRow(const Row& row);
// Takes the entry that the library made by itself into the plain book.
void adopt(Desk& desk, PlainFirm& plain, PlainEntry made);
void expectCode(const char* what, const std::optional<Error>& error, int code);
// A save that must fail because of what was just done.
Outcome refusedBySave(Desk& desk);

}  // namespace bokfolio::simulation
