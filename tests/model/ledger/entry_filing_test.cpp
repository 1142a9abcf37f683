#include <gmock/gmock.h>

#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class EntryFilingTest : public LedgerWorld {
 protected:
  EntryFilingTest() : bank(account(1930)), sales(account(3000, AccountType::Income)) {}

  // The new entry, balanced.
  Entry* newEntry(Date date, const Decimal& amount = 100) {
    Entry* made = transfer(date, amount, bank, sales, std::nullopt);
    made->setNumber(Entry::kNewEntryNumber);
    return made;
  }

  Account* bank;
  Account* sales;
};

TEST_F(EntryFilingTest, ValidationSaysWhatIsWrong) {
  FiscalYear* of2009 = year(2009);
  Entry* unbalanced = transfer(cetDate(2009, 5, 1), 100, bank, sales, "Case");
  row(unbalanced, bank, dec("0.01"));
  Entry* outside = transfer(of2009->start().value(), 100, bank, sales, "Case");
  outside->setFiscalYear(of2009);
  const std::pair<Entry*, const char*> cases[] = {
      {entry(cetDate(2009, 5, 1), "Case"), "This entry lacks any rows."},
      {unbalanced, "This entry is not balanced."},
      {outside, "The date is not in the fiscal year."}};
  for (const auto& [made, key] : cases) {
    SCOPED_TRACE(key);
    made->setNumber(Entry::kNewEntryNumber);
    EXPECT_TRUE(made->validateForUpdate()) << "the new entry may be half-done";
    std::optional<Error> error;
    EXPECT_FALSE(made->checkValidation(&error));
    expectError(error, kBokfolioErrorDomain, 1, text(key));
    EXPECT_EQ(error->text(kEntryDescriptionKey), "Case");
    EXPECT_FALSE(made->checkValidation());
    EXPECT_EQ(made->number(), Entry::kNewEntryNumber);
  }
  EXPECT_THAT(world.log->lines(), testing::ElementsAre("entry: Case. z: 0.01"));
}

TEST_F(EntryFilingTest, RemovedRowsAndNilSidesDoNotUnbalance) {
  Entry* made = transfer(cetDate(2009, 5, 1), dec("33.33"), bank, sales);
  row(made, bank, 50)->remove();
  for (Row* each : made->rows().members())
    if (each->credit()->isZero()) each->setCredit(std::nullopt);
  EXPECT_TRUE(made->checkValidation());
  Value none;
  EXPECT_FALSE(made->validateRows(none));
}

TEST_F(EntryFilingTest, CheckingValidatesTheRowsAndAlwaysRestoresTheNumber) {
  Entry* made = newEntry(cetDate(2009, 5, 1));
  EXPECT_TRUE(made->checkValidation());
  EXPECT_TRUE(made->isNew());

  row(made, nullptr, 0, tag(1));
  std::optional<Error> error;
  EXPECT_FALSE(made->checkValidation(&error));
  expectError(error, kStoreErrorDomain, 1570,
              world.environment.text("Invalid account for row", {""}), "account");
  EXPECT_TRUE(made->isNew());

  Entry* huge = entry(cetDate(2009, 5, 1));
  huge->setNumber(5);
  const Decimal limit = Decimal(9).scaledByPowerOf10(127) * Decimal::parse("1e37").value();
  row(huge, bank, limit);
  row(huge, bank, limit);
  EXPECT_THROW(huge->checkValidation(), DecimalError);
  EXPECT_EQ(huge->number(), 5);
}

TEST_F(EntryFilingTest, FinishingAnEditCommitsEditableRowsAndNotesWhoDidIt) {
  Entry* made = transfer(cetDate(2009, 5, 1), 100, bank, sales);
  made->setFiscalYear(year(2009));
  Row* struck = row(made, bank, 30);
  struck->remove();
  struck->setWho("Before");
  Row* added = row(made, bank, dec("-0.5"));
  added->setStatus(RowStatus::Editable);
  row(made, nullptr, 0);
  std::optional<Error> error;
  EXPECT_FALSE(made->editFinished(&error));
  expectError(error, kBokfolioErrorDomain, 1, text("This entry is not balanced."));
  EXPECT_EQ(made->rows().count(), 4U) << "the empty row is gone";
  EXPECT_TRUE(added->isEditable());

  row(made, sales, dec("0.5"));
  ASSERT_TRUE(made->editFinished());
  EXPECT_EQ(added->status(), 0);
  EXPECT_EQ(added->who(), "Anna Andersson");
  EXPECT_EQ(struck->status(), 1);
  EXPECT_EQ(struck->who(), "Before");
  EXPECT_EQ(made->rows().first()->who(), std::nullopt) << "a committed row was not changed";
}

