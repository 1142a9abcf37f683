#include <gmock/gmock.h>

#include "bokfolio/platform/date_text.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class RowTest : public LedgerWorld {
 protected:
  void sortByAccount(bool on) { world.preferences->setBool(kSortRowsByAccount, on); }
};

TEST_F(RowTest, BeginsBehindEveryOtherRowWithZeroAmounts) {
  const auto* made = context().insert<Row>();
  EXPECT_EQ(made->number(), world.clock->now().seconds() - 978307200);
  EXPECT_EQ(made->debit(), Decimal());
  EXPECT_EQ(made->credit(), Decimal());
  EXPECT_EQ(made->status(), 0);
}

TEST_F(RowTest, ReferencesAreSetFromRecordsNumbersAndNames) {
  Account* bank = account(1930, AccountType::Asset, "Bank");
  Account* cash = account(0, AccountType::Asset, "Kassa");
  Tag* project = tag(7);
  Row* made = context().insert<Row>();
  enum class By { Account, Number, Name, Tag };
  struct Case {
    By by;
    Value value;
    Record* expected;
  };
  const Case cases[] = {
      {By::Account, 1930, bank},
      {By::Account, cash, cash},
      {By::Account, 0, cash},
      {By::Account, 4711, nullptr},
      {By::Account, bank, bank},
      {By::Account, nullptr, nullptr},
      {By::Number, "1930 and more", bank},
      {By::Number, "letters", cash},  // reads as 0
      {By::Number, dec("1930"), bank},
      {By::Number, "4711", nullptr},
      {By::Name, "bank", bank},
      {By::Name, "no such name", bank},  // unchanged
      {By::Name, "K*a", cash},
      {By::Name, bank, bank},
      {By::Name, nullptr, nullptr},
      {By::Name, "no such name", nullptr},
      {By::Tag, "7", project},
      {By::Tag, 8, nullptr},
      {By::Tag, project, project},
      {By::Tag, nullptr, nullptr},
      {By::Tag, 7, project},
  };
  int index = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(index++);
    if (c.by == By::Account) made->setAccount(c.value);
    if (c.by == By::Number) made->setAccountNumber(c.value);
    if (c.by == By::Name) made->setAccountName(c.value);
    if (c.by == By::Tag) made->setTag(c.value);
    EXPECT_EQ(c.by == By::Tag ? static_cast<Record*>(made->tag()) : made->account(), c.expected);
  }
  made->setValueForKey("1930", "accountNumber");
  EXPECT_EQ(made->accountName(), "Bank");
  made->setValueForKey(1930, "account");
  EXPECT_EQ(made->valueForKey("accountNumber"), Value(1930));
  EXPECT_THROW(made->setAccount("1930"), ValueKindError);
  EXPECT_THROW(made->setAccount(project), ValueKindError);
  EXPECT_EQ(made->account(), bank);
}

TEST_F(RowTest, AttachingNumbersTheRowsDetachingDoesNot) {
  Entry* first = entry(world.clock->now());
  Account* bank = account(1930);
  std::vector<Row*> rows;
  for (int i = 0; i < 4; ++i) rows.push_back(row(first, bank, i));  // all born in one second
  EXPECT_THAT(numbersOf(first), testing::ElementsAre(1, 2, 3, 4));
  rows[1]->setEntry(nullptr);
  EXPECT_THAT(numbersOf(first), testing::ElementsAre(1, 3, 4));
  // Takes its place by the number it had, before the older row with the same number.
  Entry* second = entry(world.clock->now());
  row(second, bank, 1);
  row(second, bank, 2);
  rows[0]->setValueForKey(second, "entry");
  EXPECT_EQ(rows[0]->number(), 1);
  EXPECT_THAT(numbersOf(second), testing::UnorderedElementsAre(1, 2, 3));
  EXPECT_EQ(rows[0]->compare(*rows[3]), -1);
}

TEST_F(RowTest, RowsSortByAccountWhenTheUserPrefersIt) {
  sortByAccount(true);
  Entry* made = entry(world.clock->now());
  Row* late = row(made, account(3000), 1);
  Row* early = row(made, account(1930), 1);
  Row* without = row(made, nullptr, 1);
  Row* unnumbered = row(made, account(std::nullopt), 1);
  EXPECT_EQ(late->number(), 3000);
  EXPECT_EQ(without->valueForKey("number"), Value(Row::kNumberWithoutAccount));
  EXPECT_EQ(unnumbered->number(), std::nullopt);
  EXPECT_EQ(without->compare(*late), 1);
  sortByAccount(false);
  EXPECT_EQ(unnumbered->number(), 1);
  EXPECT_EQ(early->number(), 2);
  EXPECT_EQ(late->number(), 3);
  EXPECT_EQ(without->number(), 4);
}

