#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;

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
  const Json shelf = desk.json("article add Shelf -p 100");
  EXPECT_EQ(shelf["number"], "2");
  EXPECT_EQ(shelf["salesAccount"], 3001);
  EXPECT_EQ(shelf["vatAccount"], 2611);
  // Another rate does not take over an account that reports 25 %.
  const Json course = desk.json("article add Course --vat '12 %'");
  EXPECT_EQ(course["vat"], "12");
  EXPECT_EQ(course["salesAccount"], nullptr);
  EXPECT_EQ(course["vatAccount"], nullptr);
  desk.ok("article set course --sales 3002 --vat-account 2621");
  EXPECT_EQ(desk.json("article add Lecture --vat 12")["vatAccount"], 2621);
  EXPECT_EQ(desk.json("article add Bench")["vatAccount"], 2611);
  EXPECT_EQ(desk.json("article add Old --number 10")["number"], "10");
  EXPECT_EQ(desk.json("article add New")["number"], "11");

  const Json list = desk.json("article list");
  ASSERT_EQ(list.size(), 7U);
  for (std::size_t at = 0; at < 5; ++at) EXPECT_EQ(list[at]["number"], std::to_string(at + 1));
  EXPECT_EQ(list[6]["name"], "New");
  EXPECT_EQ(desk.json("article list 2")[0]["name"], "Shelf");
  EXPECT_EQ(desk.json("article list HEL").size(), 1U);
}

TEST_F(CliArticle, IsChangedByNumberOrNameAndRefusesWhatMakesNoSense) {
  desk.ok("article add Table -p 8000 --unit pcs --sales 3001 --vat-account 2611");
  desk.ok("article add 'Percentage 2,5'");
  EXPECT_EQ(desk.json("article list percent")[0]["percentOfLineAbove"], 2.5);
  const Json set = desk.json("article set table -p 9000 --vat 6 --unit '' --sales '' --number 7");
  EXPECT_EQ(set["number"], "7");
  EXPECT_EQ(set["price"], "9000");
  EXPECT_EQ(set["vat"], "6");
  EXPECT_EQ(set["unit"], nullptr);
  EXPECT_EQ(set["salesAccount"], nullptr);
  EXPECT_EQ(set["vatAccount"], 2611);
  EXPECT_THAT(desk.ok("article set 7 --name Desk"), HasSubstr("it has no sales account yet"));

  const std::string before = desk.read("book.bokfolio");
  const std::pair<const char*, const char*> cases[] = {
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
  };
  for (const auto& [words, message] : cases) {
    const Outcome outcome = desk.run(words);
    EXPECT_NE(outcome.status, 0) << words;
    EXPECT_THAT(outcome.err, HasSubstr(message)) << words;
    EXPECT_EQ(desk.read("book.bokfolio"), before) << words;
  }
}

}  // namespace
}  // namespace bokfolio::test
