// How records of the ledger are shown: as JSON, and entries as text. Amounts are debit-positive in
// both.
#pragma once

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "host.hpp"

namespace bokfolio::cli {

Json accountJson(const Account& account);
Json tagJson(const Tag& tag);
// With its bounds as days that both belong to it.
Json yearJson(const FiscalYear& year);
Json entryJson(Host& host, const Entry& entry);
// Opening balances, by account, and their sum.
Json openingsJson(const FiscalYear& year);

// What a stored picture is, "PDF" or "TIFF"; and with its size, "PDF, 12 kB".
std::string_view pictureKind(const Bytes& bytes);
std::string pictureText(const Bytes& bytes);

// First and last day of a year, as they are kept: in CET.
std::string firstDay(const FiscalYear& year);
std::string lastDay(const FiscalYear& year);
// A sentence about opening balances, with their sum when it is not zero: it is not as long as the
// result of the year before has not been booked as equity.
std::string withOpeningSum(Host& host, std::string sentence, const FiscalYear& year);
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
