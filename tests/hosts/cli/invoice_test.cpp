#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class CliInvoice : public testing::Test {
 protected:
  CliInvoice() {
    desk.ok("new book --year 2025 --company 'Ek & Alm'");
    desk.ok("article add Table -p 8000 --unit pcs --sales 3001 --vat-account 2611");
    desk.ok("article add Shelf -p 33.33");
    desk.ok("article add Course -p 450.10 --vat 12 --sales 3002 --vat-account 2621");
    desk.ok("article add Book -p 99.99 --vat 6 --sales 3003 --vat-account 2631");
    desk.ok("article add 'Percentage 2,5' --sales 3520");
  }
  // Runs a command for each text.
  void runAll(const std::string& words, const std::vector<std::string>& ends) const {
    for (const std::string& end : ends) desk.ok("-q " + words + end);
  }
  Desk desk;
};

TEST_F(CliInvoice, NewInvoicesAreNumberedAndKnowTheirCurrencyAndCountry) {
  const Json first = desk.json(
      "invoice new Eken --reference Eva --country no --our-reference Bo "
      "--delivery Lorry --date 2025-02-01");
  expectParts(first, R"({"number": 1, "status": "notSent", "company": "Eken", "currency": "SEK",
    "language": "en", "country": "NO", "date": "2025-02-01", "lines": [],
    "sums": {"total": "0"}})"_json);
  desk.ok("invoice set 1 --currency EUR --language de --note 'Two\nlines' --vatno DE1");

  // Without customer the terms of the latest are taken over, with one they are not.
  expectParts(desk.json("invoice new"),
              R"({"number": 2, "currency": "EUR", "language": "de", "ourRef": "Bo",
                  "country": "SE", "date": "2025-03-15"})"_json);
  expectParts(desk.json("invoice new Alm"), R"({"currency": "SEK", "deliveryMethod": null})"_json);

  // A copy keeps its own customer's country and terms, whatever the latest has.
  const Json copy = desk.json("invoice duplicate 1");
  EXPECT_EQ(copy["number"], 4);
  for (const char* key : {"company", "yourRef", "country", "currency", "language", "ourRef",
                          "deliveryMethod", "note", "vatno"}) {
    EXPECT_EQ(copy[key], desk.json("invoice show 1")[key]) << key;
  }
  EXPECT_EQ(desk.json("invoice list").size(), 4U);
  EXPECT_EQ(desk.json("invoice list EK").size(), 2U);
}

TEST_F(CliInvoice, LinesStandInTheOrderInWhichTheyWereAdded) {
  desk.ok("invoice new Eken");
  runAll("invoice line 1 ", {"Table 2", "'Percentage 2,5'", "Shelf 3 --rebate 12,5%",
                             "--text 'Thank you'", "Book 1 -p 80 --vat 25"});
  Json invoice = desk.json("invoice show 1");
  std::vector<std::string> lines;
  for (const Json& line : invoice["lines"]) {
    lines.push_back(line["line"].dump() + line["name"].dump() + line["amount"].dump());
  }
  EXPECT_THAT(lines, ElementsAre("1\"Table\"\"16000\"", "2\"Percentage 2,5\"\"400\"",
                                 "3\"Shelf\"\"87.49\"", "4null\"0\"", "5\"Book\"\"80\""));
  EXPECT_EQ(invoice["lines"][2]["rebate"]["percent"], "12.5");
  EXPECT_EQ(invoice["lines"][4]["vat"], "25");

  desk.ok("invoice line 1 --remove 4");
  invoice = desk.json("invoice line 1 Table 1 --edit 1");
  EXPECT_EQ(invoice["lines"].size(), 4U);
  EXPECT_EQ(invoice["lines"][0]["quantity"], "1");
  invoice = desk.json("invoice line 1 --edit 3 --rebate ''");
  EXPECT_EQ(invoice["lines"][2]["rebate"], nullptr);
  EXPECT_EQ(invoice["lines"][2]["amount"], "99.99");
}

// Every sum that a customer can make of what is printed.
void expectSumsToAddUp(const Json& invoice, const std::string& what) {
  const Json& sums = invoice["sums"];
  std::int64_t lines = 0;
  for (const Json& line : invoice["lines"]) lines += hundredths(line["amount"]);
  EXPECT_EQ(lines, hundredths(sums["lines"])) << what;
  EXPECT_EQ(lines + hundredths(sums["rebate"]), hundredths(sums["net"])) << what;
  std::int64_t base = 0;
  std::int64_t vat = 0;
  for (const Json& rate : sums["rates"]) {
    base += hundredths(rate["base"]);
    vat += hundredths(rate["vat"]);
    const std::int64_t percent = std::stoll(rate["percent"].get<std::string>());
    EXPECT_LE(std::llabs(100 * hundredths(rate["vat"]) - percent * hundredths(rate["base"])), 200)
        << what;
  }
  EXPECT_EQ(base, hundredths(sums["net"])) << what;
  EXPECT_EQ(vat, hundredths(sums["vat"])) << what;
  EXPECT_EQ(base + vat + hundredths(sums["rounding"]), hundredths(sums["total"])) << what;
}

