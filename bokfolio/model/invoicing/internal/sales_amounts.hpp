// SalesAmounts: what the sale of an invoice comes to on each account, rebate taken off and rounding
// included, before any row is made. Positive amounts are income or VAT owed.
//
// Amounts are kept by account number, so that lines that sell on one account become one row; rows
// come in rising order of these numbers.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {

class Account;
class Allowance;
class Entry;
class Invoice;
class InvoiceLine;

namespace internal {

class SalesAmounts {
 public:
  // In the book's currency by the rate. nullopt when an account is missing: of a line's article for
  // the sale or for the VAT that there is, or of the book for rounding. An account without number
  // counts as missing, since by its number it is found again.
  static std::optional<SalesAmounts> ofInvoice(const Invoice& invoice, const Decimal& rate);

  // One row for each account with an amount that is not zero, numbered from 1; the invoice's tag on
  // rows of income and cost accounts. Accounts that the document lacks are passed over.
  void post(Entry& entry) const;

 private:
  explicit SalesAmounts(const Invoice& invoice) : invoice_(&invoice) {}

  // False when an account is missing.
  bool addLine(const InvoiceLine& line, const Decimal& rate);
  bool addRounding(const Decimal& rate);
  bool add(const Account* account, const Decimal& amount);
  // In the invoice's currency whatever the rate, from the line with the largest sum downwards.
  void takeOffFixedRebate(const Decimal& rebate);
  void takeOff(const InvoiceLine& line, const Decimal& sale, const Decimal& vat);
  void takeOffPercentage(const Allowance& allowance);

  const Invoice* invoice_;
  std::map<std::int64_t, Decimal> byAccountNumber_;
};

}  // namespace internal

}  // namespace bokfolio
