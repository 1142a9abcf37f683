#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "input.hpp"
#include "invoice_lookup.hpp"
#include "invoice_steps.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

// A customer needs a name, a language and something to pay.
void refuseUnsendable(Host& host, const Invoice& invoice) {
  const std::string set = "'bokfolio invoice set " + std::to_string(invoice.number().value_or(0));
  if (!invoice.recipient()) {
    throw Failure(ExitStatus::Refused, invoiceTitle(invoice) + " has no customer",
                  set + " --company NAME' names one");
  }
  if (invoice.isEmpty()) return;
  const Decimal total = invoice.totalAmount();
  if (total.sign() <= 0) {
    throw Failure(ExitStatus::Refused,
                  "the total is " + amountIn(host, total, invoice.currency()) +
                      ", so there is nothing to pay",
                  "'bokfolio invoice show' shows lines and rebate; what was sent is taken back "
                  "with 'bokfolio invoice return'");
  }
  if (invoice.sendable()) return;
  throw Failure(ExitStatus::Refused, invoiceTitle(invoice) + " has no language",
                set + " --language CODE' sets it");
}

// What is claimed in the books must be what stands on the invoice.
void refuseOtherClaim(Host& host, const Invoice& invoice, const Decimal& rate) {
  const Decimal claim = toHundredths(invoice.totalAmount() * rate);
  const Decimal owed = toHundredths(invoice.localAmount().value_or(Decimal()));
  if (claim == owed) return;
  const auto home = invoice.book()->currency();
  const Allowance* rebate = invoice.allowance();
  const bool fixed = rebate != nullptr && rebate->absolute();
  throw Failure(ExitStatus::Refused,
                "the entry would claim " + amountIn(host, owed, home) + ", the invoice " +
                    amountIn(host, claim, home),
                fixed ? "give the rebate in percent, or on the lines"
                      : "accounts of sales, VAT and rounding must be of type income or debt");
}

}  // namespace

std::optional<Decimal> rateForSending(const Session& session, Invoice* invoice,
                                      const std::string& given) {
  const std::string home = invoice->book()->currency().value_or("");
  const std::string currency = invoice->currency().value_or("");
  if (!invoice->foreignCurrency()) {
    if (given.empty()) return std::nullopt;
    throw Failure(ExitStatus::Usage, invoiceTitle(*invoice) + " is in " + home + " already",
                  "leave out --rate");
  }
  const std::string remedy = "name what one " + currency + " is in " + home + " with --rate";
  if (!given.empty()) {
    const Decimal rate = amountFromText(given, session.environment().locale());
    if (rate.sign() > 0) return rate;
    throw Failure(ExitStatus::Usage, "\"" + given + "\" is no exchange rate", remedy);
  }
  // The answer alone does not tell a failure from the rate 1; the amount owed does.
  invoice->setLocalAmount(std::nullopt);
  const Decimal rate = invoice->getExchangeRateAndCalculateLocalAmount();
  if (invoice->localAmount()) return rate;
  std::optional<Error> error;
  if (const auto late = invoice->book()->exchangeRate(currency, &error)) return late;
  Failure failure = error ? failureOf(error, ExitStatus::Input)
                          : Failure(ExitStatus::Refused,
                                    "there is no rate of " + currency + " in " + home + " today");
  throw failure.advise(remedy);
}

void sendInvoice(const Session& session, Invoice* invoice, const std::optional<Decimal>& rate) {
  Host& host = session.host();
  refuseUnsendable(host, *invoice);
  std::optional<Error> error;
  if (!invoice->sendMeWithExchangeRate(rate, &error)) throw refusalOf(*invoice, error);
  const Book* book = invoice->book();
  if (book->autoBook() && !book->bookOnce()) {
    refuseOtherClaim(host, *invoice, rate.value_or(Decimal(1)));
  }
  for (Entry* entry : entriesMade(session)) refuseUnfileable(host, entry);
}

}  // namespace bokfolio::cli
