#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;

// Subject and message of each fault, and of each remark.
std::vector<std::string> findings(const Desk& desk, const char* weight,
                                  const std::string& options = "") {
  const Outcome outcome = desk.run("--json check" + options);
  const Json json = Json::parse(outcome.out);
  EXPECT_EQ(outcome.status, json["sound"].get<bool>() ? 0 : 1);
  std::vector<std::string> lines;
  for (const Json& finding : json["findings"]) {
    if (finding["weight"] != weight) continue;
    lines.push_back(finding["subject"].get<std::string>() + ": " +
                    plain(finding["message"].get<std::string>()));
  }
  return lines;
}

// What a fault of the file looks like to the check. Record ids run from 1 within an entity in order
// of creation; the new entry of a fresh document is the first entry, so that the first filed is 1
// and the waiting one comes last.
TEST(CliCheck, FindsWhatBreaksARule) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"UPDATE Row SET debit='801' WHERE id=1", {"entry 1 of 2025: debit exceeds credit by 1,00"}},
      {"UPDATE Entry SET number=4 WHERE number=2",
       {"entry 2 of 2025: is missing from the numbers"}},
      {"UPDATE Entry SET number=7 WHERE number=3",
       {"entries 3 to 6 of 2025: are missing from the numbers"}},
      {"UPDATE Entry SET number=2 WHERE number=3", {"entry 2 of 2025: there are 2 of that number"}},
      {"UPDATE Entry SET number=2147483647 WHERE number=3",
       {"the new entry: is in year 2025 without a number of its own"}},
      {"UPDATE Entry SET date=date+400*86400000000 WHERE number=1",
       {"entry 1 of 2025: is dated 2026-03-10, outside its fiscal year"}},
      {"UPDATE Entry SET fiscalYear=NULL WHERE number=3",
       {"entry 3: has a number and no fiscal year"}},
      {"UPDATE Row SET status=1 WHERE id IN (1,2)",
       {"row 1 of entry 1 of 2025: is struck without telling by whom and when",
        "row 2 of entry 1 of 2025: is struck without telling by whom and when"}},
      {"UPDATE Row SET status=2 WHERE id=1",
       {"row 1 of entry 1 of 2025: belongs to an edit that was not finished"}},
      {"UPDATE Row SET number=2 WHERE id=1", {"entry 1 of 2025: has more than one row 2"}},
      {"UPDATE Row SET entry=NULL WHERE id IN (1,2)",
       {"entry 1 of 2025: has no rows", "rows: 2 belong to no entry"}},
      {"UPDATE Account SET number=1930 WHERE number=2440",
       {"account 1930 Payables: another account has the same number"}},
      {"UPDATE Account SET type=9 WHERE number=4010",
       {"account 4010 Timber: is of unknown type 9"}},
      {"UPDATE Account SET type=3 WHERE number=1930",
       {"opening balance of 1930 Bank: income and costs have none"}},
      {"UPDATE Tag SET number=10", {"tag Furniture: another tag has the number 10"}},
      {"UPDATE FiscalYear SET end=start",
       {"year 2025: does not end later than it starts",
        "entry 1 of 2025: is dated 2025-02-03, outside its "
        "fiscal year",
        "entry 2 of 2025: is dated 2025-02-03, outside its "
        "fiscal year",
        "entry 3 of 2025: is dated 2025-02-03, outside its "
        "fiscal year"}},
      {"UPDATE bokfolio_entity SET next_id=9; INSERT INTO Book(id, version) VALUES(8, 1)",
       {"book: there are 2 of them, not one"}},
  };
  const Desk desk;
  desk.furnish();
  desk.ok("opening set 1930:50 2440:-50");
  desk.ok("entry add --date 2025-02-03 4010:800 1930:-800");
  desk.ok("entry add --date 2025-02-03 1930:5 3001");
  desk.ok("entry add --date 2025-02-03 1930:6 3001");
  EXPECT_EQ(findings(desk, "fault"), std::vector<std::string>());
  const std::string sound = desk.read("book.bokfolio");
  for (const auto& [statement, expected] : cases) {
    desk.write("book.bokfolio", sound);
    desk.sql(statement);
    EXPECT_EQ(findings(desk, "fault", " --rebuild-sums"), expected) << statement;
  }
}

TEST(CliCheck, SumsThatRowsDoNotComeToAreAddedUpAnew) {
  const Desk desk;
  desk.furnish();
  desk.ok("entry add --date 2025-02-03 4010:800 1930:-800");
  desk.sql("UPDATE Row SET debit='801' WHERE id=1; UPDATE Row SET credit='801' WHERE id=2");
  EXPECT_EQ(findings(desk, "fault"),
            std::vector<std::string>{"store: Row: the kept sums differ from a scan"});
  EXPECT_EQ(findings(desk, "fault", " --rebuild-sums"), std::vector<std::string>());
  EXPECT_EQ(findings(desk, "fault"), std::vector<std::string>());
}

TEST(CliCheck, RemarksAreNoFaults) {
  const Desk desk;
  desk.furnish();
  desk.ok("opening set 1930:50");
  desk.ok("entry add --date 2025-02-03 1930:5 3001");
  desk.sql("UPDATE Entry SET number=NULL, fiscalYear=NULL WHERE number=1");
  EXPECT_EQ(findings(desk, "remark"),
            (std::vector<std::string>{"year 2025: opening balances are off zero by 50,00",
                                      "entries: 1 wait to be filed"}));
  EXPECT_EQ(desk.json("entry list --unfiled").size(), 1U);
  // The next filing takes it along.
  EXPECT_EQ(desk.json("entry add --date 2025-02-04 1930:6 3001")["filed"].size(), 2U);
}

