#include "invoice_lookup.hpp"

#include <algorithm>
#include <array>

#include "bokfolio/platform/number_text.hpp"
#include "failure.hpp"
#include "input.hpp"

namespace bokfolio::cli {

namespace {

constexpr std::array<std::string_view, 9> kStatusWords = {"notSent", "sent",       "overdue",
                                                          "paid",    "reminded",   "remindedTwice",
                                                          "lost",    "partlyPaid", "returned"};

}  // namespace

Article* findArticle(const Session& session, const std::string& text) {
  const bool number = numberFromText(text).has_value();
  const Predicate condition(number ? "number == %@" : "name LIKE[c] %@", {Value(text)});
  const auto found = session.context().fetch<Article>(condition, std::nullopt, 2);
  if (found.size() == 1) return found.front();
  throw Failure(ExitStatus::Refused,
                (found.empty() ? "there is no article \"" : "more than one article is called \"") +
                    text + "\"",
                found.empty() ? "'bokfolio article list' shows them, 'bokfolio article add' adds"
                              : "use the number");
}

Invoice* findInvoice(const Session& session, const std::string& text) {
  const auto number = numberFromText(text);
  if (!number) {
    throw Failure(ExitStatus::Usage, "\"" + text + "\" is no number of an invoice",
                  "write a number such as 12");
  }
  auto* invoice =
      session.context().fetchFirst<Invoice>(Predicate("number == %@", {Value(*number)}));
  if (invoice != nullptr) return invoice;
  throw Failure(ExitStatus::Refused, "there is no invoice " + text,
                "'bokfolio invoice list' shows them, 'bokfolio invoice new' makes one");
}

Invoice* findUnsentInvoice(const Session& session, const std::string& text) {
  Invoice* invoice = findInvoice(session, text);
  if (!invoice->isSent()) return invoice;
  throw Failure(ExitStatus::Refused, "invoice " + text + " is sent already",
                "it stays as the customer has it; take it back with 'invoice return', make another "
                "from it with 'invoice duplicate'");
}

std::vector<Invoice*> allInvoices(const Session& session) {
  return session.context().fetch<Invoice>(std::nullopt, std::vector{SortDescriptor("number")});
}

InvoiceLine* findLine(const Invoice& invoice, const std::string& text) {
  const auto lines = invoice.sortedInvoiceLines();
  const auto place = numberFromText(text);
  if (place && *place >= 1 && static_cast<std::size_t>(*place) <= lines.size()) {
    return lines[static_cast<std::size_t>(*place) - 1];
  }
  throw Failure(ExitStatus::Refused, invoiceTitle(invoice) + " has no line " + text,
                "'bokfolio invoice show' numbers the lines");
}

std::string invoiceTitle(const Invoice& invoice) {
  return invoice.number() ? "invoice " + std::to_string(*invoice.number()) : "the invoice";
}

std::string customerOf(const Invoice& invoice) {
  const auto recipient = invoice.recipient();
  return recipient ? *recipient : invoice.description();
}

std::string_view statusWord(const Invoice& invoice) {
  const std::int64_t status = invoice.status().value_or(0);
  const bool known = status >= 0 && status < std::int64_t{kStatusWords.size()};
  return known ? kStatusWords[static_cast<std::size_t>(status)] : "unknown";
}

bool isOverdue(const Invoice& invoice) {
  const auto due = invoice.dueDate();
  return invoice.canBePaid() && due && *due < invoice.environment().now();
}

Decimal vatFromText(const std::string& text, const Locale& locale) {
  std::string number = text;
  while (!number.empty() && (number.back() == '%' || number.back() == ' ')) number.pop_back();
  const Decimal rate = amountFromText(number, locale);
  if (!rate.isNegative() && rate <= Decimal(100)) return rate;
  throw Failure(ExitStatus::Usage, "\"" + text + "\" is no rate of VAT",
                "write percent, such as 25");
}

std::string rebateFromText(std::string text, const Locale& locale) {
  if (text.empty()) return text;
  if (text.back() == '%') {
    std::replace(text.begin(), text.end(), ',', '.');
  } else if (text.find_first_not_of("0123456789., ") == std::string::npos) {
    return decimalDescription(amountFromText(text, locale), locale);
  }
  return text;
}

}  // namespace bokfolio::cli
