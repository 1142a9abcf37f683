#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::vector<const char*> kStatus = {"status"};

class CliEntry : public testing::Test {
 protected:
  CliEntry() { desk.furnish(); }
  Desk desk;
};

TEST_F(CliEntry, AddFilesAndNumbersAndLeavesAFreshNewEntry) {
  const Json first = desk.json("entry add --date 2025-02-03 -t Oak 4010:800:10 1930:-800");
  ASSERT_EQ(first["filed"].size(), 1U);
  const Json& entry = first["filed"][0];
  expectParts(entry, R"({"number": 1, "year": "2025", "date": "2025-02-03", "text": "Oak"})"_json);
  EXPECT_THAT(rowsOf(entry, {"status", "tag", "who"}),
              ElementsAre("4010 800 0 committed 10", "1930 0 800 committed"));
  EXPECT_EQ(desk.json("entry add 1930:5 3001")["filed"][0]["date"], "2025-03-15");
  EXPECT_EQ(desk.json("entry show 2")["rows"][1]["credit"], "5");
  EXPECT_EQ(desk.json("entry show new")["rows"].size(), 0U);
  EXPECT_EQ(desk.json("entry list").size(), 2U);
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliEntry, TheFirstAndLastDayOfTheYearAreInIt) {
  for (const char* day : {"2025-01-01", "2025-12-31"}) {
    const Json filed = desk.json("entry add --date " + std::string(day) + " 1930:1 3001:-1");
    EXPECT_EQ(filed["filed"][0]["date"], day);
  }
  for (const char* day : {"2024-12-31", "2026-01-01"}) {
    desk.refuses("entry add --date " + std::string(day) + " 1930:1 3001:-1",
                 "; add one with 'bokfolio year add YEAR'", 1);
  }
}

TEST_F(CliEntry, ComposingGoesOnUntilItIsFiled) {
  desk.ok("entry add --no-file -t Halfway --date 2025-01-20 4010:100");
  desk.refuses("entry add 1930:7 3001:-7", "the new entry holds 1 unfiled row", 1);
  desk.refuses("entry file", "balance", 1);
  desk.ok("entry add --no-file 1930:-100");
  const Json filed = desk.json("entry file")["filed"];
  expectParts(filed[0], R"({"text": "Halfway", "date": "2025-01-20"})"_json);
  EXPECT_THAT(rowsOf(filed[0]), ElementsAre("4010 100 0", "1930 0 100"));

  desk.ok("entry add --no-file 1930:3");
  EXPECT_EQ(desk.json("entry discard")["droppedRows"], 1);
  EXPECT_EQ(desk.json("entry show new")["text"], nullptr);
  EXPECT_EQ(desk.json("check")["checked"]["rows"], 2);
}

TEST_F(CliEntry, ACorrectionLeavesItsTrail) {
  desk.ok("entry add --date 2025-02-03 -t Oak 4010:800 1930:-800");
  const Json edited = desk.json(
      "--user 'Bo Alm' entry edit 1 --strike 1 -s 2 4010:750:20 1930 -t 'Oak boards' "
      "--date 2025-02-04");
  EXPECT_THAT(rowsOf(edited, kStatus), ElementsAre("4010 800 0 struck", "1930 0 800 struck",
                                                   "4010 750 0 committed", "1930 0 750 committed"));
  for (const Json& row : edited["rows"]) {
    EXPECT_EQ(row["who"], "Bo Alm");
    EXPECT_EQ(row["when"], "2025-03-15T09:00:00+01:00");
  }
  EXPECT_EQ(edited["date"], "2025-02-04");
  EXPECT_EQ(edited["comments"],
            "2025-03-15 Bo Alm: date 2025-02-03 \u2192 2025-02-04\n"
            "2025-03-15 Bo Alm: text \"Oak\" \u2192 \"Oak boards\"");
  EXPECT_EQ(desk.json("entry show 1"), edited);
  EXPECT_THAT(desk.ok("entry show 1"), HasSubstr("struck: Changed 2025-03-15 by Bo Alm"));
  EXPECT_THAT(desk.ok("entry list"), HasSubstr("corrected"));

  EXPECT_THAT(rowsOf(desk.json("entry strike 1 3 4"), kStatus),
              ElementsAre("4010 800 0 struck", "1930 0 800 struck", "4010 750 0 struck",
                          "1930 0 750 struck"));
  EXPECT_EQ(desk.json("balance")["sum"]["closing"], "0");
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliEntry, WhatIsRefusedChangesNothing) {
  desk.ok("entry add -t Oak 4010:800 1930:-800");
  desk.refuses({
      {"entry strike 1 2", "This entry is not balanced (Oak); debit exceeds credit by 800"},
      {"entry strike 1 3", "the entry has no row 3"},
      {"entry strike 2 1", "there is no entry 2 in 2025"},
      {"entry edit 1 1930:5", "debit exceeds credit by 5,00"},
      {"entry edit 1 -s 1 4010:790 1930:5", "credit exceeds debit by 5,00"},
      {"entry edit 1 --date 2026-02-01", "a filed entry stays in its fiscal year"},
      {"entry edit new 1930:5", "the new entry is not filed yet"},
      {"entry add 1930:5 3001:-4", "debit exceeds credit by 1,00"},
      {"entry add 1930:5 3001:-5 4010", "nothing is left for the row without amount"},
      {"entry add 1930:5 9999:-5", "there is no account \"9999\""},
      {"entry add 1930:5 3001:-5:30", "there is no tag \"30\""},
      {"entry add 1930:5 'no such*:-5'", "there is no account \"no such*\""},
  });
}