TEST_F(CliInvoice, SumsAddUpToTheTotalWhateverIsTakenOff) {
  desk.ok("invoice new Eken");
  runAll("invoice line 1 ", {"Table 1 -r 3%", "Shelf 7 -r 10", "Course 3", "Book 3", "Shelf 0.333",
                             "Book 1.5 -p 0.01"});
  struct Case {
    const char* set;
    const char* rebate;
    const char* total;
  };
  // 7760 + 223.31 + 11.09889 at 25 %, 1350.3 at 12 %, 299.97 + 0.015 at 6 %.
  const Case cases[] = {
      {"--rounding no", "", "11823.33"},       {"--rounding yes", "", "11823"},
      {"--rounding no", "10%", "10641"},       {"--rounding no", "7.5%", "10936.58"},
      {"--rounding no", "33.333%", "7882.26"}, {"--rounding yes", "33.333%", "7882"},
      {"--rounding no", "1000", "10823.33"},   {"--rounding no", "9 999,99", "1823.34"},
      {"--rounding yes", "11500", "323"},      {"--rounding no", "11823", "0.33"},
      {"--vat-free yes", "", "9644.69"},       {"--vat-free yes", "1000", "8644.69"},
      {"--vat-free yes", "50%", "4822.35"},
  };
  for (const Case& row : cases) {
    const std::string what = std::string(row.set) + " " + row.rebate + ": ";
    desk.ok("-q invoice set 1 " + std::string(row.set));
    const Json invoice = desk.json("invoice rebate 1 '" + std::string(row.rebate) + "'");
    expectSumsToAddUp(invoice, what);
    EXPECT_EQ(invoice["sums"]["total"], row.total) << what;
  }
  EXPECT_EQ(desk.json("invoice show 1")["sums"]["vat"], "0");
}

TEST_F(CliInvoice, IsPrintedAsTheCustomerReadsIt) {
  desk.ok("company set --orgid 556677-8899 --payment1 'Bankgiro 1-2'");
  desk.ok("company credit-text en 'Interest is 8 %.'");
  desk.ok("book set --days 20");
  desk.ok(
      "invoice new 'Eken AB' --reference Eva --street 'Storgatan 1' --zipcode '111 22' "
      "--city Stockholm --country FI --order 47 --rounding yes");
  runAll("invoice line 1 ", {"Table", "Course 2 --rebate 12.5%"});
  desk.ok("invoice rebate 1 10%");
  const std::string text = plain(desk.ok("invoice show 1"));
  const char* parts[] = {
      "Invoice 1  2025-03-15  Not sent",
      "Org. no 556677-8899",
      "Storgatan 1",
      "Finland",
      "Your order      47",
      "Payment term    20 days",
      "1  Table                       1  pcs   8 000,00  25 %           8 000,00",
      "2  Course                      2           450,10  12 %  12,5 %    787,68",
      "Sum of the lines                                              8 787,68",
      "Rebate 10 %                                                    -878,77",
      "Excluding VAT                                                 7 908,91",
      "VAT 12 % of 708,91                                               85,07",
      "VAT 25 % of 7 200,00                                          1 800,00",
      "Rounding                                                          0,02",
      "To pay, SEK                                                   9 794,00",
      "Bankgiro 1-2",
      "Interest is 8 %.",
  };
  const auto squeezed = [](std::string line) {
    line.erase(
        std::unique(line.begin(), line.end(), [](char a, char b) { return a == ' ' && b == ' '; }),
        line.end());
    return line;
  };
  for (const char* part : parts) EXPECT_THAT(squeezed(text), HasSubstr(squeezed(part)));
  EXPECT_THAT(text, Not(HasSubstr("Still owed")));
  EXPECT_THAT(desk.ok("--locale sv_SE invoice show 1"), HasSubstr("Att betala, SEK"));
}

TEST_F(CliInvoice, ForeignPricesAreNamedAndDeliveryMayGoElsewhere) {
  desk.ok("invoice new Holz --country DE --currency EUR --vat-free yes --street 'Allee 5'");
  desk.refuses("invoice line 1 Table", "name the price in EUR with --price");
  EXPECT_EQ(desk.json("invoice line 1 Table -p 700")["sums"]["total"], "700");

  expectParts(desk.json("invoice address 1 --city Bonn")["deliveryAddress"],
              R"({"company": "Holz", "street": "Allee 5", "city": "Bonn", "country": "DE"})"_json);
  EXPECT_EQ(desk.json("invoice address 1 --city Ulm")["deliveryAddress"]["street"], "Allee 5");
  EXPECT_EQ(desk.json("invoice duplicate 1")["deliveryAddress"]["city"], "Ulm");
  EXPECT_EQ(desk.json("invoice address 1 --remove")["deliveryAddress"], nullptr);
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliInvoice, WhatIsRefusedLeavesTheDocumentAsItWas) {
  desk.ok("invoice new Eken");
  desk.ok("invoice line 1 Table");
  desk.refuses({
      {"invoice show 2", "there is no invoice 2"},
      {"invoice show x", "\"x\" is no number of an invoice"},
      {"invoice set 1", "nothing to change was named"},
      {"invoice set 1 --currency kr", "\"kr\" is no currency"},
      {"invoice set 1 --country Sweden", "\"Sweden\" is no country"},
      {"invoice set 1 --note A --tag 99", "there is no tag \"99\""},
      {"invoice line 1", "the line has neither article nor text"},
      {"invoice line 1 Chair", "there is no article \"Chair\""},
      {"invoice line 1 Table many", "\"many\" is no amount"},
      {"invoice line 1 Table -r half", "\"half\" is no rebate"},
      {"invoice line 1 --text Extra -p 5", "a price without article does not tell its VAT"},
      {"invoice line 1 --edit 2 -p 5", "invoice 1 has no line 2"},
      {"invoice line 1 --edit 1 --remove 1", "a line is either changed or removed"},
      {"invoice rebate 1 lots", "\"lots\" is no rebate"},
      {"invoice new Eken --date soon", "\"soon\" is no day of the calendar"},
      {"invoice new Eken --rounding maybe", "\"maybe\" is no answer"},
  });
}

}  // namespace
}  // namespace bokfolio::test
