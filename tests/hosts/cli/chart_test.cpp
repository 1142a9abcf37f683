#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;

class CliChart : public testing::Test {
 protected:
  CliChart() { desk.furnish(); }
  Desk desk;
};

TEST_F(CliChart, AccountsTakeTheirTypeFromTheirNumberOrAsTold) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"1910 Cash", "asset", 0},
      {"2081 Capital -t equity", "equity", 0},
      {"8310 Interest -t I", "income", 0},
      {"7010 Wages", "cost", 0},
      {"8999 Result", "", 2},
      {"99 Short", "", 2},
      {"1930 Again", "", 1},
      {"0 Nought -t asset", "", 2},
      {"12x Odd -t asset", "", 2},
      {"1234 Odd -t money", "", 2},
  };
  for (const auto& [words, type, status] : cases) {
    const Outcome outcome = desk.run("--json account add " + std::string(words));
    EXPECT_EQ(outcome.status, status) << words;
    if (status == 0) {
      EXPECT_EQ(Json::parse(outcome.out)["type"], type) << words;
    }
  }
}

TEST_F(CliChart, AccountsChangeUnlessInUse) {
  EXPECT_EQ(desk.json("account set bank --name 'Main account' --tax-code 7281"),
            R"({"number": 1930, "name": "Main account", "type": "asset", "taxCode": "7281",
                "vatCode": null})"_json);
  EXPECT_EQ(desk.json("account set 1930 --number 1940")["number"], 1940);
  desk.ok("entry add 1940:5 3001");
  EXPECT_THAT(desk.run("account set 1940 --number 1950").err, HasSubstr("; add --yes"));
  EXPECT_EQ(desk.json("account set 1940 --number 1950 --yes")["number"], 1950);
  desk.refuses("account set 1950 --number 3001 --yes", "3001", 1);
  EXPECT_EQ(desk.json("entry show 1")["rows"][0]["account"], 1950);

  desk.refuses("account remove 1950", "", 1);
  desk.ok("account remove 4010");
  EXPECT_EQ(desk.json("account list").size(), 3U);
  EXPECT_EQ(desk.json("account list --used").size(), 2U);
  EXPECT_EQ(desk.json("account list -t debt")[0]["number"], 2440);
  EXPECT_EQ(desk.json("account list MAIN")[0]["number"], 1950);

  desk.ok("opening set 2440:-5");
  desk.refuses("account set 2440 -t cost", "has opening balances");
  desk.refuses("account set 2440", "", 2);
}

TEST_F(CliChart, TagsChangeUnlessInUse) {
  EXPECT_EQ(desk.json("tag set furniture --number 21 --name Chairs"),
            Json({{"number", 21}, {"name", "Chairs"}}));
  desk.refuses("tag set 21 --number 10", "", 1);
  desk.refuses("tag add 10 Again", "", 1);
  desk.ok("entry add 1930:5 3001:-5:21");
  desk.refuses("tag remove 21", "", 1);
  desk.ok("tag remove kitchens");
  EXPECT_EQ(desk.json("tag list"),
            R"([{"number": 21, "name": "Chairs", "rows": 1, "balance": "-5"}])"_json);
}

TEST_F(CliChart, WidthsAreThoseOfTheTerminalAndControlsAreNotPassedOn) {
  desk.ok("account add 1910 '\u73fe\u91d1 e\u0301'");
  desk.ok("account add 1920 \"$(printf 'a\\tb\\033[31m')\"");
  EXPECT_EQ(desk.ok("account list -t asset"),
            "Account  Name      Type   Tax code  VAT code\n"
            "────────────────────────────────────────────\n"
            "   1910  \u73fe\u91d1 e\u0301    Asset\n"
            "   1920  a b\uFFFD[31m  Asset\n"
            "   1930  Bank      Asset\n");
}

TEST_F(CliChart, QuietSaysNothingAndJsonTellsFailures) {
  EXPECT_EQ(desk.ok("-q account add 1910 Cash"), "");
  EXPECT_EQ(desk.ok("-q --json account add 1920 Giro"), "");
  const Outcome outcome = desk.run("--json entry add 1930:5 3001:-4");
  EXPECT_EQ(outcome.status, 1);
  const Json error = Json::parse(outcome.out)["error"];
  expectParts(error, R"({"domain": "BokfolioErrorDomain", "code": 1, "exit": 1})"_json);
  EXPECT_EQ("bokfolio: " + error["message"].get<std::string>() + "\n", outcome.err);
}

TEST(CliUsage, WhatCannotBeUnderstoodIsSaidInOneLineWithAHint) {
  const Desk desk;
  desk.furnish();
  const std::pair<const char*, const char*> cases[] = {
      {"", "'bokfolio' wants a command"},
      {"account", "'bokfolio account' wants a command"},
      {"frobnicate", "there is no command \"bokfolio frobnicate\""},
      {"--frobnicate", "there is no option \"--frobnicate\""},
      {"account list --color", "there is no option \"--color\""},
      {"account list 19 30", "\"30\" is one word too many"},
      {"account add 1910", "name"},
      {"entry add", "rows"},
      {"entry add 1930", "nothing is left"},
      {"entry add :5 3001", "\":5\" is no row"},
      {"entry add 1930:5:10:7 3001", "is no row"},
      {"entry add 1930 3001", "more than one row is without amount"},
      {"entry add 1930:0 3001:-5", "has no amount"},
      {"entry add 1930:fem 3001", "\"fem\" is no amount; write it like 1234,5"},
      {"entry add --date 2025-02-30 1930:5 3001", "\"2025-02-30\" is no day of the calendar"},
      {"entry show twelve", "\"twelve\" is no number of an entry"},
      {"entry edit 1", "nothing to change was named"},
      {"balance --zone Nowhere/Land", "no time zone is called \"Nowhere/Land\""},
      {"balance --now tomorrow", "\"tomorrow\" is no point in time"},
      {"year add 20x5", "\"20x5\" is no calendar year"},
      {"year add", "which year is not clear"},
      {"year add --from 2026-01-01 --to 2027-01-01", "cannot end with the first of a month"},
      {"new other --year 12", "\"12\" is no year"},
      {"new other --currency KRONA", "\"KRONA\" is no currency"},
  };
  for (const auto& [words, message] : cases) {
    desk.refuses(words, message);
    EXPECT_THAT(desk.run(words).err, testing::MatchesRegex("bokfolio: .*; .*\n")) << words;
  }
}

}  // namespace
}  // namespace bokfolio::test
