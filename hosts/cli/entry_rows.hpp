// Rows and receipts put onto entries, and the filing of the new one: what composing, correcting and
// the bookings of bills have in common.
#pragma once

#include <string>
#include <vector>

#include "input.hpp"
#include "lookup.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// Taken apart before the document is opened, so that a slip of the pen costs nothing.
std::vector<RowText> rowsFromTexts(Host& host, const std::vector<std::string>& texts);

// Adds the rows in their order, with that status. The one without amount takes what balances the
// entry. Failure for an unknown account or tag, a zero amount, two rows without amount.
void addRows(const Session& session, Entry* entry, const std::vector<RowText>& rows,
             RowStatus status);

// Debits less credits of the rows that count.
Decimal imbalance(const Entry& entry);
// The failure that an entry's refusal means, with the difference when it is one of balance.
Failure refusalOf(Host& host, const Entry& entry, const std::optional<Error>& error);

// Failure when somebody composes on the new entry.
void refuseUnfinished(const Entry& entry);
// Files the new entry, which stands in the way of no later one: the next is provided. Answers the
// entries filed, it last.
std::vector<Entry*> fileNewEntry(const Session& session, Entry* entry);

// A picture or PDF read and decoded; and put onto the entry.
Image readPicture(const std::string& path);
void attachReceipt(Entry* entry, const Image& image);

}  // namespace bokfolio::cli
