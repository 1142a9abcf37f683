// PlainFirm: the auditor's own book, maps and whole numbers without a store. Everything a firm's
// document must hold is written down here a second time, from the rules of bookkeeping, and what
// the library must answer is added up from scratch. It is a value: a copy of it is what undo,
// rollback and reopening must bring back.
#pragma once

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/simulation/amount.hpp"

namespace bokfolio::simulation {

using Id = std::uint64_t;      // of the library's record; 0 is none
using Instant = std::int64_t;  // microseconds since 1970

// Records by ascending id. Copies share what neither has edited since.
template <class T>
class Shelf {
 public:
  using Item = std::pair<Id, std::shared_ptr<const T>>;

  std::size_t size() const { return items_.size(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }
  const T* find(Id id) const {
    const auto at = place(id);
    return at != items_.end() && at->first == id ? at->second.get() : nullptr;
  }
  const T& at(Id id) const {
    const T* found = find(id);
    if (found == nullptr) throw Disagreement("the plain book has no record " + std::to_string(id));
    return *found;
  }
  T& edit(Id id) {
    auto copy = std::make_shared<T>(at(id));
    T& content = *copy;
    items_[static_cast<std::size_t>(place(id) - items_.begin())].second = std::move(copy);
    return content;
  }
  void add(Id id, T content) {
    if (find(id) != nullptr) throw Disagreement("an id was given twice: " + std::to_string(id));
    items_.insert(place(id), {id, std::make_shared<const T>(std::move(content))});
  }
  void drop(Id id) {
    at(id);
    items_.erase(place(id));
  }

 private:
  auto place(Id id) const {
    return std::lower_bound(items_.begin(), items_.end(), id,
                            [](const Item& item, Id wanted) { return item.first < wanted; });
  }

  std::vector<Item> items_;
};

// Accounts with a part to play. They keep their types and are never dropped.
enum Role : std::size_t {
  kBank,
  kReceivable,
  kPayable,
  kOutputVat,
  kInputVat,
  kSales,
  kServices,
  kRounding,
  kGains,
  kLosses,
  kPurchases,
  kResults,
  kRoles,
};

struct PlainAccount {
  std::int64_t number = 0;
  int type = 0;
  std::string note;
  bool isBalance() const { return type == 0 || type == 1 || type == 4; }
};

struct PlainTag {
  std::int64_t number = 0;
};

// A calendar year in central European time, or one from the middle of it to the middle of the next;
// both bounds are outside it.
struct PlainYear {
  int year = 0;
  bool isBroken = false;
  Instant start() const;
  Instant end() const;
  bool holds(Instant date) const { return start() < date && date < end(); }
};

struct PlainRow {
  Id account = 0;
  Amount debit = 0;
  Amount credit = 0;
  int status = 0;
  Id tag = 0;

  bool isRemoved() const { return status == 1; }
  Amount net() const { return isRemoved() ? 0 : debit - credit; }
  friend auto operator<=>(const PlainRow&, const PlainRow&) = default;
};

inline constexpr std::int64_t kNewNumber = 2'147'483'647;

struct PlainEntry {
  std::string name;
  std::int64_t number = 0;  // 0 waits to be filed
  Instant date = 0;
  Id year = 0;
  std::vector<PlainRow> rows;
  Id bill = 0;

  Amount sum() const;
  bool isBookable() const;  // rows, each of some amount, that balance
};

struct PlainArticle {
  std::int64_t number = 0;
  Amount price = 0;
  int vat = 0;
  Id sales = 0;
  Id vatAccount = 0;
};

struct PlainRebate {
  bool absolute = false;
  Amount value = 0;             // an amount, or whole percents
  Amount on(Amount sum) const;  // negative for a reduction
};

struct PlainLine {
  Id article = 0;
  std::int64_t quantity = 1;
  Amount price = 0;
  int vat = 0;
  std::optional<PlainRebate> rebate;

  Amount exclVat() const;
  Amount vatOf(bool vatfree) const { return vatfree ? 0 : percent(exclVat(), vat); }
  Amount sum(bool vatfree) const { return exclVat() + vatOf(vatfree); }
};

struct PlainInvoice {
  std::int64_t number = 0;
  Instant date = 0;
  int status = 0;
  bool foreign = false;
  bool vatfree = false;
  bool rounding = false;
  std::vector<PlainLine> lines;
  std::optional<PlainRebate> rebate;
  Id tag = 0;
  // Frozen when it is sent.
  bool once = false;
  int days = 0;
  Amount rate = kUnit;
  Amount local = 0;
  std::optional<Amount> paid;

