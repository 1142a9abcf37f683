#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// account, debit, credit, status of each row.
std::vector<std::string> rowsOf(const Json& entry) {
  std::vector<std::string> rows;
  for (const Json& row : entry["rows"]) {
    rows.push_back(std::to_string(row["account"].get<int>()) + " " +
                   row["debit"].get<std::string>() + " " + row["credit"].get<std::string>() + " " +
                   row["status"].get<std::string>());
  }
  return rows;
}

class CliEntry : public testing::Test {
 protected:
  CliEntry() { desk.furnish(); }
  Desk desk;
};

TEST_F(CliEntry, AddFilesAndNumbersAndLeavesAFreshNewEntry) {
  const Json first = desk.json("entry add --date 2025-02-03 -t Oak 4010:800:10 1930:-800");
  ASSERT_EQ(first["filed"].size(), 1U);
  const Json& entry = first["filed"][0];
  EXPECT_EQ(entry["number"], 1);
  EXPECT_EQ(entry["year"], "2025");
  EXPECT_EQ(entry["date"], "2025-02-03");
  EXPECT_EQ(entry["text"], "Oak");
  EXPECT_THAT(rowsOf(entry), ElementsAre("4010 800 0 committed", "1930 0 800 committed"));
  EXPECT_EQ(entry["rows"][0]["tag"], 10);
  EXPECT_EQ(entry["rows"][0]["who"], nullptr);

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
    const Outcome outcome = desk.run("entry add --date " + std::string(day) + " 1930:1 3001:-1");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("; add one with 'bokfolio year add YEAR'"));
  }
}

