// InvoiceLine: one line of a customer invoice. An article or free text, a quantity, a unit price
// excluding VAT, a VAT rate and an optional rebate of its own. The line computes its own sums, in
// the invoice's currency and never rounded; it tells the invoice when they change.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Allowance;
class Article;
class Invoice;

class BOKFOLIO_EXPORT InvoiceLine : public Record {
 public:
  static constexpr std::string_view kEntityName = "InvoiceLine";
  struct Slots {
    static constexpr Slot<std::int64_t> number{0};
    static constexpr Slot<Decimal> quantity{1};
    static constexpr Slot<Decimal> price{2};
    static constexpr Slot<Decimal> vat{3};
    static constexpr Slot<std::string> comment{4};
    static constexpr ToOneSlot<Allowance> allowance{5};
    static constexpr ToOneSlot<Article> article{6};
    static constexpr ToOneSlot<Invoice> invoice{7};
  };
  static EntityDescription table();

  using Record::Record;

  // The number: whole seconds since 2001, so that lines sort as they were made. Lines made within
  // one second share it; who adds several at once sets it.
  void awakeFromInsert() override;

  // Orders the lines of an invoice.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  std::optional<Decimal> quantity() const { return get(Slots::quantity); }
  // Announces the invoice's total too, as do the setters of price and rebate.
  void setQuantity(const std::optional<Decimal>& quantity);
  // Of one unit, excluding VAT, in the invoice's currency.
  std::optional<Decimal> price() const { return get(Slots::price); }
  void setPrice(const std::optional<Decimal>& price);
  // Percent: 25 is 25 %.
  std::optional<Decimal> vat() const { return get(Slots::vat); }
  void setVat(const std::optional<Decimal>& vat) { set(Slots::vat, vat); }
  // The line's text.
  std::optional<std::string> comment() const { return get(Slots::comment); }
  void setComment(const std::optional<std::string>& comment) { set(Slots::comment, comment); }

  Allowance* allowance() const;
  void setAllowance(Allowance* allowance);
  // The rebate's description; nil without one. Setting deletes the rebate there is and parses a new
  // one (Allowance::createAllowanceFromString): none for nil and for a text that is no rebate.
  std::optional<std::string> allowanceString() const;
  void setAllowanceString(const std::optional<std::string>& text);
  Article* article() const;
  // An article, an article's number (a number, or a text whose leading integer is taken; it is
  // looked up as text), or nil; a number that no article has clears. Price and VAT stay.
  void setArticle(const Value& article);
  // The article's; nil without one. The setters look the article up, by its number or by its name
  // in any case with '*' and '?' as wildcards, and take it over; one that is not found clears the
  // article, its price becomes nil and the VAT 0.
  std::optional<std::string> articleNumber() const;
  void setArticleNumber(const std::optional<std::string>& number);
  std::optional<std::string> articleName() const;
  void setArticleName(const std::optional<std::string>& name);
  // Takes over price and VAT of the article. A dependent tax prices itself instead: its level in
  // percent of the line above, excluding VAT, one unit; without a line above, price and quantity
  // stay. Above is the line with the next lower number, of equal ones the one made last.
  void handleChangedArticle();
  Invoice* invoice() const;
  void setInvoice(Invoice* invoice);

  // Quantity times price, less the rebate; nil without price or quantity. DecimalError when a sum
  // is no Decimal, here and below.
  std::optional<Decimal> lineSumExclVat() const;
  // The VAT on that: zero on an invoice without VAT; nil when the sum or the rate is.
  std::optional<Decimal> lineVat() const;
  // The sum with VAT; without, when the invoice has none or the rate is nil.
  std::optional<Decimal> lineSum() const;
  // The sum excluding VAT in the book's currency: zero while the invoice has no exchange rate.
  std::optional<Decimal> localAmount() const;

  // A copy in the same context, on the same article and with the same number and a copy of the
  // rebate, that belongs to no invoice yet.
  InvoiceLine* duplicate() const;

 private:
  void takeShareOfLineAbove(std::optional<double> percent);
  const InvoiceLine* lineAbove() const;
  void updateInvoice();
  bool isVatfree() const;
};

}  // namespace bokfolio
