#include <sstream>

#include "tests/model/invoicing/invoice_world.hpp"

namespace bokfolio::test {
namespace {

class InvoiceTotalsTest : public InvoiceWorld {
 protected:
  // Lines as a bookkeeper jots them down: "2*100@25 1*80@12", "-" for a missing figure.
  Invoice* invoiceOf(const std::string& lines, const std::string& off = "") {
    Invoice* made = invoice();
    std::istringstream words(lines);
    for (std::string word; words >> word;) {
      const auto times = word.find('*');
      const auto at = word.find('@');
      line(made, maybe(word.substr(0, times)), maybe(word.substr(times + 1, at - times - 1)),
           maybe(word.substr(at + 1)));
    }
    made->setAllowance(rebate(off));
    return made;
  }
  static std::string summary(const Invoice* of) {
    return of->vatSummaryUsingFormatter([](const Decimal& value) { return value.toString(); });
  }
};

TEST_F(InvoiceTotalsTest, AreWhatABookkeeperFindsByHand) {
  struct Case {
    const char *lines, *rebate, *options;
    const char *total, *exclVat, *vat, *rounding, *rebateAmount;
  };
  const Case cases[] = {
      {"", "", "rounded", "0", "0", "0", "0", "0"},
      {"", "50", "", "-50", "0", "-50", "0", "-50"},
      {"1*100@25", "", "", "125", "100", "25", "0", "0"},
      {"2*100@25 1*100@12 4*50@6", "", "", "574", "500", "74", "0", "0"},
      {"2*100@25 1*100@12 4*50@6", "25%", "rounded", "430", "375", "55.5", "-0.5", "-143.5"},
      {"2*100@25 1*100@12 4*50@6", "", "vatfree", "500", "500", "0", "0", "0"},
      {"-*100@25 1*-@25 1*80@25 1*10@-", "", "", "110", "90", "20", "0", "0"},
      // More rates than an invoice usually has, and one written in two ways.
      {"1*100@25 1*100@12 1*100@6 1*100@0 1*100@10 1*100@20 1*100@10 1*100@25", "", "", "908",
       "800", "108", "0", "0"},
      {"1*100@25 1*100@25.0 1*100@2.5 1*100@25", "", "", "477.5", "400", "77.5", "0", "0"},
      // Rounding: half to even, and no part of the VAT.
      {"1*1234.50@0", "", "rounded", "1234", "1234.5", "0", "-0.5", "0"},
      {"1*1235.50@0", "", "rounded", "1236", "1235.5", "0", "0.5", "0"},
      {"-1*12.50@0", "", "rounded", "-12", "-12.5", "0", "0.5", "0"},
      {"-1*13.50@0", "", "rounded", "-14", "-13.5", "0", "-0.5", "0"},
      {"1*1234.50@0", "", "", "1234.5", "1234.5", "0", "0", "0"},
      {"1*99.99@25", "", "rounded", "125", "99.99", "24.9975", "0.0125", "0"},
      // A fixed rebate: whole lines first, the rest cut to cents.
      {"1*80@25 1*64@25", "150", "", "30", "24", "6", "0", "-150"},
      {"1*64@25 1*80@25", "150", "", "30", "24", "6", "0", "-150"},
      {"1*80@25 1*64@25", "100", "", "80", "64", "16", "0", "-100"},
      {"1*80@25 1*64@25", "100.01", "", "79.99", "64", "15.99", "0", "-100.01"},
      {"1*80@25 1*64@25", "180", "", "0", "0", "0", "0", "-180"},
      {"1*80@25 1*64@25", "500", "rounded", "-320", "0", "-320", "0", "-500"},
      {"1*10.005@25", "12.50625", "", "0", "0.005", "-0.005", "0", "-12.50625"},
      {"1*100@12", "10", "", "102", "91.08", "10.92", "0", "-10"},
      {"1*100@25 1*125@0", "130", "", "120", "120", "0", "0", "-130"},
      {"1*125@0 1*100@25", "130", "", "120", "96", "24", "0", "-130"},
      {"1*80@25 -*64@25", "150", "", "-50", "0", "-50", "0", "-150"},
      {"-1*100@25", "10", "", "-135", "0", "-135", "0", "-10"},
      {"1*100@25", "-50", "", "175", "140", "35", "0", "50"},
      {"1*100@25", "50", "vatfree", "50", "60", "-10", "0", "-50"},
      // The cut is made in binary, where 0.84 / 1.12 falls short of 0.75.
      {"1*100@12", "0.84", "", "111.16", "99.26", "11.9", "0", "-0.84"},
      // And in 32 bits.
      {"1*32000000@25", "30000000", "", "10000000", "10525163.53", "-525163.53", "0", "-30000000"},
      {"1*32000000@25", "-30000000", "", "70000000", "53474836.48", "16525163.52", "0", "30000000"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.lines) + " less " + each.rebate + " " + each.options);
    Invoice* made = invoiceOf(each.lines, each.rebate);
    made->setRounding(std::string_view(each.options) == "rounded");
    made->setVatfree(std::string_view(each.options) == "vatfree");
    EXPECT_EQ(made->totalAmount(), dec(each.total));
    EXPECT_EQ(made->totalAmountExclVat(), dec(each.exclVat));
    EXPECT_EQ(made->vatAmount(), dec(each.vat));
    EXPECT_EQ(made->roundingAmount(), dec(each.rounding));
    EXPECT_EQ(made->rebateAmount(), dec(each.rebateAmount));
    EXPECT_EQ(made->valueForKey("vatAmount"), Value(dec(each.vat)));
  }
}

TEST_F(InvoiceTotalsTest, TheRestOfARebateIsCutByTheArticlesRateNotTheLines) {
  Invoice* made = invoiceOf("1*100@25", "50");
  made->lines().first()->setVat(0);
  EXPECT_EQ(made->totalAmountExclVat(), Decimal(60));
  made->lines().first()->setArticle(nullptr);
  EXPECT_EQ(made->totalAmountExclVat(), Decimal(50));
  made->allowance()->setValue(std::nullopt);
  EXPECT_EQ(made->totalAmountExclVat(), Decimal(100));
  made->lines().first()->setArticle(articleAt(-100));
  made->allowance()->setValue(1);
  EXPECT_EQ(made->totalAmountExclVat(), dec("-21474736.47")) << "infinity is cut to its bound";
}

TEST_F(InvoiceTotalsTest, TheVatSummaryShowsBasesByRisingRate) {
  struct Case {
    const char *lines, *rebate, *summary;
  };
  const Case cases[] = {
      {"", "", ""},
      {"1*200@25", "10%", "25%:\t220"},
      {"1*100@25 1*60@12 2*50@25", "", "12%:\t60\n25%:\t200"},
      {"1*100@100 1*60@6.50 2*50@25 1*7@0", "", "0%:\t7\n6.5%:\t60\n25%:\t100\n100%:\t100"},
      {"1*80@25 1*64@25", "150", "25%:\t24"},
      {"1*80@25 1*64@25", "500", "25%:\t0"},
      {"1*100@12", "11.2", "12%:\t90"},
      {"1*100@12 1*100@25", "135", "12%:\t91.07142857142857\n25%:\t0"},
      {"1*1000@- 1*80@25", "50", "25%:\t80"},
      {"1*1000@- 1*80@25", "1050", "25%:\t40"},
      {"1*-@25 -*1@12", "", "12%:\t0\n25%:\t0"},
      {"1*5@-100", "1", "-100%:\tNaN"},
  };
  for (const Case& each : cases)
    EXPECT_EQ(summary(invoiceOf(each.lines, each.rebate)), each.summary)
        << each.lines << " less " << each.rebate;
  Invoice* odd = invoiceOf("1*5@0", "1");
  odd->lines().first()->setArticle(articleAt(-100));
  EXPECT_EQ(summary(odd), "-100%:\t-∞");
  Invoice* free = invoiceOf("1*100.40@25", "10%");
  free->setVatfree(true);
  free->setRounding(true);
  EXPECT_EQ(summary(free), " 0%:\t90");
}

TEST_F(InvoiceTotalsTest, TheLocalAmountFollowsTheRateOfTheDayWhenThereIsOne) {
  Invoice* made = invoiceOf("1*100@25");
  EXPECT_EQ(made->getExchangeRateAndCalculateLocalAmount(), Decimal(1));
  EXPECT_EQ(made->localAmount(), Decimal(125));
  EXPECT_TRUE(world.http->requests().empty()) << "the book's own currency needs no rate";

  made->setCurrency("USD");
  world.http->failNext(Error("test", 1, "no network"));
  made->setLocalAmount(7);
  EXPECT_EQ(made->getExchangeRateAndCalculateLocalAmount(), Decimal(1));
  EXPECT_EQ(made->localAmount(), Decimal(7));
  world.http->answerNext(
      "<e:E xmlns:e='u'><Cube><Cube><Cube currency='USD' rate='1.25'/>"
      "<Cube currency='SEK' rate='11'/></Cube></Cube></e:E>");
  EXPECT_EQ(made->getExchangeRateAndCalculateLocalAmount(), dec("8.8"));
  EXPECT_EQ(made->localAmount(), Decimal(1100));
  for (const std::optional<std::string>& unknown : {std::optional<std::string>("XAU"), {}}) {
    made->setCurrency(unknown);
    EXPECT_EQ(made->getExchangeRateAndCalculateLocalAmount(), Decimal(1));
  }
  made->setBook(nullptr);
  EXPECT_EQ(made->getExchangeRateAndCalculateLocalAmount(), Decimal(1));
  EXPECT_EQ(made->localAmount(), Decimal(1100));
}

}  // namespace
}  // namespace bokfolio::test
