// SupplierInvoice: a bill received from a supplier. Who sent it, when it is due and paid, in which
// currency, the account that is credited, and its lines. The lines make the debit rows of a
// purchase entry (SupplierInvoiceLine::addPurchaseRowsToEntry); the row that credits the debt, and
// the filing of the entry, are the host's.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/image.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Account;
class Entry;
class SupplierInvoiceLine;
class Tag;

class BOKFOLIO_EXPORT SupplierInvoice : public Record {
 public:
  static constexpr std::string_view kEntityName = "SupplierInvoice";
  struct Slots {
    static constexpr Slot<Date> date{0};
    static constexpr Slot<Date> dueDate{1};
    static constexpr Slot<Date> paidDate{2};
    static constexpr Slot<Date> addedDate{3};
    static constexpr Slot<std::string> name{4};
    static constexpr Slot<std::string> number{5};
    static constexpr Slot<std::string> currency{6};
    static constexpr Slot<std::int64_t> creditPeriod{7};
    static constexpr Slot<Decimal> localAmount{8};
    static constexpr Slot<std::string> company{9};
    static constexpr Slot<std::string> street{10};
    static constexpr Slot<std::string> zipcode{11};
    static constexpr Slot<std::string> city{12};
    static constexpr Slot<std::string> county{13};
    static constexpr Slot<std::string> country{14};
    static constexpr Slot<std::string> phone{15};
    static constexpr Slot<std::string> fax{16};
    static constexpr Slot<std::string> email{17};
    static constexpr Slot<std::string> homepage{18};
    static constexpr Slot<std::string> vatno{19};
    static constexpr Slot<std::string> paymentInfo{20};
    static constexpr Slot<std::string> reserved{21};
    static constexpr ToOneSlot<Tag> tag{22};
    static constexpr ToOneSlot<Account> creditAccount{23};
    static constexpr ToManySlot<SupplierInvoiceLine> lines{24};
    static constexpr ToManySlot<Entry> entries{25};
  };
  static EntityDescription table();

  using Record::Record;

  // 0.01 seconds later, on the environment's run loop, setPropertiesFromLatestInvoice, so that the
  // inserting code can set fields first.
  void awakeFromInsert() override;
  // Registers the bill as of now, with currency and credit period of the bill that was registered
  // last; the first one of all takes the book's currency and keeps its period. Nothing when it has
  // been registered already. What the fields held before does not matter: a duplicate loses the
  // currency and the period that it copied.
  void setPropertiesFromLatestInvoice();

  std::optional<Date> date() const { return get(Slots::date); }
  void setDate(std::optional<Date> date) { set(Slots::date, date); }
  std::optional<Date> dueDate() const { return get(Slots::dueDate); }
  void setDueDate(std::optional<Date> dueDate) { set(Slots::dueDate, dueDate); }
  // nil while unpaid.
  std::optional<Date> paidDate() const { return get(Slots::paidDate); }
  void setPaidDate(std::optional<Date> paidDate) { set(Slots::paidDate, paidDate); }
  // When the bill was registered; nil for the moment before it takes its defaults.
  std::optional<Date> addedDate() const { return get(Slots::addedDate); }
  void setAddedDate(std::optional<Date> addedDate) { set(Slots::addedDate, addedDate); }
  // The supplier's name, and the supplier's number of the bill.
  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  std::optional<std::string> number() const { return get(Slots::number); }
  void setNumber(const std::optional<std::string>& number) { set(Slots::number, number); }
  // ISO 4217 code.
  std::optional<std::string> currency() const { return get(Slots::currency); }
  void setCurrency(const std::optional<std::string>& currency) { set(Slots::currency, currency); }
  // Days.
  std::optional<std::int64_t> creditPeriod() const { return get(Slots::creditPeriod); }
  void setCreditPeriod(std::optional<std::int64_t> creditPeriod) {
    set(Slots::creditPeriod, creditPeriod);
  }
  // In the book's currency.
  std::optional<Decimal> localAmount() const { return get(Slots::localAmount); }
  void setLocalAmount(const std::optional<Decimal>& localAmount) {
    set(Slots::localAmount, localAmount);
  }
  // The supplier's address, contact data and payment details; `reserved` is a spare text.
  std::optional<std::string> company() const { return get(Slots::company); }
  void setCompany(const std::optional<std::string>& company) { set(Slots::company, company); }
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
  std::optional<std::string> phone() const { return get(Slots::phone); }
  void setPhone(const std::optional<std::string>& phone) { set(Slots::phone, phone); }
  std::optional<std::string> fax() const { return get(Slots::fax); }
  void setFax(const std::optional<std::string>& fax) { set(Slots::fax, fax); }
  std::optional<std::string> email() const { return get(Slots::email); }
  void setEmail(const std::optional<std::string>& email) { set(Slots::email, email); }
  std::optional<std::string> homepage() const { return get(Slots::homepage); }
  void setHomepage(const std::optional<std::string>& homepage) { set(Slots::homepage, homepage); }
  std::optional<std::string> vatno() const { return get(Slots::vatno); }
  void setVatno(const std::optional<std::string>& vatno) { set(Slots::vatno, vatno); }
  std::optional<std::string> paymentInfo() const { return get(Slots::paymentInfo); }
  void setPaymentInfo(const std::optional<std::string>& paymentInfo) {
    set(Slots::paymentInfo, paymentInfo);
  }
  std::optional<std::string> reserved() const { return get(Slots::reserved); }
  void setReserved(const std::optional<std::string>& reserved) { set(Slots::reserved, reserved); }

  // Marks the cost rows.
  Tag* tag() const;
  void setTag(Tag* tag);
  // Credited with the debt.
  Account* creditAccount() const;
  void setCreditAccount(Account* creditAccount);
  RecordSetOf<SupplierInvoiceLine> lines() const;
  // Entries made for the bill.
  RecordSetOf<Entry> entries() const;

  // The sums of the lines, without and with VAT, in the bill's currency; zero without lines. Cost:
  // reads the lines each time.
  Decimal amount() const;
  Decimal amountInclVAT() const;
  // The picture of the state: paid, else overdue when the due date lies before now, else open; nil
  // when the resources lack it. As a key it reads as the bytes of the picture's file.
  std::optional<Image> indicator() const;
  // No, once one of the entries is filed in a fiscal year.
  bool allowEditAndRemove() const;

  // Announces the key "validity", which holds nothing: lines call it when amount or accounts
  // change.
  void updateValidity();
  // Deletes the lines that cannot be booked: without an amount other than zero, without account, or
  // with VAT but without VAT account.
  void removeEmptyLines();
  // A copy in the same context with the supplier's data, copies of the lines, credit account and
  // tag; without dates, local amount and entries. The defaults of a new bill run on it, too.
  SupplierInvoice* duplicate() const;

 private:
  std::optional<Bytes> indicatorBytes() const;
};

}  // namespace bokfolio
