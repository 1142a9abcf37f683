#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class CliSupplier : public testing::Test {
 protected:
  CliSupplier() {
    desk.furnish();
    desk.ok("account add 2641 'VAT on purchases'");
    desk.ok("account add 4020 Fittings");
  }
  Desk desk;
};

TEST_F(CliSupplier, RatesOfVatAndACreditedLineAreBookedToABalancedEntry) {
  desk.ok("supplier add 'Oak & Elm' 4711 --date 2025-03-03 --days 20 --tag 10 --credit 2440");
  desk.ok("supplier line 4711 Boards 4010:800.10 --vat 25 --vat-account 2641");
  desk.ok("supplier line 4711 Guidebook Fittings:100.05 --vat 12% --vat-account 2641");
  desk.ok("supplier line 4711 'Boards returned' 4010:-200.05");
  desk.ok("supplier line 4711 Postage 4020:50 --vat 0");
  const Json bill = desk.json("supplier show 4711");
  EXPECT_EQ(bill["dueDate"], "2025-03-23");
  EXPECT_EQ(bill["booked"], false);
  EXPECT_EQ(bill["sums"], Json({{"rates",
                                 {{{"percent", "0"}, {"base", "50"}, {"vat", "0"}},
                                  {{"percent", "12"}, {"base", "100.05"}, {"vat", "12.01"}},
                                  {{"percent", "25"}, {"base", "600.05"}, {"vat", "150.01"}}}},
                                {"net", "750.1"},
                                {"vat", "162.02"},
                                {"total", "912.12"}}));

  const Json booked = desk.json("supplier book 4711");
  ASSERT_EQ(booked["filed"].size(), 1U);
  const Json& entry = booked["filed"][0];
  expectParts(entry, R"({"number": 1, "date": "2025-03-03",
                         "text": "Supplier's bill 4711, Oak & Elm"})"_json);
  EXPECT_THAT(rowsOf(entry, {"tag"}),
              ElementsAre("4010 800.1 0 10", "2641 200.02 0", "4020 100.05 0 10", "2641 12.01 0",
                          "4010 0 200.05 10", "2641 0 50.01", "4020 50 0 10", "2440 0 912.12"));
  EXPECT_EQ(booked["bill"]["localAmount"], "912.12");
  EXPECT_EQ(booked["bill"]["entries"][0], entry);
  EXPECT_EQ(desk.json("supplier show b1"), booked["bill"]);
  EXPECT_TRUE(desk.json("check")["sound"]);

  const std::string shown = plain(desk.ok("supplier show 4711"));
  for (const char* part : {"25 %         600,05  150,01         750,06", "Total: 912,12 SEK",
                           "Entry 1 of 2025  2025-03-03", "Left to pay: 912,12 SEK"}) {
    EXPECT_THAT(shown, HasSubstr(part));
  }
  desk.refuses("supplier book 4711", "bill 4711 from Oak & Elm is booked already", 1);
  desk.refuses("supplier line 4711 More 4010:5 --vat 0", "is booked; its lines stay", 1);
}

