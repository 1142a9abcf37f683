// From what people write on the command line to the invoices, lines and articles they mean, and
// what commands about invoices ask of them before they touch them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/platform/locale.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// By number, or by name in any case ('*' and '?' are wildcards; exactly one must match).
Article* findArticle(const Session& session, const std::string& text);
// By number.
Invoice* findInvoice(const Session& session, const std::string& text);
// The same, as long as it is not sent: what was sent is what the customer has.
Invoice* findUnsentInvoice(const Session& session, const std::string& text);
// All of them, by number.
std::vector<Invoice*> allInvoices(const Session& session);
// A line by its place on the invoice, counted from 1.
InvoiceLine* findLine(const Invoice& invoice, const std::string& text);

// "invoice 12".
std::string invoiceTitle(const Invoice& invoice);
// Who it is to, each name once: "Eva Lind / Eken AB".
std::string customerOf(const Invoice& invoice);
// The status for machines: "notSent", "overdue", "paid"...
std::string_view statusWord(const Invoice& invoice);
// What can still be paid and is past its day, whether the customer was reminded or not.
bool isOverdue(const Invoice& invoice);

// A percentage from 0, with or without a percent sign.
Decimal vatFromText(const std::string& text, const Locale& locale);
// A rebate in the form in which the library reads it, which wants "." in a percentage and the
// locale's mark in an amount. Here both may be written either way.
std::string rebateFromText(std::string text, const Locale& locale);

}  // namespace bokfolio::cli