TEST(CliCheck, ADamagedFileIsNoSoundDocument) {
  const Desk desk;
  desk.furnish();
  const std::string sound = desk.read("book.bokfolio");
  desk.write("book.bokfolio", sound.substr(0, sound.size() / 2));
  const Outcome outcome = desk.run("check");
  EXPECT_NE(outcome.status, 0);
  EXPECT_NE(outcome.out + outcome.err, "");
}

// One leaf of a table is spoilt: what it held is named as the book calls it.
void spoilLeaf(const Desk& desk, const std::string& table) {
  std::string bytes = desk.read("book.bokfolio");
  const std::string number =
      desk.question("SELECT pageno FROM dbstat WHERE pagetype='leaf' AND name='" + table + "'");
  constexpr std::size_t kPage = 4096;
  bytes.replace((std::stoul(number) - 1) * kPage, kPage, kPage, '\x99');
  desk.write("book.bokfolio", bytes);
}

TEST(CliRepair, SavesWhatCanBeReadAndNamesWhatIsLost) {
  const Desk desk;
  desk.furnish();
  desk.ok("entry add --date 2025-02-03 --text Oak 4010:800 1930:-800");
  spoilLeaf(desk, "Entry");
  const std::string damaged = desk.read("book.bokfolio");
  Outcome outcome = desk.run("check --repair");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out,
              HasSubstr("book.bokfolio is left as it was; what can be read of it is in "
                        "book-repaired.bokfolio"));
  EXPECT_THAT(
      outcome.out,
      HasSubstr("Entry 1: date 2025-02-03, fiscalYear (year 2025), name \"Oak\", number 1"));
  EXPECT_THAT(outcome.out, HasSubstr("lost: entry of Row 1: Entry 1 is gone"));
  EXPECT_THAT(outcome.out, HasSubstr("fault: rows: 2 belong to no entry"));
  EXPECT_EQ(desk.read("book.bokfolio"), damaged);
  // The new document is one to go on with.
  desk.ok("-d book-repaired.bokfolio entry add --date 2025-02-04 1930:5 3001");
  outcome = desk.run("--json -d book.bokfolio check --repair --to other.bokfolio");
  EXPECT_EQ(outcome.status, 1);
  const Json json = Json::parse(outcome.out);
  EXPECT_EQ(json["to"], "other.bokfolio");
  EXPECT_FALSE(json["sound"].get<bool>());
  EXPECT_EQ(json["salvage"]["references"].size(), 2U);
  EXPECT_EQ(json["checked"]["accounts"], 4);
}

TEST(CliRepair, MendsInPlaceWhatRecordsTell) {
  const Desk desk;
  desk.furnish();
  desk.ok("entry add --date 2025-02-03 4010:800 1930:-800");
  desk.sql("UPDATE Row SET debit='801' WHERE id=1; UPDATE Row SET credit='801' WHERE id=2");
  const std::string before = desk.read("book.bokfolio");
  const Json json = desk.json("check --repair");
  EXPECT_EQ(json["repaired"], "in place");
  EXPECT_EQ(json["backup"], "book.bokfolio.before-repair-2025-03-15.bak");
  EXPECT_EQ(desk.read("book.bokfolio.before-repair-2025-03-15.bak"), before);
  EXPECT_EQ(findings(desk, "fault"), std::vector<std::string>());
}

// A book without its settings would be of no use to any command.
TEST(CliRepair, ALostBookIsMadeAnew) {
  const Desk desk;
  desk.furnish();
  spoilLeaf(desk, "Book");
  EXPECT_THAT(desk.run("check --repair").out, HasSubstr("The book's settings are lost"));
  desk.ok("-d book-repaired.bokfolio book set --currency SEK");
  EXPECT_EQ(desk.json("-d book-repaired.bokfolio account list").size(), 4U);
}

TEST(CliRepair, WithoutAnythingToReadSaysSo) {
  const Desk desk;
  desk.write("book.bokfolio", std::string(9000, 'x'));
  const Outcome outcome = desk.run("check --repair");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.err, HasSubstr("is not a document of this program"));
  EXPECT_NE(desk.run("check --to elsewhere").status, 0);
}

TEST(CliBackup, IsDatedCompleteAndReplacesNothing) {
  const Desk desk;
  desk.furnish();
  EXPECT_EQ(desk.json("backup")["backup"], "book-2025-03-15.bokfolio");
  desk.ok("account add 5010 Rent");  // a copy beside it does not hide the document
  EXPECT_THAT(desk.ok("backup"), HasSubstr("book-2025-03-15-2.bokfolio: a complete copy"));
  EXPECT_EQ(desk.json("-d book-2025-03-15.bokfolio account list").size(), 4U);
  EXPECT_EQ(desk.json("-d book-2025-03-15-2.bokfolio account list").size(), 5U);
  EXPECT_EQ(desk.run("backup book.bokfolio").status, 3);
  spoilLeaf(desk, "Account");
  EXPECT_EQ(desk.run("backup copy").status, 3);
  EXPECT_TRUE(desk.read("copy").empty());
}

}  // namespace
}  // namespace bokfolio::test
