#include "supplier_bill.hpp"

#include "bill_sums.hpp"
#include "failure.hpp"
#include "lookup.hpp"
#include "settings.hpp"

namespace bokfolio::cli {

std::vector<PlacedBill> allBills(const Session& session) {
  std::vector<PlacedBill> bills;
  for (SupplierInvoice* record : session.context().fetch<SupplierInvoice>(
           std::nullopt, std::vector{SortDescriptor("addedDate")})) {
    bills.push_back({"b" + std::to_string(bills.size() + 1), record});
  }
  return bills;
}

SupplierInvoice* findBill(const Session& session, const std::string& text) {
  SupplierInvoice* found = nullptr;
  std::string places;
  for (const auto& [place, bill] : allBills(session)) {
    if (bill->number() != text && place != text) continue;
    found = bill;
    places += (places.empty() ? "" : " or ") + place;
  }
  if (found == nullptr) {
    throw Failure(ExitStatus::Refused, "there is no supplier's bill \"" + text + "\"",
                  "'bokfolio supplier list' shows them, 'bokfolio supplier add' adds");
  }
  if (places.find(' ') == std::string::npos) return found;
  throw Failure(ExitStatus::Refused, "more than one supplier's bill is called \"" + text + "\"",
                "write " + places);
}

std::string placeOf(const Session& session, const SupplierInvoice& bill) {
  for (const auto& [place, record] : allBills(session)) {
    if (record == &bill) return place;
  }
  return "";
}

std::string billTitle(const SupplierInvoice& bill) {
  const std::string number = bill.number().value_or("");
  return "bill " + (number.empty() ? "" : number + " ") + "from " + bill.name().value_or("?");
}

std::string_view stateWord(const SupplierInvoice& bill) {
  if (bill.paidDate()) return "paid";
  const auto due = bill.dueDate();
  return due && *due < bill.environment().now() ? "overdue" : "open";
}

bool isForeign(const Session& session, const SupplierInvoice& bill) {
  const std::string currency = bill.currency().value_or("");
  return !currency.empty() && currency != findBook(session)->currency();
}

bool isBooked(const SupplierInvoice& bill) {
  for (const Entry* entry : bill.entries().members()) {
    for (const Row* row : entry->rows().members()) {
      if (!row->isRemoved()) return true;
    }
  }
  return false;
}

std::optional<Decimal> owedOn(const Session& session, const SupplierInvoice& bill) {
  if (!isBooked(bill)) {
    if (bill.paidDate()) return Decimal();
    if (isForeign(session, bill)) return std::nullopt;
    return BillSums::of(bill).total;
  }
  Decimal net;
  for (const Entry* entry : bill.entries().members()) {
    for (const Row* row : entry->rows().members()) {
      if (row->account() == bill.creditAccount()) net += row->net();
    }
  }
  return net.negated();
}

}  // namespace bokfolio::cli
