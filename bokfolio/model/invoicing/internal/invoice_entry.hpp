// What the entries that an invoice makes have in common: whether there are any, their names, how
// they begin, how a row joins them; and how the operations that make them say no.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/invoicing/invoice_error.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

class Account;
class Entry;
class Environment;
class Invoice;
class Row;

namespace internal {

// An amount that is missing counts as zero.
inline Decimal orZero(const std::optional<Decimal>& amount) { return amount.value_or(Decimal()); }

// Whether the book makes entries by itself; no for an invoice without a book.
bool booksAutomatically(const Invoice& invoice);

// The localised format with the invoice's number. Entries are found again by their names.
std::string entryName(const Invoice& invoice, std::string_view formatKey);

// A new entry that waits to be filed: without number and fiscal year.
Entry& insertUnfiledEntry(const Invoice& invoice, const std::string& name,
                          std::optional<Date> date);

// A new row on the account, of no entry yet and with zero on both sides.
Row& insertRow(const Entry& entry, Account* account);
// Attaches the row behind those that the entry has.
void appendRow(Entry& entry, Row& row);

}  // namespace internal

}  // namespace bokfolio
