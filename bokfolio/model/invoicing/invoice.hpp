// Invoice: one customer invoice. Who it goes to, its dates, currency and terms, its lines, an
// optional rebate and a status. Amounts in the invoice's own currency are computed from the lines;
// what is owed and paid in the book's currency is stored.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Allowance;
class Book;
class DeliveryAddress;
class InvoiceLine;
class Tag;

class BOKFOLIO_EXPORT Invoice : public Record {
 public:
  static constexpr std::string_view kEntityName = "Invoice";
  struct Slots {
    static constexpr Slot<std::int64_t> number{0};
    static constexpr Slot<Date> date{1};
    static constexpr Slot<std::int64_t> days{2};
    static constexpr Slot<Date> dueDate{3};
    static constexpr Slot<std::string> creditDetails{4};
    static constexpr Slot<std::int64_t> status{5};
    static constexpr Slot<std::string> company{6};
    static constexpr Slot<std::string> yourRef{7};
    static constexpr Slot<std::string> attention{8};
    static constexpr Slot<std::string> street{9};
    static constexpr Slot<std::string> zipcode{10};
    static constexpr Slot<std::string> city{11};
    static constexpr Slot<std::string> county{12};
    static constexpr Slot<std::string> country{13};
    static constexpr Slot<std::string> vatno{14};
    static constexpr Slot<std::string> ourRef{15};
    static constexpr Slot<std::string> language{16};
    static constexpr Slot<std::string> currency{17};
    static constexpr Slot<Decimal> exchangeRate{18};
    static constexpr Slot<Decimal> localAmount{19};
    static constexpr Slot<Decimal> paidAmount{20};
    static constexpr Slot<Date> paidDate{21};
    static constexpr Slot<std::string> deliveryMethod{22};
    static constexpr Slot<std::string> purchaseOrderNo{23};
    static constexpr Slot<std::string> note{24};
    static constexpr Slot<std::int64_t> vatfree{25};
    static constexpr Slot<std::int64_t> rounding{26};
    static constexpr Slot<std::int64_t> bookOnce{27};
    static constexpr Slot<std::int64_t> vatOK{28};
    static constexpr ToOneSlot<Book> book{29};
    static constexpr ToManySlot<InvoiceLine> lines{30};
    static constexpr ToOneSlot<Allowance> allowance{31};
    static constexpr ToOneSlot<Tag> tag{32};
    static constexpr ToOneSlot<DeliveryAddress> deliveryAddress{33};
  };
  static EntityDescription table();

  using Record::Record;

