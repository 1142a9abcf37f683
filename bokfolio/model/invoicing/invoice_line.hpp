// InvoiceLine: one line of a customer invoice. An article or free text, a quantity, a unit price
// excluding VAT, a VAT rate and an optional rebate of its own.
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

  // Orders the lines of an invoice.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  std::optional<Decimal> quantity() const { return get(Slots::quantity); }
  void setQuantity(const std::optional<Decimal>& quantity) { set(Slots::quantity, quantity); }
  // Of one unit, excluding VAT, in the invoice's currency.
  std::optional<Decimal> price() const { return get(Slots::price); }
  void setPrice(const std::optional<Decimal>& price) { set(Slots::price, price); }
  // Percent: 25 is 25 %.
  std::optional<Decimal> vat() const { return get(Slots::vat); }
  void setVat(const std::optional<Decimal>& vat) { set(Slots::vat, vat); }
  // The line's text.
  std::optional<std::string> comment() const { return get(Slots::comment); }
  void setComment(const std::optional<std::string>& comment) { set(Slots::comment, comment); }

  Allowance* allowance() const;
  void setAllowance(Allowance* allowance);
  Article* article() const;
  void setArticle(Article* article);
  Invoice* invoice() const;
  void setInvoice(Invoice* invoice);
};

}  // namespace bokfolio
