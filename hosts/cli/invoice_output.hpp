// How articles and invoices are shown: as JSON, as a list, and as the sheet that the customer gets.
// Amounts of an invoice are those of InvoiceSums, in the invoice's currency, unless they are said
// to be in the book's.
#pragma once

#include <string>
#include <vector>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "host.hpp"

namespace bokfolio::cli {

Json articleJson(const Article& article);
Json invoiceJson(Host& host, const Invoice& invoice);

// "12.5 %" in the form of the locale, without digits cut off; "" for nil.
std::string percentText(Host& host, const std::optional<Decimal>& percent);
// A rebate with all its digits; "" for none.
std::string rebateText(Host& host, const Allowance* rebate);

// The whole invoice, as the customer reads it, and then what the book knows of it.
void printInvoice(Host& host, const Invoice& invoice);
// One line each, with what is still owed.
void printInvoices(Host& host, const std::vector<Invoice*>& invoices);

// What a step in an invoice's life did: a sentence and the entries that it made, or the JSON of
// both.
void confirmStep(Host& host, const std::string& sentence, const Invoice& invoice,
                 const std::vector<Entry*>& entries);

}  // namespace bokfolio::cli