  bool isSent() const { return status >= 1; }
  Instant due() const;
  int statusAt(Instant now) const { return status == 1 && due() < now ? 2 : status; }
  Amount remaining() const { return local - paid.value_or(0); }
  Amount linesSum() const;
  Amount unrounded() const;
  Amount total() const { return rounding ? roundedHalfEven(unrounded()) : unrounded(); }
  Amount totalExclVat() const;
  // What a rebate of a fixed amount needs to be reckoned exactly: whole fives, 25 % or nothing.
  bool suitsFixedRebate() const;
};

struct PlainBillLine {
  Amount amount = 0;
  int vat = 0;
  Id account = 0;
};

struct PlainBill {
  std::vector<PlainBillLine> lines;
  Id tag = 0;
  bool booked = false;
  bool paid = false;

  Amount amount() const;
  Amount amountInclVat() const;
};

struct PlainBudget {
  Id id = 0;
  Amount amount = 0;
};

using Dump = std::map<std::string, std::string>;
// A state and its copies share one: what was seen once must be seen again.
using DumpSlot = std::shared_ptr<Dump>;

class PlainFirm {
 public:
  Shelf<PlainAccount> accounts;
  Shelf<PlainTag> tags;
  Shelf<PlainYear> years;
  Shelf<PlainEntry> entries;
  Shelf<PlainArticle> articles;
  Shelf<PlainInvoice> invoices;
  Shelf<PlainBill> bills;
  std::map<std::pair<Id, Id>, Amount> openings;  // by account and year
  std::map<std::pair<Id, Id>, PlainBudget> budgets;
  std::array<Id, kRoles> roles{};
  Id book = 0;
  Id newEntry = 0;
  bool automatic = true;
  bool once = false;
  int days = 30;
  std::int64_t mark = 0;  // written with every change, so that no two states look alike
  int names = 0;
  int accountNumbers = 0;
  DumpSlot dump = std::make_shared<Dump>();

  // --- Ledger
  // Bounded strictly by the date, then also by the tag; the opening is added whole.
  Amount balance(Id account, Id year, std::optional<Instant> before = std::nullopt,
                 Id tag = 0) const;
  Amount tagBalance(Id tag) const;  // in the latest year
  Amount profit(Id year, std::optional<Instant> upTo = std::nullopt) const;
  Amount profitWithResults(Id year) const;
  std::int64_t highestNumber(Id year) const;
  Instant latestDate(Id year) const;
  std::optional<Instant> latestFiledDate() const;
  Id latestYear() const;
  Id previousYear(Id year) const;
  bool hasRows(Id account) const;
  bool hasOpenings(Id account) const;
  // What the year opens with when the year before is carried forward.
  std::map<Id, Amount> carried(Id year) const;
  // Files the entry and whatever waits before it; answers 0 or the code of the refusal, which may
  // leave some filed.
  int file(Id entry, std::vector<Id>& filed);
  void forgetTag(Id tag);
  // Takes the account out, and out of the lines of bills.
  void dropAccount(Id account);

  // --- Invoicing; see plain_sales.cpp
  std::int64_t nextInvoiceNumber() const;
  // nullopt when an account is missing.
  std::optional<std::vector<PlainRow>> saleRows(const PlainInvoice& invoice, Amount rate) const;
  // Each changes the invoice and answers the refusal's code, or 0 and perhaps an entry.
  int send(Id invoice, Amount rate, std::optional<PlainEntry>& made);
  int pay(Id invoice, Amount amount, bool full, Instant day, std::optional<PlainEntry>& made);
  int giveBack(Id invoice, bool toBank, Instant now, std::optional<PlainEntry>& made);
  int writeOff(Id invoice, Instant now, std::optional<PlainEntry>& made);

 private:
  int reverse(PlainInvoice& invoice, bool toBank, Instant now, std::optional<PlainEntry>& made);
  void takeOffFixed(const PlainInvoice& invoice, std::map<std::int64_t, Amount>& amounts) const;
  std::int64_t numberOf(Id account) const { return accounts.at(account).number; }
};

// --- The calendar of central Europe, as far as a book needs it.
Instant instantOf(int year, int dayOfYear, int hour);
std::int64_t localDay(Instant instant);          // days since 1970 by the wall's calendar
Instant laterByDays(Instant instant, int days);  // at the same time of day

}  // namespace bokfolio::simulation
