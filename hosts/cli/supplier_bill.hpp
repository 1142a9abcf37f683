// A supplier's bill as the commands see it: which one is meant, whether it is in the books, and
// what is still owed on it. The books alone say what is owed; the record only knows the day of
// payment.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/model/supplier/supplier_invoice.hpp"
#include "session.hpp"

namespace bokfolio::cli {

// "b1" is the bill that was registered first, "b2" the next.
struct PlacedBill {
  std::string place;
  SupplierInvoice* record;
};
std::vector<PlacedBill> allBills(const Session& session);
// By the supplier's number, or by its place.
SupplierInvoice* findBill(const Session& session, const std::string& text);
std::string placeOf(const Session& session, const SupplierInvoice& bill);
// "bill 4711 from Ekströms Trä AB".
std::string billTitle(const SupplierInvoice& bill);

// "open", "overdue" or "paid": the state that the library's picture shows.
std::string_view stateWord(const SupplierInvoice& bill);
// Whether it is in another currency than the book's.
bool isForeign(const Session& session, const SupplierInvoice& bill);
// Whether one of its entries has a row that is not struck.
bool isBooked(const SupplierInvoice& bill);
// In the book's currency: what its entries leave on the credit account, negative when the supplier
// owes. Of a bill not booked its total; nil when that is in another currency.
std::optional<Decimal> owedOn(const Session& session, const SupplierInvoice& bill);

}  // namespace bokfolio::cli
