// SupplierInvoiceLine: one cost item of a supplier invoice. An amount excluding VAT, a VAT rate,
// and the accounts debited with either. Its main duty is to make its rows of a purchase entry.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/entity_table.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Account;
class Context;
class Entry;
class Row;
class SupplierInvoice;

class BOKFOLIO_EXPORT SupplierInvoiceLine : public Record {
 public:
  static constexpr std::string_view kEntityName = "SupplierInvoiceLine";
  struct Slots {
    static constexpr Slot<Decimal> amount{0};
    static constexpr Slot<std::string> name{1};
    static constexpr Slot<Decimal> vat{2};
    static constexpr ToOneSlot<Account> account{3};
    static constexpr ToOneSlot<Account> vatAccount{4};
    static constexpr ToOneSlot<SupplierInvoice> invoice{5};
  };
  static EntityDescription table();

  using Record::Record;

  // The VAT rate of the locale's country, and a zero amount.
  void awakeFromInsert() override;
  // Deletes the lines that belong to no bill.
  static void removeEmptyLinesInContext(Context& context);

  // Excluding VAT, in the invoice's currency; negative on a credit note. Setting it, or an account,
  // announces the invoice's "validity".
  std::optional<Decimal> amount() const { return get(Slots::amount); }
  void setAmount(const std::optional<Decimal>& amount);
  std::optional<std::string> name() const { return get(Slots::name); }
  void setName(const std::optional<std::string>& name) { set(Slots::name, name); }
  // Percent: 25 is 25 %. nil is no VAT.
  std::optional<Decimal> vat() const { return get(Slots::vat); }
  void setVat(const std::optional<Decimal>& vat) { set(Slots::vat, vat); }

  // Accounts debited with the cost and with its VAT.
  Account* account() const;
  void setAccount(Account* account);
  Account* vatAccount() const;
  void setVatAccount(Account* vatAccount);
  // Their names; nil without one. Set by a name in any case, with '*' and '?' as wildcards: one
  // that no account has changes nothing, nil clears the account.
  std::optional<std::string> accountName() const;
  void setAccountName(const std::optional<std::string>& name);
  std::optional<std::string> vatAccountName() const;
  void setVatAccountName(const std::optional<std::string>& name);
  SupplierInvoice* invoice() const;
  void setInvoice(SupplierInvoice* invoice);

  // Never rounded; nil counts as zero.
  Decimal amountInclVAT() const;
  // Whether it has an amount other than zero, an account, and a VAT account if there is VAT.
  bool isBookable() const;

  // Adds to the entry, after its present rows, a committed row that debits the account with the
  // amount and carries the invoice's tag, and, when the rate is not zero, a second one that debits
  // the VAT account and carries none. Negative amounts are credited. Nothing is rounded and the
  // entry is left unbalanced. Answers the VAT row, if there is one, and then the cost row.
  std::vector<Row*> addPurchaseRowsToEntry(Entry& entry) const;
  // A copy in the same context that belongs to no invoice yet.
  SupplierInvoiceLine* duplicate() const;

  // Hook: nil becomes zero. Always true.
  bool validateAmount(std::optional<Decimal>& proposed, ErrorOut error = nullptr);

 private:
  bool hasVat() const;
  void announceValidity() const;
  Row* addRow(Entry& entry, std::int64_t number, const Decimal& debit, Account* account) const;
};

}  // namespace bokfolio
