// Random histories of a book beside a second, plain book that predicts what the ledger must answer:
// numbers and balances through filing, edits, saves and rollbacks.
#include <algorithm>
#include <array>
#include <random>
#include <tuple>

#include "bokfolio/platform/calendar.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

constexpr int kFirstYear = 2008;
constexpr int kYears = 3;
constexpr int kAccounts = 6;

struct PlainEntry {
  RecordId id;
  Date date;
  std::string name;
  std::array<Decimal, kAccounts> nets;
  std::int64_t number = 0;  // 0: not filed yet

  CivilDate day() const { return civilDate(date, TimeZone::cet()); }
  bool isFiledIn(int year) const { return number != 0 && day().year == year; }
};

class LedgerHistory : public LedgerWorld, public testing::WithParamInterface<unsigned> {
 protected:
  LedgerHistory() : random_(GetParam()) {
    for (int i = 0; i < kYears; ++i) year(kFirstYear + i);
    for (int i = 0; i < kAccounts; ++i) account(1000 + i, static_cast<AccountType>(i % 5));
    EXPECT_TRUE(context().save());
  }

  std::size_t below(std::size_t bound) { return random_() % bound; }
  Account* accountAt(std::size_t index) {
    return Account::accountWithNumber(1000 + static_cast<std::int64_t>(index), context());
  }
  Entry* live(const PlainEntry& plain) {
    return static_cast<Entry*>(context().find("Entry", plain.id));
  }
  Row* post(PlainEntry& plain, const Decimal& amount) {
    const std::size_t index = below(kAccounts);
    plain.nets[index] += amount;
    return row(live(plain), accountAt(index), amount);
  }

  // Balanced, pending or new.
  PlainEntry compose(std::optional<std::int64_t> number) {
    const auto in = [this](std::size_t bound) { return 1 + static_cast<int>(below(bound)); };
    const Date date = cetDate(kFirstYear - 1 + in(kYears), in(12), in(28), in(22));
    PlainEntry plain{0, date, "Entry " + std::to_string(++composed_), {}};
    Entry* made = entry(plain.date, plain.name);
    made->setNumber(number);
    plain.id = made->id();
    Decimal sum;
    for (std::size_t rows = 1 + below(3); rows > 0; --rows) {
      const Decimal amount = Decimal(below(10'000) + 1).scaledByPowerOf10(-2);
      sum += amount;
      post(plain, amount);
    }
    post(plain, -sum);
    return plain;
  }

  void fileOne() {
    book_.push_back(compose(Entry::kNewEntryNumber));
    PlainEntry& last = book_.back();
    if (below(5) == 0) {
      Row* unbalancing = row(live(last), accountAt(0), 1);
      EXPECT_FALSE(live(last)->fileMe().has_value());
      unbalancing->deleteWithoutPardon();
    }
    const auto answer = live(last)->fileMe();
    ASSERT_TRUE(answer.has_value());
    std::vector<PlainEntry*> order;
    for (PlainEntry& each : book_)
      if (each.number == 0 && each.date < last.date) order.push_back(&each);
    std::sort(order.begin(), order.end(), [](const PlainEntry* a, const PlainEntry* b) {
      return std::make_tuple(a->day(), a->name) < std::make_tuple(b->day(), b->name);
    });
    order.push_back(&last);
    ASSERT_EQ(answer->size(), order.size());
    for (PlainEntry* each : order) each->number = filedIn(each->day().year) + 1;
  }
  std::int64_t filedIn(int year) const {
    return std::count_if(book_.begin(), book_.end(),
                         [year](const PlainEntry& each) { return each.isFiledIn(year); });
  }

  // Strikes out a row and books its amount on another account.
  void editOne() {
    if (book_.empty()) return;
    PlainEntry& plain = book_[below(book_.size())];
    Row* struck = live(plain)->rows().first();
    if (plain.number == 0 || struck->isRemoved()) return;
    const Decimal amount = struck->net();
    plain.nets[static_cast<std::size_t>(*struck->accountNumber() - 1000)] -= amount;
    struck->remove();
    post(plain, amount)->setStatus(RowStatus::Editable);
    EXPECT_TRUE(live(plain)->editFinished());
  }

  void check() {
    for (const PlainEntry& plain : book_) {
      ASSERT_EQ(live(plain)->number().value_or(0), plain.number) << plain.name;
      ASSERT_TRUE(live(plain)->rows().sum("net").isZero());
    }
    for (int in = kFirstYear; in < kFirstYear + kYears; ++in) {
      FiscalYear* of = FiscalYear::findFiscalYearForDate(cetDate(in, 7, 1), context());
      ASSERT_EQ(of->highestEntryNumber(), filedIn(in));
      Decimal profit;
      for (std::size_t i = 0; i < kAccounts; ++i) {
        Decimal balance;
        for (const PlainEntry& plain : book_)
          if (plain.isFiledIn(in)) balance += plain.nets[i];
        ASSERT_EQ(accountAt(i)->balanceByDate(std::nullopt, of), balance) << in << ' ' << i;
        if (i == 2 || i == 3) profit -= balance;
      }
      ASSERT_EQ(of->profitLoss(), profit);
    }
  }

  std::mt19937 random_;
  std::vector<PlainEntry> book_;
  int composed_ = 0;
};

TEST_P(LedgerHistory, TheBookAgreesWithThePlainOne) {
  std::vector<PlainEntry> saved;
  for (int step = 0; step < 60; ++step) {
    SCOPED_TRACE(step);
    const std::size_t dice = below(8);
    if (dice == 0) {
      ASSERT_TRUE(context().save());
      open();
      saved = book_;
    } else if (dice == 1) {
      context().rollback();
      book_ = saved;
    } else if (dice <= 3) {
      book_.push_back(compose(std::nullopt));
    } else if (dice == 4) {
      editOne();
    } else {
      ASSERT_NO_FATAL_FAILURE(fileOne());
    }
    ASSERT_NO_FATAL_FAILURE(check());
  }
  EXPECT_EQ(context().verify(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Seeds, LedgerHistory, testing::Range(1U, 11U));

}  // namespace
}  // namespace bokfolio::test
