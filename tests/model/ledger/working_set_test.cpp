// A book of which only a part is in memory: a day's work never reads rows and entries as a whole,
// letting go of records loses nothing, and sums in the document are found wrong and made anew.
#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "bokfolio/store/store_error.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class WorkingSet : public LedgerWorld {
 protected:
  WorkingSet() {
    bank_ = account(1930, AccountType::Asset, "Bank");
    sales_ = account(3010, AccountType::Income, "Sales");
    project_ = tag(1);
    for (int which = 0; which < 2; ++which) {
      FiscalYear* in = year(2008 + which);
      for (int number = 1; number <= kEntries; ++number) {
        Entry* made = filed(in, cetDate(2008 + which, 1 + number % 12, 3), number);
        row(made, bank_, number, number % 3 == 0 ? project_ : nullptr);
        row(made, sales_, -number);
      }
    }
    auto* working = context().insert<Entry>();
    working->setName("Working");
    EXPECT_TRUE(context().save());
    reopen();
  }

  // With small entities in memory and an engine that refuses to read any entity whole.
  void reopen() {
    faults_ = std::make_shared<PersistenceFaults>();
    context_ = Context::open(
        schema_, makeFaultInjectingPersistence(makeMemoryPersistence(document_), faults_),
        world.environment);
    bank_ = Account::accountWithNumber(1930, context());
    sales_ = Account::accountWithNumber(3010, context());
    project_ = Tag::tagWithNumber(1, context());
    latest_ = FiscalYear::latestFiscalYearInContext(context());
    for (const char* small : {"Book", "StartingBalance", "Company", "Article"})
      context().count(small);
    PersistenceFault fault;
    fault.call = 0;
    fault.operation = PersistenceOperation::Load;
    faults_->add(fault);
  }

  static constexpr int kEntries = 60;
  static constexpr int kSum = kEntries * (kEntries + 1) / 2;

  std::shared_ptr<PersistenceFaults> faults_;
  Account* bank_ = nullptr;
  Account* sales_ = nullptr;
  Tag* project_ = nullptr;
  FiscalYear* latest_ = nullptr;
};

TEST_F(WorkingSet, ADaysWorkReadsNoEntityWhole) {
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, latest_), Decimal(kSum));
  EXPECT_EQ(latest_->profitLoss(), Decimal(kSum));
  EXPECT_EQ(project_->balance(), Decimal(3 * 20 * 21 / 2));
  EXPECT_EQ(latest_->highestEntryNumber(), kEntries);
  EXPECT_EQ(latest_->dateOfLatestEntry(), cetDate(2009, 12, 3));
  EXPECT_TRUE(bank_->used());
  EXPECT_EQ(context().count("Row"), 4U * kEntries);
  EXPECT_EQ(latest_->entries().count(), static_cast<std::size_t>(kEntries));

  Entry* working = Entry::findTheNewInContext(context());
  ASSERT_NE(working, nullptr);
  working->setNumber(std::nullopt);
  working->setDate(cetDate(2009, 6, 15));
  row(working, bank_, 1000, project_);
  row(working, sales_, -1000);
  std::optional<Error> error;
  ASSERT_TRUE(working->fileMe(&error)) << error->localizedDescription();
  EXPECT_EQ(working->number(), kEntries + 1);
  EXPECT_EQ(bank_->balanceByDate(cetDate(2009, 6, 15), latest_),
            bank_->balanceByDate(cetDate(2009, 6, 4), latest_));
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, latest_), Decimal(kSum + 1000));
  EXPECT_EQ(latest_->entries().count(), kEntries + 1U);
  EXPECT_EQ(context().count("Entry"), 2U * kEntries + 1);
  context().insert<FiscalYear>()->setToCalendarYearContaining(cetDate(2010, 7, 1));
  FiscalYear* next = FiscalYear::latestFiscalYearInContext(context());
  ASSERT_TRUE(next->updateStartingBalances(&error));
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, next), Decimal(kSum + 1000));
  ASSERT_TRUE(context().save(&error)) << error->localizedDescription();

  // A correction of what was saved long ago, and a deletion.
  auto* old = context().fetchFirst<Entry>(
      Predicate("fiscalYear == %@ AND number == 7", {Value(latest_->previous())}));
  ASSERT_NE(old, nullptr);
  old->rows().first()->setDebit(17);
  context().deleteObject(context().fetchFirst<Entry>(
      Predicate("fiscalYear == %@ AND number == 8", {Value(latest_->previous())})));
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, latest_->previous()), Decimal(kSum + 10 - 8));
  context().rollback();
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, latest_->previous()), Decimal(kSum));

  faults_->clear();
  EXPECT_EQ(context().verify(), std::vector<std::string>());
}

TEST_F(WorkingSet, ASaveThatCannotReadTheSumsChangesNothing) {
  Entry* made = filed(latest_, cetDate(2009, 6, 15), kEntries + 1);
  row(made, bank_, 1000);
  row(made, sales_, -1000);
  PersistenceFault fault;
  fault.operation = PersistenceOperation::Sums;
  fault.description = "No disk.";
  faults_->add(fault);
  std::optional<Error> error;
  EXPECT_FALSE(context().save(&error));
  ASSERT_TRUE(error);
  EXPECT_NE(error->localizedDescription().find("No disk."), std::string::npos);
  faults_->clear();
  ASSERT_TRUE(context().save(&error)) << error->localizedDescription();
  EXPECT_EQ(context().verify(), std::vector<std::string>());
}

// An engine whose document was written by a library that keeps no sums, or wrong ones.
TEST_F(WorkingSet, SumsThatAreMissingOrWrongAreMadeAnew) {
  faults_->clear();
  ChangeSet wrong;
  wrong.sums.push_back({&context().schema().entity("Row"), true, {}});
  wrong.sums.back().lines.push_back({latest_->id(), bank_->id(), 0, std::nullopt, "17"});
  ASSERT_TRUE(context().persistence().commit(wrong, nullptr));
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, latest_), Decimal(17));
  EXPECT_EQ(context().verify(), std::vector<std::string>{"Row: the kept sums differ from a scan"});

  bank_->setName("Unsaved");
  EXPECT_THROW(context().rebuildSums(), StoreError);
  context().rollback();
  ASSERT_TRUE(context().rebuildSums());
  EXPECT_EQ(context().verify(), std::vector<std::string>());
  reopen();
  EXPECT_EQ(bank_->balanceByDate(std::nullopt, latest_), Decimal(kSum));
  faults_->clear();
  EXPECT_EQ(context().verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace bokfolio::test
