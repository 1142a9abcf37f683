#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;

constexpr const char* kWorkshop = BOKFOLIO_SOURCE_DIR "/examples/workshop-2025.se";

// What the file itself states under the labels: account -> amount.
std::map<int, double> statedIn(const std::string& bytes,
                               std::initializer_list<const char*> labels) {
  std::map<int, double> amounts;
  std::istringstream lines(bytes);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string label;
    int year = 0;
    int account = 0;
    double amount = 0;
    fields >> label >> year >> account >> amount;
    if (std::count(labels.begin(), labels.end(), label) > 0) amounts[account] = amount;
  }
  return amounts;
}

class CliImport : public testing::Test {
 protected:
  CliImport() { desk.ok("new book --year 2025 --chart none"); }
  // A small file with vouchers, or anything else, after its head.
  void writeFile(const std::string& rest, const std::string& currency = "SEK") {
    desk.write("small.se", "#FLAGGA 0\n#SIETYP 4\n#VALUTA " + currency +
                               "\n#RAR 0 20250101 20251231\n#KONTO 1930 \"Bank\"\n"
                               "#KONTO 3001 \"Sales\"\n" +
                               rest);
  }
  Desk desk;
};

TEST_F(CliImport, TheShippedYearComesOutAsItSays) {
  const Json report = desk.json("import " + std::string(kWorkshop));
  expectParts(report, R"({"charset": "CP437", "leftOut": {"vouchers": []},
    "imported": {"entries": 119, "rows": {"struck": 1, "added": 1}},
    "comparison": {"differences": []}})"_json);
  EXPECT_TRUE(desk.json("check")["sound"]);

  const Json balance = desk.json("balance");
  std::map<int, double> closings;
  for (const Json& account : balance["accounts"]) {
    closings[account["number"]] = std::stod(account["closing"].get<std::string>());
  }
  EXPECT_EQ(closings, statedIn(contentOf(kWorkshop), {"#UB", "#RES"}));
  EXPECT_EQ(balance["sum"]["closing"], "0");
  EXPECT_EQ(balance["result"], "136768.66");
  EXPECT_EQ(balance["totals"].size(), 4U);
  EXPECT_EQ(desk.json("tag list").size(), 2U);

  const Json corrected = desk.json("entry list --text hyvelst*")[0];
  EXPECT_EQ(corrected["rows"][0]["status"], "struck");
  EXPECT_EQ(corrected["rows"][0]["who"], "Anna Ek");
  EXPECT_EQ(desk.json("entry show new")["rows"], Json::array());
}

TEST_F(CliImport, TheSameVouchersTwiceAreRefusedUnlessWanted) {
  writeFile("#VER A 7 20250203 \"Oak\"\n{\n#TRANS 1930 {} 5\n#TRANS 3001 {} -5\n}\n");
  desk.ok("import small.se");
  desk.refuses("import small.se", "small.se: 1 of its 1 vouchers are in the document already; ", 1);
  EXPECT_EQ(desk.json("import small.se --again")["imported"]["entries"], 1);
  EXPECT_EQ(desk.json("balance")["result"], "10");
}

TEST_F(CliImport, WhatDoesNotBalanceIsLeftOutWithItsLine) {
  writeFile(
      "#VER A 1 20250203 \"Oak\"\n{\n#TRANS 1930 {} 5\n#TRANS 3001 {} -4\n}\n"
      "#VER A 2 20250203 \"Elm\"\n{\n#TRANS 1930 {} 3\n#TRANS 3001 {} -3\n}\n"
      "#VER A 3 20230203 \"Ash\"\n{\n#TRANS 1930 {} 3\n#TRANS 3001 {} -3\n}\n"
      "#UB 0 1930 8\n#WOOD \"dry\"\n");
  const std::string text = desk.ok("import small.se");
  for (const char* line :
       {"  small.se:7: voucher A 1 Oak: off balance by 1,00\n",
        "  small.se:17: voucher A 3 Ash: no fiscal year holds 2023-02-03\n",
        "account 1930: the file says 8,00, its vouchers come to 3,00\n", "1 #WOOD"}) {
    EXPECT_THAT(text, HasSubstr(line));
  }
  EXPECT_EQ(desk.json("entry list")[0]["text"], "Elm");
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliImport, WhatIsRefusedLeavesTheDocumentUntouched) {
  struct Case {
    std::string rest;
    int status;
    const char* message;
    const char* currency = "SEK";
  };
  const Case cases[] = {
      {"#VER A 1 20250203 \"Oak\"\n{\n#TRANS 1930 {} five\n}\n", 4, "9"},
      {"#VER A 1 20250231 \"Oak\"\n{\n}\n", 4, "7"},
      {"#VER A 1 20250203 \"Oak\"\n{\n#TRANS 1930 {} 5\n", 4, "small.se"},
      {"#RAR -1 20240601 20250531\n", 1, "small.se:7: "},
      {"", 1, "its amounts are in EUR, the document's in SEK; add --any-currency", "EUR"},
  };
  for (const Case& row : cases) {
    writeFile(row.rest, row.currency);
    desk.refuses("import small.se", row.message, row.status);
  }
  writeFile("", "EUR");
  EXPECT_EQ(desk.run("import small.se --any-currency").status, 0);
  for (const char* file : {"missing.se", ".", "book.bokfolio"})
    desk.refuses("import " + std::string(file), "", 4);
}

}  // namespace
}  // namespace bokfolio::test
