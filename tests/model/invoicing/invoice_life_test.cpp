// Random lives of invoices beside a plain book that predicts every row and every refusal: sending,
// payments that fit and payments that do not, returns and losses, in both ways of booking, in the
// home currency and in a foreign one; what a refusal leaves, and what the rollback after it
// restores.
#include <random>

#include "tests/model/invoicing/life_world.hpp"
#include "tests/model/invoicing/plain_invoice.hpp"

namespace bokfolio::test {

static void PrintTo(const PlainRow& row, std::ostream* out) {
  *out << row.account << " debit " << row.debit.toString() << " credit " << row.credit.toString();
}

namespace {

constexpr int kLivesOfASeed = 500;
constexpr int kStepsOfALife = 5;

struct PlainArticle {
  const char* number;
  int salesAccount;
  int vatAccount;
  int vat;
};
constexpr PlainArticle kArticles[] = {
    {"1", 3001, 2611, 25},      {"2", 3001, 2621, 12}, {"3", 3002, 2631, 6},
    {"4", 3002, 0, 0},          {"5", 4010, 2611, 25},  // sells on a cost account
    {"6", 2050, 2611, 25},                              // on equity
    {"7", kRounding, 2611, 25}, {"8", 1410, 2611, 25},  // on an asset
    {"9", 3001, 0, 25},                                 // cannot be sold with VAT
};

class InvoiceLife : public LedgerWorld, public testing::WithParamInterface<unsigned> {
 protected:
  InvoiceLife() : random_(GetParam()) {
    context().setUndoEnabled(false);
    book_ = context().insert<Book>();
    book_->setCurrency("SEK");
    const std::pair<int, AccountType> accounts[] = {
        {kReceivable, AccountType::Asset},  {kBank, AccountType::Asset},
        {1410, AccountType::Asset},         {2050, AccountType::Equity},
        {2611, AccountType::DebtAndEquity}, {2621, AccountType::DebtAndEquity},
        {2631, AccountType::DebtAndEquity}, {3001, AccountType::Income},
        {3002, AccountType::Income},        {kRounding, AccountType::Income},
        {kGains, AccountType::Income},      {4010, AccountType::Cost},
        {kLosses, AccountType::Cost}};
    for (const auto& [number, type] : accounts) {
      account(number, type);
      types_[number] = static_cast<int>(type);
    }
    book_->setCurrencyLosses(at(kLosses));
    for (const PlainArticle& each : kArticles) {
      auto* article = context().insert<Article>();
      article->setNumber(each.number);
      article->setName(each.number);
      article->setSalesAccount(at(each.salesAccount));
      article->setVatAccount(each.vatAccount == 0 ? nullptr : at(each.vatAccount));
      articles_.push_back(article);
    }
  }

  unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
  bool oneIn(unsigned chances) { return below(chances) == 0; }
  Decimal cents(unsigned bound) { return Decimal(below(bound)).scaledByPowerOf10(-2); }
  Account* at(int number) { return Account::accountWithNumber(number, context()); }

