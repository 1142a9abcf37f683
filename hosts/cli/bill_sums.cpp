#include "bill_sums.hpp"

#include <algorithm>
#include <map>
#include <numeric>

#include "bokfolio/model/supplier/supplier_invoice_line.hpp"

namespace bokfolio::cli {

namespace {

Decimal orZero(const std::optional<Decimal>& amount) { return amount.value_or(Decimal()); }

Decimal hundredths(const Decimal& amount) { return amount.rounded(2, Rounding::Plain); }

Decimal sumOf(const std::vector<Decimal>& amounts) {
  return std::accumulate(amounts.begin(), amounts.end(), Decimal());
}

// The amounts in hundredths that come to the total. What rounding left over goes, a hundredth
// each, to those that it changed most the other way.
std::vector<Decimal> divided(const Decimal& total, const std::vector<Decimal>& exact) {
  std::vector<Decimal> parts;
  for (const Decimal& amount : exact) parts.push_back(hundredths(amount));
  Decimal missing = total - sumOf(parts);
  const Decimal step = Decimal(missing.isNegative() ? -1 : 1).scaledByPowerOf10(-2);
  std::vector<std::size_t> order(exact.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return (exact[a] - parts[a]) * step > (exact[b] - parts[b]) * step;
  });
  for (std::size_t at = 0; at < order.size() && !missing.isZero(); ++at) {
    parts[order[at]] += step;
    missing -= step;
  }
  return parts;
}

// The lines of one rate, by their places on the bill.
struct Group {
  std::vector<std::size_t> places;
  std::vector<Decimal> nets;
  std::vector<Decimal> vats;
};
using Groups = std::map<Decimal, Group>;

Groups groupsOf(const SupplierInvoice& bill, const Decimal& rate) {
  Groups groups;
  std::size_t place = 0;
  for (const SupplierInvoiceLine* line : linesOf(bill)) {
    const Decimal percent = orZero(line->vat());
    const Decimal net = orZero(line->amount()) * rate;
    Group& group = groups[percent];
    group.places.push_back(place++);
    group.nets.push_back(net);
    group.vats.push_back((net * percent).scaledByPowerOf10(-2));
  }
  return groups;
}

void divideGroup(BillSums& sums, const Group& group, const BillSums::Rate& rate) {
  const std::vector<Decimal> nets = divided(rate.base, group.nets);
  const std::vector<Decimal> vats = divided(rate.vat, group.vats);
  for (std::size_t at = 0; at < group.places.size(); ++at) {
    sums.lines[group.places[at]] = {nets[at], vats[at]};
  }
}

}  // namespace

std::vector<SupplierInvoiceLine*> linesOf(const SupplierInvoice& bill) {
  std::vector<SupplierInvoiceLine*> lines;
  for (SupplierInvoiceLine* line : bill.lines().members()) lines.push_back(line);
  return lines;
}

BillSums BillSums::of(const SupplierInvoice& bill, const Decimal& rate) {
  const Groups groups = groupsOf(bill, rate);
  std::vector<Decimal> bases;
  std::vector<Decimal> vats;
  for (const auto& [percent, group] : groups) {
    bases.push_back(sumOf(group.nets));
    vats.push_back(sumOf(group.vats));
  }
  BillSums sums;
  sums.net = hundredths(sumOf(bases));
  sums.vat = hundredths(sumOf(vats));
  sums.total = sums.net + sums.vat;
  sums.lines.resize(bill.lines().count());
  bases = divided(sums.net, bases);
  vats = divided(sums.vat, vats);
  std::size_t at = 0;
  for (const auto& [percent, group] : groups) {
    sums.rates.push_back({percent, bases[at], vats[at]});
    divideGroup(sums, group, sums.rates.back());
    ++at;
  }
  return sums;
}

}  // namespace bokfolio::cli
