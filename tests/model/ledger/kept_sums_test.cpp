// Balances that are kept beside balances that are added up anew, through everything that can happen
// to what they count: amounts, removals, other accounts, tags, entries, dates and years, deletion,
// undo, rollback, saving and reopening.
#include <random>

#include "bokfolio/store/store_error.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class KeptSums : public LedgerWorld, public testing::WithParamInterface<unsigned> {
 protected:
  KeptSums() : random_(GetParam()) {
    for (int i = 0; i < 2; ++i) year(2008 + i);
    for (int i = 0; i < 5; ++i) account(1000 + i, static_cast<AccountType>(i));
    for (int i = 0; i < 2; ++i) tag(1 + i);
    EXPECT_TRUE(context().save());
  }

  std::size_t below(std::size_t bound) { return random_() % bound; }
  template <class T>
  T* any() {
    const auto all = context().fetch<T>();
    return all.empty() ? nullptr : all[below(all.size())];
  }
  Date someDate() {
    // Few days, so that several rows share one, and others lie at its very beginning.
    return cetDate(2008 + static_cast<int>(below(2)), 1 + static_cast<int>(below(3)),
                   1 + static_cast<int>(below(3)), static_cast<int>(below(2)) * 12);
  }
  Decimal someAmount() {
    // Now and then of a size that 38 digits do not hold beside the others.
    const Decimal amount = Decimal(static_cast<std::int64_t>(below(2'000)) - 1'000);
    return below(20) == 0 ? amount.scaledByPowerOf10(40) : amount.scaledByPowerOf10(-2);
  }

  void change() {
    Row* row = any<Row>();
    Entry* entry = any<Entry>();
    if (entry == nullptr || below(6) == 0) entry = this->entry(someDate());
    switch (row == nullptr ? 0 : below(12)) {
      case 0:
      case 1:
      case 2:
        LedgerWorld::row(entry, any<Account>(), someAmount(), below(2) == 0 ? any<Tag>() : nullptr);
        break;
      case 3:
        row->setDebit(someAmount());
        break;
      case 4:
        row->setPrimitiveValueForKey(someAmount(), "credit");
        break;
      case 5:
        row->setStatus(static_cast<RowStatus>(below(3)));
        break;
      case 6:
        row->setAccount(below(4) == 0 ? nullptr : any<Account>());
        break;
      case 7:
        row->setTag(below(3) == 0 ? nullptr : any<Tag>());
        break;
      case 8:
        row->setEntry(below(4) == 0 ? nullptr : entry);
        break;
      case 9:
        entry->setDate(below(5) == 0 ? std::nullopt : std::optional(someDate()));
        break;
      case 10:
        entry->setFiscalYear(below(4) == 0 ? nullptr : any<FiscalYear>());
        break;
      default:
        context().deleteObject(below(2) == 0 ? static_cast<Record*>(row) : entry);
    }
  }

  void takeStep() {
    switch (below(10)) {
      case 0:
        context().undo();
        break;
      case 1:
        context().redo();
        break;
      case 2:
        below(3) == 0 ? context().rollback() : (void)context().save();
        break;
      case 3:
        // What cannot be saved stays, and is not in the document that is opened.
        if (context().save()) open();
        break;
      default:
        for (std::size_t times = 1 + below(4); times > 0; --times) change();
        context().closeUndoGroup();
    }
  }

  // Added up one by one, without rounding: amounts of both sizes are added apart.
  template <class Condition>
  Decimal added(Condition condition) {
    Decimal small;
    Decimal large;
    for (const Row* row : context().fetch<Row>()) {
      const Entry* entry = row->entry();
      if (row->isRemoved() || entry == nullptr || !condition(*row, *entry)) continue;
      for (const Decimal& amount : {row->debit().value_or(0), row->credit().value_or(0).negated()})
        (amount.absolute() > Decimal(1'000'000) ? large : small) += amount;
    }
    return large + small;
  }

  void check() {
    const Date bound = someDate();
    for (FiscalYear* year : context().fetch<FiscalYear>()) {
      Decimal profit;
      for (Account* account : context().fetch<Account>()) {
        const auto counts = [&](const Row& row, const Entry& entry) {
          return row.account() == account && entry.fiscalYear() == year;
        };
        const auto countsBefore = [&](const Row& row, const Entry& entry) {
          return counts(row, entry) && entry.date() && *entry.date() < bound;
        };
        ASSERT_EQ(account->balanceByDate(std::nullopt, year), added(counts));
        ASSERT_EQ(account->balanceByDate(bound, year), added(countsBefore));
        for (Tag* tag : context().fetch<Tag>())
          ASSERT_EQ(account->balanceByDate(bound, year, tag),
                    added([&](const Row& row, const Entry& entry) {
                      return countsBefore(row, entry) && row.tag() == tag;
                    }));
      }
      for (Tag* tag : context().fetch<Tag>())
        ASSERT_EQ(context().keptSum("Row", {nullptr, tag, year, {}}),
                  added([&](const Row& row, const Entry& entry) {
                    return row.tag() == tag && entry.fiscalYear() == year;
                  }));
    }
    ASSERT_EQ(context().verify(), std::vector<std::string>());
  }

  std::mt19937 random_;
};

TEST_P(KeptSums, AgreeWithWhatIsAddedUpAnew) {
  for (int step = 0; step < 80; ++step) {
    SCOPED_TRACE(step);
    takeStep();
    if (below(2) == 0) context().releaseUnused();
    if (below(3) != 0) continue;
    ASSERT_NO_FATAL_FAILURE(check());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, KeptSums, testing::Range(1U, 13U));

using KeptSumsOfABook = LedgerWorld;

TEST_F(KeptSumsOfABook, ProfitCountsTheVeryInstantAndBalancesDoNot) {
  FiscalYear* of = year(2009);
  Account* sales = account(3010, AccountType::Income);
  Account* bank = account(1930);
  const Date noon = cetDate(2009, 3, 31, 12);
  Entry* sold = transfer(noon, 100, bank, sales);
  sold->setFiscalYear(of);
  EXPECT_EQ(of->profitLossByDate(noon), Decimal(100));
  EXPECT_EQ(of->profitLossByDate(noon.addingMicroseconds(-1)), Decimal());
  EXPECT_EQ(bank->balanceByDate(noon, of), Decimal());
  EXPECT_EQ(bank->balanceByDate(noon.addingMicroseconds(1), of), Decimal(100));
  sold->setDate(noon.addingMicroseconds(5));
  EXPECT_EQ(of->profitLossByDate(noon), Decimal());
}

TEST_F(KeptSumsOfABook, TooMuchForADecimalIsSaidWhenReadAndForgottenWhenGone) {
  FiscalYear* of = year(2009);
  Account* bank = account(1930);
  Entry* huge = entry(cetDate(2009, 3, 31, 12));
  huge->setFiscalYear(of);
  const Decimal largest = Decimal::fromParts(UInt128{9}, 127, false).scaledByPowerOf10(37);
  Row* first = row(huge, bank, largest);
  row(huge, bank, largest);
  EXPECT_THROW(bank->balanceByDate(std::nullopt, of), DecimalError);
  first->setStatus(RowStatus::Removed);
  EXPECT_EQ(bank->balanceByDate(std::nullopt, of), largest);
}

}  // namespace
}  // namespace bokfolio::test
