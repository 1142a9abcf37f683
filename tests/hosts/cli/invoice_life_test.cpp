#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class CliInvoiceLife : public testing::Test {
 protected:
  CliInvoiceLife() {
    desk.ok("new book --year 2025");
    desk.ok("book set --days 30 --automatic yes --filing twice");
    desk.ok("article add Table -p 1000 --sales 3001 --vat-account 2611");
    desk.ok("article add Course -p 100 --vat 12 --sales 3002 --vat-account 2621");
  }
  // Makes an invoice of one Table, 1250 with VAT, with what is said of it, and sends it.
  void sendTable(const std::string& head = "", const std::string& sending = "") const {
    desk.ok("-q invoice new Eken " + head);
    const std::string number = std::to_string(desk.json("invoice list").size());
    desk.ok("-q invoice line " + number + " Table -p 1000");
    desk.ok("-q invoice send " + number + " " + sending);
  }
  std::string receivable() const {
    const Json balance = desk.json("balance --all");
    for (const Json& account : balance["accounts"]) {
      if (account["number"] == 1510) return account["closing"].get<std::string>();
    }
    return "none";
  }
  Desk desk;
};

TEST_F(CliInvoiceLife, SentPaidInPartsAndFiledInDateOrder) {
  desk.ok("invoice new Eken --rounding yes --date 2025-03-01");
  desk.ok("invoice line 1 Table 2");
  desk.ok("invoice line 1 Course 1.51");
  const Json sent = desk.json("invoice send 1");
  expectParts(sent["invoice"],
              R"({"status": "sent", "dueDate": "2025-03-31", "owed": "2669"})"_json);
  ASSERT_EQ(sent["entries"].size(), 1U);
  expectParts(sent["entries"][0],
              R"({"text": "Sent invoice 1", "date": "2025-03-01", "number": null})"_json);
  EXPECT_THAT(rowsOf(sent["entries"][0]),
              UnorderedElementsAre("3001 0 2000", "2611 0 500", "3002 0 151", "2621 0 18.12",
                                   "3740 0.12 0", "1510 2669 0"));

  desk.ok("entry add --date 2025-03-02 1930:5 3001:-5");
  const Json part = desk.json("invoice pay 1 669 -a 1930 --date 2025-03-10");
  expectParts(part["invoice"], R"({"status": "partlyPaid", "remaining": "2000"})"_json);
  EXPECT_THAT(rowsOf(part["entries"][0]), ElementsAre("1510 0 669", "1930 669 0"));
  expectParts(desk.json("invoice pay 1 2000 --date 2025-03-05 --account 1930")["invoice"],
              R"({"status": "paid", "paidDate": "2025-03-05"})"_json);

  EXPECT_EQ(desk.json("entry list --unfiled").size(), 2U);
  const Json upTo = desk.json("invoice file --to 2025-03-05")["filed"];
  EXPECT_THAT(eachOf<std::string>(upTo, "text"), ElementsAre("Paid invoice 1"));
  EXPECT_EQ(desk.json("invoice file")["filed"][0]["text"], "Partially paid invoice 1");
  EXPECT_EQ(desk.json("invoice file")["filed"], Json::array());
  EXPECT_EQ(receivable(), "0");
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliInvoiceLife, DustBelowAHundredthIsPaidWithTheRest) {
  desk.ok("invoice new Eken");
  desk.ok("invoice line 1 Table -p 33,333");
  EXPECT_EQ(desk.json("invoice send 1")["invoice"]["owed"], "41.66625");
  desk.ok("invoice pay 1 20 -a 1930");
  expectParts(desk.json("invoice pay 1 21.67 -a 1930")["invoice"],
              R"({"status": "paid", "remaining": "0"})"_json);
  desk.ok("invoice file");
  EXPECT_EQ(receivable(), "0");
}

TEST_F(CliInvoiceLife, OverdueIsSeenRemindedAndListed) {
  sendTable("--date 2025-01-10");
  sendTable("--date 2025-03-01");
  sendTable("--date 2025-01-20");
  desk.ok("invoice new Alm");
  desk.ok("invoice pay 3 250 -a 1930");
  const auto numbers = [&](const std::string& words) {
    return eachOf<int>(desk.json("invoice list " + words), "number");
  };
  EXPECT_THAT(numbers("--overdue"), ElementsAre(1, 3));
  EXPECT_THAT(numbers("--unpaid"), ElementsAre(1, 2, 3));
  EXPECT_THAT(numbers("--unsent"), ElementsAre(4));
  EXPECT_THAT(plain(desk.ok("invoice list --unpaid")), HasSubstr("3 500,00"));
  EXPECT_EQ(desk.json("invoice show 1")["status"], "overdue");
  EXPECT_EQ(desk.json("invoice remind 1")["invoice"]["status"], "reminded");
  EXPECT_EQ(desk.json("invoice remind 1")["invoice"]["status"], "remindedTwice");
  EXPECT_THAT(numbers("--overdue"), ElementsAre(1, 3));
  desk.refuses({{"invoice remind 1", "invoice 1 wants no reminder"},
                {"invoice remind 2", "wants no reminder: Sent"},
                {"invoice remind 4", "wants no reminder: Not sent"}});
}

