// What a fresh invoice takes from its document a moment after it was made.
#include <limits>

#include "bokfolio/model/invoicing/company.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

// Time for the code that inserts an invoice to fill in its customer first.
constexpr std::int64_t kDefaultsDelayMicroseconds = 10'000;

std::int64_t numberAfter(std::int64_t number) {
  return number == std::numeric_limits<std::int64_t>::max() ? number : number + 1;
}

}  // namespace

void Invoice::awakeFromInsert() {
  Record::awakeFromInsert();
  setPrimitive(Slots::date, environment().now());
  setPrimitive(Slots::number, std::nullopt);
  managedObjectContext().performAfterDelay(*this, kDefaultsDelayMicroseconds, [](Record& record) {
    static_cast<Invoice&>(record).setPropertiesFromLatestInvoice();
  });
}

void Invoice::setPropertiesFromLatestInvoice() {
  if (number()) return;
  Context& context = managedObjectContext();
  const auto* latest = context.fetchFirst<Invoice>(
      Predicate("number != nil"), std::vector<SortDescriptor>{SortDescriptor("number", false)});
  if (latest != nullptr && !company()) {
    setDeliveryMethod(latest->deliveryMethod());
    setOurRef(latest->ourRef());
    setLanguage(latest->language());
    setCurrency(latest->currency());
  }
  setNumber(latest == nullptr ? 1 : numberAfter(latest->number().value_or(0)));
  setBook(Book::currentBookInContext(context));
  const Book* own = book();
  const Company* home = own == nullptr ? nullptr : own->company();
  setCountry(home == nullptr ? std::nullopt : home->country());
}

}  // namespace bokfolio
