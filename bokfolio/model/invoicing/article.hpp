// Article: a product or service of the company's price list, with its price, its VAT rate and the
// accounts on which its sales are booked. Invoice lines copy price and rate when they take an
// article over, so a later change of the list leaves them as they are.
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

class Account;
class InvoiceLine;

// Of kBokfolioErrorDomain.
enum class ArticleError : int {
  NoName = 21,
  NoNumber = 22,
};

class BOKFOLIO_EXPORT Article : public Record {
 public:
  static constexpr std::string_view kEntityName = "Article";
  struct Slots {
    static constexpr Slot<std::string> name{0};
    static constexpr Slot<std::string> number{1};
    static constexpr Slot<std::string> unit{2};
    static constexpr Slot<Decimal> vat{3};
    static constexpr Slot<Decimal> price{4};
    static constexpr Slot<std::int64_t> isDependentTax{5};
    static constexpr Slot<double> dependentTaxLevel{6};
    static constexpr ToManySlot<InvoiceLine> invoiceLines{7};
    static constexpr ToOneSlot<Account> salesAccount{8};
    static constexpr ToOneSlot<Account> vatAccount{9};
  };
  static EntityDescription table();

  using Record::Record;

  // The standard rate in percent; see vat_rates.hpp.
  static Decimal vatRateForCountry(const std::optional<std::string>& countryCode);
  // The VAT rate of the locale's country, and 0.001 seconds later, on the environment's run loop,
  // setPropertiesFromLatestArticle.
  void awakeFromInsert() override;
  // The number after the highest one, in the order of compareNumber, and that article's accounts;
  // of several with the highest number the youngest. Nothing when the number is set already. The
  // first article of all gets "1"; a number that does not begin with an integer counts as 0.
  // Numbers end at 2147483647, which is then given again. Cost: an index look-up, however long the
  // price list, plus a comparison of every number that is not of digits alone.
  void setPropertiesFromLatestArticle();

  std::optional<std::string> name() const { return get(Slots::name); }
  // Recognises a dependent tax by its name: the localised "localized dependent tax" (11 characters,
  // in any case) followed by a number in the environment's locale, whatever comes after that. The
  // number becomes the level, with the precision of a float. Any other name, a shorter one and nil
  // make it an ordinary article and leave the level.
  void setName(const std::optional<std::string>& name);
  // Text of digits.
  std::optional<std::string> number() const { return get(Slots::number); }
  void setNumber(const std::optional<std::string>& number) { set(Slots::number, number); }
  // What is counted: piece, hour...
  std::optional<std::string> unit() const { return get(Slots::unit); }
  void setUnit(const std::optional<std::string>& unit) { set(Slots::unit, unit); }
  // Percent: 25 is 25 %.
  std::optional<Decimal> vat() const { return get(Slots::vat); }
  void setVat(const std::optional<Decimal>& vat) { set(Slots::vat, vat); }
  // Of one unit, excluding VAT, in the invoice's currency.
  std::optional<Decimal> price() const { return get(Slots::price); }
  void setPrice(const std::optional<Decimal>& price) { set(Slots::price, price); }
  // Whether the price is a percentage of the line above, and which. nil reads as no.
  bool isDependentTax() const { return get(Slots::isDependentTax).value_or(0) != 0; }
  void setIsDependentTax(bool isDependentTax) {
    set(Slots::isDependentTax, isDependentTax ? 1 : 0);
  }
  std::optional<double> dependentTaxLevel() const { return get(Slots::dependentTaxLevel); }
  void setDependentTaxLevel(std::optional<double> dependentTaxLevel) {
    set(Slots::dependentTaxLevel, dependentTaxLevel);
  }

  RecordSetOf<InvoiceLine> invoiceLines() const;
  // Accounts credited with the sale and with its VAT.
  Account* salesAccount() const;
  void setSalesAccount(Account* salesAccount);
  Account* vatAccount() const;
  void setVatAccount(Account* vatAccount);

  // "number<TAB>name", or the one that is set, or the localised "Unnamed product.".
  std::string description() const override;
  // Whether an invoice line uses the article.
  bool isUsed() const;
  // This very article: it is never copied as a value.
  Article* copyWithZone() { return this; }
  // -1, 0 or 1. Numbers: runs of digits by their value, in the environment's locale; an article
  // without one comes after every other, so the order of two such is not strict. Names: plain
  // comparison, nil first.
  int compareNumber(const Article& other) const;
  int compare(const Article& other) const;

  // Hooks: nil is refused (ArticleError); every other value passes.
  bool validateName(std::optional<std::string>& proposed, ErrorOut error = nullptr);
  bool validateNumber(std::optional<std::string>& proposed, ErrorOut error = nullptr);
};

}  // namespace bokfolio
