// How suppliers' bills are shown: as JSON, in lists, and whole. Amounts are in the bill's currency,
// what is owed in the book's.
#pragma once

#include <vector>

#include "settings.hpp"
#include "supplier_bill.hpp"

namespace bokfolio::cli {

// The texts of a bill that are kept as they are given.
inline constexpr TextSetting kBillTexts[] = {
    {"company", "--company", "NAME", "Their company, when the name is another", "Company"},
    kStreet,
    kZipcode,
    kCity,
    kCounty,
    kCountry,
    kPhone,
    kFax,
    kEmail,
    kHomepage,
    {"vatno", "--vatno", "NUMBER", "Their VAT number", "VAT number"},
    {"paymentInfo", "--payment", "TEXT", "Where to pay, such as a giro number", "Way to pay"},
};

Json billJson(const Session& session, const SupplierInvoice& bill, const std::string& place);
void printBills(const Session& session, const std::vector<PlacedBill>& bills);
// With lines, base and VAT by rate, total, and the entries made for it.
void printBill(const Session& session, const SupplierInvoice& bill);
// What a booking step came to: a sentence, the entries filed, and the last with its rows.
void confirmBooking(const Session& session, const std::string& sentence,
                    const SupplierInvoice& bill, const std::vector<Entry*>& filed);

}  // namespace bokfolio::cli