TEST_F(RowTest, EmptyMeansNothingWorthKeeping) {
  struct Case {
    std::optional<Decimal> debit, credit;
    bool empty;
  };
  const Case cases[] = {
      {std::nullopt, std::nullopt, true}, {dec("0.0049"), dec("-0.0049"), true},
      {dec("0.005"), 0, false},           {0, dec("-0.005"), false},
      {dec("-1"), std::nullopt, false},
  };
  for (const auto& c : cases) {
    Row* made = context().insert<Row>();
    made->setDebit(c.debit);
    made->setCredit(c.credit);
    EXPECT_EQ(made->isEmpty(), c.empty);
  }
  Row* placed = context().insert<Row>();
  placed->setAccount(account(1));
  EXPECT_FALSE(placed->isEmpty());
  Row* marked = context().insert<Row>();
  marked->setTag(tag(1));
  EXPECT_FALSE(marked->isEmpty());
}

TEST_F(RowTest, NetIsDebitMinusCreditAndNothingForARemovedRow) {
  Row* made = row(nullptr, account(1), 100);
  made->setCredit(dec("0.25"));
  EXPECT_EQ(made->net(), dec("99.75"));
  made->setDebit(std::nullopt);
  EXPECT_EQ(made->net(), dec("-0.25"));
  made->setStatus(RowStatus::Removed);
  EXPECT_EQ(made->valueForKey("net"), Value(Decimal()));
  EXPECT_FALSE(Row::noRemovedRows().evaluate(*made));
}

TEST_F(RowTest, OnlyACommittedRowIsStruckOut) {
  struct Case {
    std::optional<std::int64_t> status;
    std::int64_t after;
    bool noted;
  };
  const Case cases[] = {{0, 1, true}, {std::nullopt, 1, true}, {1, 1, false}, {2, 2, false}};
  for (const auto& c : cases) {
    Row* made = context().insert<Row>();
    made->setStatus(c.status);
    made->remove();
    EXPECT_EQ(made->status(), c.after);
    EXPECT_EQ(made->who(), c.noted ? std::optional<std::string>("Anna Andersson") : std::nullopt);
    EXPECT_EQ(made->when(), c.noted ? std::optional(world.clock->now()) : std::nullopt);
  }
}

TEST_F(RowTest, ChangeTextSaysTheDateThenThePerson) {
  Row* made = context().insert<Row>();
  made->setWho("%@ Öberg");
  EXPECT_EQ(made->changeText(), std::nullopt);
  made->setWhen(cetDate(2009, 12, 31, 23, 30));
  EXPECT_EQ(made->changeText(),
            world.environment.text("Record of change", {"12/31/09", "%@ Öberg"}));
  made->setWho(std::nullopt);
  EXPECT_EQ(made->changeText(), std::nullopt);
}

TEST_F(RowTest, BalancingPutsTheRestOnTheOtherSide) {
  struct Case {
    std::vector<const char*> others;
    const char* debit;
    const char* credit;
  };
  const Case cases[] = {
      {{"100", "-40"}, "0", "60"},     {{"-100", "40"}, "60", "0"},
      {{"5", "-5"}, "0", "0"},         {{}, "0", "0"},
      {{"0.001", "-3"}, "2.999", "0"},
  };
  for (const auto& c : cases) {
    Entry* made = entry(world.clock->now());
    for (const char* amount : c.others) row(made, account(1), dec(amount));
    Row* struck = row(made, account(1), 1000);
    struck->remove();
    Row* balancing = row(made, account(2), 777);
    balancing->makeEntryBalanced();
    EXPECT_EQ(balancing->debit(), dec(c.debit));
    EXPECT_EQ(balancing->credit(), dec(c.credit));
    EXPECT_TRUE(made->rows().sum("net").isZero());
  }
  Row* loose = row(nullptr, account(1), 5);
  loose->makeEntryBalanced();
  EXPECT_EQ(loose->debit(), Decimal());
  EXPECT_EQ(loose->credit(), Decimal());
}

