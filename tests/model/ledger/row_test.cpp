#include <gmock/gmock.h>

#include "bokfolio/platform/date_text.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/model/ledger/watch.hpp"

namespace bokfolio::test {
namespace {

class RowTest : public LedgerWorld {
 protected:
  void sortByAccount(bool on) { world.preferences->setBool(kSortRowsByAccount, on); }
};

TEST_F(RowTest, ReferencesAreSetFromRecordsNumbersAndNames) {
  Account* bank = account(1930, AccountType::Asset, "Bank");
  Account* cash = account(0, AccountType::Asset, "Kassa");
  Tag* project = tag(7);
  Row* made = context().insert<Row>();
  const std::tuple<const char*, Value, Record*> cases[] = {
      {"account", 1930, bank},
      {"account", 4711, nullptr},
      {"account", cash, cash},
      {"accountNumber", "1930 and more", bank},
      {"accountNumber", "letters", cash},  // reads as 0
      {"accountNumber", dec("1930"), bank},
      {"accountNumber", "4711", nullptr},
      {"accountName", "bank", bank},
      {"accountName", "no such name", bank},  // unchanged
      {"accountName", "K*a", cash},
      {"accountName", bank, bank},
      {"accountName", nullptr, nullptr},
      {"accountName", "no such name", nullptr},
      {"account", 0, cash},
      {"account", nullptr, nullptr},
      {"account", bank, bank},
      {"tag", "7", project},
      {"tag", 8, nullptr},
      {"tag", project, project},
      {"tag", nullptr, nullptr},
      {"tag", 7, project},
  };
  for (const auto& [key, value, expected] : cases) {
    made->setValueForKey(value, key);
    EXPECT_EQ(made->valueForKey(std::string_view(key) == "tag" ? key : "account").record(),
              expected)
        << key << " = " << value.description();
  }
  EXPECT_EQ(made->accountName(), "Bank");
  EXPECT_EQ(made->accountNumber(), 1930);
  EXPECT_THROW(made->setAccount("1930"), ValueKindError);
  EXPECT_THROW(made->setAccount(project), ValueKindError);
  EXPECT_EQ(made->account(), bank);
}

TEST_F(RowTest, AttachingNumbersTheRowsDetachingDoesNot) {
  Entry* first = entry(world.clock->now());
  Account* bank = account(1930);
  std::vector<Row*> rows;
  EXPECT_EQ(context().insert<Row>()->number(), world.clock->now().seconds() - 978307200);
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
  const auto isEmpty = [this](const std::optional<Decimal>& debit,
                              const std::optional<Decimal>& credit, const char* key = "tag",
                              Record* reference = nullptr) {
    Row* made = context().insert<Row>();
    made->setDebit(debit);
    made->setCredit(credit);
    made->setValueForKey(reference, key);
    return made->isEmpty();
  };
  EXPECT_TRUE(isEmpty(std::nullopt, std::nullopt));
  EXPECT_TRUE(isEmpty(dec("0.0049"), dec("-0.0049")));
  EXPECT_FALSE(isEmpty(dec("0.005"), 0));
  EXPECT_FALSE(isEmpty(std::nullopt, dec("-0.005")));
  EXPECT_FALSE(isEmpty(0, 0, "account", account(1)));
  EXPECT_FALSE(isEmpty(0, 0, "tag", tag(1)));
}

TEST_F(RowTest, OnlyACommittedRowIsStruckOut) {
  for (const std::optional<std::int64_t> status : {std::optional<std::int64_t>(), {0}, {1}, {2}}) {
    Row* made = context().insert<Row>();
    made->setStatus(status);
    made->remove();
    const bool struck = status.value_or(0) == 0;
    EXPECT_EQ(made->status(), struck ? 1 : status);
    EXPECT_EQ(made->who().value_or(""), struck ? "Anna Andersson" : "");
    EXPECT_EQ(made->when().value_or(Date()), struck ? world.clock->now() : Date());
  }
}

TEST_F(RowTest, ChangeTextSaysTheDateThenThePerson) {
  Row* made = context().insert<Row>();
  made->setWho("%@ Öberg");
  EXPECT_EQ(made->changeText(), std::nullopt);
  made->setWhen(cetDate(2009, 12, 31, 23, 30));
  EXPECT_EQ(made->changeText(),
            world.environment.text("Record of change", {"12/31/09", "%@ Öberg"}));
}

TEST_F(RowTest, BalancingPutsTheRestOnTheOtherSide) {
  const std::tuple<std::vector<const char*>, const char*, const char*> cases[] = {
      {{"100", "-40"}, "0", "60"},     {{"-100", "40"}, "60", "0"},
      {{"5", "-5"}, "0", "0"},         {{}, "0", "0"},
      {{"0.001", "-3"}, "2.999", "0"},
  };
  for (const auto& [others, debit, credit] : cases) {
    Entry* made = entry(world.clock->now());
    for (const char* amount : others) row(made, account(1), dec(amount));
    row(made, account(1), 1000)->remove();
    Row* balancing = row(made, account(2), 777);
    balancing->makeEntryBalanced();
    EXPECT_EQ(balancing->debit(), dec(debit));
    EXPECT_EQ(balancing->credit(), dec(credit));
    EXPECT_TRUE(made->rows().sum("net").isZero());
  }
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
}

TEST_F(RowTest, ARowOfAnEntryNeedsAnAmountAndAnAccount) {
  Entry* of = entry(world.clock->now(), "Rent");
  std::optional<Error> error;
  Row* zero = row(of, account(1), 0);
  zero->setDebit(std::nullopt);
  EXPECT_FALSE(zero->validateForUpdate());
  EXPECT_FALSE(zero->validateForUpdate(&error));
  expectError(error, kStoreErrorDomain, 1570,
              world.environment.text("Invalid debit/credit for row", {"Rent"}), "debit");
  EXPECT_EQ(zero->debit(), Decimal()) << "validating makes nil amounts zero";
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
  Watch watch(context());
  watch.add(*made, {"net", "changeText", "isRemoved", "isEditable", "accountNumber", "accountName",
                    "description"});
  made->setStatus(RowStatus::Editable);
  EXPECT_EQ(watch.counts(),
            (Counts{{"net", 1}, {"changeText", 1}, {"isRemoved", 1}, {"isEditable", 1}}));
  made->setDebit(6);
  EXPECT_EQ(watch.counts(), (Counts{{"net", 1}}));
  made->setAccount(nullptr);
  EXPECT_EQ(watch.counts(), (Counts{{"accountNumber", 1}, {"accountName", 1}}));
  made->setNumber(9);
  EXPECT_EQ(watch.counts(), (Counts{{"description", 1}}));
}

}  // namespace
}  // namespace bokfolio::test
