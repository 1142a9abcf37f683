// LifeWorld: a book that sends and receives money for invoices, and short words for what tests of
// an invoice's life say all the time. Expected rows are texts that a bookkeeper can read:
// "1 3001 credit 1000, 3 1510 debit 1000" (number within the entry, account, side, amount).
#pragma once

#include <string>
#include <vector>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_error.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/store/test_model.hpp"

namespace bokfolio::test {

// One of a thing: the articles of the price list are called by their VAT rate, and "cost" is one
// that sells on a cost account.
struct Sold {
  const char* article;
  const char* price;
};

// An invoice as a line of a table. Amounts are texts, "" for none.
struct Sale {
  std::vector<Sold> lines;
  const char* rebate = "";  // "10%" or "50"
  bool rounding = false;
  bool vatfree = false;
  const char* rate = "";  // of a foreign currency
};

class LifeWorld : public LedgerWorld {
 protected:
  static constexpr std::int64_t kNumber = 7;

  LifeWorld() { makeBook(); }

  void makeBook() {
    book = context().insert<Book>();
    book->setCurrency("SEK");
    book->setAccountsReceivable(account(1510, AccountType::Asset, "Receivables"));
    book->setCurrencyGains(account(3960, AccountType::Income, "Gains"));
    book->setCurrencyLosses(account(7960, AccountType::Cost, "Losses"));
    book->setRoundingAccount(account(3740, AccountType::Income, "Rounding"));
    bank = account(1930, AccountType::Asset, "Bank");
    Account* vat = account(2611, AccountType::DebtAndEquity);
    article("25", account(3001, AccountType::Income), vat);
    article("12", account(3002, AccountType::Income), account(2621, AccountType::DebtAndEquity));
    article("0", account(3004, AccountType::Income), nullptr);
    article("cost", account(4010, AccountType::Cost), vat)->setVat(25);
  }
  Article* article(const std::string& name, Account* sales, Account* vat) {
    auto* made = context().insert<Article>();
    made->setName(name);
    made->setNumber(name);
    made->setVat(Decimal::parsePrefix(name));
    made->setSalesAccount(sales);
    made->setVatAccount(vat);
    return made;
  }
  Article* articleNamed(const std::string& name) {
    return context().fetchFirst<Article>(Predicate("number == %@", {name}));
  }
  Account* accountAt(std::int64_t number) { return Account::accountWithNumber(number, context()); }

  Invoice* invoice(const Sale& sale, std::int64_t number = kNumber) {
    auto* made = context().insert<Invoice>();
    made->setNumber(number);
    made->setBook(book);
    made->setLanguage("en");
    made->setCompany("Customer");
    made->setCurrency(*sale.rate == '\0' ? "SEK" : "EUR");
    made->setRounding(sale.rounding);
    made->setVatfree(sale.vatfree);
    for (const Sold& sold : sale.lines) line(made, articleNamed(sold.article), dec(sold.price));
    if (*sale.rebate != '\0') made->setAllowance(rebate(sale.rebate));
    return made;
  }
  InvoiceLine* line(Invoice* invoice, Article* article, const Decimal& price) {
    auto* made = context().insert<InvoiceLine>();
    made->setArticle(article);
    made->setQuantity(1);
    made->setPrice(price);
    made->setVat(article == nullptr ? std::nullopt : article->vat());
    made->setInvoice(invoice);
    return made;
  }
  Allowance* rebate(const std::string& text) {
    auto* made = context().insert<Allowance>();
    made->setValue(Decimal::parsePrefix(text));
    made->setAbsolute(text.back() != '%');
    return made;
  }
  // An invoice that is sent, in the given foreign currency's rate if there is one.
  Invoice* sent(const Sale& sale) {
    Invoice* made = invoice(sale);
    EXPECT_TRUE(made->sendMeWithExchangeRate(Decimal::parse(sale.rate)));
    return made;
  }
  bool pay(Invoice* invoice, const char* amount, bool inFull, ErrorOut error = nullptr) {
    return invoice->payMeWithFinalAmount(dec(amount), payday, inFull, bank, error);
  }

  static std::string sides(const Row& row) {
    std::string text;
    if (!row.debit().value_or(0).isZero()) text += " debit " + row.debit()->toString();
    if (!row.credit().value_or(0).isZero()) text += " credit " + row.credit()->toString();
    return text.empty() ? " nothing" : text;
  }
  std::string rows(const Entry* entry) {
    if (entry == nullptr) return "no entry";
    std::string text;
    for (const Row* row : entry->rows().membersBy({SortDescriptor("number")})) {
      const auto account = row->accountNumber();
      text += (text.empty() ? "" : ", ") + std::to_string(row->number().value_or(0)) + ' ' +
              (account ? std::to_string(*account) : "?") + sides(*row);
    }
    return text;
  }
  Entry* entryNamed(const std::string& name) {
    return context().fetchFirst<Entry>(Predicate("name = %@", {name}));
  }
  std::string rows(const std::string& entryName) { return rows(entryNamed(entryName)); }

  Book* book;
  Account* bank;
  Date payday = cetDate(2009, 4, 20);
};

inline void expectRefused(const std::optional<Error>& error, InvoiceError code,
                          const std::string& description) {
  expectError(error, kBokfolioErrorDomain, static_cast<int>(code), description);
}

}  // namespace bokfolio::test