TEST_F(EntryFilingTest, FilingGivesTheYearTheNextNumberAndCommitsEveryRow) {
  FiscalYear* of2009 = year(2009);
  filed(of2009, cetDate(2009, 1, 2), 41);
  Entry* made = newEntry(cetDate(2009, 5, 1));
  Row* edited = made->rows().first();
  edited->setStatus(RowStatus::Editable);
  Row* struck = row(made, bank, 9);
  struck->setStatus(RowStatus::Removed);
  row(made, nullptr, 0);
  const auto answer = made->fileMe();
  ASSERT_TRUE(answer.has_value());
  EXPECT_THAT(*answer, testing::ElementsAre(made));
  EXPECT_EQ(made->fiscalYear(), of2009);
  EXPECT_EQ(made->number(), 42);
  EXPECT_EQ(made->name(), "");
  EXPECT_EQ(made->rows().count(), 3U);
  for (const Row* each : made->rows().members()) EXPECT_EQ(each->status(), 0);
  EXPECT_EQ(edited->who(), std::nullopt) << "filed for the first time: no note of change";

  struck->deleteWithoutPardon();
  edited->setStatus(RowStatus::Editable);
  ASSERT_TRUE(made->fileMe().has_value());
  EXPECT_EQ(made->number(), 42);
  EXPECT_EQ(edited->status(), 0);
  EXPECT_EQ(edited->who(), "Anna Andersson");
}

TEST_F(EntryFilingTest, ExactlyOneYearMustContainTheDate) {
  year(2009);
  auto* overlapping = context().insert<FiscalYear>();
  overlapping->setStart(cetDate(2009, 7, 1));
  overlapping->setEnd(cetDate(2010, 7, 1));
  const std::tuple<Date, int, const char*> cases[] = {
      {cetDate(2009, 1, 1), 2, "No fiscal year."},
      {cetDate(2009, 7, 2), 3, "Multiple matching fiscal years."},
      {cetDate(2009, 7, 1), 0, ""},  // strictly inside the first year only
  };
  for (const auto& [date, code, key] : cases) {
    Entry* made = newEntry(date);
    std::optional<Error> error;
    EXPECT_EQ(made->fileMe(&error).has_value(), code == 0);
    if (code == 0) continue;
    expectError(error, kBokfolioErrorDomain, code, text(key));
    EXPECT_EQ(error->text(kEntryDescriptionKey), "");
    EXPECT_TRUE(made->isNew());
    EXPECT_EQ(made->fiscalYear(), nullptr);
    EXPECT_FALSE(made->fileMe().has_value());
    context().deleteObject(made);
  }
}

TEST_F(EntryFilingTest, EarlierUnnumberedEntriesAreFiledFirstByDayAndName) {
  year(2008);
  FiscalYear* of2009 = year(2009);
  const auto pending = [&](Date date, const std::optional<std::string>& name) {
    return transfer(date, 10, bank, sales, name);
  };
  Entry* lateB = pending(cetDate(2009, 2, 2, 8), "B");
  Entry* lateA = pending(cetDate(2009, 2, 2, 9), "A");
  Entry* first = pending(cetDate(2009, 2, 1, 10), "Z");
  Entry* nameless = pending(cetDate(2009, 2, 2, 11), std::nullopt);
  Entry* lastYears = pending(cetDate(2008, 6, 1), "Y");
  Entry* same = pending(cetDate(2009, 3, 1), "at the same instant");
  Entry* made = newEntry(cetDate(2009, 3, 1));

  const auto answer = made->fileMe();
  ASSERT_TRUE(answer.has_value());
  EXPECT_THAT(*answer, testing::ElementsAre(lastYears, first, nameless, lateA, lateB, made));
  EXPECT_EQ(lastYears->number(), 1);
  EXPECT_EQ(first->number(), 1);
  EXPECT_EQ(nameless->number(), 2);
  EXPECT_EQ(nameless->name(), "");
  EXPECT_EQ(lateB->number(), 4);
  EXPECT_EQ(made->number(), 5);
  EXPECT_EQ(same->number(), std::nullopt);
  EXPECT_EQ(of2009->highestEntryNumber(), 5);

  // An unnumbered entry files nothing but itself.
  Entry* another = pending(cetDate(2009, 4, 2), "Later");
  ASSERT_TRUE(another->fileMe().has_value());
  EXPECT_EQ(another->number(), 6);
  EXPECT_EQ(same->number(), std::nullopt);
}

TEST_F(EntryFilingTest, AFailureHalfWayLeavesWhatWasFiledBefore) {
  year(2009);
  Entry* good = transfer(cetDate(2009, 2, 1), 10, bank, sales, "Good");
  Entry* bad = entry(cetDate(2009, 2, 2), "Bad");
  Entry* never = transfer(cetDate(2009, 2, 3), 10, bank, sales, "Never reached");
  Entry* made = newEntry(cetDate(2009, 3, 1));
  std::optional<Error> error;
  EXPECT_FALSE(made->fileMe(&error).has_value());
  expectError(error, kBokfolioErrorDomain, 1, text("This entry lacks any rows."));
  EXPECT_EQ(error->text(kEntryDescriptionKey), "Bad");
  EXPECT_EQ(good->number(), 1);
  EXPECT_EQ(bad->number(), std::nullopt);
  EXPECT_EQ(never->number(), std::nullopt);
  EXPECT_TRUE(made->isNew());
}

}  // namespace
}  // namespace bokfolio::test
