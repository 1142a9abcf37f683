// Lookups: from what people write on the command line to the records they mean, or a Failure that
// says what there is instead.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// By number, or by name in any case ('*' and '?' are wildcards; exactly one must match).
Account* findAccount(const Session& session, const std::string& text);
Tag* findTag(const Session& session, const std::string& text);
// By name, by the calendar year in which it starts, or by a day within; "" means the latest.
FiscalYear* findYear(const Session& session, const std::string& text);
// The same for commands about entries that are there: "" means the latest year that has any, so
// that a year just added does not hide the one that is kept.
FiscalYear* findYearInUse(const Session& session, const std::string& text);
// The year that holds the day, nullptr when none does.
FiscalYear* yearHolding(const Session& session, CivilDate day);
// All years, earliest first.
std::vector<FiscalYear*> allYears(const Session& session);
// The entries that wait to be filed, by date and as they were made.
std::vector<Entry*> unfiledEntries(const Session& session);
// A filed entry of the year by its number, the new entry by "new", or the first that waits to be
// filed by "u1", the next by "u2"...
Entry* findEntry(const Session& session, FiscalYear* year, const std::string& text);
// The new entry; a document that has none gets one.
Entry* newEntry(const Session& session);

// The rows in the order of their places, struck ones included. The place is the stored number,
// which no preference changes.
std::vector<Row*> rowsOf(const Entry& entry);
std::int64_t placeOf(const Row& row);
// The row at that place.
Row* findRow(const Entry& entry, std::int64_t place);

// "asset", "debt", "income", "cost", "equity": names of the types on the command line and in JSON;
// "" for a type that has none.
std::string_view typeWord(std::int64_t type);
// The type of such a word, of a letter T S I K as in SIE files, or of a number; Failure otherwise.
std::int64_t typeFromText(const std::string& text);

}  // namespace bokfolio::cli
