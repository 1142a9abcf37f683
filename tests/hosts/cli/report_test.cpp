#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// "account opening change closing" of each line.
std::vector<std::string> linesOf(const Json& balance) {
  std::vector<std::string> lines;
  for (const Json& line : balance["accounts"]) {
    lines.push_back(std::to_string(line["number"].get<int>()) + " " +
                    line["opening"].get<std::string>() + " " + line["change"].get<std::string>() +
                    " " + line["closing"].get<std::string>());
  }
  return lines;
}

std::vector<int> numbersOf(const Json& entries) { return eachOf<int>(entries, "number"); }

class CliReport : public testing::Test {
 protected:
  CliReport() {
    desk.furnish();
    desk.ok("opening set 1930:5000 2440:-1200,50");
    desk.ok("entry add --date 2025-01-10 -t 'Oak boards' 4010:800:10 2440:-800");
    desk.ok("entry add --date 2025-02-20 -t Kitchen 1930:3000 3001:-3000:10");
    desk.ok("entry add --date 2025-02-20 -t Chairs 1930:1000,75 3001:-1000,75:20");
    desk.ok("entry add --date 2025-03-01 -t 'Pays for boards' 2440:2000.5 1930");
  }
  Desk desk;
};

TEST_F(CliReport, BalanceOfAYearADayAndATag) {
  const Json year = desk.json("balance");
  EXPECT_THAT(linesOf(year), ElementsAre("1930 5000 2000.25 7000.25", "2440 -1200.5 1200.5 0",
                                         "3001 0 -4000.75 -4000.75", "4010 0 800 800"));
  EXPECT_EQ(year["result"], "3200.75");
  EXPECT_EQ(year["totals"]["income"]["closing"], "-4000.75");
  EXPECT_EQ(year["sum"], Json({{"opening", "3799.5"}, {"change", "0"}, {"closing", "3799.5"}}));

  // The end of a day: its own entries count.
  const Json day = desk.json("balance --date 2025-02-20");
  EXPECT_THAT(linesOf(day), ElementsAre("1930 5000 4000.75 9000.75", "2440 -1200.5 -800 -2000.5",
                                        "3001 0 -4000.75 -4000.75", "4010 0 800 800"));
  EXPECT_EQ(day["result"], "3200.75");
  EXPECT_EQ(desk.json("balance --date 2025-02-19")["result"], "-800");
  EXPECT_EQ(desk.json("balance --date 2025-12-31")["accounts"], year["accounts"]);

  // No opening balance belongs to a tag.
  const Json tag = desk.json("balance --tag 10");
  EXPECT_THAT(linesOf(tag), ElementsAre("3001 0 -3000 -3000", "4010 0 800 800"));
  EXPECT_EQ(tag["result"], "2200");
  EXPECT_EQ(desk.json("balance --tag kitchens --date 2025-01-31")["result"], "-800");
}

TEST_F(CliReport, BalanceAsATable) {
  EXPECT_EQ(desk.ok("balance --date 2025-01-31 --locale en_US"),
            "Trial balance 2025, at the end of 2025-01-31\n"
            "Account  Name                   Opening   Change    Closing\n"
            "───────────────────────────────────────────────────────────\n"
            "Asset\n"
            "   1930  Bank                  5,000.00     0.00   5,000.00\n"
            "         Sum                   5,000.00     0.00   5,000.00\n"
            "───────────────────────────────────────────────────────────\n"
            "Debt and equity\n"
            "   2440  Payables             -1,200.50  -800.00  -2,000.50\n"
            "         Sum                  -1,200.50  -800.00  -2,000.50\n"
            "───────────────────────────────────────────────────────────\n"
            "Income\n"
            "   3001  Sales                     0.00     0.00       0.00\n"
            "         Sum                       0.00     0.00       0.00\n"
            "───────────────────────────────────────────────────────────\n"
            "Cost\n"
            "   4010  Timber                    0.00   800.00     800.00\n"
            "         Sum                       0.00   800.00     800.00\n"
            "───────────────────────────────────────────────────────────\n"
            "         Sum of all accounts   3,799.50     0.00   3,799.50\n"
            "         Result                                     -800.00\n");
  const std::string swedish = plain(desk.ok("balance --locale sv_SE"));
  EXPECT_THAT(swedish, HasSubstr("Saldobalans 2025"));
  EXPECT_THAT(swedish, HasSubstr("-4 000,75"));
}