TEST_F(CliInvoiceLife, ExchangeDifferencesAreBookedWhenPaidInFull) {
  sendTable("--currency EUR --vat-free yes", "--rate 11,42");
  const Json paid = desk.json("invoice pay 1 10900 -a 1930 --in-full");
  EXPECT_EQ(paid["invoice"]["status"], "paid");
  EXPECT_THAT(rowsOf(paid["entries"][0]),
              ElementsAre("1510 0 11420", "1930 10900 0", "7960 520 0"));
  sendTable("--currency EUR --vat-free yes", "--rate 11,42");
  desk.refuses({{"invoice pay 2 11500 -a 1930",
                 "11 420,00 SEK is left to pay of invoice 2; add --in-full"}});
  // The loss of invoice 1 was booked already, the return claims it again.
  EXPECT_THAT(plain(desk.ok("invoice return 1 --refund-from 1930")),
              HasSubstr("the exchange difference of 520,00 SEK is now on accounts receivable"));
  desk.ok("book set --gains '' --losses 7960");
  desk.refuses({{"invoice pay 2 11500 -a 1930 --in-full",
                 "gains and losses are missing; name them with 'bokfolio book set --gains"}});
}

TEST_F(CliInvoiceLife, ARateIsNamedOrHadFromTheServerOrMissed) {
  desk.ok("invoice new Holz --currency EUR --vat-free yes");
  desk.ok("invoice line 1 Table -p 100");
  desk.refuses({{"invoice send 1 --server http://localhost:1", "EUR is in SEK with --rate"},
                {"invoice send 1 --rate 0", "\"0\" is no exchange rate"}});
  expectParts(desk.json("invoice send 1 --rate 11.5")["invoice"],
              R"({"owed": "1150", "exchangeRate": "11.5"})"_json);
}

TEST_F(CliInvoiceLife, ReturnsAndLossesReverseWhatWasBooked) {
  sendTable();
  EXPECT_THAT(rowsOf(desk.json("invoice return 1")["entries"][0]),
              UnorderedElementsAre("3001 1000 0", "2611 250 0", "1510 0 1250"));
  sendTable();
  desk.ok("invoice pay 2 500 -a 1930");
  desk.refuses({{"invoice return 2", "the customer has paid 500,00 SEK"}});
  const Json back = desk.json("invoice return 2 --refund-from 1930");
  EXPECT_EQ(back["invoice"]["status"], "returned");
  EXPECT_THAT(rowsOf(back["entries"][0]),
              UnorderedElementsAre("3001 1000 0", "2611 250 0", "1930 0 500", "1510 0 750"));
  sendTable();
  desk.ok("invoice pay 3 500 -a 1930");
  const Json lost = desk.json("invoice loss 3");
  EXPECT_EQ(lost["invoice"]["status"], "lost");
  EXPECT_THAT(rowsOf(lost["entries"][0]),
              UnorderedElementsAre("3001 600 0", "2611 150 0", "1510 0 750"));
  EXPECT_EQ(desk.json("invoice file")["filed"].size(), 8U);
  EXPECT_EQ(receivable(), "0");
  desk.refuses({{"invoice return 1", "already returned"},
                {"invoice loss 2", "returned, paid or already"},
                {"invoice pay 3 -a 1930", "invoice 3 is not to be paid: Customer loss"},
                {"invoice line 3 Table", "invoice 3 is sent already"},
                {"invoice set 3 --note x", "invoice 3 is sent already"},
                {"invoice send 3", "invoice 3 is sent already"}});
}

TEST_F(CliInvoiceLife, AReversalThatWouldNotBalanceIsExplainedAndSettled) {
  // Rounded down by 0.5; a third is left.
  for (const char* number : {"1", "2"}) {
    desk.ok("-q invoice new Eken --rounding yes");
    desk.ok("-q invoice line " + std::string(number) + " Table -p 1000.40");
    desk.ok("-q invoice send " + std::string(number));
  }
  desk.ok("invoice pay 1 625 -a 1930");
  desk.ok("invoice pay 2 834 -a 1930");
  desk.refuses(
      {{"invoice loss 1", "off balance by 0,25 SEK, and could not be filed; add --round"}});
  const Json half = desk.json("invoice loss 1 --round");
  EXPECT_THAT(rowsOf(half["entries"][0]),
              UnorderedElementsAre("3001 500.2 0", "2611 125.05 0", "3740 0 0.25", "1510 0 625"));
  desk.ok("invoice loss 2 --round");
  EXPECT_EQ(desk.json("invoice file")["filed"].size(), 6U);
  EXPECT_EQ(receivable(), "0");
  EXPECT_TRUE(desk.json("check")["sound"]);
}

