#include <gmock/gmock.h>

#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/xml.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

class EntryXml : public LedgerWorld {
 protected:
  std::vector<Row*> define(Entry* entry, const std::string& children) {
    const auto document = XmlDocument::parse("<any>" + children + "</any>");
    EXPECT_TRUE(document.has_value()) << children;
    return document ? entry->defineRowsFromXml(document->root()) : std::vector<Row*>();
  }
};

TEST_F(EntryXml, DescribesAWholeEntryWhoseRowsTheHostAttaches) {
  Account* rent = account(5010, AccountType::Cost);
  Account* bank = account(1930);
  Tag* shop = tag(3);
  Entry* entry = transfer(cetDate(2009, 2, 1), 10, rent, bank);
  const auto made = define(entry,
                           "<name>Office <b>rent</b></name><name>Second</name><note>April</note>"
                           "<date>2009-03-31</date>"
                           "<row account='1' amount='1'><account>5010</account>"
                           "<amount>8000</amount><tag>3</tag></row>"
                           "<box><row><account>1930</account><amount>1</amount></row></box>"
                           "<row><amount>-8000</amount><account>1930</account></row>");
  EXPECT_EQ(entry->name(), "Office rent");
  EXPECT_EQ(entry->comments(), "April");
  EXPECT_EQ(entry->date(), cetDate(2009, 3, 31, 12));
  EXPECT_TRUE(entry->rows().empty());
  EXPECT_EQ(context().count("Row"), 2U) << "the former rows are gone";
  ASSERT_EQ(made.size(), 2U);
  EXPECT_EQ(made[0]->entry(), nullptr);
  EXPECT_EQ(made[0]->account(), rent);
  EXPECT_EQ(made[0]->tag(), shop);
  EXPECT_EQ(made[1]->account(), bank);
  EXPECT_EQ(made[1]->tag(), nullptr);
  for (Row* row : made) row->setEntry(entry);
  EXPECT_TRUE(entry->checkValidation());

  EXPECT_TRUE(define(entry, "").empty());
  EXPECT_EQ(context().count("Row"), 0U);
  EXPECT_EQ(entry->name(), "Office rent");
  EXPECT_EQ(entry->comments(), "April");
  EXPECT_EQ(entry->date(), cetDate(2009, 3, 31, 12));
}

TEST_F(EntryXml, AmountsGoToTheirSideAndBadRowsArePassedOver) {
  account(1930);
  account(0);
  account(2'147'483'647);
  tag(7);
  struct Case {
    const char* account;
    const char* amount;
    std::optional<std::int64_t> number;  // nil: no row
    const char* debit;
    const char* credit;
  };
  const Case cases[] = {
      {"1930", "100", 1930, "100", "0"},
      {" 1930\n", " -250.50 ", 1930, "0", "250.50"},
      {"+1930kr", "+0.005kr", 1930, "0.005", "0"},
      {"1930.9", "0", 1930, "0", "0"},
      {"1930", "-0.00", 1930, "0", "0"},
      {"1930", "lots", 1930, "0", "0"},
      {"1930", "1,50", 1930, "1", "0"},
      {"1930", "12345678901234567890123456789012345.67", 1930,
       "12345678901234567890123456789012345.67", "0"},
      {"bank", "5", 0, "5", "0"},
      {"-0", "5", 0, "5", "0"},
      {"99999999999999999999", "5", 2'147'483'647, "5", "0"},
      {"-1930", "5", std::nullopt, "", ""},
      {"1931", "5", std::nullopt, "", ""},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.account) + " " + each.amount);
    const auto made =
        define(entry(cetDate(2009, 2, 1)),
               std::string("<row><account>") + each.account + "</account><amount>" + each.amount +
                   "</amount><amount>9</amount><tag>8</tag>" + "<tag>7</tag></row>");
    ASSERT_EQ(made.size(), each.number ? 1U : 0U);
    if (!each.number) continue;
    EXPECT_EQ(made[0]->accountNumber(), each.number);
    EXPECT_EQ(made[0]->debit(), dec(each.debit));
    EXPECT_EQ(made[0]->credit(), dec(each.credit));
    EXPECT_EQ(made[0]->tag(), nullptr) << "only the first tag counts, and it does not exist";
  }
  EXPECT_TRUE(define(entry(cetDate(2009, 2, 1)),
                     "<row><account>1930</account></row>"
                     "<row><amount>1</amount></row><row/>")
                  .empty());
}

TEST_F(EntryXml, DatesAreReadInIsoFormAndInTheLocalesShortForm) {
  const std::tuple<const char*, const char*, std::optional<CivilDate>> cases[] = {
      {"en_US", "2009-03-31", CivilDate{2009, 3, 31}},
      {"en_US", "3/31/09", CivilDate{2009, 3, 31}},
      {"en_GB", "31/03/2009", CivilDate{2009, 3, 31}},
      {"sv_SE", " 2009-03-31\n", CivilDate{2009, 3, 31}},
      {"de_DE", "31.03.09", CivilDate{2009, 3, 31}},
      {"en_US", "31/3/09", std::nullopt},
      {"sv_SE", "2009-02-30", std::nullopt},
      {"sv_SE", "soon", std::nullopt},
      {"sv_SE", "", std::nullopt},
  };
  for (const auto& [locale, written, day] : cases) {
    for (const char* zone : {"Etc/GMT+12", "CET", "Etc/GMT-14"}) {
      SCOPED_TRACE(std::string(locale) + " " + written + " " + zone);
      world.useLocale(locale);
      world.environment.setTimeZone(TimeZone::named(zone).value());
      open();
      Entry* read = entry(cetDate(2009, 2, 1));
      define(read, std::string("<date>") + written + "</date>");
      const auto expected =
          day ? std::optional(dateFromCivil(*day, {12, 0, 0}, world.environment.timeZone()))
              : std::nullopt;
      EXPECT_EQ(read->date(), expected);
    }
  }
}

}  // namespace
}  // namespace bokfolio::test
