// InvoiceSums: the amounts of an invoice as it is printed, to the hundredth, so that what stands on
// the paper can be added up: lines to their sum, that and the rebate to the net, base and VAT of
// the rates to net and VAT, and these with the rounding to the total. Records keep amounts exact;
// the hundredths that rounding leaves over go where they are missed least.
#pragma once

#include <vector>

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio::cli {

struct InvoiceSums {
  struct Rate {
    Decimal percent;
    Decimal base;  // excluding VAT, less the rebate
    Decimal vat;
  };

  std::vector<Decimal> lines;  // excluding VAT, in the order of the lines
  Decimal linesSum;
  Decimal rebate;  // on the whole invoice, excluding VAT; negative for a reduction
  Decimal net;
  std::vector<Rate> rates;  // by rising percentage
  Decimal vat;
  Decimal rounding;
  Decimal total;

  // In the invoice's currency. An invoice without VAT has the one rate 0, and its net is the total
  // before rounding.
  static InvoiceSums of(const Invoice& invoice);
};

// The amounts rounded to hundredths so that they come to the total, which has no more decimals.
// Each differs from its exact value by less than a hundredth when the total is their rounded sum.
std::vector<Decimal> apportioned(const std::vector<Decimal>& exact, const Decimal& total);

// To hundredths, half away from zero.
Decimal toHundredths(const Decimal& amount);

}  // namespace bokfolio::cli
