// Accounts of an import: what the document has, found once, and what the file adds.
#pragma once

#include <cstdint>
#include <map>

#include "bokfolio/interchange/sie/sie_file.hpp"
#include "bokfolio/interchange/sie/sie_import_report.hpp"

namespace bokfolio {
class Account;
class Context;
}  // namespace bokfolio

namespace bokfolio::sie_internal {

// Account.type by the first digit of an account's number.
std::int64_t accountTypeOf(std::int64_t number);

class ImportAccounts {
 public:
  // Reads the document's accounts. Throws Failure when the engine does not answer.
  ImportAccounts(Context& context, SieImportReport& report);

  // Makes or completes every account that the file describes.
  void take(const SieFile& file);
  // nullptr when the document has none.
  Account* find(std::int64_t number) const;
  // The account, made and listed when neither document nor file described it; `line` uses it.
  Account* need(std::int64_t number, std::uint32_t line);
  const std::map<std::int64_t, Account*>& all() const noexcept { return accounts_; }

 private:
  void complete(Account& account, const SieAccount& inFile);
  Account* make(std::int64_t number, std::int64_t type);
  void listUndeclared(const Account& account, std::uint32_t line);

  Context& context_;
  SieImportReport& report_;
  std::map<std::int64_t, Account*> accounts_;
};

}  // namespace bokfolio::sie_internal
