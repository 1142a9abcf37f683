#include "bokfolio/model/invoicing/internal/summed_lines.hpp"

#include <algorithm>

#include "bokfolio/model/invoicing/internal/line_sums.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"

namespace bokfolio::internal {

std::vector<SummedLine> linesByFallingSum(const Invoice& invoice) {
  std::vector<SummedLine> lines;
  LineSums sums(invoice.vatfree());
  invoice.lines().forEachStored([&](InvoiceLine& line, const SlotView& values) {
    SummedLine& summed = lines.emplace_back(SummedLine{&line, LineSums::exclVat(values), {}});
    if (summed.exclVat) summed.sum = sums.withVat(values, *summed.exclVat);
  });
  std::stable_sort(lines.begin(), lines.end(),
                   [](const SummedLine& a, const SummedLine& b) { return a.sum > b.sum; });
  return lines;
}

}  // namespace bokfolio::internal
