// The library's steps in an invoice's life, as a host takes them: it asks before a step what the
// step does not ask, looks afterwards at the entries that it made, and says in one sentence what
// stood in the way and what helps. Each throws a Failure; the session then rolls back, so that a
// step is taken whole or not at all.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "failure.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// The rate for sending: nil in the book's currency, else the one given or that of the day.
std::optional<Decimal> rateForSending(const Session& session, Invoice* invoice,
                                      const std::string& given);
void sendInvoice(const Session& session, Invoice* invoice, const std::optional<Decimal>& rate);

// The book's currency. An amount that equals what is owed to the hundredth is what is owed, with
// all its digits, and settles the invoice; nil means just that. `inFull` settles it with another
// amount, in a foreign currency.
struct Payment {
  std::optional<Decimal> amount;
  Date day;
  bool inFull = false;
  Account* account = nullptr;
};
void payInvoice(const Session& session, Invoice* invoice, Payment payment);

// What was paid goes back from the account. `settle` lets the book's rounding account take what
// keeps the reversal from balancing.
void returnInvoice(const Session& session, Invoice* invoice, Account* refundFrom, bool settle);
void writeOffInvoice(const Session& session, Invoice* invoice, bool settle);

// The entries made since the last save. The new entry, on which people compose, is none of them.
std::vector<Entry*> entriesMade(const Session& session);
// Failure for an entry that no filing would accept.
void refuseUnfileable(Host& host, Entry* entry);
// What the library's error means here; a missing account is named.
Failure refusalOf(const Invoice& invoice, const std::optional<Error>& error);
// "1 250,00 SEK", to the hundredth.
std::string amountIn(Host& host, const Decimal& amount, const std::optional<std::string>& currency);

}  // namespace bokfolio::cli
