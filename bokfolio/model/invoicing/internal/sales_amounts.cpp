#include "bokfolio/model/invoicing/internal/sales_amounts.hpp"

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/internal/invoice_entry.hpp"
#include "bokfolio/model/invoicing/internal/summed_lines.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::internal {

namespace {

bool isNormallyCredited(const Account& account) {
  const auto type = account.type();
  if (!type) return false;
  switch (static_cast<AccountType>(*type)) {
    case AccountType::DebtAndEquity:
    case AccountType::Income:
    case AccountType::Equity:
      return true;
    default:
      return false;
  }
}

// The side follows from the sign of the amount alone. On assets and costs the side carries the sign
// too, so that a sale stands there as a negative credit.
void setAmount(Row& row, const Account& account, const Decimal& amount) {
  const Decimal signedAmount = isNormallyCredited(account) ? -amount : amount;
  if (amount.isNegative()) {
    row.setDebit(signedAmount);
  } else {
    row.setCredit(-signedAmount);
  }
}

}  // namespace

std::optional<SalesAmounts> SalesAmounts::ofInvoice(const Invoice& invoice, const Decimal& rate) {
  SalesAmounts amounts(invoice);
  for (const InvoiceLine* line : invoice.lines().members())
    if (!amounts.addLine(*line, rate)) return std::nullopt;
  if (const Allowance* allowance = invoice.allowance(); allowance != nullptr) {
    if (allowance->absolute()) {
      amounts.takeOffFixedRebate(orZero(allowance->value()));
    } else {
      amounts.takeOffPercentage(*allowance);
    }
  }
  if (invoice.rounding() && !amounts.addRounding(rate)) return std::nullopt;
  return amounts;
}

bool SalesAmounts::addLine(const InvoiceLine& line, const Decimal& rate) {
  const Article* article = line.article();
  if (article == nullptr) return false;
  const Decimal vat = orZero(line.lineVat()) * rate;
  const Account* vatAccount = article->vatAccount();
  if (vatAccount == nullptr && !vat.isZero()) return false;
  return add(article->salesAccount(), orZero(line.lineSumExclVat()) * rate) &&
         (vatAccount == nullptr || add(vatAccount, vat));
}

bool SalesAmounts::addRounding(const Decimal& rate) {
  const Book* book = invoice_->book();
  return book != nullptr && add(book->roundingAccount(), invoice_->roundingAmount() * rate);
}

bool SalesAmounts::add(const Account* account, const Decimal& amount) {
  if (account == nullptr || !account->number()) return false;
  byAccountNumber_[*account->number()] += amount;
  return true;
}

void SalesAmounts::takeOffFixedRebate(const Decimal& rebate) {
  walkRebate(
      linesByFallingSum(*invoice_), rebate,
      [this](const SummedLine& covered) {
        takeOff(*covered.line, covered.exclVatAsDecimal(), orZero(covered.line->lineVat()));
      },
      [this](const SummedLine& reached, const Decimal& rest) {
        const Decimal vat = orZero(reached.line->vat());
        const Decimal withoutVat = 1 / (1 + vat.scaledByPowerOf10(-2));
        takeOff(*reached.line, rest * withoutVat, rest * (1 - withoutVat));
      });
}

void SalesAmounts::takeOff(const InvoiceLine& line, const Decimal& sale, const Decimal& vat) {
  const Article* article = line.article();
  add(article->salesAccount(), -sale);
  if (!invoice_->vatfree()) add(article->vatAccount(), -vat);
}

void SalesAmounts::takeOffPercentage(const Allowance& allowance) {
  for (auto& [number, amount] : byAccountNumber_) amount += allowance.amountOnDecimal(amount);
}

void SalesAmounts::post(Entry& entry) const {
  std::int64_t number = 1;
  for (const auto& [accountNumber, amount] : byAccountNumber_) {
    Account* account = Account::accountWithNumber(accountNumber, entry.managedObjectContext());
    if (account == nullptr || amount.isZero()) continue;
    Row& row = insertRow(entry, account);
    setAmount(row, *account, amount);
    if (!account->balanceAccount()) row.setTag(invoice_->tag());
    row.setEntry(&entry);
    row.setNumber(number++);
  }
}

}  // namespace bokfolio::internal
