// The book's two guarded settings.
#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/internal/failed_fetch.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

// The ledger knows invoices by name only.
constexpr std::string_view kInvoice = "Invoice";
constexpr std::string_view kMethodWarning =
    "You are changing the invoice filing method. This will not affect invoices that are already "
    "sent.";

// A failed fetch counts as none.
bool hasAny(Context& context, std::string_view entity,
            const std::optional<Predicate>& condition = std::nullopt) {
  const auto found = context.fetchEntitiesWithName(entity, condition, std::nullopt, 1);
  return found && !found->empty();
}

}  // namespace

bool Book::validateBookOnce(std::optional<std::int64_t>& proposed, ErrorOut error) {
  if ((proposed.value_or(0) != 0) == bookOnce()) return true;
  Context& context = managedObjectContext();
  const auto sent =
      context.fetchEntitiesWithName(kInvoice, Predicate("dueDate != nil"), std::nullopt, 1);
  if (!sent) return internal::refuseUnreadable(error, context);
  if (!sent->empty())
    environment().dialog().inform("", environment().text(kMethodWarning), environment().text("OK"));
  return true;
}

bool Book::validateCurrency(std::optional<std::string>& proposed, ErrorOut error) {
  if (proposed == currency()) return true;
  Context& context = managedObjectContext();
  if (!hasAny(context, "Entry", Predicate("fiscalYear != nil || number == nil")) &&
      !hasAny(context, kInvoice))
    return true;
  proposed = currency();
  return internal::refuse(error, LedgerError::CurrencyInUse,
                          "Cannot change currency once entries and/or invoices have been created.",
                          environment());
}

}  // namespace bokfolio
