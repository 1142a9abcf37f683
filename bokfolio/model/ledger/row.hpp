// Row: one posting line of an entry. An amount on the debit or the credit side of one account,
// optionally marked with a tag. Rows of a filed entry are neither edited in place nor silently
// deleted: a correction strikes a row out and notes who did it and when, and the struck row stays.
//
// This file owns amounts, status, change notes and the order of rows; that the rows of an entry
// balance is the entry's business.
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

class Account;
class Entry;
class Tag;

// Values of Row.status; nil is read as Committed.
enum class RowStatus : std::int64_t {
  Committed = 0,  // counts in balances
  Removed = 1,    // struck out and kept; its net is zero
  Editable = 2,   // added or changed while the entry is edited; committed when the edit is finished
};

class BOKFOLIO_EXPORT Row : public Record {
 public:
  static constexpr std::string_view kEntityName = "Row";
  struct Slots {
    static constexpr Slot<Decimal> debit{0};
    static constexpr Slot<Decimal> credit{1};
    static constexpr Slot<std::string> who{2};
    static constexpr Slot<Date> when{3};
    static constexpr Slot<std::int64_t> status{4};
    static constexpr Slot<std::int64_t> number{5};
    static constexpr ToOneSlot<Tag> tag{6};
    static constexpr ToOneSlot<Account> account{7};
    static constexpr ToOneSlot<Entry> entry{8};
  };
  static EntityDescription table();
  // What number() answers for a row without account while rows are sorted by account: last.
  static constexpr std::int64_t kNumberWithoutAccount = 20'000'000;

  using Record::Record;

  // "status != 1".
  static Predicate noRemovedRows();
  // A number that sorts after every present row (whole seconds since 2001), and zero amounts.
  void awakeFromInsert() override;

  // Amounts of the two sides; nil counts as zero.
  std::optional<Decimal> debit() const { return get(Slots::debit); }
  void setDebit(const std::optional<Decimal>& debit) { set(Slots::debit, debit); }
  std::optional<Decimal> credit() const { return get(Slots::credit); }
  void setCredit(const std::optional<Decimal>& credit) { set(Slots::credit, credit); }
  // Who last changed the status, by full name, and when.
  std::optional<std::string> who() const { return get(Slots::who); }
  void setWho(const std::optional<std::string>& who) { set(Slots::who, who); }
  std::optional<Date> when() const { return get(Slots::when); }
  void setWhen(std::optional<Date> when) { set(Slots::when, when); }
  // See RowStatus.
  std::optional<std::int64_t> status() const { return get(Slots::status); }
  void setStatus(std::optional<std::int64_t> status) { set(Slots::status, status); }
  void setStatus(RowStatus status) { set(Slots::status, static_cast<std::int64_t>(status)); }
  // Place within the entry, from 1. While the preference kSortRowsByAccount is on, reading answers
  // the account's number instead (kNumberWithoutAccount without an account); writing always writes
  // the place.
  std::optional<std::int64_t> number() const;
  void setNumber(std::optional<std::int64_t> number) { set(Slots::number, number); }

  Tag* tag() const;
  // A tag, a number or a text holding one, or nil; a number that no tag has clears.
  void setTag(const Value& tag);
  Account* account() const;
  // An account, an account number, or nil; a number that no account has clears.
  void setAccount(const Value& account);
  Entry* entry() const;
  // Attaches the row and numbers all rows of that entry 1, 2, 3... in the order of number(), equal
  // numbers in order of creation. Detaching (nullptr) renumbers nothing. Cost: reads the entry's
  // rows.
  void setEntry(Entry* entry);

  // A number is looked up in the entity named by the capitalised key; a record or nil is stored.
  // ValueKindError for anything else.
  void setById(std::string_view key, const Value& value);

  // The account's number and name; nil without an account.
  std::optional<std::int64_t> accountNumber() const;
  std::optional<std::string> accountName() const;
  // A number or a text holding one; one that no account has clears the account.
  void setAccountNumber(const Value& number);
  // A name, in any case and with '*' and '?' as wildcards; one that no account has changes nothing.
  // nil clears the account.
  void setAccountName(const Value& name);

  // -1, 0 or 1 by number(); nil comes first.
  int compare(const Row& other) const;

  bool isRemoved() const;
  bool isEditable() const;
  // No account, no tag, and both amounts nearer to zero than half a hundredth.
  bool isEmpty() const;
  // Debit minus credit; zero for a removed row.
  Decimal net() const;
  // Date and name of the last change, as the localised "Record of change"; nil unless both are set.
  std::optional<std::string> changeText() const;

  // Strikes out a committed row and notes who did it; any other row is left alone.
  void remove();
  // Notes the current user and time.
  void touch();
  // Clears tag, account and entry and deletes the row, whatever its status.
  void deleteWithoutPardon();
  // Takes over everything but the entry, change note and status included.
  void copyOtherRow(const Row& other);
  // Sets the amount with which the entry's nets come to zero, on the credit side when the others
  // sum to more than zero. Without an entry both sides become zero.
  void makeEntryBalanced();

  // Hooks: nil becomes zero. Always true.
  bool validateDebit(std::optional<Decimal>& proposed, ErrorOut error = nullptr);
  bool validateCredit(std::optional<Decimal>& proposed, ErrorOut error = nullptr);
  // The store's validation, then the amounts: a row of an entry with zero on both sides fails
  // (store domain, code 1570, key "debit"). A failure of the account alone becomes code 1570 with
  // key "account"; several failures at once answer false and leave no error.
  bool validateForUpdate(ErrorOut error = nullptr) override;

 private:
  bool hasStatus(RowStatus status) const;
  void renumberRowsOf(Entry& entry);
  bool validateAmounts(ErrorOut error);
  bool refuse(ErrorOut error, std::string_view textKey, std::string_view failingKey) const;
  void rewordInheritedFailure(std::optional<Error>& error) const;
};

}  // namespace bokfolio
