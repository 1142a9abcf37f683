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
  filed(of2008, cetDate(2008, 3, 1), 1);
  filed(of2008, cetDate(2008, 2, 1), 2);
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
  const auto compare = [this](Date a, const std::optional<std::string>& nameA, Date b,
                              const std::optional<std::string>& nameB) {
    return entry(a, nameA)->compareDateAndName(*entry(b, nameB));
  };
  const Date early = cetDate(2009, 3, 1);
  const Date late = cetDate(2009, 3, 1, 23, 59, 59);
  const Date next = cetDate(2009, 3, 2);
  EXPECT_EQ(compare(late, "Z", next, "A"), -1);
  EXPECT_EQ(compare(next, "A", late, "Z"), 1);
  EXPECT_EQ(compare(late, "A", early, "B"), -1);
  EXPECT_EQ(compare(early, "b", late, "B"), 1);
  EXPECT_EQ(compare(late, "A", early, "A"), 0);
  EXPECT_EQ(compare(late, std::nullopt, early, "A"), -1);
  EXPECT_EQ(compare(late, std::nullopt, early, std::nullopt), -1);
  EXPECT_EQ(compare(late, "A", early, std::nullopt), 1);
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
  made->setNumber(Entry::kNewEntryNumber);
  EXPECT_EQ(made->description(), text("Entry") + " #2147483647");
  EXPECT_EQ(made->numberAsString(), text("NEW"));
  made->setNumber(std::nullopt);
  made->setName(std::nullopt);
  EXPECT_EQ(made->description(), text("Untitled entry name"));
  EXPECT_EQ(made->contents(), std::nullopt);
}

TEST_F(EntryTest, CopiesRowsInOrderWithoutTheRemovedOnesAndTheirNotes) {
  Entry* source = entry(cetDate(2009, 1, 1));
  row(source, account(1), 5)->remove();
  row(source, account(2), dec("12.5"), tag(4));
  Row* changed = row(source, account(3), dec("-12.5"));
  changed->touch();
  changed->setStatus(RowStatus::Editable);
  Entry* target = entry(cetDate(2009, 1, 2));
  row(target, account(9), 1);
  target->copyRowsFromOtherEntry(*source);
  ASSERT_EQ(target->rows().count(), 2U);
  const auto copies = target->rows().members();
  EXPECT_EQ(copies[0]->tag()->number(), 4);
  EXPECT_EQ(copies[0]->debit(), dec("12.5"));
  EXPECT_EQ(copies[1]->accountNumber(), 3);
  EXPECT_EQ(copies[1]->status(), 0);
  EXPECT_EQ(copies[1]->changeText(), std::nullopt);
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
  row(made, nullptr, 0);
  row(made, account(1), 0, tag(1));  // no amount
  row(made, nullptr, 5);             // no account
  Row* good = row(made, account(1), 5);
  Entry::removeBadRowsInNewEntryInContext(context());
  EXPECT_EQ(made->rows().first(), good);
  EXPECT_EQ(made->rows().count(), 1U);
  EXPECT_TRUE(context().save());
}

TEST_F(EntryTest, OffersAmountsForMatchingOnceAndDoubled) {
  world.useLocale("sv_SE");
  open();
  Entry* made = entry(cetDate(2009, 1, 1));
  EXPECT_TRUE(made->matchingAmounts().empty());
  for (const char* amount : {"100", "-100.5", "100"}) row(made, account(1), dec(amount));
  row(made, account(3), 55)->remove();
  EXPECT_THAT(made->matchingAmounts(),
              testing::UnorderedElementsAre("100", "200", "\u2212100,5", "\u2212201"));
}

TEST_F(EntryTest, KeepsThePdfOfAnImageAndGivesItBack) {
  const std::string content = "%PDF-1.4\n%%EOF\n";
  const Bytes pdf(content.begin(), content.end());
  Entry* made = entry(cetDate(2009, 1, 1));
  EXPECT_FALSE(made->image().has_value());
  std::optional<Error> error;
  EXPECT_FALSE(made->setImage(Image({{Image::Kind::Bitmap, Bytes{1, 2, 3}}}), &error));
  EXPECT_TRUE(error.has_value());
  EXPECT_EQ(made->entryImage(), nullptr);

  int told = 0;
  const auto token = context().observe(*made, "image", [&told](const Change&) { ++told; });
  const Image mixed({{Image::Kind::Bitmap, Bytes{1, 2, 3}}, {Image::Kind::Pdf, pdf}});
  ASSERT_TRUE(made->setImage(mixed));
  EXPECT_EQ(told, 2);
  EXPECT_EQ(made->entryImage()->entry(), made);
  ASSERT_TRUE(made->image().has_value());
  EXPECT_EQ(*made->image()->firstPdf(), pdf);
  ASSERT_TRUE(made->setImage(std::nullopt));
  EXPECT_NE(made->entryImage(), nullptr);
  EXPECT_FALSE(made->image().has_value());
}

}  // namespace
}  // namespace bokfolio::test