TEST_F(RowTest, CopyTakesEverythingButTheEntry) {
  Row* original = row(entry(world.clock->now()), account(1930), 5, tag(3));
  original->setCredit(2);
  original->remove();
  Row* copy = context().insert<Row>();
  copy->copyOtherRow(*original);
  for (const char* key : {"tag", "account", "when", "who", "debit", "credit", "status", "number"})
    EXPECT_EQ(copy->valueForKey(key), original->valueForKey(key)) << key;
  EXPECT_EQ(copy->entry(), nullptr);

  Entry* former = original->entry();
  Account* bank = original->account();
  original->deleteWithoutPardon();
  EXPECT_TRUE(original->isDeleted());
  EXPECT_TRUE(former->rows().empty());
  EXPECT_EQ(bank->rows().count(), 1U);
}

TEST_F(RowTest, NilAmountsBecomeZeroWhenValidated) {
  Row* made = row(entry(world.clock->now()), account(1), 5);
  made->setCredit(std::nullopt);
  EXPECT_TRUE(made->validateForUpdate());
  EXPECT_EQ(made->credit(), Decimal());
  EXPECT_TRUE(made->setValidated("debit", nullptr));
  EXPECT_EQ(made->debit(), Decimal());
}

TEST_F(RowTest, ARowOfAnEntryNeedsAnAmountAndAnAccount) {
  Entry* of = entry(world.clock->now(), "Rent");
  std::optional<Error> error;
  Row* zero = row(of, account(1), 0);
  EXPECT_FALSE(zero->validateForUpdate());
  EXPECT_FALSE(zero->validateForUpdate(&error));
  expectError(error, kStoreErrorDomain, 1570,
              world.environment.text("Invalid debit/credit for row", {"Rent"}), "debit");
  EXPECT_EQ(world.log->lines().size(), 0U);

  error.reset();
  zero->setEntry(nullptr);
  EXPECT_TRUE(zero->validateForUpdate(&error));
  EXPECT_FALSE(error.has_value());
  EXPECT_THAT(
      world.log->lines(),
      testing::ElementsAre("Probable bug caught in -[Row validateDebit:]. Silently ignoring."));

  Row* homeless = row(of, nullptr, 5);
  EXPECT_FALSE(homeless->validateForUpdate());
  EXPECT_FALSE(homeless->validateForUpdate(&error));
  expectError(error, kStoreErrorDomain, 1570,
              world.environment.text("Invalid account for row", {"Rent"}), "account");
}

// A model whose rows require one thing more, as a plug-in may have it.
class StricterRowTest : public LedgerWorld {
 protected:
  StricterRowTest() : LedgerWorld(stricterModel()) {}
  static Model stricterModel() {
    Model model = standardModel();
    PropertyDescription voucher;
    voucher.name = "voucher";
    voucher.required = true;
    model.entity("Row")->properties.push_back(voucher);
    return model;
  }
};

TEST_F(StricterRowTest, SeveralFailuresAtOnceLeaveNoErrorAndOthersPassOn) {
  Row* made = row(entry(world.clock->now()), nullptr, 5);
  std::optional<Error> error;
  EXPECT_FALSE(made->validateForUpdate(&error));
  EXPECT_FALSE(error.has_value());
  made->setAccount(account(1));
  EXPECT_FALSE(made->validateForUpdate(&error));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->text(kValidationKeyErrorKey), "voucher");
}

TEST_F(RowTest, DerivedKeysAnnounceWhatTheyDependOn) {
  Row* made = row(entry(world.clock->now()), account(1), 5);
  std::vector<std::string> told;
  std::vector<ObservationToken> tokens;
  for (const char* key : {"net", "changeText", "isRemoved", "isEditable", "accountNumber",
                          "accountName", "description"})
    tokens.push_back(context().observe(*made, key, [&told](const Change& change) {
      if (change.phase == Change::Phase::Did) told.push_back(*change.key);
    }));
  const auto toldBy = [&](const auto& change) {
    told.clear();
    change();
    return told;
  };
  using testing::UnorderedElementsAre;
  EXPECT_THAT(toldBy([&] { made->setStatus(RowStatus::Editable); }),
              UnorderedElementsAre("net", "changeText", "isRemoved", "isEditable"));
  EXPECT_THAT(toldBy([&] { made->setDebit(6); }), UnorderedElementsAre("net"));
  EXPECT_THAT(toldBy([&] { made->setAccount(nullptr); }),
              UnorderedElementsAre("accountNumber", "accountName"));
  EXPECT_THAT(toldBy([&] { made->setNumber(9); }), UnorderedElementsAre("description"));
}

}  // namespace
}  // namespace bokfolio::test