TEST_F(CliEntry, ComposingGoesOnUntilItIsFiled) {
  desk.ok("entry add --no-file -t Halfway --date 2025-01-20 4010:100");
  const Outcome refused = desk.run("entry add 1930:7 3001:-7");
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("the new entry holds 1 unfiled row"));
  EXPECT_EQ(desk.run("entry file").status, 1);
  desk.ok("entry add --no-file 1930:-100");
  const Json filed = desk.json("entry file")["filed"];
  EXPECT_EQ(filed[0]["text"], "Halfway");
  EXPECT_EQ(filed[0]["date"], "2025-01-20");
  EXPECT_THAT(rowsOf(filed[0]), ElementsAre("4010 100 0 committed", "1930 0 100 committed"));

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
  EXPECT_THAT(rowsOf(edited), ElementsAre("4010 800 0 struck", "1930 0 800 struck",
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

  EXPECT_THAT(rowsOf(desk.json("entry strike 1 3 4")),
              ElementsAre("4010 800 0 struck", "1930 0 800 struck", "4010 750 0 struck",
                          "1930 0 750 struck"));
  EXPECT_EQ(desk.json("balance")["sum"]["closing"], "0");
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliEntry, WhatIsRefusedChangesNothing) {
  desk.ok("entry add -t Oak 4010:800 1930:-800");
  const std::string before = desk.read("book.bokfolio");
  const std::pair<const char*, const char*> cases[] = {
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
      {"entry add 1930:99999999999999999999999999999999999999 "
       "1930:99999999999999999999999999999999999999 3001",
       "debit exceeds"},
  };
  for (const auto& [words, message] : cases) {
    const Outcome outcome = desk.run(words);
    if (std::string(message) != "debit exceeds") {
      EXPECT_NE(outcome.status, 0) << words;
      EXPECT_THAT(plain(outcome.err), HasSubstr(message)) << words;
      EXPECT_EQ(outcome.out, "") << words;
      EXPECT_EQ(desk.read("book.bokfolio"), before) << words;
    }
  }
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

  EXPECT_EQ(desk.run("entry attach 1 note.txt").status, 4);
  EXPECT_EQ(desk.run("entry attach 1 missing.pdf").status, 4);
  EXPECT_EQ(desk.run("entry attach 1 .").status, 4);
  EXPECT_THAT(desk.ok("entry show 1"), HasSubstr("Receipt: PDF, 1 kB"));
}

TEST_F(CliEntry, AmountsAreReadInTheLocalesFormOrPlainlyAndNeverGuessed) {
  struct Case {
    const char* locale;
    const char* typed;
    const char* read;  // "" when refused
  };
  const Case cases[] = {
      {"sv_SE", "1234,5", "1234.5"},
      {"sv_SE", "1234.5", "1234.5"},
      {"sv_SE", "1 234,50", "1234.5"},
      {"sv_SE", "1\u00A0234,50", "1234.5"},
      {"sv_SE", "-5", "-5"},
      {"sv_SE", "\u22125,25", "-5.25"},
      {"sv_SE", "+5", "5"},
      {"sv_SE", "0.125", "0.125"},
      {"sv_SE", ",5", "0.5"},
      {"sv_SE", "1,234", "1.234"},
      {"sv_SE", "1.234", ""},
      {"sv_SE", "12.500", ""},
      {"sv_SE", "1234.500", "1234.5"},
      {"sv_SE", "1.234,50", ""},
      {"sv_SE", "12 34", ""},
      {"sv_SE", "1,2,3", ""},
      {"sv_SE", "1e3", ""},
      {"sv_SE", "--5", ""},
      {"sv_SE", "5 kr", ""},
      {"sv_SE", "NaN", ""},
      {"en_US", "1,234.50", "1234.5"},
      {"en_US", "1,234", "1234"},
      {"en_US", "1.234", "1.234"},
      {"en_US", "1,50", ""},
      {"de_DE", "1.234,50", "1234.5"},
      {"de_DE", "1.234", ""},
      {"de_DE", "1.23", "1.23"},
      {"de_DE", "1 234,5", "1234.5"},
  };
  for (const Case& row : cases) {
    const Outcome outcome = desk.run("--json --locale " + std::string(row.locale) +
                                     " opening set '1930:" + row.typed + "'");
    if (*row.read == '\0') {
      EXPECT_EQ(outcome.status, 2) << row.locale << " " << row.typed << outcome.out;
    } else {
      ASSERT_EQ(outcome.status, 0) << row.typed << outcome.err;
      EXPECT_EQ(Json::parse(outcome.out)["balances"][0]["balance"], row.read) << row.typed;
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
  EXPECT_EQ(filed["number"], 1);
  EXPECT_EQ(filed["text"], "Boards");
  EXPECT_EQ(filed["comments"], "Oak");
  EXPECT_EQ(filed["date"], "2025-03-31");
  EXPECT_EQ(filed["rows"][0]["debit"], "8000.5");
  EXPECT_EQ(filed["rows"][0]["tag"], 10);
  EXPECT_EQ(filed["rows"][1]["credit"], "8000.5");
  const Json named = desk.json("entry add --xml rent.xml --text Rent --date 2025-04-30")["filed"];
  EXPECT_EQ(named[0]["text"], "Rent");
  EXPECT_EQ(named[0]["date"], "2025-04-30");

  const std::string before = desk.read("book.bokfolio");
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
    const Outcome outcome = desk.run("entry add --xml bad.xml");
    EXPECT_EQ(outcome.status, status) << children << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr(message)) << children;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  EXPECT_EQ(desk.run("entry add --xml missing.xml").status, 4);
  EXPECT_EQ(desk.run("entry add --xml rent.xml 1930:5 3001:-5").status, 2);
  EXPECT_EQ(desk.read("book.bokfolio"), before) << "the document is as it was";
  EXPECT_EQ(desk.json("entry show new")["rows"], Json::array());
  desk.ok("entry add --no-file 1930:5 3001:-4");
  EXPECT_THAT(desk.run("entry add --no-file --xml rent.xml").err, HasSubstr("2 unfiled rows"));
}

}  // namespace
}  // namespace bokfolio::test