TEST_F(CliEntry, ReceiptsAreKeptAndGivenBack) {
  desk.write("receipt.pdf", "%PDF-1.4\nreceipt\n%%EOF\n");
  desk.write("note.txt", "not a picture");
  desk.ok("entry add -t Oak 4010:800 1930:-800");
  EXPECT_FALSE(desk.json("entry show 1")["receipt"]);
  EXPECT_TRUE(desk.json("entry attach 1 receipt.pdf")["receipt"]);
  desk.ok("entry show 1 --extract back.pdf");
  EXPECT_EQ(desk.read("back.pdf"), desk.read("receipt.pdf"));
  EXPECT_TRUE(desk.json("entry add --attach receipt.pdf 1930:1 3001")["filed"][0]["receipt"]);

  for (const char* file : {"note.txt", "missing.pdf", "."}) {
    desk.refuses("entry attach 1 " + std::string(file), file, 4);
  }
  EXPECT_THAT(desk.ok("entry show 1"), HasSubstr("Receipt: PDF, 1 kB"));
}

TEST_F(CliEntry, AmountsAreReadInTheLocalesFormOrPlainlyAndNeverGuessed) {
  struct Case {
    const char* locale;
    const char* read;  // "" when refused
    std::vector<const char*> typed;
  };
  const Case cases[] = {
      {"sv_SE", "1234.5", {"1234,5", "1234.5", "1 234,50", "1\u00A0234,50", "1234.500"}},
      {"sv_SE", "-5.25", {"\u22125,25", "-5.25"}},
      {"sv_SE", "5", {"+5"}},
      {"sv_SE", "0.5", {",5", "0.50"}},
      {"sv_SE", "1.234", {"1,234"}},
      {"sv_SE", "", {"1.234", "12.500", "1.234,50", "12 34", "1,2,3", "1e3", "--5", "5 kr", "NaN"}},
      {"en_US", "1234.5", {"1,234.50"}},
      {"en_US", "1234", {"1,234"}},
      {"en_US", "1.234", {"1.234"}},
      {"en_US", "", {"1,50"}},
      {"de_DE", "1234.5", {"1.234,50", "1 234,5"}},
      {"de_DE", "1.23", {"1.23"}},
      {"de_DE", "", {"1.234"}},
  };
  for (const auto& [locale, read, all] : cases) {
    for (const char* typed : all) {
      const std::string words =
          "--locale " + std::string(locale) + " opening set '1930:" + typed + "'";
      if (*read == '\0') {
        desk.refuses(words, "", 2);
      } else {
        EXPECT_EQ(desk.json(words)["balances"][0]["balance"], read) << words;
      }
    }
  }
}

TEST_F(CliEntry, IsTakenWholeFromXmlOrNotAtAll) {
  desk.write("rent.xml",
             "<?xml version='1.0'?><entry><name>Boards</name><note>Oak</note>"
             "<date>2025-03-31</date><row><account> 4010 </account><amount>8000.50</amount>"
             "<tag>10</tag></row><row><account>1930</account><amount>-8000.50</amount></row>"
             "</entry>");
  const Json filed = desk.json("entry add --xml rent.xml")["filed"][0];
  expectParts(filed, R"({"number": 1, "text": "Boards", "comments": "Oak",
                         "date": "2025-03-31"})"_json);
  EXPECT_THAT(rowsOf(filed, {"tag"}), ElementsAre("4010 8000.5 0 10", "1930 0 8000.5"));
  const Json named = desk.json("entry add --xml rent.xml --text Rent --date 2025-04-30")["filed"];
  expectParts(named[0], R"({"text": "Rent", "date": "2025-04-30"})"_json);

  const auto row = [](const char* account, const char* amount, const char* more = "") {
    return "<row><account>" + std::string(account) + "</account><amount>" + amount + "</amount>" +
           more + "</row>";
  };
  const std::string bank = row("1930", "-5");
  const std::tuple<std::string, int, const char*> cases[] = {
      {"<row>", 4, "bad.xml: "},
      {"", 4, "bad.xml: describes no rows; "},
      {bank + row("1931", "5"), 1, "bad.xml: row 2: there is no account 1931; "},
      {row("bank", "5") + bank, 4, "bad.xml: row 1: \"bank\" is no number of an account; "},
      {bank + "<row><account>3001</account></row>", 4, "bad.xml: row 2: the row has no amount; "},
      {bank + row("3001", "5,00"), 4, "bad.xml: row 2: \"5,00\" is no amount; "},
      {bank + row("3001", "5", "<tag>99</tag>"), 1, "bad.xml: row 2: there is no tag 99; "},
      {"<date>soon</date>" + bank + row("3001", "5"), 4, "\"soon\" is no day of the calendar; "},
      {bank + row("3001", "4"), 1, "; credit exceeds debit by 1"},
      {"<date>2030-01-01</date>" + bank + row("3001", "5"), 1, "fiscal year"},
  };
  for (const auto& [children, status, message] : cases) {
    desk.write("bad.xml", "<entry><name>Bad</name>" + children + "</entry>");
    desk.refuses("entry add --xml bad.xml", message, status);
  }
  desk.refuses("entry add --xml missing.xml", "missing.xml", 4);
  desk.refuses("entry add --xml rent.xml 1930:5 3001:-5", "--xml", 2);
  EXPECT_EQ(desk.json("entry show new")["rows"], Json::array());
  desk.ok("entry add --no-file 1930:5 3001:-4");
  desk.refuses("entry add --no-file --xml rent.xml", "2 unfiled rows");
}

}  // namespace
}  // namespace bokfolio::test
