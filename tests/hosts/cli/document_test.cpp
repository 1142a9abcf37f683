#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <fcntl.h>
#include <unistd.h>
#include <filesystem>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(CliDocument, NewMakesABookThatCanBeKeptAtOnce) {
  const Desk desk;
  const Json made = desk.json("new shop --year 2024 --company 'Ek AB'");
  EXPECT_EQ(made["document"], "shop.bokfolio");
  EXPECT_EQ(made["currency"], "SEK");
  EXPECT_EQ(made["year"],
            Json({{"name", "2024"}, {"first", "2024-01-01"}, {"last", "2024-12-31"}}));
  EXPECT_TRUE(desk.json("check")["sound"]);
  const Json fresh = desk.json("entry show new");
  EXPECT_TRUE(fresh["new"]);
  EXPECT_EQ(fresh["number"], nullptr);
  EXPECT_EQ(fresh["rows"], Json::array());

  const Outcome again = desk.run("new shop");
  EXPECT_EQ(again.status, 3);
  EXPECT_EQ(again.err, "bokfolio: shop.bokfolio: exists already; choose another name\n");
}

TEST(CliDocument, CurrencyComesFromTheLocaleOrMustBeNamed) {
  Desk desk;
  desk.environment = "LC_ALL=C";
  EXPECT_EQ(desk.run("new a").status, 2);
  EXPECT_FALSE(std::filesystem::exists(desk.path("a.bokfolio")));
  EXPECT_EQ(desk.json("new a --currency NOK")["currency"], "NOK");
  EXPECT_EQ(desk.json("new b --locale de_DE")["currency"], "EUR");
}

TEST(CliDocument, TheDocumentMeantIsNamedOrTheOnlyOneHere) {
  Desk desk;
  EXPECT_THAT(desk.run("year list").err, HasSubstr("there is no document in this folder"));
  desk.ok("new one --year 2020");
  EXPECT_EQ(desk.json("year list")[0]["name"], "2020");
  desk.ok("new two --year 2021");
  EXPECT_THAT(desk.run("year list").err, HasSubstr("several documents"));
  EXPECT_EQ(desk.json("year list -d two.bokfolio")[0]["name"], "2021");
  EXPECT_EQ(desk.json("-d one.bokfolio year list")[0]["name"], "2020");
  desk.environment = "BOKFOLIO_DOCUMENT=two.bokfolio";
  EXPECT_EQ(desk.json("year list")[0]["name"], "2021");
}

TEST(CliDocument, ReadersWorkBesideAWriterAndASecondWriterDoesNot) {
  const Desk desk;
  desk.furnish();
  const int writer = open(desk.path("book.bokfolio").c_str(), O_RDWR);
  ASSERT_GE(writer, 0);
  ASSERT_EQ(flock(writer, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(desk.json("account list").size(), 4U);
  const Outcome refused = desk.run("account add 1910 Cash");
  EXPECT_EQ(refused.status, 3);
  EXPECT_THAT(refused.err, StartsWith("bokfolio: book.bokfolio: is open for writing elsewhere; "));
  close(writer);
  EXPECT_EQ(desk.json("account list").size(), 4U);
}

TEST(CliDocument, WhatIsNoDocumentIsRefusedInOneLine) {
  const Desk desk;
  desk.write("text.bokfolio", "Dear diary, today I bought an oak.\n");
  desk.write("empty.bokfolio", "");
  std::filesystem::create_directory(desk.path("folder.bokfolio"));
  for (const char* name : {"text", "empty", "folder", "missing"}) {
    const std::string file = std::string(name) + ".bokfolio";
    const Outcome outcome = desk.run("balance -d " + file);
    EXPECT_EQ(outcome.status, 3) << name;
    EXPECT_THAT(outcome.err, StartsWith("bokfolio: " + file + ": "));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
}

TEST(CliDocument, HelpIsThereForEveryCommandAndSlipsGetAHint) {
  const Desk desk;
  EXPECT_THAT(desk.ok("--help"), HasSubstr("Exit status"));
  EXPECT_EQ(desk.ok("help"), desk.ok("--help"));
  EXPECT_EQ(desk.run("help entry frob").status, 2);
  EXPECT_THAT(desk.ok("help entry add"), HasSubstr("ACCOUNT:AMOUNT[:TAG]"));
  EXPECT_THAT(desk.ok("entry --help"), HasSubstr("strike"));
  EXPECT_THAT(desk.ok("--version"), StartsWith("bokfolio 0."));
  EXPECT_THAT(desk.run("acount list").err, HasSubstr("did you mean 'bokfolio account'?"));
  EXPECT_THAT(desk.run("entry shwo 1").err, HasSubstr("did you mean 'bokfolio entry show'?"));
}

}  // namespace
}  // namespace bokfolio::test