TEST_F(CliReport, ListAndJournalSelectTheSameEntries) {
  const std::pair<const char*, std::vector<int>> cases[] = {
      {"", {1, 2, 3, 4}},
      {"--date 2025-02-20", {2, 3}},
      {"--from 2025-02-20", {2, 3, 4}},
      {"--to 2025-02-20", {1, 2, 3}},
      {"--from 2025-02-01 --to 2025-02-28", {2, 3}},
      {"--tag 10", {1, 2}},
      {"--account bank", {2, 3, 4}},
      {"--account 1930 --tag 20", {3}},
      {"--text BOARDS", {1, 4}},
      {"--text x --tag 20", {}},
  };
  for (const auto& [selection, numbers] : cases) {
    EXPECT_EQ(numbersOf(desk.json("entry list " + std::string(selection))), numbers) << selection;
    EXPECT_EQ(numbersOf(desk.json("journal " + std::string(selection))), numbers) << selection;
  }
  EXPECT_EQ(numbersOf(desk.json("entry list --last 2")), (std::vector{3, 4}));
  EXPECT_EQ(desk.json("journal"), desk.json("entry list"));
}

TEST_F(CliReport, JournalAsText) {
  EXPECT_EQ(desk.ok("journal --date 2025-01-10"),
            "1  2025-01-10  Oak boards\n"
            "   1   4010  Timber                              10        800,00\n"
            "   2   2440  Payables                                                    800,00\n"
            "Entries: 1, Sum 800,00\n");
}

TEST_F(CliReport, YearsOneAfterAnother) {
  desk.refuses("year add 2025", "", 1);
  desk.refuses("year add --from 2025-12-31 --to 2026-06-30", "", 1);
  desk.refuses("year add --from 2027-06-30 --to 2026-07-15", "exchange --from and --to");
  EXPECT_EQ(desk.json("year add --from 2026-01-01 --to 2026-06-30 --name half")["last"],
            "2026-06-30");
  EXPECT_EQ(desk.json("year add --from 2026-07-01 --to 2027-06-30")["name"], "2026/2027");
  EXPECT_EQ(desk.json("year list").size(), 3U);
  desk.ok("entry add --date 2026-06-30 1930:1 3001");
  EXPECT_EQ(numbersOf(desk.json("journal -y half")), std::vector{1});
  EXPECT_EQ(numbersOf(desk.json("journal -y 2026-02-01")), std::vector{1});
  EXPECT_EQ(desk.json("balance --date 2026-06-30")["result"], "1");
  desk.refuses("journal -y 1999", "there is no fiscal year \"1999\"");
}

TEST_F(CliReport, TheYearIsTheOneMeantOrTheLatestWithEntries) {
  desk.ok("year add 2026");
  EXPECT_EQ(desk.json("balance")["year"], "2025");
  EXPECT_EQ(desk.json("result")["year"], "2025");
  EXPECT_EQ(desk.json("entry show 2")["text"], "Kitchen");
  EXPECT_EQ(desk.json("tag list")[0]["balance"], "-2200");
  EXPECT_EQ(desk.json("tag list --year 2026")[0]["balance"], "0");
  EXPECT_EQ(desk.json("entry edit 2 --text Cupboards")["year"], "2025");
  desk.ok("entry add --date 2026-01-10 -t Shelf 1930:10 3001:-10");
  const std::tuple<const char*, const char*, std::vector<int>> cases[] = {
      {"", "2026", {1}},
      {"--date 2025-02-20", "2025", {2, 3}},
      {"--from 2025-02-20", "2025", {2, 3, 4}},
      {"--to 2026-02-01", "2026", {1}},
      {"--from 2024-12-01 --to 2025-01-31", "2025", {1}},
      {"--year 2025 --from 2024-12-01", "2025", {1, 2, 3, 4}},
  };
  for (const auto& [selection, year, numbers] : cases) {
    for (const char* command : {"journal ", "entry list "}) {
      const Json found = desk.json(command + std::string(selection));
      EXPECT_EQ(numbersOf(found), numbers) << selection;
      EXPECT_EQ(found[0]["year"], year) << selection;
    }
  }
  desk.refuses("journal --from 2025-12-01 --to 2026-01-31", "the days lie in two fiscal years; ");
  desk.refuses("journal --from 2030-01-01", "there is no fiscal year \"2030-01-01\"");
  EXPECT_EQ(desk.json("result --to 2025-02-20")["year"], "2025");
}