TEST_F(CliInvoiceLife, AFailedStepLeavesTheInvoiceAsItWas) {
  desk.ok("invoice new Eken");
  desk.refuses({{"invoice send 1", "requires some lines to send; add some"}});
  desk.ok("article add Stool -p 100 --vat 6 --sales 3003");
  desk.ok("invoice line 1 Stool");
  desk.refuses({{"invoice send 1", "article 3 Stool has no VAT account; 'bokfolio article set 3"},
                {"invoice send 1 --rate 2", "invoice 1 is in SEK already"},
                {"invoice pay 1 -a 1930", "invoice 1 is not sent yet"},
                {"invoice return 1", "invoice 1 is not sent yet"}});
  desk.ok("invoice line 1 --text 'By order' --edit 1 --vat 0");
  desk.ok("invoice line 1 --text Thanks");
  desk.refuses({{"invoice send 1", "line 2 has no article, so it cannot be booked"}});
  desk.ok("invoice line 1 --remove 2");
  desk.ok("invoice rebate 1 150");
  desk.refuses({{"invoice send 1", "the total is -50,00 SEK, so there is nothing to pay"}});
  desk.ok("invoice rebate 1 ''");
  desk.ok("book set --receivable ''");
  desk.refuses({{"invoice send 1", "name it with 'bokfolio book set --receivable ACCOUNT'"}});
  desk.ok("book set --receivable 1510");
  desk.ok("invoice send 1");
  desk.refuses({{"invoice pay 1 101 -a 1930", "must not exceed the amount owed"},
                {"invoice pay 1 100", "the account that received the money is not named"},
                {"invoice pay 1 -- -5", "a payment of -5 is none"},
                {"--locale sv_SE invoice return 1", "--locale in which it was made"}});
  desk.ok("invoice new");
  desk.refuses({{"invoice send 2", "invoice 2 has no customer"}});
}

TEST_F(CliInvoiceLife, WhatIsClaimedIsWhatTheInvoiceSays) {
  // A fixed rebate is booked without the rate, and without VAT only in part.
  desk.ok("-q invoice new Eken --currency EUR --vat-free yes");
  desk.ok("-q invoice line 1 Table -p 100");
  desk.ok("-q invoice rebate 1 10");
  desk.ok("-q invoice new Eken --vat-free yes");
  desk.ok("-q invoice line 2 Table");
  desk.ok("-q invoice rebate 2 100");
  desk.refuses({{"invoice send 1 --rate 10", "the invoice 900,00 SEK; give the rebate in percent"},
                {"invoice send 2", "the entry would claim 920,00 SEK, the invoice 900,00 SEK"}});
  desk.ok("article set Table --sales 1930");
  desk.ok("-q invoice new Eken");
  desk.ok("-q invoice line 3 Table");
  desk.refuses({{"invoice send 3", "must be of type income or debt"}});
}

TEST_F(CliInvoiceLife, EntriesThatWaitAreShownAndCorrectedByTheirPlace) {
  sendTable("--date 2025-02-10");
  sendTable("--date 2025-02-03");
  EXPECT_THAT(desk.ok("entry list --unfiled"), HasSubstr("u2"));
  EXPECT_EQ(desk.json("entry show u1")["text"], "Sent invoice 2");
  const Json edited = desk.json("entry edit u1 3003:-1000 --strike 2 --text 'Sent invoice 2!'");
  EXPECT_EQ(edited["number"], nullptr);
  EXPECT_EQ(edited["text"], "Sent invoice 2!");
  EXPECT_THAT(rowsOf(edited), UnorderedElementsAre("2611 0 250", "1510 1250 0", "3003 0 1000"));
  desk.refuses({{"entry edit u1 1930:5", "debit exceeds credit by 5,00"},
                {"entry show u3", "no entry u3 waits to be filed"}});
  const Json filed = desk.json("invoice file")["filed"];
  EXPECT_EQ(filed[0]["text"], "Sent invoice 2!");
  EXPECT_EQ(filed[0]["number"], 1);
  EXPECT_EQ(desk.json("entry show 2")["text"], "Sent invoice 1");

  sendTable("--date 2026-02-03");
  sendTable("--date 2025-04-03");
  desk.refuses({{"invoice file", "add one with 'bokfolio year add YEAR'"}});
  EXPECT_EQ(desk.json("entry list --unfiled").size(), 2U);
}

}  // namespace
}  // namespace bokfolio::test
