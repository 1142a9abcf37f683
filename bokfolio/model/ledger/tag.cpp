#include "bokfolio/model/ledger/tag.hpp"

#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription Tag::table() {
  EntityTable<Tag> table{std::string(kEntityName)};
  table.attribute(Slots::number, "number");
  table.attribute(Slots::name, "name");
  table.toMany(Slots::rows, "rows", "Row", "tag");
  table.toMany(Slots::invoices, "invoices", "Invoice", "tag");
  table.derived<&Tag::balance>("balance");
  table.index({"number"});
  return table.description();
}

RecordSetOf<Row> Tag::rows() const { return get(Slots::rows); }

RecordSetOf<Invoice> Tag::invoices() const { return get(Slots::invoices); }

Tag* Tag::tagWithNumber(std::optional<std::int64_t> number, Context& context) {
  if (!number) return nullptr;
  return context.fetchFirst<Tag>(Predicate("number == %@", {*number}));
}

void Tag::removeEmptyTagsInContext(Context& context) {
  const Predicate blank("number == nil && rows.@count == 0 && invoices.@count == 0");
  for (Tag* tag : context.fetch<Tag>(blank)) context.deleteObject(tag);
}

std::optional<Decimal> Tag::balance() const {
  const FiscalYear* latest = FiscalYear::latestFiscalYearInContext(managedObjectContext());
  if (latest == nullptr) return std::nullopt;
  return managedObjectContext().keptSum(Row::kEntityName, {nullptr, this, latest, {}});
}

}  // namespace bokfolio
