// Invoice: one customer invoice. Who it goes to, its dates, currency and terms, its lines, an
// optional rebate and a status that moves from not sent through sent to paid, returned or lost.
// Amounts in the invoice's own currency are computed from the lines each time they are read; what
// is owed and paid in the book's currency is stored.
//
// Sending, paying, returning and writing off make journal entries, unnumbered and without fiscal
// year until the next filing. These operations change fields before they check, and leave what they
// changed when they fail: the host rolls back.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/image.hpp"
#include "bokfolio/platform/number_text.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Account;
class Allowance;
class Book;
class DeliveryAddress;
class Entry;
class InvoiceLine;
class Tag;

// Values of Invoice.status.
enum class InvoiceStatus : std::int64_t {
  NotSent = 0,
  Sent = 1,
  Overdue = 2,  // read only: sent, and the due date has passed
  Paid = 3,
  Reminder = 4,
  SecondReminder = 5,
  CustomerLoss = 6,
  PartiallyPaid = 7,
  Returned = 8,
};

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

  // Dated now and without number; 0.01 seconds later, on the environment's run loop,
  // setPropertiesFromLatestInvoice.
  void awakeFromInsert() override;
  // The next invoice number, the current book and its company's country; while no company is filled
  // in, delivery method, our reference, language and currency of the invoice with the highest
  // number as well. Nothing when the number is set already. The first invoice of all gets 1. Cost:
  // an index look-up, however many invoices.
  void setPropertiesFromLatestInvoice();

  // Unique by convention only.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  std::optional<Date> date() const { return get(Slots::date); }
  void setDate(std::optional<Date> date) { set(Slots::date, date); }
  // Credit days: the book's until the invoice is sent, whatever is stored; then what was stored.
  std::optional<std::int64_t> days() const;
  void setDays(std::optional<std::int64_t> days) { set(Slots::days, days); }
  // Date and stored days, counted in calendar days of the environment's zone (the hour stays over a
  // change of summer time); nil while nothing is stored. Reading corrects what is stored when it
  // differs, and clears it on an invoice without a date: an announced change that is saved, but
  // that undo does not know.
  std::optional<Date> dueDate() const;
  void setDueDate(std::optional<Date> dueDate) { set(Slots::dueDate, dueDate); }
  // The text of the terms: until the invoice is sent, that of CreditDetails in the invoice's
  // language; then what was stored.
  std::optional<std::string> creditDetails() const;
  void setCreditDetails(const std::optional<std::string>& creditDetails) {
    set(Slots::creditDetails, creditDetails);
  }
  // See InvoiceStatus. A stored Sent reads as Overdue once the due date has passed. Setting Sent
  // sets the due date to the date and the book's days.
  std::optional<std::int64_t> status() const;
  void setStatus(std::optional<std::int64_t> status);
  void setStatus(InvoiceStatus status) { setStatus(static_cast<std::int64_t>(status)); }
  // As stored, without the reading of overdue; setting is setStatus.
  std::optional<std::int64_t> rawStatus() const { return get(Slots::status); }
  void setRawStatus(std::optional<std::int64_t> status) { setStatus(status); }
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
  // Forgets whether the number was found valid, even when it is the same.
  void setVatno(const std::optional<std::string>& vatno);
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
  // The rebate's description; nil without one. Setting deletes the rebate there is and parses a new
  // one (Allowance::createAllowanceFromString): none for nil and for a text that is no rebate.
  std::optional<std::string> allowanceString() const;
  void setAllowanceString(const std::optional<std::string>& text);
  Tag* tag() const;
  // A tag, a tag's number, or nil; a number that no tag has clears.
  void setTag(const Value& tag);
  DeliveryAddress* deliveryAddress() const;
  void setDeliveryAddress(DeliveryAddress* deliveryAddress);

  bool isEmpty() const;    // has no lines
  bool isSent() const;     // stored status Sent or above
  bool isPaid() const;     // status Paid
  bool canBePaid() const;  // Sent, Overdue, reminded or partially paid
  bool isLossOrReturn() const;
  // Whether the invoice's currency is not the book's; no currency differs from every other.
  bool foreignCurrency() const;
  bool hasDeliveryAddress() const;
  void setHasDeliveryAddress(bool) {}  // bindings write it; it follows from the address
  // Whether there is something to pay (total not 0), somebody to send it to, and a language.
  bool sendable() const;
  // "reference / company", the same once when both are equal, or the one that is set; nil without
  // reference and company.
  std::optional<std::string> recipient() const;
  // "reference/company", or the one that is set, or the localised "No recipient".
  std::string description() const override;
  // Text and picture of the status; nil for a status that there is not, or a picture that the
  // resources lack.
  std::optional<std::string> statusDescription() const;
  std::optional<Image> indicator() const;
  // The picture's file, which is also what the key "indicator" reads.
  std::optional<Bytes> indicatorBytes() const;
  // By number; equal numbers as they were made. No key: sets have no order.
  std::vector<InvoiceLine*> sortedInvoiceLines() const;
  // This very invoice, which serves as a key as it is.
  Invoice* copyWithZone() { return this; }

  // In the invoice's currency. Total: lines with VAT less the rebate, rounded half to even to whole
  // units when `rounding` is set. Without VAT: never rounded; a rebate of a fixed amount takes the
  // largest lines out whole, and out of the first that it does not exceed its rest without VAT at
  // the article's rate, cut to cents in binary floating point, by 21 474 836.47 at most. VAT: what
  // lies between, rounding apart. Rounding: what it added, zero without. Rebate: signed, negative
  // for a reduction. DecimalError when a sum is no Decimal.
  Decimal totalAmount() const;
  Decimal totalAmountExclVat() const;
  Decimal vatAmount() const;
  Decimal roundingAmount() const;
  Decimal rebateAmount() const;
  // In the book's currency: what is owed less what was paid. nil while nothing is owed yet.
  std::optional<Decimal> amountRemaining() const;
  // Asks for the rate of today, sets localAmount by it and answers it. 1 in the book's own
  // currency, and also when no rate is to be had: localAmount then stays. Downloads
  // (Book::exchangeRate).
  Decimal getExchangeRateAndCalculateLocalAmount();
  // One line "25%:<TAB>amount" for each VAT rate of the articles, by rising rate: the base
  // excluding VAT, in binary floating point. Lines without an article or rate are left out, but
  // take their part of a fixed rebate. A percentage rebate raises the base here, unlike in every
  // total. An invoice without VAT has the one line " 0%:<TAB>total". The formatter gets the
  // shortest decimal of each double; what is no number (at a rate of -100 %) stands as "NaN", "∞"
  // or "-∞".
  std::string vatSummaryUsingFormatter(const NumberFormatter& formatter) const;

  // Announces a change of totalAmount; lines call it.
  void updateTotalAmount();
  // Overdue becomes Reminder, Reminder becomes SecondReminder; any other status stays.
  void reminder();

  // Freezes terms and amounts, and makes the sales entry when the book books at sending; what is
  // owed is then what that entry says. The rate (units of the book's currency for one of the
  // invoice's) counts only for a foreign currency; nil is 1. Of reference and company, one that is
  // missing takes the other's value. Errors (InvoiceError): NoLines, nothing changed;
  // ReceivableMissingForSale and SaleNotBookable, with amounts, rate and references changed.
  bool sendMeWithExchangeRate(const std::optional<Decimal>& rate, ErrorOut error = nullptr);
  // Adds the sales, VAT and rounding rows to an entry, less the rebate, one for each account by
  // rising number. A fixed rebate is not multiplied by the rate. On assets and costs a sale is a
  // negative credit. True when it FAILED: an account or its number is missing, and nothing was
  // added.
  bool addSaleRowsToEntry(Entry& entry, const Decimal& rate);
  // The localised "Sent invoice" with the number: by it the entry is found again.
  std::string sendEntryName() const;
  // Registers a payment in the book's currency, whole or partial, and makes its entry when the book
  // books automatically. canBePaid is for the caller to ask. `inFull` settles the invoice; a
  // payment in part is not booked when the sale is booked once. A negative amount is paid out.
  // Errors (InvoiceError): NotTheAmountOwed in the book's own currency, NoCurrencyAccounts,
  // ReceivableMissingForPay, AccountSettingsMissing, or that of the entry's validation when it
  // cannot be rounded. paidAmount, status and day are changed before any of them, and exchangeRate
  // once the sale is being booked; no entry stays. Where entries are made, a missing account,
  // amount or day fails an assertion; the answer is false where the handler lets it go on. Booking
  // a total of zero once throws DecimalError and leaves the entry, without rows.
  bool payMeWithFinalAmount(const std::optional<Decimal>& amount, std::optional<Date> day,
                            bool inFull, Account* receivingAccount, ErrorOut error = nullptr);
  // Files the invoice as returned, with a reversal of its sales entry when it was booked; what was
  // paid goes back from `account`. Errors (InvoiceError): ReturnRefused, nothing changed;
  // NoSalesEntry and NoReceivableRow: the status stays changed, and with the latter the incomplete
  // entry stays. Without an error pointer a failed reversal answers true.
  bool registerReturnWithError(ErrorOut error = nullptr, Account* account = nullptr);
  // Writes off what has not been paid. Errors: LossRefused, nothing changed; otherwise as above.
  bool registerCustomerLossWithError(ErrorOut error = nullptr);
  // The reversal both make, dated now, unnumbered: the sales entry (booked once: the payment's),
  // found by its name, with debit and credit exchanged. Without an account for what was paid, the
  // debits of the sale shrink to the unpaid share, its credits do not. It is not validated: one
  // that does not balance shows itself when the document is saved or the entry filed. nullptr with
  // NoSalesEntry or NoReceivableRow; DecimalError when nothing was owed.
  Entry* insertReversedSalesEntry(ErrorOut error, Account* accountForAlreadyPaid);

  // A new, unsent invoice with the same customer, terms and lines, and a copy of the rebate and of
  // the delivery address; the number follows as for any new invoice.
  Invoice* duplicate() const;
  // Gives the invoice a delivery address filled from its own; one that it had stays in the
  // document, unattached.
  void createDeliveryAddress();
  // Deletes the lines that have neither article nor comment.
  void removeEmptyLines();

 private:
  std::optional<Date> dateAfter(std::optional<std::int64_t> days) const;
  bool hasStatusAmong(std::initializer_list<InvoiceStatus> wanted) const;
};

}  // namespace bokfolio
