#include "bokfolio/model/ledger/entry.hpp"

#include <set>

#include "bokfolio/model/internal/refusal.hpp"
#include "bokfolio/model/ledger/entry_image.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/internal/ordering.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/date_text.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription Entry::table() {
  EntityTable<Entry> table{std::string(kEntityName)};
  table.attribute(Slots::name, "name");
  table.attribute(Slots::number, "number").defaultValue(kNewEntryNumber);
  table.attribute(Slots::comments, "comments");
  table.attribute(Slots::date, "date").validatedBy<&Entry::validateDate>();
  table.attribute(Slots::type, "type");
  table.toOne(Slots::fiscalYear, "fiscalYear", "FiscalYear", "entries");
  table.toMany(Slots::rows, "rows", "Row", "entry")
      .onDelete(DeleteRule::Cascade)
      .validatedBy<&Entry::validateRows>();
  table.toOne(Slots::entryImage, "entryImage", "EntryImage", "entry").onDelete(DeleteRule::Cascade);
  table.toOne(Slots::supplierInvoice, "supplierInvoice", "SupplierInvoice", "entries");
  table.derived<&Entry::isNew>("isNew");
  table.derived<&Entry::numberAsString>("numberAsString");
  table.derived<&Entry::description>("description");
  table.derived<&Entry::day>("day");
  table.derived<&Entry::dateString>("dateString");
  table.derived<&Entry::imageBytes>("image");
  table.index({"fiscalYear", "number"});
  table.index({"fiscalYear", "date"});
  table.index({"number", "date"});
  table.index({"date"});
  table.index({"name"});
  table.byLookup();
  return table.description();
}

Predicate Entry::onlyNewEntries() { return Predicate("number == %d", {kNewEntryNumber}); }

Entry* Entry::findTheNewInContext(Context& context) {
  const auto found = context.fetch<Entry>(onlyNewEntries());
  for (std::size_t i = 1; i < found.size(); ++i) context.deleteObject(found[i]);
  return found.empty() ? nullptr : found.front();
}

void Entry::removeBadRowsInNewEntryInContext(Context& context) {
  const Entry* entry = findTheNewInContext(context);
  if (entry == nullptr) return;
  for (Row* row : entry->rows().members()) {
    if (!row->isEmpty() && row->validateForUpdate()) continue;
    row->setEntry(nullptr);
    row->setAccount(nullptr);
    row->setTag(nullptr);
    context.deleteObject(row);
  }
}

void Entry::awakeFromInsert() {
  Record::awakeFromInsert();
  const auto* latest = managedObjectContext().fetchFirst<Entry>(
      Predicate("fiscalYear != nil"), std::vector<SortDescriptor>{SortDescriptor("date", false)});
  setPrimitive(Slots::date, latest == nullptr ? environment().now() : latest->date());
}

FiscalYear* Entry::fiscalYear() const { return get(Slots::fiscalYear); }

void Entry::setFiscalYear(FiscalYear* year) { set(Slots::fiscalYear, year); }

RecordSetOf<Row> Entry::rows() const { return get(Slots::rows); }

EntryImage* Entry::entryImage() const { return get(Slots::entryImage); }

void Entry::setEntryImage(EntryImage* image) { set(Slots::entryImage, image); }

int Entry::compare(const Entry& other) const {
  if (number()) return internal::compareNilFirst(number(), other.number());
  return internal::compareNilFirst(date(), other.date());
}

int Entry::compareDateAndName(const Entry& other) const {
  const TimeZone& zone = environment().timeZone();
  const auto dayOf = [&zone](const Entry& entry) {
    const auto date = entry.date();
    return date ? std::optional(civilDate(*date, zone)) : std::nullopt;
  };
  if (const int days = internal::compareNilFirst(dayOf(*this), dayOf(other)); days != 0)
    return days;
  const auto own = name();
  return own ? internal::compareNilFirst(own, other.name()) : -1;
}

bool Entry::isNew() const { return number() == kNewEntryNumber; }

std::optional<std::string> Entry::numberAsString() const {
  if (isNew()) return environment().text("NEW");
  const auto own = number();
  return own ? std::optional(std::to_string(*own)) : std::nullopt;
}

std::string Entry::description() const {
  if (const auto own = number()) return environment().text("Entry") + " #" + std::to_string(*own);
  const auto own = name();
  return own ? *own : environment().text("Untitled entry name");
}

std::optional<Date> Entry::day() const {
  const auto own = date();
  return own ? std::optional(beginningOfDay(*own, environment().timeZone())) : std::nullopt;
}

std::optional<std::string> Entry::dateString() const {
  const auto own = date();
  return own ? std::optional(isoDay(*own, environment().timeZone())) : std::nullopt;
}

std::optional<std::map<std::string, std::string>> Entry::contents() const {
  const auto own = name();
  if (!own) return std::nullopt;
  return std::map<std::string, std::string>{{"name", *own}};
}

std::optional<Bytes> Entry::imageBytes() const {
  const EntryImage* attached = entryImage();
  return attached == nullptr ? std::nullopt : attached->image();
}

std::optional<Image> Entry::image() const {
  const auto bytes = imageBytes();
  if (!bytes || bytes->empty()) return std::nullopt;
  return Image::decode(*bytes);
}

bool Entry::setImage(const std::optional<Image>& image, ErrorOut error) {
  std::optional<Bytes> bytes;
  if (image) {
    bytes = image->storedBytes(error);
    if (!bytes) return false;
  }
  if (entryImage() == nullptr) setEntryImage(managedObjectContext().insert<EntryImage>());
  willChangeValueForKey("image");
  entryImage()->setImage(bytes);
  didChangeValueForKey("image");
  return true;
}

void Entry::copyRowsFromOtherEntry(const Entry& other) {
  for (Row* row : rows().members()) row->deleteWithoutPardon();
  for (const Row* original : other.rows().membersBy({SortDescriptor("number")})) {
    if (original->isRemoved()) continue;
    Row* copy = managedObjectContext().insert<Row>();
    copy->copyOtherRow(*original);
    copy->setEntry(this);
    copy->setStatus(RowStatus::Committed);
    copy->setWho(std::nullopt);
    copy->setWhen(std::nullopt);
  }
}

void Entry::removeEmptyRows() {
  for (Row* row : rows().members()) {
    if (!row->isEmpty()) continue;
    row->setEntry(nullptr);
    managedObjectContext().deleteObject(row);
  }
}

std::vector<std::string> Entry::matchingAmounts() const {
  std::set<std::string> amounts;
  for (const Row* row : rows().members()) {
    if (row->isRemoved()) continue;
    const Decimal net = row->net();
    amounts.insert(decimalDescription(net, environment().locale()));
    amounts.insert(decimalDescription(net * Decimal(2), environment().locale()));
  }
  return {amounts.begin(), amounts.end()};
}

}  // namespace bokfolio
