// BillSums: the amounts of a supplier's bill to the hundredth, so that what is shown and what is
// booked can be added up: net and VAT of the lines to those of their rate, these to the bill's, and
// both to the total. Records keep amounts exact; the hundredths that rounding leaves over go where
// they are missed least.
#pragma once

#include <vector>

#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::cli {

struct BillSums {
  struct Line {
    Decimal net;
    Decimal vat;
  };
  struct Rate {
    Decimal percent;
    Decimal base;
    Decimal vat;
  };

  std::vector<Line> lines;  // in the order of linesOf
  std::vector<Rate> rates;  // by rising percentage
  Decimal net;
  Decimal vat;
  Decimal total;

  // In the bill's currency. Net and VAT are the rounded exact sums; a rate of 0 never gets VAT.
  static BillSums of(const SupplierInvoice& bill);
  // In another currency, `rate` of which are one of the bill's: total and VAT are those of the bill
  // as it is shown, converted.
  static BillSums at(const SupplierInvoice& bill, const Decimal& rate);
};

// The bill's lines as they were made.
std::vector<SupplierInvoiceLine*> linesOf(const SupplierInvoice& bill);

}  // namespace bokfolio::cli
