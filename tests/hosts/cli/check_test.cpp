#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

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

}  // namespace
}  // namespace bokfolio::test
