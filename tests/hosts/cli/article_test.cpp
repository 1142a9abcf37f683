#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

class CliArticle : public testing::Test {
 protected:
  CliArticle() { desk.ok("new book --year 2025"); }
  Desk desk;
};

TEST_F(CliArticle, GetsItsDefaultsFromTheLatestOfTheSameRate) {
  const Json table =
      desk.json("article add Table -p '8 000,50' --unit pcs --sales 3001 --vat-account 2611");
  EXPECT_EQ(table, Json::parse(R"({"number": "1", "name": "Table", "unit": "pcs",
    "price": "8000.5", "vat": "25", "percentOfLineAbove": null, "salesAccount": 3001,
    "vatAccount": 2611, "used": false})"));
  expectParts(desk.json("article add Shelf -p 100"),
              R"({"number": "2", "salesAccount": 3001, "vatAccount": 2611})"_json);
  // Another rate does not take over an account that reports 25 %.
  expectParts(desk.json("article add Course --vat '12 %'"),
              R"({"vat": "12", "salesAccount": null, "vatAccount": null})"_json);
  desk.ok("article set course --sales 3002 --vat-account 2621");
  EXPECT_EQ(desk.json("article add Lecture --vat 12")["vatAccount"], 2621);
  EXPECT_EQ(desk.json("article add Bench")["vatAccount"], 2611);
  EXPECT_EQ(desk.json("article add Old --number 10")["number"], "10");
  EXPECT_EQ(desk.json("article add New")["number"], "11");
  EXPECT_THAT(eachOf<std::string>(desk.json("article list"), "number"),
              testing::ElementsAre("1", "2", "3", "4", "5", "10", "11"));
  EXPECT_EQ(desk.json("article list 2")[0]["name"], "Shelf");
  EXPECT_EQ(desk.json("article list HEL").size(), 1U);
}

TEST_F(CliArticle, IsChangedByNumberOrNameAndRefusesWhatMakesNoSense) {
  desk.ok("article add Table -p 8000 --unit pcs --sales 3001 --vat-account 2611");
  desk.ok("article add 'Percentage 2,5'");
  EXPECT_EQ(desk.json("article list percent")[0]["percentOfLineAbove"], 2.5);
  expectParts(desk.json("article set table -p 9000 --vat 6 --unit '' --sales '' --number 7"),
              R"({"number": "7", "price": "9000", "vat": "6", "unit": null, "salesAccount": null,
                  "vatAccount": 2611})"_json);
  EXPECT_THAT(desk.ok("article set 7 --name Desk"),
              testing::HasSubstr("it has no sales account yet"));
  desk.refuses({
      {"article set 9 -p 5", "there is no article \"9\""},
      {"article set 7", "nothing to change was named"},
      {"article set 7 --number 2", "there is an article 2 already"},
      {"article set 7 --number A1", "\"A1\" is no number of an article"},
      {"article set 7 --sales 9999", "there is no account \"9999\""},
      {"article set 7 --name ''", "Each article requires a name"},
      {"article add Desk --vat 125", "\"125\" is no rate of VAT"},
      {"article add Desk --vat x", "\"x\" is no amount"},
      {"article set 'no*' -p 5", "there is no article \"no*\""},
      {"article set '*e*' -p 5", "more than one article is called \"*e*\""},
  });
}

}  // namespace
}  // namespace bokfolio::test
