#include "bill_sums.hpp"

#include <map>
#include <numeric>

#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "invoice_sums.hpp"

namespace bokfolio::cli {

namespace {

Decimal orZero(const std::optional<Decimal>& amount) { return amount.value_or(Decimal()); }

Decimal sumOf(const std::vector<Decimal>& amounts) {
  return std::accumulate(amounts.begin(), amounts.end(), Decimal());
}

// The lines of one rate, by their places on the bill, and their exact amounts.
struct Group {
  std::vector<std::size_t> places;
  std::vector<Decimal> nets;
  std::vector<Decimal> vats;
};
using Groups = std::map<Decimal, Group>;

Groups groupsOf(const SupplierInvoice& bill, const std::vector<BillSums::Line>& exact) {
  Groups groups;
  std::size_t place = 0;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    Group& group = groups[orZero(line->vat())];
    group.places.push_back(place);
    group.nets.push_back(exact[place].net);
    group.vats.push_back(exact[place].vat);
    ++place;
  }
  return groups;
}

// Net and VAT of the whole divided among the rates, and those of each rate among its lines.
void divide(BillSums& sums, const Groups& groups) {
  std::vector<Decimal> bases;
  std::vector<Decimal> vats;
  for (const auto& [percent, group] : groups) {
    bases.push_back(sumOf(group.nets));
    vats.push_back(sumOf(group.vats));
  }
  bases = apportioned(bases, sums.net);
  vats = apportioned(vats, sums.vat);
  for (const auto& [percent, group] : groups) {
    const std::size_t rate = sums.rates.size();
    sums.rates.push_back({percent, bases[rate], vats[rate]});
    const std::vector<Decimal> lineNets = apportioned(group.nets, bases[rate]);
    const std::vector<Decimal> lineVats = apportioned(group.vats, vats[rate]);
    for (std::size_t at = 0; at < group.places.size(); ++at) {
      sums.lines[group.places[at]] = {lineNets[at], lineVats[at]};
    }
  }
}

}  // namespace

std::vector<SupplierInvoiceLine*> linesOf(const SupplierInvoice& bill) {
  std::vector<SupplierInvoiceLine*> lines;
  for (SupplierInvoiceLine* line : bill.lines().members()) lines.push_back(line);
  return lines;
}

BillSums BillSums::of(const SupplierInvoice& bill) {
  BillSums sums;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    const Decimal net = orZero(line->amount());
    sums.lines.push_back({net, (net * orZero(line->vat())).scaledByPowerOf10(-2)});
    sums.net += sums.lines.back().net;
    sums.vat += sums.lines.back().vat;
  }
  sums.net = toHundredths(sums.net);
  sums.vat = toHundredths(sums.vat);
  sums.total = sums.net + sums.vat;
  divide(sums, groupsOf(bill, sums.lines));
  return sums;
}

BillSums BillSums::at(const SupplierInvoice& bill, const Decimal& rate) {
  const BillSums written = of(bill);
  BillSums sums;
  for (const Line& line : written.lines) sums.lines.push_back({line.net * rate, line.vat * rate});
  sums.total = toHundredths(written.total * rate);
  sums.vat = toHundredths(written.vat * rate);
  sums.net = sums.total - sums.vat;
  divide(sums, groupsOf(bill, sums.lines));
  return sums;
}

}  // namespace bokfolio::cli