TEST_F(CliSupplier, AmountsBelowTheHundredthAddUpAndLeaveNoEmptyRow) {
  desk.ok("supplier add Oak 8 --credit 2440 --currency EUR");
  const char* lines[] = {"4010:0.01 --vat 25",   "4010:0.01",          "4010:0.01",
                         "4020:0.33 --vat 12",   "4020:-0.07 --vat 6", "4020:0.3334 --vat 12",
                         "4010:-0.004 --vat 25", "4020:7.0051 --vat 0"};
  for (const std::string line : lines) {
    desk.ok("supplier line 8 Screws " + line + " --vat-account 2641");
  }
  const std::pair<const char*, int> rates[] = {{"1", 10000}, {"0.0897", 897}, {"11.4217", 114217}};
  for (const auto& [rate, tenThousandths] : rates) {
    const Json booked = desk.json("supplier book 8 --rate " + std::string(rate));
    const Json& sums = booked["bill"]["sums"];
    std::int64_t base = 0;
    std::int64_t vat = 0;
    for (const Json& part : sums["rates"]) {
      base += hundredths(part["base"]);
      vat += hundredths(part["vat"]);
      EXPECT_TRUE(part["percent"] != "0" || part["vat"] == "0");
    }
    const std::int64_t total = hundredths(sums["total"]);
    EXPECT_EQ(base, hundredths(sums["net"]));
    EXPECT_EQ(vat, hundredths(sums["vat"]));
    EXPECT_EQ(base + vat, total);
    std::int64_t debt = 0;
    std::string struck;
    for (const Json& row : booked["filed"][0]["rows"]) {
      const std::int64_t net = hundredths(row["debit"]) - hundredths(row["credit"]);
      EXPECT_NE(net, 0) << row;
      if (row["account"] == 2440) debt -= net;
      struck += " " + row["row"].dump();
    }
    EXPECT_EQ(debt, (total * tenThousandths + 5000) / 10000) << rate;
    // Struck whole, the bill can be booked anew.
    desk.ok("entry strike " + booked["filed"][0]["number"].dump() + struck);
    EXPECT_EQ(desk.json("supplier show 8")["booked"], false);
  }
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliSupplier, PaymentsTakeOffWhatTheEntriesOwe) {
  desk.ok("supplier add Oak 1 --credit 2440");
  desk.ok("supplier line 1 Boards 4010:1000 --vat 25 --vat-account 2641");
  desk.refuses("supplier pay 1 --from 1930", "is not booked yet", 1);
  desk.ok("supplier book 1");
  desk.refuses("supplier pay 1 --from 2440", "the account of the debt itself", 2);
  desk.refuses("supplier pay 1 --from 1930 --amount 1250.01", "1 250,00 SEK is left to pay", 1);
  desk.refuses("supplier pay 1 --from 1930 --amount 1000 --in-full", "1 250,00 SEK is left to pay",
               1);
  desk.refuses("supplier pay 1 --from 1930 --amount 0", "1 250,00 SEK is left to pay", 2);

  const Json part = desk.json("supplier pay 1 --from 1930 --amount 450 --date 2025-03-20");
  expectParts(part["bill"], R"({"state": "open", "owed": "800"})"_json);
  EXPECT_EQ(part["filed"][0]["number"], 2);
  const Json rest = desk.json("supplier pay 1 --from Bank --date 2025-04-01");
  EXPECT_THAT(rowsOf(rest["filed"][0]), ElementsAre("2440 800 0", "1930 0 800"));
  EXPECT_EQ(rest["filed"][0]["text"], "Paid supplier's bill 1, Oak");
  expectParts(rest["bill"], R"({"paidDate": "2025-04-01", "owed": "0"})"_json);
  desk.refuses("supplier pay 1 --from 1930", "was paid on 2025-04-01", 1);
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliSupplier, ACreditNoteIsOwedByTheSupplierAndABillOfNothingIsPaid) {
  desk.ok("supplier add Oak 2 --credit 2440");
  desk.ok("supplier line 2 Returned 4010:-100 --vat-account 2641");
  EXPECT_EQ(desk.json("supplier book 2")["bill"]["owed"], "-125");
  EXPECT_THAT(rowsOf(desk.json("supplier pay 2 --from 1930")["filed"][0]),
              ElementsAre("2440 0 125", "1930 125 0"));

  desk.ok("supplier add Oak 3 --credit 2440");
  desk.ok("supplier line 3 Boards 4010:10 --vat 0");
  desk.ok("supplier line 3 Exchanged 4020:-10 --vat 0");
  const Json even = desk.json("supplier book 3");
  EXPECT_THAT(rowsOf(even["filed"][0]), ElementsAre("4010 10 0", "4020 0 10"));
  EXPECT_EQ(even["bill"]["state"], "paid");
}

TEST_F(CliSupplier, AnotherCurrencyIsBookedAtARateAndTheRestIsTheRates) {
  desk.ok("account add 3960 Gains");
  desk.ok("account add 7960 Losses");
  const char* bills[] = {"E1", "E2"};
  for (const std::string bill : bills) {
    desk.ok("supplier add Holz " + bill + " --currency EUR --credit 2440");
    desk.ok("supplier line " + bill + " Beech 4010:33.33 --vat 25 --vat-account 2641");
    desk.ok("supplier line " + bill + " Ash 4010:33.34");
  }
  EXPECT_EQ(desk.json("supplier show E1")["owed"], nullptr);
  desk.refuses("supplier book E1",
               "bill E1 from Holz is in EUR, the book in SEK; name what one EUR", 1);
  desk.refuses("supplier book E1 --rate 0", "\"0\" is no exchange rate", 2);
  for (const std::string bill : bills) {
    const Json booked = desk.json("supplier book " + bill + " --rate 11.4217");
    EXPECT_THAT(rowsOf(booked["filed"][0]),
                ElementsAre("4010 380.68 0", "2641 95.14 0", "4010 380.8 0", "2641 95.26 0",
                            "2440 0 951.88"));
    EXPECT_EQ(booked["bill"]["sums"]["total"], "83.34");
  }
  desk.refuses("supplier pay E1 --from 1930 --amount 960", "add --in-full", 1);
  desk.refuses("supplier pay E1 --from 1930 --amount 960 --in-full",
               "no account of exchange losses", 1);
  desk.ok("book set --gains 3960 --losses 7960");
  EXPECT_THAT(rowsOf(desk.json("supplier pay E1 --from 1930 --amount 960 --in-full")["filed"][0]),
              ElementsAre("2440 951.88 0", "1930 0 960", "7960 8.12 0"));
  const Json gained = desk.json("supplier pay E2 --from 1930 --amount 950 --in-full");
  EXPECT_THAT(rowsOf(gained["filed"][0]),
              ElementsAre("2440 951.88 0", "1930 0 950", "3960 0 1.88"));
  EXPECT_EQ(gained["bill"]["state"], "paid");
  desk.ok("supplier add Oak 9 --currency SEK");
  desk.ok("supplier line 9 Boards 4010:5 --vat 0");
  desk.refuses("supplier book 9 --rate 2 --credit 2440", "is in SEK already; leave out --rate", 2);
}

