// An invoice's way through the books, sent, paid and returned, in a document with few invoices and
// in one with many: each step finds what it needs through an index, so the two should cost nearly
// the same. Compare the sizes of one line.
#include <benchmark/benchmark.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/books.hpp"
#include "bokfolio/model/document.hpp"
#include "bokfolio/model/invoicing/article.hpp"
#include "bokfolio/model/invoicing/invoice.hpp"
#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/model/ledger/book.hpp"

namespace bokfolio::bench {
namespace {

constexpr std::int64_t kFew = 10;
constexpr std::int64_t kMany = 10'000;
constexpr std::int64_t kIterations = 500;
constexpr int kLines = 4;

void require(bool done) {
  if (!done) throw std::runtime_error("an invoice was refused");
}

Account* account(Context& context, std::int64_t number, AccountType type) {
  auto* made = context.insert<Account>();
  made->setNumber(number);
  made->setType(type);
  return made;
}

void makeBook(Context& context) {
  auto* book = context.insert<Book>();
  book->setCurrency("SEK");
  book->setAccountsReceivable(account(context, 1510, AccountType::Asset));
  book->setRoundingAccount(account(context, 3740, AccountType::Income));
  account(context, 1930, AccountType::Asset);
  auto* article = context.insert<Article>();
  article->setNumber("1");
  article->setName("Hour");
  article->setVat(25);
  article->setSalesAccount(account(context, 3001, AccountType::Income));
  article->setVatAccount(account(context, 2611, AccountType::DebtAndEquity));
}

// A document with so many invoices, every one sent and paid.
class Office {
 public:
  explicit Office(std::unique_ptr<Context> context) : context_(std::move(context)) {
    makeBook(*context_);
    book_ = Book::currentBookInContext(*context_);
    article_ = context_->fetchFirst<Article>();
    bank_ = Account::accountWithNumber(1930, *context_);
  }

  Context& context() { return *context_; }

  Invoice* invoice() {
    auto* made = context_->insert<Invoice>();
    made->setNumber(++number_);
    made->setBook(book_);
    made->setCurrency("SEK");
    made->setRounding(true);
    for (int i = 0; i < kLines; ++i) {
      auto* line = context_->insert<InvoiceLine>();
      line->setInvoice(made);
      line->setArticle(article_);
      line->setQuantity(1 + i);
      line->setPrice(Decimal(79'995 + number_ % 100).scaledByPowerOf10(-2));
      line->setVat(25);
    }
    return made;
  }
  void sendAndPay(Invoice* made) {
    require(made->sendMeWithExchangeRate(std::nullopt));
    require(made->payMeWithFinalAmount(made->amountRemaining(), made->date(), true, bank_));
  }
  void giveBack(Invoice* made) {
    std::optional<Error> error;
    require(made->registerReturnWithError(&error, bank_));
  }

 private:
  std::unique_ptr<Context> context_;
  Book* book_;
  Article* article_;
  Account* bank_;
  std::int64_t number_ = 0;
};

void sendPayAndReturnAnInvoice(benchmark::State& state) {
  Office office(openInMemory(environment()));
  office.context().setUndoEnabled(false);
  for (std::int64_t made = 0; made < state.range(0); ++made) office.sendAndPay(office.invoice());
  require(office.context().save());
  Invoice* first = office.invoice();
  office.sendAndPay(first);  // everything that is asked has been read once
  office.giveBack(first);
  for (auto _ : state) {
    state.PauseTiming();
    Invoice* made = office.invoice();
    state.ResumeTiming();
    office.sendAndPay(made);
    office.giveBack(made);
  }
}
BENCHMARK(sendPayAndReturnAnInvoice)
    ->Name("invoice/send, pay and return")
    ->Arg(kFew)
    ->Arg(kMany)
    ->Iterations(kIterations)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace bokfolio::bench
