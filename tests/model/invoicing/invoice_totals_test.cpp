#include <algorithm>
#include <random>
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

// Nothing is remembered from one reading to the next.
TEST_F(InvoiceTotalsTest, FollowEveryChangeAtOnce) {
  Invoice* made = invoiceOf("1*100@25 1*80@25");
  InvoiceLine* first = made->lines().first();
  const auto expect = [&](const char* total, const char* vat) {
    EXPECT_EQ(made->totalAmount(), dec(total));
    EXPECT_EQ(made->vatAmount(), dec(vat));
  };
  expect("225", "45");
  first->setPrimitiveValueForKey(200, "price");
  expect("350", "70");
  first->setVat(12);
  expect("324", "44");
  first->setQuantity(std::nullopt);
  expect("100", "20");
  first->setQuantity(1);
  first->setAllowance(rebate("50"));
  expect("268", "38");
  first->allowance()->setValue(100);
  expect("212", "32");
  made->setVatfree(true);
  expect("180", "0");
  made->setVatfree(false);
  made->setAllowance(rebate("112"));
  expect("100", "9.6");
  first->setArticle(articleAt(0));
  expect("100", "32");
  context().deleteObject(first);
  expect("-12", "-12");
  // More lines than are read without copying the set.
  made->setAllowance(nullptr);
  for (int more = 0; more < 70; ++more) line(made, 1, 10, more % 2 == 0 ? 0 : 20);
  expect("870", "90");
}

