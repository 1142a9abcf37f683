#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice_error.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "entry_rows.hpp"
#include "invoice_lookup.hpp"
#include "invoice_steps.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

std::optional<Failure> whyNotBookable(const InvoiceLine& line, std::size_t place) {
  const Article* article = line.article();
  if (article == nullptr) {
    return Failure(ExitStatus::Refused,
                   "line " + std::to_string(place) + " has no article, so it cannot be booked",
                   "give it one with 'invoice line --edit', or remove it");
  }
  const std::string number = article->number().value_or("");
  const std::string name = "article " + number + " " + article->name().value_or("");
  const std::string set = "'bokfolio article set " + number;
  if (article->salesAccount() == nullptr) {
    return Failure(ExitStatus::Refused, name + " has no sales account",
                   set + " --sales ACCOUNT' gives it one");
  }
  const auto vat = line.lineVat();
  if (article->vatAccount() == nullptr && vat && !vat->isZero()) {
    return Failure(ExitStatus::Refused, name + " has no VAT account",
                   set + " --vat-account ACCOUNT' gives it one");
  }
  return std::nullopt;
}

// What keeps the sale from being booked and how to mend it; nothing when nothing does.
std::optional<Failure> whyNotBookable(const Invoice& invoice) {
  std::size_t place = 0;
  for (const InvoiceLine* line : invoice.sortedInvoiceLines()) {
    if (auto why = whyNotBookable(*line, ++place)) return why;
  }
  if (!invoice.rounding() || invoice.book()->roundingAccount() != nullptr) return std::nullopt;
  return Failure(ExitStatus::Refused, "the book has no account of rounding",
                 "name it with 'bokfolio book set --rounding ACCOUNT'");
}

std::string remedyFor(InvoiceError code) {
  switch (code) {
    case InvoiceError::NoLines:
      return "add some with 'bokfolio invoice line'";
    case InvoiceError::NoCurrencyAccounts:
      return "name them with 'bokfolio book set --gains ACCOUNT --losses ACCOUNT'";
    case InvoiceError::ReceivableMissingForPay:
    case InvoiceError::ReceivableMissingForSale:
      return "name it with 'bokfolio book set --receivable ACCOUNT'";
    case InvoiceError::NoSalesEntry:
      return "it is found by its name in the language of the --locale in which it was made";
    case InvoiceError::NoReceivableRow:
      return "take the step with 'bokfolio book set --automatic no' and write its entry by hand";
    default:
      return "";
  }
}

}  // namespace

Failure refusalOf(const Invoice& invoice, const std::optional<Error>& error) {
  if (!error || error->domain() != kBokfolioErrorDomain) return failureOf(error);
  const auto code = static_cast<InvoiceError>(error->code());
  if (code == InvoiceError::SaleNotBookable || code == InvoiceError::AccountSettingsMissing) {
    if (auto why = whyNotBookable(invoice)) return why->because(*error);
  }
  return failureOf(error).advise(remedyFor(code));
}

std::vector<Entry*> entriesMade(const Session& session) {
  std::vector<Entry*> entries;
  for (Record* record : session.context().insertedObjects()) {
    if (record->entityName() != Entry::kEntityName) continue;
    auto* entry = static_cast<Entry*>(record);
    if (!entry->isNew()) entries.push_back(entry);
  }
  return entries;
}

void refuseUnfileable(Host& host, Entry* entry) {
  std::optional<Error> error;
  if (!entry->checkValidation(&error)) throw refusalOf(host, *entry, error);
}

std::string amountIn(Host& host, const Decimal& amount,
                     const std::optional<std::string>& currency) {
  return host.amount(toHundredths(amount)) + " " + currency.value_or("");
}

}  // namespace bokfolio::cli