// "number amount" of each account of a section, and "sum".
std::vector<std::string> linesOfResult(const Json& section) {
  std::vector<std::string> lines;
  for (const Json& line : section["accounts"]) {
    lines.push_back(std::to_string(line["number"].get<int>()) + " " +
                    line["amount"].get<std::string>());
  }
  lines.push_back("sum " + section["sum"].get<std::string>());
  return lines;
}

TEST_F(CliReport, ResultOfAYearAndToADay) {
  const Json year = desk.json("result");
  EXPECT_THAT(linesOfResult(year["income"]), ElementsAre("3001 4000.75", "sum 4000.75"));
  EXPECT_THAT(linesOfResult(year["cost"]), ElementsAre("4010 -800", "sum -800"));
  EXPECT_EQ(year["result"], "3200.75");
  EXPECT_EQ(year["resultBeforeMoving"], nullptr);
  EXPECT_EQ(desk.json("result --to 2025-02-20")["result"], "3200.75");
  const Json january = desk.json("result --to 2025-02-19");
  EXPECT_THAT(linesOfResult(january["income"]), ElementsAre("sum 0"));
  EXPECT_EQ(january["result"], "-800");
  EXPECT_EQ(desk.json("result --to 2025-02-19 --all")["income"]["accounts"].size(), 1U);
  EXPECT_THAT(desk.ok("result --to 2025-02-20 --locale en_US"),
              HasSubstr("   4010  Timber   -800.00\n         Sum      -800.00\n"));

  // Closing the year books the result on an account of the result itself.
  desk.ok("account add 8999 'Result of the year' -t cost");
  desk.ok("account add 2099 Profit -t debt");
  desk.ok("book set --results 8999");
  desk.ok("entry add --date 2025-12-31 -t Closing 8999:3200.75 2099");
  EXPECT_EQ(desk.json("result")["result"], "0");
  EXPECT_EQ(desk.json("result")["resultBeforeMoving"], "3200.75");
  EXPECT_EQ(desk.json("result --to 2025-12-30")["resultBeforeMoving"], nullptr);
}

TEST_F(CliReport, ClosingBalancesAreCarriedForward) {
  desk.refuses("year carry-forward", "'bokfolio opening set'");
  EXPECT_EQ(desk.json("opening list")["balances"].size(), 2U);
  desk.ok("year add 2026");
  desk.ok("opening set 2440:-5");
  const Json carried = desk.json("year carry-forward");
  EXPECT_EQ(carried, R"({"year": "2026", "sum": "7000.25",
                         "balances": [{"account": 1930, "balance": "7000.25"}]})"_json);
  EXPECT_EQ(desk.json("year carry-forward 2026"), carried);
  EXPECT_THAT(desk.ok("year carry-forward"), HasSubstr("1 balance forward to 2026; together"));
  EXPECT_EQ(desk.json("opening list"), carried);
  EXPECT_EQ(desk.json("balance --date 2026-01-01")["accounts"][0]["closing"], "7000.25");
  EXPECT_EQ(desk.json("opening list -y 2025")["sum"], "3799.5");
}

TEST_F(CliReport, OpeningBalancesAreSetReplacedAndTakenAway) {
  EXPECT_EQ(desk.json("opening list")["sum"], "3799.5");
  EXPECT_EQ(desk.json("opening set 1930:1200,50")["sum"], "0");
  EXPECT_THAT(desk.ok("opening set 1930:1"), HasSubstr("off zero by"));
  EXPECT_EQ(desk.json("opening set 1930:0 payables:0")["balances"], Json::array());
  desk.refuses("opening set 3001:5", "", 1);
  desk.refuses("opening set 1930 5", "", 2);
  EXPECT_THAT(desk.ok("check"), HasSubstr("no fault"));
}

}  // namespace
}  // namespace bokfolio::test