TEST_F(InvoiceTotalsTest, AreTheSameFromADocumentThatWasJustOpened) {
  Invoice* made = invoiceOf("2*100@25 1*100@12 4*50@6", "25%");
  made->lines().first()->setAllowance(rebate("20"));
  made->setRounding(true);
  for (Article* each : context().fetch<Article>()) each->setName("Any");
  std::optional<Error> error;
  ASSERT_TRUE(context().save(&error)) << error->localizedDescription();
  open();
  made = context().fetchFirst<Invoice>();
  EXPECT_EQ(made->totalAmount(), dec("412"));
  EXPECT_GT(context().releaseUnused(), 0U);
  EXPECT_EQ(made->vatAmount(), dec("51.75"));
  EXPECT_GT(context().releaseUnused(), 0U);
  EXPECT_EQ(made->roundingAmount(), dec("0.25"));
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

// The same invoice in plain integers, in units of 10^-13: two digits each of quantity and price,
// then three for each of the line's rebate, the VAT and the invoice's rebate.
__extension__ typedef __int128 Wide;

struct PlainLine {
  int quantity, price;  // hundredths
  int rate;             // tenths of a percent
  int percentOff;       // of the line, tenths of a percent
  bool priced;          // price and quantity are set
  Wide exclVat = 0, sum = 0;
};

struct PlainInvoice {
  std::vector<PlainLine> lines;
  bool vatfree = false, rounding = false, hasRebate = false, absolute = false;
  int value = 0;  // hundredths, or tenths of a percent
  Wide total = 0, exclVat = 0, vat = 0, roundingAmount = 0, rebate = 0;

  static constexpr Wide kUnit = Wide{10'000'000'000'000};

  void compute() {
    Wide sum = 0;
    for (PlainLine& line : lines) {
      const Wide net =
          line.priced ? Wide{line.quantity} * line.price * (1000 - line.percentOff) : 0;
      line.exclVat = net * 1'000'000;
      line.sum = net * (1000 + (vatfree ? 0 : line.rate)) * 1000;
      sum += line.sum;
      exclVat += line.exclVat;
    }
    if (hasRebate) rebate = absolute ? -value * (kUnit / 100) : -sum / 1000 * value;
    total = sum + rebate;
    if (hasRebate && !absolute) exclVat -= exclVat / 1000 * value;
    if (hasRebate && absolute) takeFixedRebate();
    vat = total - exclVat;
    if (rounding) round();
  }

  void takeFixedRebate() {
    std::stable_sort(lines.begin(), lines.end(), [](const PlainLine& a, const PlainLine& b) {
      return a.priced != b.priced ? a.priced : a.sum > b.sum;
    });
    double rest = value / 100.0;
    for (const PlainLine& line : lines) {
      const double sum = std::stod(decimal(line.sum).toString());
      if (rest <= sum) {
        exclVat -= static_cast<int>(100 * rest / (1 + 0.01 * (line.rate / 10.0))) * (kUnit / 100);
        return;
      }
      rest -= sum;
      exclVat -= line.exclVat;
    }
  }

  void round() {
    Wide whole = total / kUnit;
    const Wide over = total % kUnit * 2;
    const bool isOdd = whole % 2 != 0;
    if (over > kUnit || (over == kUnit && isOdd)) ++whole;
    if (over < -kUnit || (over == -kUnit && isOdd)) --whole;
    roundingAmount = whole * kUnit - total;
    total = whole * kUnit;
  }

  static Decimal decimal(Wide units) {
    return Decimal::fromParts(static_cast<UInt128>(units < 0 ? -units : units), -13, units < 0);
  }
};

class RandomInvoices : public InvoiceTotalsTest {
 protected:
  int upTo(int bound) { return std::uniform_int_distribution(0, bound)(random_); }
  bool oneIn(int times) { return upTo(times - 1) == 0; }

  PlainInvoice draw() {
    PlainInvoice plain;
    constexpr int kRates[] = {250, 120, 60, 0, 175};
    for (int count = upTo(5); count > 0; --count)
      plain.lines.push_back({(1 + upTo(50)) * (oneIn(2) ? 100 : 25) * (oneIn(9) ? -1 : 1),
                             upTo(oneIn(3) ? 100'000 : 500) * (oneIn(2) ? 1 : 100), kRates[upTo(4)],
                             oneIn(4) ? upTo(1000) : 0, !oneIn(12)});
    plain.vatfree = oneIn(5);
    plain.rounding = oneIn(2);
    plain.hasRebate = !oneIn(3);
    plain.absolute = oneIn(2);
    plain.value = upTo(plain.absolute ? (oneIn(3) ? 10'000'000 : 50'000) : 1000);
    return plain;
  }
  Invoice* real(const PlainInvoice& plain) {
    Invoice* made = invoice();
    for (const PlainLine& each : plain.lines) {
      const auto set = [&](int value) {
        return each.priced ? std::optional(Decimal(value).scaledByPowerOf10(-2)) : std::nullopt;
      };
      InvoiceLine* added =
          line(made, set(each.quantity), set(each.price), Decimal(each.rate).scaledByPowerOf10(-1));
      if (each.percentOff == 0) continue;
      added->setAllowance(context().insert<Allowance>());
      added->allowance()->setValue(Decimal(each.percentOff).scaledByPowerOf10(-1));
    }
    made->setVatfree(plain.vatfree);
    made->setRounding(plain.rounding);
    if (!plain.hasRebate) return made;
    made->setAllowance(context().insert<Allowance>());
    made->allowance()->setAbsolute(plain.absolute);
    made->allowance()->setValue(Decimal(plain.value).scaledByPowerOf10(plain.absolute ? -2 : -1));
    return made;
  }

  std::mt19937 random_{20090331};
};

TEST_F(RandomInvoices, ComeToWhatPlainIntegersSay) {
  context().setUndoEnabled(false);
  const Decimal half = dec("0.5");
  for (int round = 0; round < 10'000 && !HasFailure(); ++round) {
    PlainInvoice plain = draw();
    Invoice* made = real(plain);
    plain.compute();
    EXPECT_EQ(made->totalAmount(), PlainInvoice::decimal(plain.total)) << round;
    EXPECT_EQ(made->totalAmountExclVat(), PlainInvoice::decimal(plain.exclVat)) << round;
    EXPECT_EQ(made->vatAmount(), PlainInvoice::decimal(plain.vat)) << round;
    EXPECT_EQ(made->rebateAmount(), PlainInvoice::decimal(plain.rebate)) << round;
    EXPECT_EQ(made->roundingAmount(), PlainInvoice::decimal(plain.roundingAmount)) << round;
    EXPECT_LE(made->roundingAmount().absolute(), half) << round;
    context().deleteObject(made);
  }
}

}  // namespace
}  // namespace bokfolio::test
