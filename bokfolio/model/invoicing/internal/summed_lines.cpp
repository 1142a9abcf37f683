#include "bokfolio/model/invoicing/internal/summed_lines.hpp"

#include <algorithm>

#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"

namespace bokfolio::internal {

std::vector<SummedLine> linesByFallingSum(const Invoice& invoice) {
  std::vector<SummedLine> lines;
  const auto members = invoice.lines().members();
  lines.reserve(members.size());
  for (InvoiceLine* line : members)
    lines.push_back({line, line->lineSumExclVat(), line->lineSum()});
  std::stable_sort(lines.begin(), lines.end(),
                   [](const SummedLine& a, const SummedLine& b) { return a.sum > b.sum; });
  return lines;
}

}  // namespace bokfolio::internal
