#include <gmock/gmock.h>

#include "bokfolio/model/ledger/entry_image.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class EntryTest : public LedgerWorld {};

TEST_F(EntryTest, BeginsAsTheNewEntryOnTheDayOfTheLatestFiledOne) {
  const auto* first = context().insert<Entry>();
  EXPECT_TRUE(first->isNew());
  EXPECT_EQ(first->date(), world.clock->now());
  FiscalYear* of2008 = year(2008);
  entry(cetDate(2008, 3, 1))->setFiscalYear(of2008);
  entry(cetDate(2008, 2, 1))->setFiscalYear(of2008);
  entry(cetDate(2010, 1, 1));  // later, but not filed
  EXPECT_EQ(context().insert<Entry>()->date(), cetDate(2008, 3, 1));
}

TEST_F(EntryTest, FindingTheNewEntryDeletesTheOthers) {
  entry(world.clock->now());
  EXPECT_EQ(Entry::findTheNewInContext(context()), nullptr);
  auto* first = context().insert<Entry>();
  context().insert<Entry>();
  context().insert<Entry>();
  EXPECT_EQ(Entry::findTheNewInContext(context()), first);
  EXPECT_EQ(context().count("Entry"), 2U);
}

TEST_F(EntryTest, ComparesByNumberOrByDateWhicheverItHasItself) {
  Entry* first = entry(cetDate(2009, 1, 1));
  Entry* second = entry(cetDate(2009, 1, 2));
  EXPECT_EQ(first->compare(*second), -1);
  second->setNumber(1);
  EXPECT_EQ(first->compare(*second), -1) << "by date";
  first->setDate(cetDate(2009, 1, 3));
  first->setNumber(2);
  second->setDate(cetDate(2009, 1, 4));
  EXPECT_EQ(first->compare(*second), 1) << "by number";
  first->setNumber(std::nullopt);
  EXPECT_EQ(second->compare(*first), 1);
}

TEST_F(EntryTest, ComparesByCalendarDayThenByName) {
  struct Case {
    Date a;
    std::optional<std::string> nameA;
    Date b;
    std::optional<std::string> nameB;
    int expected;
  };
  const Date late = cetDate(2009, 3, 1, 23, 59, 59);
  const Date early = cetDate(2009, 3, 1);
  const Case cases[] = {
      {late, "Z", cetDate(2009, 3, 2), "A", -1},
      {cetDate(2009, 3, 2), "A", late, "Z", 1},
      {late, "A", early, "B", -1},
      {early, "b", late, "B", 1},
      {late, "A", early, "A", 0},
      {late, std::nullopt, early, "A", -1},
      {late, std::nullopt, early, std::nullopt, -1},
      {late, "A", early, std::nullopt, 1},
  };
  for (const auto& c : cases)
    EXPECT_EQ(entry(c.a, c.nameA)->compareDateAndName(*entry(c.b, c.nameB)), c.expected);
}

TEST_F(EntryTest, SaysWhoItIs) {
  Entry* made = entry(cetDate(2009, 3, 29, 12, 30), "Rent");
  EXPECT_EQ(made->description(), "Rent");
  EXPECT_EQ(made->numberAsString(), std::nullopt);
  EXPECT_EQ(made->dateString(), "2009-03-29");
  EXPECT_EQ(made->day(), cetDate(2009, 3, 29));
  EXPECT_EQ(made->contents(), (std::map<std::string, std::string>{{"name", "Rent"}}));
  made->setNumber(12);
  EXPECT_EQ(made->description(), text("Entry") + " #12");
  EXPECT_EQ(made->numberAsString(), "12");
  EXPECT_FALSE(made->isNew());
  made->setNumber(Entry::kNewEntryNumber);
  EXPECT_EQ(made->description(), text("Entry") + " #2147483647");
  EXPECT_EQ(made->numberAsString(), text("NEW"));
  made->setNumber(std::nullopt);
  made->setName(std::nullopt);
  made->setDate(std::nullopt);
  EXPECT_EQ(made->description(), text("Untitled entry name"));
  EXPECT_EQ(made->contents(), std::nullopt);
  EXPECT_EQ(made->day(), std::nullopt);
  EXPECT_EQ(made->dateString(), std::nullopt);
}

