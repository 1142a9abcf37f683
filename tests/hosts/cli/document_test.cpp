#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <fcntl.h>
#include <unistd.h>
#include <filesystem>
#include <regex>
#include <sstream>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(CliDocument, NewMakesABookThatCanBeKeptAtOnce) {
  const Desk desk;
  const Json made = desk.json("new shop --year 2024 --company 'Ek AB'");
  EXPECT_EQ(made["document"], "shop.bokfolio");
  expectParts(made, R"({"currency": "SEK", "year": {"name": "2024", "first": "2024-01-01",
                                                    "last": "2024-12-31"}})"_json);
  EXPECT_TRUE(desk.json("check")["sound"]);
  expectParts(desk.json("entry show new"), R"({"new": true, "number": null, "rows": []})"_json);
  const Outcome again = desk.run("new shop");
  EXPECT_EQ(again.status, 3);
  EXPECT_EQ(again.err, "bokfolio: shop.bokfolio: exists already; choose another name\n");
}

TEST(CliDocument, CurrencyComesFromTheLocaleOrIsNamed) {
  Desk desk;
  desk.environment = "LC_ALL=C";
  EXPECT_EQ(desk.json("new a")["currency"], "SEK");
  EXPECT_EQ(desk.json("new b --currency NOK")["currency"], "NOK");
  EXPECT_EQ(desk.json("new c --locale de_DE")["currency"], "EUR");
}

TEST(CliDocument, AChartIsInstalledOrNothingIsMade) {
  const Desk desk;
  EXPECT_GT(desk.json("new a --locale sv_SE")["accounts"], 50);
  EXPECT_EQ(desk.json("account list kundfordringar")[0]["type"], "asset");
  for (const auto& [key, number] : desk.json("book show")["accounts"].items()) {
    const Json account = desk.json("account list " + number.dump())[0];
    const std::string type = key == "accountsReceivable"                          ? "asset"
                             : key == "currencyGains" || key == "roundingAccount" ? "income"
                                                                                  : "cost";
    EXPECT_EQ(account["type"], type) << key;
  }
  EXPECT_TRUE(desk.json("check")["sound"]);
  EXPECT_EQ(desk.run("new b --chart atlantis").status, 1);
  EXPECT_FALSE(std::filesystem::exists(desk.path("b.bokfolio")));
  EXPECT_EQ(desk.json("new b --chart none")["accounts"], 0);
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
  desk.refuses("account add 1910 Cash", "bokfolio: book.bokfolio: is open for writing elsewhere; ",
               3);
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
    desk.refuses("balance -d " + file, "bokfolio: " + file + ": ", 3);
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

TEST(CliDocument, EveryWordOfTheTablesIsThereInSwedish) {
  const std::string root = BOKFOLIO_SOURCE_DIR;
  const std::string table = contentOf(root + "/resources/localization/sv/cli.texts");
  const std::regex call(R"re((?:text|heading)\("([^"]+)"\))re");
  std::size_t words = 0;
  for (const auto& file : std::filesystem::directory_iterator(root + "/hosts/cli")) {
    const std::string source = contentOf(file.path());
    for (std::sregex_iterator at(source.begin(), source.end(), call), end; at != end; ++at) {
      EXPECT_THAT(table, HasSubstr("\"" + (*at)[1].str() + "\" = ")) << file.path();
      ++words;
    }
  }
  EXPECT_GT(words, 30U);
}

// The commands that the help of a command lists, by name.
std::vector<std::string> commandsIn(const std::string& help) {
  std::vector<std::string> names;
  std::size_t at = help.find("\nSubcommands:\n");
  while (at != std::string::npos && help.compare(at = help.find('\n', at + 1), 3, "\n  ") == 0) {
    names.push_back(help.substr(at + 3, help.find(' ', at + 3) - at - 3));
  }
  return names;
}

TEST(CliDocument, AllHelpIsThereInSwedish) {
  const Desk desk;
  const std::regex english(R"(\b(the|its|of|only|default|with|change|which)\b)", std::regex::icase);
  std::vector<std::string> open = {""};
  std::size_t pages = 0;
  while (!open.empty()) {
    const std::string command = open.back();
    open.pop_back();
    ++pages;
    for (const std::string& name : commandsIn(desk.ok("help" + command))) {
      open.push_back(command + " " + name);
    }
    std::istringstream lines(desk.ok("--locale sv_SE help" + command));
    for (std::string line; std::getline(lines, line);) {
      const bool example = line.find("bokfolio ") != std::string::npos;
      EXPECT_TRUE(example || !std::regex_search(line, english)) << command << ": " << line;
    }
  }
  EXPECT_GT(pages, 40U);
}

}  // namespace
}  // namespace bokfolio::test