  std::optional<PlainRebate> someRebate(unsigned chances) {
    if (!oneIn(chances)) return std::nullopt;
    const bool isAmount = oneIn(2);
    const Decimal value = isAmount ? cents(60'000) : cents(6'000);
    return PlainRebate{isAmount, oneIn(10) ? -value : value};
  }
  PlainLine someLine() {
    // The article that cannot be sold is rare.
    const PlainArticle& article = kArticles[below(oneIn(20) ? 9 : oneIn(3) ? 8 : 4)];
    PlainLine line{article.salesAccount, article.vatAccount,   Decimal(1 + below(5)),
                   cents(100'000),       Decimal(article.vat), someRebate(5)};
    if (oneIn(10)) line.quantity = Decimal(below(1'000)).scaledByPowerOf10(-3);
    if (oneIn(10)) line.price = -*line.price;
    if (oneIn(30)) line.price.reset();
    if (oneIn(30)) line.vat.reset();
    return line;
  }
  PlainInvoice someInvoice() {
    PlainInvoice plain;
    plain.number = ++number_;
    plain.book = {!oneIn(10), oneIn(3), !oneIn(15), !oneIn(15), !oneIn(10), types_};
    for (unsigned left = below(30) == 0 ? 0 : 1 + below(4); left > 0; --left)
      plain.lines.push_back(someLine());
    plain.rebate = someRebate(2);
    plain.rounding = oneIn(2);
    plain.vatfree = oneIn(6);
    plain.foreign = oneIn(3);
    return plain;
  }

  Allowance* live(const std::optional<PlainRebate>& plain) {
    if (!plain) return nullptr;
    auto* made = context().insert<Allowance>();
    made->setAbsolute(plain->isAmount);
    made->setValue(plain->value);
    return made;
  }
  Article* articleFor(const PlainLine& line) {
    for (std::size_t i = 0; i < articles_.size(); ++i)
      if (kArticles[i].salesAccount == line.salesAccount &&
          kArticles[i].vatAccount == line.vatAccount)
        return articles_[i];
    return nullptr;
  }
  void apply(const PlainBook& plain) {
    book_->setAutoBook(plain.automatic);
    book_->setBookOnce(plain.once);
    book_->setAccountsReceivable(plain.hasReceivable ? at(kReceivable) : nullptr);
    book_->setCurrencyGains(plain.hasGains ? at(kGains) : nullptr);
    book_->setRoundingAccount(plain.hasRounding ? at(kRounding) : nullptr);
  }
  void changeSettings(PlainBook& plain) {
    plain.hasReceivable = !oneIn(3);
    plain.hasRounding = !oneIn(3);
    apply(plain);
  }
  Invoice* live(const PlainInvoice& plain) {
    apply(plain.book);
    auto* made = context().insert<Invoice>();
    made->setNumber(plain.number);
    made->setBook(book_);
    made->setCurrency(plain.foreign ? "EUR" : "SEK");
    made->setRounding(plain.rounding);
    made->setVatfree(plain.vatfree);
    made->setAllowance(live(plain.rebate));
    for (const PlainLine& each : plain.lines) {
      auto* line = context().insert<InvoiceLine>();
      line->setArticle(articleFor(each));
      line->setQuantity(each.quantity);
      line->setPrice(each.price);
      line->setVat(each.vat);
      line->setAllowance(live(each.rebate));
      line->setInvoice(made);
    }
    return made;
  }

  // One step on both books; answers what the live one said.
  int act(Invoice* made, PlainInvoice& plain, int& expected) {
    std::optional<Error> error;
    bool done = false;
    if (oneIn(6)) changeSettings(plain.book);
    try {
      const unsigned dice = below(10);
      if (plain.status == 0 && dice < 9) {
        const Decimal rate = Decimal(1 + below(200'000)).scaledByPowerOf10(-4);
        expected = plain.send(rate);
        done = made->sendMeWithExchangeRate(rate, &error);
      } else if (dice < 7) {
        const bool inFull = oneIn(2);
        const Decimal amount = someAmount(plain, inFull);
        expected = plain.pay(amount, inFull);
        done = made->payMeWithFinalAmount(amount, cetDate(2009, 5, 1), inFull, at(kBank), &error);
      } else if (dice < 9) {
        const bool toBank = oneIn(2);
        expected = plain.giveBack(toBank);
        done = made->registerReturnWithError(&error, toBank ? at(kBank) : nullptr);
      } else {
        expected = plain.writeOff();
        done = made->registerCustomerLossWithError(&error);
      }
    } catch (const DecimalError&) {
      return PlainInvoice::kNoNumber;
    }
    EXPECT_EQ(done, !error);
    return error ? error->code() : PlainInvoice::kDone;
  }
  Decimal someAmount(const PlainInvoice& plain, bool inFull) {
    const Decimal rest = plain.remaining();
    if (oneIn(8)) return rest + cents(1'000) - 5;
    if (inFull && !plain.foreign) return rest;
    if (inFull) return rest * (Decimal(90 + below(20))).scaledByPowerOf10(-2);
    return (rest * Decimal(below(100))).rounded(0, Rounding::Plain).scaledByPowerOf10(-2);
  }

  static PlainRows rowsOf(const Entry& entry) {
    PlainRows rows;
    for (const Row* row : entry.rows().members())
      rows.push_back({static_cast<int>(row->accountNumber().value_or(0)), row->debit().value_or(0),
                      row->credit().value_or(0)});
    return rows;
  }
  // Every entry of the invoice, by kind and age.
  void expectSame(Invoice* made, const PlainInvoice& plain) {
    ASSERT_EQ(made->rawStatus(), plain.status);
    ASSERT_EQ(made->paidAmount(), plain.paid);
    ASSERT_EQ(made->localAmount().value_or(0), plain.local);
    ASSERT_EQ(context().count("Entry"), savedEntries_ + plain.entries.size());
    for (const char* kind : {"Sent invoice ", "Partially paid invoice ", "Paid invoice ",
                             "Returned invoice ", "Customer loss, invoice "}) {
      const std::string name = kind + std::to_string(plain.number);
      std::vector<PlainRows> predicted;
      for (const PlainEntry& each : plain.entries)
        if (each.name == name) predicted.push_back(each.rows);
      std::vector<PlainRows> found;
      for (const Entry* each : context().fetch<Entry>(Predicate("name = %@", {name})))
        found.push_back(rowsOf(*each));
      ASSERT_EQ(found, predicted) << name;
    }
  }
  // What must hold whatever the rows are.
  static void expectSound(const PlainInvoice& plain) {
    for (const PlainEntry& each : plain.entries) {
      const bool isReversal = each.name[0] == 'R' || each.name[0] == 'C';
      Decimal net;
      for (const PlainRow& row : each.rows) net += row.net();
      ASSERT_TRUE(isReversal || net.isZero()) << each.name;
    }
    if (!plain.book.automatic || plain.once || !plain.orderly || plain.balance(0) != 0) return;
    const bool differed = plain.foreign && plain.balance(kGains) + plain.balance(kLosses) != 0;
    if (plain.status == 3) {
      ASSERT_EQ(plain.balance(kReceivable), Decimal(0));
      ASSERT_EQ(-(plain.balance(kGains) + plain.balance(kLosses)), *plain.paid - plain.local);
    } else if ((plain.status == 6 || plain.status == 8) && !differed) {
      ASSERT_EQ(plain.balance(kReceivable), Decimal(0));
    }
  }

  void live() {
    PlainInvoice plain = someInvoice();
    Invoice* made = live(plain);
    ASSERT_TRUE(context().save());
    savedEntries_ = context().count("Entry");
    PlainInvoice saved = plain;
    for (int step = 0; step < kStepsOfALife; ++step) {
      SCOPED_TRACE(step);
      int expected = 0;
      const int answer = act(made, plain, expected);
      ASSERT_EQ(answer, expected);
      ++answers_[answer];
      if (answer != PlainInvoice::kNoNumber) {
        ASSERT_NO_FATAL_FAILURE(expectSame(made, plain));
      }
      if (answer == PlainInvoice::kDone) {
        ASSERT_NO_FATAL_FAILURE(expectSound(plain));
        if (oneIn(2)) continue;
        const bool isSaved = context().save();
        ASSERT_EQ(isSaved, plain.canBeSaved());
        if (isSaved) {
          saved = plain;
          continue;
        }
      }
      context().rollback();
      plain = saved;
      ASSERT_NO_FATAL_FAILURE(expectSame(made, plain));
    }
    context().rollback();
  }

  std::mt19937 random_;
  Book* book_;
  std::map<int, int> types_;
  std::vector<Article*> articles_;
  int number_ = 0;
  std::size_t savedEntries_ = 0;
  std::map<int, int> answers_;
};

TEST_P(InvoiceLife, GoesAsThePlainBookSays) {
  for (int life = 0; life < kLivesOfASeed; ++life) {
    SCOPED_TRACE(life);
    ASSERT_NO_FATAL_FAILURE(live());
  }
  for (const int answer : {0, 5, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20})
    EXPECT_GT(answers_[answer], 0) << answer << " never came up";
  EXPECT_EQ(context().verify(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Seeds, InvoiceLife, testing::Range(1U, 21U));

}  // namespace
}  // namespace bokfolio::test
