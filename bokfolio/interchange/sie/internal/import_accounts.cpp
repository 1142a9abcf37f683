#include "bokfolio/interchange/sie/internal/import_accounts.hpp"

#include <string>
#include <utility>

#include "bokfolio/interchange/sie/internal/document_records.hpp"
#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::sie_internal {

namespace {

std::int64_t codeOf(SieAccountType type) {
  switch (type) {
    case SieAccountType::Asset:
      return static_cast<std::int64_t>(AccountType::Asset);
    case SieAccountType::Debt:
      return static_cast<std::int64_t>(AccountType::DebtAndEquity);
    case SieAccountType::Income:
      return static_cast<std::int64_t>(AccountType::Income);
    case SieAccountType::Cost:
      break;
  }
  return static_cast<std::int64_t>(AccountType::Cost);
}

}  // namespace

std::int64_t accountTypeOf(std::int64_t number) {
  std::int64_t digit = number;
  while (digit >= 10) digit /= 10;
  if (digit == 1) return static_cast<std::int64_t>(AccountType::Asset);
  if (digit == 2) return static_cast<std::int64_t>(AccountType::DebtAndEquity);
  if (digit == 3) return static_cast<std::int64_t>(AccountType::Income);
  return static_cast<std::int64_t>(AccountType::Cost);
}

ImportAccounts::ImportAccounts(Context& context, SieImportReport& report)
    : context_(context), report_(report) {
  for (Account* account : documentRecords<Account>(context)) {
    // Of several with one number the oldest, as everywhere.
    if (const auto number = account->number()) accounts_.try_emplace(*number, account);
  }
}

void ImportAccounts::take(const SieFile& file) {
  for (const SieAccount& inFile : file.accounts) {
    Account* account = find(inFile.number);
    if (account == nullptr) {
      account =
          make(inFile.number, inFile.type ? codeOf(*inFile.type) : accountTypeOf(inFile.number));
      if (!inFile.declared) listUndeclared(*account, inFile.line);
    } else {
      ++report_.accountsThere;
    }
    complete(*account, inFile);
  }
}

Account* ImportAccounts::find(std::int64_t number) const {
  const auto found = accounts_.find(number);
  return found == accounts_.end() ? nullptr : found->second;
}

Account* ImportAccounts::need(std::int64_t number, std::uint32_t line) {
  if (Account* account = find(number)) return account;
  Account* account = make(number, accountTypeOf(number));
  listUndeclared(*account, line);
  return account;
}

Account* ImportAccounts::make(std::int64_t number, std::int64_t type) {
  auto* account = context_.insert<Account>();
  account->setNumber(number);
  account->setType(type);
  accounts_.emplace(number, account);
  ++report_.accountsMade;
  return account;
}

void ImportAccounts::listUndeclared(const Account& account, std::uint32_t line) {
  report_.undeclaredAccounts.push_back({account.number().value(), account.type().value(), line});
}

void ImportAccounts::complete(Account& account, const SieAccount& inFile) {
  const auto keep = [&](SieKeptField field, std::string kept, std::string other) {
    if (kept == other) return;
    report_.keptValues.push_back(
        {field, inFile.number, std::move(kept), std::move(other), inFile.line});
  };
  if (const std::string name(inFile.name); !name.empty()) {
    if (!account.name()) account.setName(name);
    keep(SieKeptField::AccountName, account.name().value(), name);
  }
  if (const std::string code(inFile.taxCode); !code.empty()) {
    if (!account.taxCode()) account.setTaxCode(code);
    keep(SieKeptField::AccountTaxCode, account.taxCode().value(), code);
  }
  if (!account.type())
    account.setType(inFile.type ? codeOf(*inFile.type) : accountTypeOf(inFile.number));
  if (inFile.type)
    keep(SieKeptField::AccountType, std::to_string(account.type().value()),
         std::to_string(codeOf(*inFile.type)));
}

}  // namespace bokfolio::sie_internal
