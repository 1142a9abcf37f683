// Book: the settings of one bookkeeping. Home currency, invoicing method and terms, the company,
// and the accounts on which automatic entries are made. A document holds one; nothing enforces it,
// and of several the oldest is the current one.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Account;
class Company;
class Entry;
class HostDocument;

class BOKFOLIO_EXPORT Book : public Record {
 public:
  static constexpr std::string_view kEntityName = "Book";
  struct Slots {
    static constexpr Slot<std::string> currency{0};
    static constexpr Slot<std::string> templateName{1};
    static constexpr Slot<std::int64_t> autoBook{2};
    static constexpr Slot<std::int64_t> bookOnce{3};
    static constexpr Slot<std::int64_t> days{4};
    static constexpr Slot<std::int64_t> vatMode{5};
    static constexpr ToOneSlot<Company> company{6};
    static constexpr ToOneSlot<Account> accountsReceivable{7};
    static constexpr ToOneSlot<Account> currencyGains{8};
    static constexpr ToOneSlot<Account> currencyLosses{9};
    static constexpr ToOneSlot<Account> roundingAccount{10};
    static constexpr ToOneSlot<Account> results{11};
  };
  static EntityDescription table();

  using Record::Record;

  // Makes what every new document begins with: the book with its company and the locale's defaults,
  // the calendar year of now, and the new entry, dated now. Answers the book. The document should
  // be empty; accounts are the host's choice (installChart).
  static Book* createDefaultInContext(Context& context);
  // The oldest book, nullptr when the document has none.
  static Book* currentBookInContext(Context& context);

  // The template is called "Built-in", in the language of the environment.
  void awakeFromInsert() override;
  // Takes the home currency, and the country of the company if there is one, from the environment's
  // locale. What the locale does not tell ("C", "POSIX", a language alone) is Swedish: SEK and SE.
  // The country code comes in capital letters.
  void setDefaultsFromLocale();

  // The home currency, an ISO 4217 code; every amount of the ledger is in it.
  std::optional<std::string> currency() const { return get(Slots::currency); }
  void setCurrency(const std::optional<std::string>& currency) { set(Slots::currency, currency); }
  // Name of the layout for printed invoices.
  std::optional<std::string> templateName() const { return get(Slots::templateName); }
  void setTemplateName(const std::optional<std::string>& name) { set(Slots::templateName, name); }
  // Whether invoicing makes entries by itself. nil reads as no.
  bool autoBook() const { return get(Slots::autoBook).value_or(0) != 0; }
  void setAutoBook(bool automatic) { set(Slots::autoBook, automatic ? 1 : 0); }
  // Yes: an invoice is booked once, when it is paid. No: when it is sent and again when it is paid.
  // nil reads as no.
  bool bookOnce() const { return get(Slots::bookOnce).value_or(0) != 0; }
  void setBookOnce(bool once) { set(Slots::bookOnce, once ? 1 : 0); }
  // Payment term of new invoices, in days.
  std::optional<std::int64_t> days() const { return get(Slots::days); }
  void setDays(std::optional<std::int64_t> days) { set(Slots::days, days); }
  // How VAT is reported. Kept for the host; no rule reads it.
  std::optional<std::int64_t> vatMode() const { return get(Slots::vatMode); }
  void setVatMode(std::optional<std::int64_t> mode) { set(Slots::vatMode, mode); }
  Company* company() const;
  void setCompany(Company* company);

  // Accounts for automatic entries: what customers owe, exchange gains and losses on payments, the
  // rounding of invoice totals, the year's result.
  Account* accountsReceivable() const;
  void setAccountsReceivable(Account* account);
  Account* currencyGains() const;
  void setCurrencyGains(Account* account);
  Account* currencyLosses() const;
  void setCurrencyLosses(Account* account);
  Account* roundingAccount() const;
  void setRoundingAccount(Account* account);
  Account* results() const;
  void setResults(Account* account);

  // Files the new entry (Entry::fileMe) and answers what was filed. nil with fileMe's error, or
  // with code 4 when the document has no new entry. Afterwards there is none; the host inserts the
  // next.
  std::optional<std::vector<Entry*>> fileTheNewEntry(ErrorOut error = nullptr);
  // The first of the host's open documents, given front to back, that shows this book's context;
  // nullptr when none does. The host gives them, because the library keeps no list of its own.
  HostDocument* theDocument(const std::vector<HostDocument*>& orderedDocuments) const;

  // Hooks. bookOnce: when some invoice is sent already, the user is told through the dialog that a
  // change leaves it as it is; the change is accepted either way. Refused only when the invoices
  // cannot be read, with the engine's error.
  bool validateBookOnce(std::optional<std::int64_t>& proposed, ErrorOut error = nullptr);
  // Currency: another one is refused (code 19), and the proposal becomes the present one, once
  // there is an invoice or an entry that is filed or waits to be. The new entry does not count.
  bool validateCurrency(std::optional<std::string>& proposed, ErrorOut error = nullptr);

  // Units of the home currency for one unit of the currency with that code; see below.
  std::optional<Decimal> exchangeRate(std::optional<std::string_view> code,
                                      ErrorOut error = nullptr) const;
  // Units of A for one unit of B, by the European Central Bank's reference rates of the day, to 38
  // digits. Codes are compared exactly ("EUR" has the rate 1). Every call downloads the rates
  // first, also for EUR to EUR: it blocks until they are there or the environment's time is up.
  // nullopt without an error, `error` untouched, when a code is nil or not among the rates; nullopt
  // with the error of loadReferenceRates or ReferenceRates::crossRate when there is no rate for
  // another reason.
  static std::optional<Decimal> exchangeRateBetween(
      std::optional<std::string_view> codeA, std::optional<std::string_view> codeB,
      ErrorOut error = nullptr, const Environment& environment = Environment::process());

  // Room for a host's own table of rates by currency code, in memory only. No rule fills or reads
  // it.
  const std::map<std::string, Decimal>& exchangeRates() const { return exchangeRates_; }
  void setExchangeRates(std::map<std::string, Decimal> rates) { exchangeRates_ = std::move(rates); }

 private:
  std::map<std::string, Decimal> exchangeRates_;
};

}  // namespace bokfolio
