// How records of the ledger are shown: as JSON, and entries as text. Amounts are debit-positive in
// both.
#pragma once

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "host.hpp"

namespace bokfolio::cli {

Json accountJson(const Account& account);
Json tagJson(const Tag& tag);
// With its bounds as days that both belong to it.
Json yearJson(const FiscalYear& year);
Json entryJson(Host& host, const Entry& entry);

// First and last day of a year, as they are kept: in CET.
std::string firstDay(const FiscalYear& year);
std::string lastDay(const FiscalYear& year);
// "entry 12 of 2025", "the new entry".
std::string entryTitle(const Entry& entry);
// What was posted: the debits that count.
Decimal turnover(const Entry& entry);

// The entry with all its rows, struck ones and who struck them included.
void printEntry(Host& host, const Entry& entry);
// The columns of its rows, at least as wide as given, so that one entry stands under another.
Table rowTable(Host& host, bool headings);
void addEntryRows(Host& host, Table& table, const Entry& entry);

}  // namespace bokfolio::cli