  // Unique by convention only.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  std::optional<Date> date() const { return get(Slots::date); }
  void setDate(std::optional<Date> date) { set(Slots::date, date); }
  // Credit days and what follows from them; the text of the terms.
  std::optional<std::int64_t> days() const { return get(Slots::days); }
  void setDays(std::optional<std::int64_t> days) { set(Slots::days, days); }
  std::optional<Date> dueDate() const { return get(Slots::dueDate); }
  void setDueDate(std::optional<Date> dueDate) { set(Slots::dueDate, dueDate); }
  std::optional<std::string> creditDetails() const { return get(Slots::creditDetails); }
  void setCreditDetails(const std::optional<std::string>& creditDetails) {
    set(Slots::creditDetails, creditDetails);
  }
  std::optional<std::int64_t> status() const { return get(Slots::status); }
  void setStatus(std::optional<std::int64_t> status) { set(Slots::status, status); }
  // The customer: company, contact person and address; the country is a code.
  std::optional<std::string> company() const { return get(Slots::company); }
  void setCompany(const std::optional<std::string>& company) { set(Slots::company, company); }
  std::optional<std::string> yourRef() const { return get(Slots::yourRef); }
  void setYourRef(const std::optional<std::string>& yourRef) { set(Slots::yourRef, yourRef); }
  std::optional<std::string> attention() const { return get(Slots::attention); }
  void setAttention(const std::optional<std::string>& attention) {
    set(Slots::attention, attention);
  }
  std::optional<std::string> street() const { return get(Slots::street); }
  void setStreet(const std::optional<std::string>& street) { set(Slots::street, street); }
  std::optional<std::string> zipcode() const { return get(Slots::zipcode); }
  void setZipcode(const std::optional<std::string>& zipcode) { set(Slots::zipcode, zipcode); }
  std::optional<std::string> city() const { return get(Slots::city); }
  void setCity(const std::optional<std::string>& city) { set(Slots::city, city); }
  std::optional<std::string> county() const { return get(Slots::county); }
  void setCounty(const std::optional<std::string>& county) { set(Slots::county, county); }
  std::optional<std::string> country() const { return get(Slots::country); }
  void setCountry(const std::optional<std::string>& country) { set(Slots::country, country); }
  std::optional<std::string> vatno() const { return get(Slots::vatno); }
  void setVatno(const std::optional<std::string>& vatno) { set(Slots::vatno, vatno); }
  // Our own contact person.
  std::optional<std::string> ourRef() const { return get(Slots::ourRef); }
  void setOurRef(const std::optional<std::string>& ourRef) { set(Slots::ourRef, ourRef); }
  // Codes of the language and of the currency of the invoice's amounts.
  std::optional<std::string> language() const { return get(Slots::language); }
  void setLanguage(const std::optional<std::string>& language) { set(Slots::language, language); }
  std::optional<std::string> currency() const { return get(Slots::currency); }
  void setCurrency(const std::optional<std::string>& currency) { set(Slots::currency, currency); }
  // Units of the book's currency for one unit of the invoice's.
  std::optional<Decimal> exchangeRate() const { return get(Slots::exchangeRate); }
  void setExchangeRate(const std::optional<Decimal>& exchangeRate) {
    set(Slots::exchangeRate, exchangeRate);
  }
  // In the book's currency: what is owed, and the sum of the payments so far (nil for none).
  std::optional<Decimal> localAmount() const { return get(Slots::localAmount); }
  void setLocalAmount(const std::optional<Decimal>& localAmount) {
    set(Slots::localAmount, localAmount);
  }
  std::optional<Decimal> paidAmount() const { return get(Slots::paidAmount); }
  void setPaidAmount(const std::optional<Decimal>& paidAmount) {
    set(Slots::paidAmount, paidAmount);
  }
  // Day of the final payment.
  std::optional<Date> paidDate() const { return get(Slots::paidDate); }
  void setPaidDate(std::optional<Date> paidDate) { set(Slots::paidDate, paidDate); }
  std::optional<std::string> deliveryMethod() const { return get(Slots::deliveryMethod); }
  void setDeliveryMethod(const std::optional<std::string>& deliveryMethod) {
    set(Slots::deliveryMethod, deliveryMethod);
  }
  // The customer's order number.
  std::optional<std::string> purchaseOrderNo() const { return get(Slots::purchaseOrderNo); }
  void setPurchaseOrderNo(const std::optional<std::string>& purchaseOrderNo) {
    set(Slots::purchaseOrderNo, purchaseOrderNo);
  }
  std::optional<std::string> note() const { return get(Slots::note); }
  void setNote(const std::optional<std::string>& note) { set(Slots::note, note); }
  // Without VAT; rounded to whole currency units; booked once, when paid. nil reads as no.
  bool vatfree() const { return get(Slots::vatfree).value_or(0) != 0; }
  void setVatfree(bool vatfree) { set(Slots::vatfree, vatfree ? 1 : 0); }
  bool rounding() const { return get(Slots::rounding).value_or(0) != 0; }
  void setRounding(bool rounding) { set(Slots::rounding, rounding ? 1 : 0); }
  bool bookOnce() const { return get(Slots::bookOnce).value_or(0) != 0; }
  void setBookOnce(bool bookOnce) { set(Slots::bookOnce, bookOnce ? 1 : 0); }
  // Whether the VAT number was found valid, set by the caller who checked it; in memory only.
  std::optional<bool> vatOK() const {
    const auto found = get(Slots::vatOK);
    return found ? std::optional(*found != 0) : std::nullopt;
  }
  void setVatOK(std::optional<bool> valid) { set(Slots::vatOK, valid); }

  Book* book() const;
  void setBook(Book* book);
  RecordSetOf<InvoiceLine> lines() const;
  Allowance* allowance() const;
  void setAllowance(Allowance* allowance);
  Tag* tag() const;
  void setTag(Tag* tag);
  DeliveryAddress* deliveryAddress() const;
  void setDeliveryAddress(DeliveryAddress* deliveryAddress);
};

}  // namespace bokfolio
