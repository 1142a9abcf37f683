// Account: one account of the chart of accounts. A number, a name and a type that says on which
// side of the balance sheet or the income statement it belongs. Rows post to it; starting balances
// open it. Balances are computed here, from rows and starting balances, and never stored.
//
// Every amount is debit-positive and no type flips the sign: assets show positive balances; debts,
// equity and income negative ones.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class FiscalYear;
class Row;
class StartingBalance;
class Tag;

// Values of Account.type. The attribute is an integer and may hold others, which belong nowhere.
enum class AccountType : std::int64_t {
  Asset = 0,
  DebtAndEquity = 1,
  Income = 2,
  Cost = 3,
  // A balance account, too, but in none of the predicates below and never carried forward.
  Equity = 4,
};

class BOKFOLIO_EXPORT Account : public Record {
 public:
  static constexpr std::string_view kEntityName = "Account";
  struct Slots {
    static constexpr Slot<std::string> name{0};
    static constexpr Slot<std::int64_t> number{1};
    static constexpr Slot<std::int64_t> type{2};
    static constexpr Slot<std::string> taxCode{3};
    static constexpr Slot<std::string> vatCode{4};
    static constexpr ToManySlot<Row> rows{5};
    static constexpr ToManySlot<StartingBalance> startingBalances{6};
    static constexpr Slot<double> cachedBalance1{7};
    static constexpr Slot<double> cachedBalance2{8};
  };
  static EntityDescription table();

  using Record::Record;

  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  // Unique by convention only.
  std::optional<std::int64_t> number() const { return get(Slots::number); }
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }
  // See AccountType; nil is read as an asset.
  std::optional<std::int64_t> type() const { return get(Slots::type); }
  void setType(std::optional<std::int64_t> type) { set(Slots::type, type); }
  void setType(AccountType type) { set(Slots::type, static_cast<std::int64_t>(type)); }
  // Codes of the tax return and of the VAT report.
  std::optional<std::string> taxCode() const { return get(Slots::taxCode); }
  void setTaxCode(const std::optional<std::string>& code) { set(Slots::taxCode, code); }
  std::optional<std::string> vatCode() const { return get(Slots::vatCode); }
  void setVatCode(const std::optional<std::string>& code) { set(Slots::vatCode, code); }
  RecordSetOf<Row> rows() const;
  RecordSetOf<StartingBalance> startingBalances() const;
  // Scratch numbers for views, in memory only; 0 until set, and never computed here.
  double cachedBalance1() const { return get(Slots::cachedBalance1).value_or(0); }
  void setCachedBalance1(double balance) { set(Slots::cachedBalance1, balance); }
  double cachedBalance2() const { return get(Slots::cachedBalance2).value_or(0); }
  void setCachedBalance2(double balance) { set(Slots::cachedBalance2, balance); }

  // Conditions on accounts, or on rows, by type. "Balance" here means types 0 and 1 only, narrower
  // than balanceAccount(); "result" means types 2 and 3.
  static Predicate balanceAccountPredicate();
  static Predicate balanceAccountPredicateForRows();
  static Predicate resultAccountPredicate();

  // The account with that number, or with exactly that name; nullptr when there is none or the
  // argument is nil. Of several the oldest. Cost: one index look-up.
  static Account* accountWithNumber(std::optional<std::int64_t> number, Context& context);
  static Account* accountWithName(const std::optional<std::string>& name, Context& context);
  // Deletes the accounts that have neither number nor name nor rows; their starting balances go
  // with them.
  static void removeEmptyAccountsInContext(Context& context);

  // -1, 0 or 1 by number; nil comes first.
  int compare(const Account& other) const;
  // This very account, which serves as a key as it is.
  Account* copyWithZone() { return this; }

  // Balance in the latest fiscal year, nil when the document has none.
  std::optional<Decimal> balance() const;
  // The sum of `net` over the account's rows in the year, plus its starting balance in that year.
  // With a date only rows of entries dated strictly before it count, and then, with a tag, only
  // those that carry the tag; a tag without a date narrows nothing. The starting balance is always
  // added whole. Without a year: assertion "No fiscal year in balance request", and zero where the
  // handler lets it go on. Cost: the store keeps these sums, so the same in any book; the first
  // question after opening one counts all its rows.
  Decimal balanceByDate(std::optional<Date> date, FiscalYear* year, Tag* tag = nullptr) const;
  // The sum of `net` alone: over all the account's rows in the year, or those of entries dated
  // before the date, or before and at it; with a tag only those that carry it.
  Decimal sumOfNets(const FiscalYear& year, std::optional<Date> date = std::nullopt,
                    bool including = false, const Tag* tag = nullptr) const;

  // Types 0, 1 and 4.
  bool balanceAccount() const;
  // The localised name of the type; nil for a type outside 0 to 4.
  std::optional<std::string> typeDescription() const;
  // "1930 Bank": four digits at least, one blank, the name or the localised "Unnamed account.".
  std::string description() const override;
  // Whether the account has any row or starting balance.
  bool used() const;
  // Cost accounts, and income accounts; never for a nil type.
  bool isNormallyOnlyDebited() const;
  bool isNormallyOnlyCredited() const;

  // Clears the links from articles, and from supplier invoices and their lines, that suit the
  // account's type. For hosts, when an account is about to change its type or to be deleted.
  void nullifyLinkedProducts();
  void nullifyLinkedSuppliers();
  // Sets the key to nil, through its setter, on every record of the entity that leads to this
  // account by it.
  void resetObjectsWithEntityName(std::string_view entityName, std::string_view key);

  // Hook. A used account changes its number only when the user answers yes to a question ("No" is
  // the first button); otherwise the proposed number becomes the present one. Always true; the same
  // integer value, nil counting as 0, asks nothing.
  bool validateNumber(std::optional<std::int64_t>& proposed, ErrorOut error = nullptr);

 private:
  bool hasType(AccountType type) const;
};

}  // namespace bokfolio
