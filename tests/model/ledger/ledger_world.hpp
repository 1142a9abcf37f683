// LedgerWorld: a document in memory in a world where nothing depends on the machine, with a small
// chart of accounts, and short words for what tests of the ledger say all the time.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "bokfolio/model/ledger/account.hpp"
#include "bokfolio/model/ledger/book.hpp"
#include "bokfolio/model/ledger/entry.hpp"
#include "bokfolio/model/ledger/fiscal_year.hpp"
#include "bokfolio/model/ledger/ledger_error.hpp"
#include "bokfolio/model/ledger/row.hpp"
#include "bokfolio/model/ledger/starting_balance.hpp"
#include "bokfolio/model/ledger/tag.hpp"
#include "bokfolio/model/standard_model.hpp"
#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "tests/world/world.hpp"

namespace bokfolio {

inline void PrintTo(const Decimal& value, std::ostream* out) { *out << value.toString(); }
inline void PrintTo(Date date, std::ostream* out) { *out << date.seconds() << " s"; }

}  // namespace bokfolio

namespace bokfolio::test {

inline Decimal dec(std::string_view text) { return Decimal::parse(text).value(); }

class LedgerWorld : public testing::Test {
 protected:
  explicit LedgerWorld(Model model = standardModel()) : schema_(model.freeze()) { open(); }

  // A context on the same document, with what `world` is by now; records of the former are gone.
  void open() {
    context_ = Context::open(schema_, makeMemoryPersistence(document_), world.environment);
  }
  Context& context() { return *context_; }
  std::string text(std::string_view key) const { return world.environment.text(key); }

  Account* account(std::optional<std::int64_t> number, AccountType type = AccountType::Asset,
                   const std::optional<std::string>& name = std::nullopt) {
    auto* made = context_->insert<Account>();
    made->setNumber(number);
    made->setType(type);
    made->setName(name);
    return made;
  }
  FiscalYear* year(int number) {
    return FiscalYear::createFiscalYearWithDate(cetDate(number, 7, 1), *context_);
  }
  Tag* tag(std::optional<std::int64_t> number) {
    auto* made = context_->insert<Tag>();
    made->setNumber(number);
    return made;
  }
  // An entry that is not filed yet.
  Entry* entry(Date date, const std::optional<std::string>& name = "Entry") {
    auto* made = context_->insert<Entry>();
    made->setNumber(std::nullopt);
    made->setDate(date);
    made->setName(name);
    return made;
  }
  Entry* filed(FiscalYear* in, Date date, std::optional<std::int64_t> number) {
    Entry* made = entry(date);
    made->setFiscalYear(in);
    made->setNumber(number);
    return made;
  }
  // A row of the entry: positive amounts are debits, negative ones credits.
  Row* row(Entry* entry, Account* account, const Decimal& amount, Tag* tag = nullptr) {
    auto* made = context_->insert<Row>();
    made->setAccount(account);
    made->setTag(tag);
    amount.isNegative() ? made->setCredit(-amount) : made->setDebit(amount);
    made->setEntry(entry);
    return made;
  }
  // A balanced entry: the amount is debited to one account and credited to the other.
  Entry* transfer(Date date, const Decimal& amount, Account* debited, Account* credited,
                  const std::optional<std::string>& name = "Transfer") {
    Entry* made = entry(date, name);
    row(made, debited, amount);
    row(made, credited, amount.negated());
    return made;
  }
  std::vector<std::int64_t> numbersOf(Entry* entry) {
    std::vector<std::int64_t> numbers;
    for (const Row* row : entry->rows().members())
      numbers.push_back(row->get(Row::Slots::number).value());
    return numbers;
  }

  TestWorld world;
  std::shared_ptr<const Schema> schema_;
  std::shared_ptr<MemoryDocument> document_ = std::make_shared<MemoryDocument>();
  std::unique_ptr<Context> context_;
};

// What an error must say: domain, code and, when given, key and text.
inline void expectError(const std::optional<Error>& error, std::string_view domain, int code,
                        const std::string& description, std::string_view failingKey = "") {
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain(), domain);
  EXPECT_EQ(error->code(), code);
  EXPECT_EQ(error->localizedDescription(), description);
  EXPECT_EQ(error->text(kValidationKeyErrorKey), failingKey);
}

}  // namespace bokfolio::test
