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

  // In the bill's currency, or times what one of it is in another. Net and VAT are the rounded
  // exact sums; a rate of 0 never gets any VAT.
  static BillSums of(const SupplierInvoice& bill, const Decimal& rate = Decimal(1));
};

// The bill's lines as they were made.
std::vector<SupplierInvoiceLine*> linesOf(const SupplierInvoice& bill);

}  // namespace bokfolio::cli