TEST_F(EntryTest, CopiesRowsInOrderWithoutTheRemovedOnesAndTheirNotes) {
  Entry* source = entry(cetDate(2009, 1, 1));
  Row* struck = row(source, account(1), 5);
  struck->remove();
  row(source, account(2), dec("12.5"), tag(4));
  Row* changed = row(source, account(3), dec("-12.5"));
  changed->touch();
  changed->setStatus(RowStatus::Editable);
  Entry* target = entry(cetDate(2009, 1, 2));
  Row* former = row(target, account(9), 1);

  target->copyRowsFromOtherEntry(*source);
  EXPECT_TRUE(former->isDeleted());
  ASSERT_EQ(target->rows().count(), 2U);
  const auto copies = target->rows().members();
  EXPECT_EQ(copies[0]->accountNumber(), 2);
  EXPECT_EQ(copies[0]->tag()->number(), 4);
  EXPECT_EQ(copies[0]->debit(), dec("12.5"));
  EXPECT_EQ(copies[1]->credit(), dec("12.5"));
  for (const Row* copy : copies) {
    EXPECT_EQ(copy->status(), 0);
    EXPECT_EQ(copy->changeText(), std::nullopt);
  }
  EXPECT_THAT(numbersOf(target), testing::ElementsAre(1, 2));
  EXPECT_EQ(source->rows().count(), 3U);
}

TEST_F(EntryTest, EmptyRowsGoAndTheOthersKeepTheirNumbers) {
  Entry* made = entry(cetDate(2009, 1, 1));
  row(made, nullptr, 0);
  row(made, account(1), 0);
  row(made, nullptr, dec("0.004"));
  row(made, nullptr, 1);
  made->removeEmptyRows();
  EXPECT_THAT(numbersOf(made), testing::ElementsAre(2, 4));
  EXPECT_EQ(context().count("Row"), 2U);
}

TEST_F(EntryTest, BadRowsOfTheNewEntryGo) {
  Entry::removeBadRowsInNewEntryInContext(context());
  auto* made = context().insert<Entry>();
  Account* bank = account(1930);
  row(made, nullptr, 0);
  row(made, bank, 0, tag(1));  // no amount
  row(made, nullptr, 5);       // no account
  Row* good = row(made, bank, 5);
  Entry* other = entry(cetDate(2009, 1, 1));
  row(other, nullptr, 0);
  Entry::removeBadRowsInNewEntryInContext(context());
  EXPECT_EQ(made->rows().first(), good);
  EXPECT_EQ(made->rows().count(), 1U);
  EXPECT_EQ(other->rows().count(), 1U);
  EXPECT_EQ(bank->rows().count(), 1U);
  other->rows().first()->deleteWithoutPardon();
  context().deleteObject(other);
  EXPECT_TRUE(context().save());
}

TEST_F(EntryTest, OffersAmountsForMatchingOnceAndDoubled) {
  Entry* made = entry(cetDate(2009, 1, 1));
  EXPECT_TRUE(made->matchingAmounts().empty());
  row(made, account(1), 100);
  row(made, account(2), -100);
  row(made, account(2), -100);
  row(made, account(3), 55)->remove();
  EXPECT_THAT(made->matchingAmounts(), testing::UnorderedElementsAre("100", "200", "-100", "-200"));
  world.useLocale("sv_SE");
  open();
  Entry* again = entry(cetDate(2009, 1, 1));
  row(again, account(1), dec("1234.50"));
  EXPECT_THAT(again->matchingAmounts(), testing::UnorderedElementsAre("1234,5", "2469"));
}

TEST_F(EntryTest, KeepsThePdfOfAnImageAndGivesItBack) {
  const std::string text = "%PDF-1.4\n%%EOF\n";
  const Bytes pdf(text.begin(), text.end());
  Entry* made = entry(cetDate(2009, 1, 1));
  EXPECT_FALSE(made->image().has_value());
  int told = 0;
  const auto token = context().observe(*made, "image", [&told](const Change&) { ++told; });

  std::optional<Error> error;
  const Image unreadable({{Image::Kind::Bitmap, Bytes{1, 2, 3}}});
  EXPECT_FALSE(made->setImage(unreadable, &error));
  EXPECT_TRUE(error.has_value());
  EXPECT_EQ(made->entryImage(), nullptr);

  const Image mixed({{Image::Kind::Bitmap, Bytes{1, 2, 3}}, {Image::Kind::Pdf, pdf}});
  ASSERT_TRUE(made->setImage(mixed));
  ASSERT_NE(made->entryImage(), nullptr);
  EXPECT_EQ(made->entryImage()->entry(), made);
  EXPECT_EQ(made->imageBytes(), pdf);
  ASSERT_TRUE(made->image().has_value());
  EXPECT_EQ(*made->image()->firstPdf(), pdf);
  EXPECT_EQ(told, 2);

  const EntryImage* kept = made->entryImage();
  ASSERT_TRUE(made->setImage(std::nullopt));
  EXPECT_EQ(made->entryImage(), kept);
  EXPECT_FALSE(made->image().has_value());
}

}  // namespace
}  // namespace bokfolio::test
