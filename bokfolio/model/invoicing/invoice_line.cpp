#include "bokfolio/model/invoicing/invoice_line.hpp"

#include <cstdlib>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/internal/line_sums.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio {

EntityDescription InvoiceLine::table() {
  EntityTable<InvoiceLine> table{std::string(kEntityName)};
  table.attribute(Slots::number, "number");
  table.attribute(Slots::quantity, "quantity").writtenBy<&InvoiceLine::setQuantity>();
  table.attribute(Slots::price, "price").writtenBy<&InvoiceLine::setPrice>();
  table.attribute(Slots::vat, "vat");
  table.attribute(Slots::comment, "comment");
  table.toOne(Slots::allowance, "allowance", "Allowance", "invoiceline")
      .onDelete(DeleteRule::Cascade)
      .writtenBy<&InvoiceLine::setAllowance>();
  table.toOne(Slots::article, "article", "Article", "invoiceLines")
      .writtenBy<&InvoiceLine::setArticle>();
  table.toOne(Slots::invoice, "invoice", "Invoice", "lines");
  table.derived<&InvoiceLine::lineSum>("lineSum");
  table.derived<&InvoiceLine::lineVat>("lineVat");
  table.derived<&InvoiceLine::lineSumExclVat>("lineSumExclVat");
  table.derived<&InvoiceLine::localAmount>("localAmount");
  table.derived<&InvoiceLine::allowanceString, &InvoiceLine::setAllowanceString>("allowanceString");
  table.derived<&InvoiceLine::articleNumber, &InvoiceLine::setArticleNumber>("articleNumber");
  table.derived<&InvoiceLine::articleName, &InvoiceLine::setArticleName>("articleName");
  table.triggersChangeOf({"vat", "quantity", "allowance", "price"}, "lineSum");
  table.triggersChangeOf({"vat", "quantity", "allowance", "price"}, "lineVat");
  table.triggersChangeOf({"quantity", "allowance", "price"}, "lineSumExclVat");
  table.triggersChangeOf({"allowance"}, "allowanceString");
  table.triggersChangeOf({"article"}, "articleNumber");
  table.triggersChangeOf({"article"}, "articleName");
  table.byLookup();
  return table.description();
}

void InvoiceLine::awakeFromInsert() {
  Record::awakeFromInsert();
  setPrimitive(Slots::number, environment().now().secondsSinceReferenceDate());
}

void InvoiceLine::setQuantity(const std::optional<Decimal>& quantity) {
  set(Slots::quantity, quantity);
  updateInvoice();
}

void InvoiceLine::setPrice(const std::optional<Decimal>& price) {
  set(Slots::price, price);
  updateInvoice();
}

Allowance* InvoiceLine::allowance() const { return get(Slots::allowance); }

void InvoiceLine::setAllowance(Allowance* allowance) {
  set(Slots::allowance, allowance);
  updateInvoice();
}

std::optional<std::string> InvoiceLine::allowanceString() const {
  const Allowance* own = allowance();
  return own == nullptr ? std::nullopt : std::optional(own->description());
}

void InvoiceLine::setAllowanceString(const std::optional<std::string>& text) {
  if (Allowance* former = allowance(); former != nullptr)
    managedObjectContext().deleteObject(former);
  const Invoice* own = invoice();
  setAllowance(
      text ? Allowance::createAllowanceFromString(
                 text, own == nullptr ? std::nullopt : own->currency(), managedObjectContext())
           : nullptr);
}

Article* InvoiceLine::article() const { return get(Slots::article); }

void InvoiceLine::setArticle(const Value& article) {
  // Articles keep their numbers as text, which no number equals.
  if (const std::string* text = article.string()) {
    setObject(std::to_string(std::strtoll(text->c_str(), nullptr, 10)), "article");
  } else if (const auto number = article.asDecimal()) {
    setObject(number->toString(), "article");
  } else {
    setObject(article, "article");
  }
}

std::optional<std::string> InvoiceLine::articleNumber() const {
  const Article* own = article();
  return own == nullptr ? std::nullopt : own->number();
}

void InvoiceLine::setArticleNumber(const std::optional<std::string>& number) {
  setObject(number, "article");
  handleChangedArticle();
}

std::optional<std::string> InvoiceLine::articleName() const {
  const Article* own = article();
  return own == nullptr ? std::nullopt : own->name();
}

void InvoiceLine::setArticleName(const std::optional<std::string>& name) {
  setNamedObject(name, "article");
  handleChangedArticle();
}

void InvoiceLine::handleChangedArticle() {
  const Article* own = article();
  if (own != nullptr && own->isDependentTax()) {
    takeShareOfLineAbove(own->dependentTaxLevel());
  } else {
    setPrice(own == nullptr ? std::nullopt : own->price());
  }
  setVat(own == nullptr ? std::nullopt : own->vat());
  if (!vat()) setVat(Decimal());
  updateInvoice();
}

void InvoiceLine::takeShareOfLineAbove(std::optional<double> percent) {
  const InvoiceLine* above = lineAbove();
  const auto base = above == nullptr ? std::nullopt : above->lineSumExclVat();
  if (!base) return;
  const Decimal share = Decimal::fromDouble(percent.value_or(0)).value_or(Decimal());
  setPrice((*base * share).scaledByPowerOf10(-2));
  setQuantity(Decimal(1));
}

const InvoiceLine* InvoiceLine::lineAbove() const {
  const Invoice* own = invoice();
  if (own == nullptr) return nullptr;
  const auto above = own->lines()
                         .filtered(Predicate("number < %@", {number()}))
                         .membersBy({SortDescriptor("number")});
  return above.size() == 0 ? nullptr : above[above.size() - 1];
}

Invoice* InvoiceLine::invoice() const { return get(Slots::invoice); }

void InvoiceLine::setInvoice(Invoice* invoice) { set(Slots::invoice, invoice); }

void InvoiceLine::updateInvoice() {
  if (Invoice* own = invoice(); own != nullptr) own->updateTotalAmount();
}

bool InvoiceLine::isVatfree() const {
  const Invoice* own = invoice();
  return own != nullptr && own->vatfree();
}

std::optional<Decimal> InvoiceLine::lineSumExclVat() const {
  const auto unitPrice = price();
  const auto units = quantity();
  if (!unitPrice || !units) return std::nullopt;
  return internal::lineExclVat(*units, *unitPrice, allowance());
}

std::optional<Decimal> InvoiceLine::lineVat() const {
  if (isVatfree()) return Decimal();
  const auto sum = lineSumExclVat();
  const auto rate = vat();
  if (!sum || !rate) return std::nullopt;
  return (*sum * *rate).scaledByPowerOf10(-2);
}

std::optional<Decimal> InvoiceLine::lineSum() const {
  const auto sum = lineSumExclVat();
  const auto rate = vat();
  if (!sum || !rate || isVatfree()) return sum;
  return *sum * internal::vatFactor(*rate);
}

std::optional<Decimal> InvoiceLine::localAmount() const {
  const auto sum = lineSumExclVat();
  if (!sum) return std::nullopt;
  const Invoice* own = invoice();
  const auto rate = own == nullptr ? std::nullopt : own->exchangeRate();
  return *sum * rate.value_or(Decimal());
}

InvoiceLine* InvoiceLine::duplicate() const {
  auto* copy = managedObjectContext().insert<InvoiceLine>();
  copy->setArticle(article());
  copyKeys({"comment", "number", "price", "quantity", "vat"}, *copy);
  if (const Allowance* own = allowance(); own != nullptr) copy->setAllowance(own->duplicate());
  return copy;
}

}  // namespace bokfolio
