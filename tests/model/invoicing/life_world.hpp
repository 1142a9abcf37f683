// LifeWorld: a book that sends and receives money for invoices, and short words for what tests of
// an invoice's life say all the time.
//
// Sales and rows are texts that a bookkeeper can read. A sale: "25:100 12:50.30 less:10% rounded
// vatfree @10.5" is one of the article at 25 % VAT for 100, one at 12 % for 50.30, a rebate (an
// amount without the percent sign), and the rate of a foreign currency; the articles "cost",
// "stock" and "own" sell on accounts of cost, assets and equity. Rows: "1 3001 credit 1000, 3 1510
// debit 1000" (number within the entry, account, side, amount).
#pragma once

#include <sstream>
#include <string>

#include "bokfolio/model/invoicing/allowance.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_error.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/store/dump.hpp"

namespace bokfolio::test {

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
    article("stock", account(1410, AccountType::Asset), vat)->setVat(25);
    article("own", account(2050, AccountType::Equity), vat)->setVat(25);
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

  Invoice* invoice(const std::string& sale, std::int64_t number = kNumber) {
    auto* made = context().insert<Invoice>();
    made->setNumber(number);
    made->setBook(book);
    made->setLanguage("en");
    made->setCompany("Customer");
    made->setCurrency("SEK");
    std::istringstream words(sale);
    for (std::string word; words >> word;) describe(made, word);
    return made;
  }
  void describe(Invoice* made, const std::string& word) {
    const std::size_t colon = word.find(':');
    const std::string value = colon == std::string::npos ? "" : word.substr(colon + 1);
    if (word == "rounded") {
      made->setRounding(true);
    } else if (word == "vatfree") {
      made->setVatfree(true);
    } else if (word[0] == '@') {
      made->setCurrency("EUR");
    } else if (word.starts_with("less:")) {
      made->setAllowance(rebate(value));
    } else {
      line(made, articleNamed(word.substr(0, colon)), dec(value));
    }
  }
  static std::optional<Decimal> rateOf(const std::string& sale) {
    const std::size_t at = sale.find('@');
    return at == std::string::npos ? std::nullopt : Decimal::parse(sale.substr(at + 1));
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
  Invoice* sent(const std::string& sale, std::int64_t number = kNumber) {
    Invoice* made = invoice(sale, number);
    EXPECT_TRUE(made->sendMeWithExchangeRate(rateOf(sale)));
    return made;
  }
  // "400 600!": two payments, the second in full.
  void payAll(Invoice* invoice, const std::string& payments) {
    std::istringstream words(payments);
    for (std::string word; words >> word;) {
      const bool inFull = word.back() == '!';
      if (inFull) word.pop_back();
      ASSERT_TRUE(pay(invoice, word, inFull)) << word;
    }
  }
  bool pay(Invoice* invoice, const std::string& amount, bool inFull, ErrorOut error = nullptr) {
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