TEST_F(CliSupplier, WhatFailsLeavesTheDocumentAsItWas) {
  desk.ok("supplier add Oak 5 --date 2024-12-20");
  desk.refuses("supplier book 5", "has no account for the debt; name one with --credit", 1);
  desk.refuses("supplier book 5 --credit 2440", "has no lines", 1);
  desk.refuses("supplier line 5 Boards 4010:100", "the account of the VAT is not named", 2);
  desk.refuses("supplier line 5 Boards 4010", "the line has no amount", 2);
  desk.refuses("supplier line 5 Boards 9999:100 --vat 0", "there is no account \"9999\"", 1);
  desk.refuses("supplier line 5 Boards 4010:100 --vat -1", "is no rate of VAT", 2);
  desk.refuses("supplier line 5", "no line is described", 2);
  desk.ok("supplier line 5 Boards 4010:100 --vat 0");
  desk.refuses("supplier line 5 --remove 2", "has no line 2", 1);
  // The rows are made, the debt is credited, and then there is no year for them.
  desk.refuses("supplier book 5 --credit 2440",
               "There is no fiscal year for the date of the entry; add one", 1);
  EXPECT_EQ(desk.json("supplier show 5")["creditAccount"], nullptr);
  desk.ok("entry add --no-file 4010:1");
  desk.refuses("supplier book 5 --credit 2440 --date 2025-01-02", "the new entry holds 1 unfiled",
               1);
  desk.ok("entry discard");
  desk.refuses("supplier book 5 --credit 4010 --date 2025-01-02", "is on the account of the debt",
               1);
  EXPECT_EQ(desk.json("supplier book 5 --credit 2440 --date 2025-01-02")["filed"][0]["number"], 1);

  desk.refuses("supplier add Oak 5", "bill 5 from Oak is registered already, as b1", 1);
  desk.refuses("supplier add Oak 6 --due 2025-03-14", "due before its date", 2);
  desk.refuses("supplier add Oak 6 --due 2025-03-16 --days 5", "given twice", 2);
  desk.refuses("supplier add Oak 6 --country Sweden", "is no country", 2);
  desk.refuses("supplier show 6", "there is no supplier's bill \"6\"", 1);
}

TEST_F(CliSupplier, TermsComeFromTheBillBeforeAndListsTellWhatIsDue) {
  desk.ok("supplier add Oak 7 --date 2025-02-10 --days 20 --currency EUR");
  const Json next = desk.json("supplier add Elm 7 --street 'Storgatan 1' --payment '123-4567'");
  expectParts(next,
              R"({"currency": "EUR", "dueDate": "2025-04-04", "paymentInfo": "123-4567"})"_json);
  desk.ok("supplier add Ash b2 --due 2025-03-15");
  desk.refuses("supplier show 7", "more than one supplier's bill is called \"7\"; write b1 or b2",
               1);
  desk.refuses("supplier show b2", "write b2 or b3", 1);

  EXPECT_EQ(desk.json("supplier list").size(), 3U);
  EXPECT_THAT(eachOf<std::string>(desk.json("supplier list --overdue"), "bill"), ElementsAre("b1"));
  EXPECT_THAT(
      eachOf<std::string>(desk.json("--now 2025-03-15T23:30:00 supplier list --overdue"), "bill"),
      ElementsAre("b1"));
  EXPECT_THAT(
      eachOf<std::string>(desk.json("--now 2025-03-16T00:10:00 supplier list --overdue"), "bill"),
      ElementsAre("b1", "b3"));
  desk.ok("supplier line b3 Ash 4010:5 --vat 0");
  desk.ok("supplier line b3 More 4010:6 --vat 0");
  EXPECT_EQ(desk.json("supplier line b3 --remove 1")["lines"][0]["text"], "More");
  desk.ok("supplier book b3 --rate 10 --credit 2440");
  desk.ok("supplier pay b3 --from 1930");
  EXPECT_THAT(eachOf<std::string>(desk.json("supplier list --unpaid"), "bill"),
              ElementsAre("b1", "b2"));
  EXPECT_THAT(desk.ok("supplier list"), HasSubstr("paid 2025-03-15"));
}

}  // namespace
}  // namespace bokfolio::test
