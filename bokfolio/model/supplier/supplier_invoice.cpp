#include "bokfolio/model/supplier/supplier_invoice.hpp"

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/supplier/supplier_invoice_line.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

namespace {

// 0.01 seconds.
constexpr std::int64_t kDefaultsDelayMicroseconds = 10'000;

// By number.
enum class Picture { Open = 1, Overdue = 2, Paid = 3 };

}  // namespace

EntityDescription SupplierInvoice::table() {
  EntityTable<SupplierInvoice> table{std::string(kEntityName)};
  table.attribute(Slots::date, "date");
  table.attribute(Slots::dueDate, "dueDate");
  table.attribute(Slots::paidDate, "paidDate");
  table.attribute(Slots::addedDate, "addedDate");
  table.attribute(Slots::name, "name");
  table.attribute(Slots::number, "number");
  table.attribute(Slots::currency, "currency");
  table.attribute(Slots::creditPeriod, "creditPeriod").defaultValue(30);
  table.attribute(Slots::localAmount, "localAmount");
  table.attribute(Slots::company, "company");
  table.attribute(Slots::street, "street");
  table.attribute(Slots::zipcode, "zipcode");
  table.attribute(Slots::city, "city");
  table.attribute(Slots::county, "county");
  table.attribute(Slots::country, "country");
  table.attribute(Slots::phone, "phone");
  table.attribute(Slots::fax, "fax");
  table.attribute(Slots::email, "email");
  table.attribute(Slots::homepage, "homepage");
  table.attribute(Slots::vatno, "vatno");
  table.attribute(Slots::paymentInfo, "paymentInfo");
  table.attribute(Slots::reserved, "reserved");
  table.toOne(Slots::tag, "tag", "Tag");
  table.toOne(Slots::creditAccount, "creditAccount", "Account");
  table.toMany(Slots::lines, "lines", "SupplierInvoiceLine", "invoice")
      .onDelete(DeleteRule::Cascade);
  table.toMany(Slots::entries, "entries", "Entry", "supplierInvoice");
  table.derived<&SupplierInvoice::amount>("amount");
  table.derived<&SupplierInvoice::amountInclVAT>("amountInclVAT");
  table.derived<&SupplierInvoice::indicatorBytes>("indicator");
  table.derived<&SupplierInvoice::allowEditAndRemove>("allowEditAndRemove");
  table.announced("validity");
  table.dependsOn("amount", {"lines"});
  table.dependsOn("amountInclVAT", {"lines"});
  table.dependsOn("indicator", {"paidDate", "dueDate"});
  table.dependsOn("allowEditAndRemove", {"entries"});
  table.index({"addedDate"});
  table.byLookup();
  return table.description();
}

void SupplierInvoice::awakeFromInsert() {
  Record::awakeFromInsert();
  managedObjectContext().performAfterDelay(*this, kDefaultsDelayMicroseconds, [](Record& record) {
    static_cast<SupplierInvoice&>(record).setPropertiesFromLatestInvoice();
  });
}

void SupplierInvoice::setPropertiesFromLatestInvoice() {
  if (addedDate()) return;
  Context& context = managedObjectContext();
  const auto* latest = context.fetchFirst<SupplierInvoice>(
      Predicate("addedDate != nil"),
      std::vector<SortDescriptor>{SortDescriptor("addedDate", false)});
  if (latest != nullptr) {
    setCurrency(latest->currency());
    setCreditPeriod(latest->creditPeriod());
  } else {
    const Book* book = Book::currentBookInContext(context);
    setCurrency(book == nullptr ? std::nullopt : book->currency());
  }
  setAddedDate(environment().now());
}

Tag* SupplierInvoice::tag() const { return get(Slots::tag); }

void SupplierInvoice::setTag(Tag* tag) { set(Slots::tag, tag); }

Account* SupplierInvoice::creditAccount() const { return get(Slots::creditAccount); }

void SupplierInvoice::setCreditAccount(Account* creditAccount) {
  set(Slots::creditAccount, creditAccount);
}

RecordSetOf<SupplierInvoiceLine> SupplierInvoice::lines() const { return get(Slots::lines); }

RecordSetOf<Entry> SupplierInvoice::entries() const { return get(Slots::entries); }

Decimal SupplierInvoice::amount() const { return lines().sum("amount"); }

Decimal SupplierInvoice::amountInclVAT() const { return lines().sum("amountInclVAT"); }

std::optional<Bytes> SupplierInvoice::indicatorBytes() const {
  Picture picture = Picture::Open;
  if (const auto due = dueDate(); due && *due < environment().now()) picture = Picture::Overdue;
  if (paidDate()) picture = Picture::Paid;
  const auto file = environment().resources().load(
      "images/status" + std::to_string(static_cast<int>(picture)), "png");
  return file ? std::optional(Bytes(file->begin(), file->end())) : std::nullopt;
}

std::optional<Image> SupplierInvoice::indicator() const {
  const auto file = indicatorBytes();
  return file ? Image::decode(*file) : std::nullopt;
}

bool SupplierInvoice::allowEditAndRemove() const {
  for (const Entry* entry : entries().members())
    if (entry->fiscalYear() != nullptr) return false;
  return true;
}

void SupplierInvoice::updateValidity() {
  willChangeValueForKey("validity");
  didChangeValueForKey("validity");
}

void SupplierInvoice::removeEmptyLines() {
  for (SupplierInvoiceLine* line : lines().members()) {
    if (line->isBookable()) continue;
    line->setInvoice(nullptr);
    managedObjectContext().deleteObject(line);
  }
}

SupplierInvoice* SupplierInvoice::duplicate() const {
  auto* copy = managedObjectContext().insert<SupplierInvoice>();
  copyKeys({"city", "company", "country", "county", "currency", "creditPeriod", "email", "fax",
            "homepage", "number", "name", "paymentInfo", "street", "phone", "vatno", "reserved",
            "zipcode"},
           *copy);
  copyKeys({"creditAccount", "tag"}, *copy);
  for (const SupplierInvoiceLine* line : lines().members()) line->duplicate()->setInvoice(copy);
  return copy;
}

// Entry belongs to the ledger, which knows this class by name only; what needs the whole class
// stands here.
SupplierInvoice* Entry::supplierInvoice() const { return get(Slots::supplierInvoice); }

void Entry::setSupplierInvoice(SupplierInvoice* invoice) { set(Slots::supplierInvoice, invoice); }

}  // namespace bokfolio
