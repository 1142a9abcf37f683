#include "bokfolio/model/invoicing/invoice_line.hpp"

#include <cmath>

#include "tests/model/invoicing/invoice_world.hpp"

namespace bokfolio::test {
namespace {

using InvoiceLineTest = InvoiceWorld;

TEST_F(InvoiceLineTest, SumsAreExactAndNilWithoutTheirOperands) {
  struct Case {
    const char *quantity, *price, *vat, *rebate;
    bool vatfree;
    const char *exclVat, *lineVat, *sum, *local;  // local at 10.5 a unit
  };
  const Case cases[] = {
      {"3", "100", "25", "", false, "300", "75", "375", "3150"},
      {"3", "100", "25", "10%", false, "270", "67.5", "337.5", "2835"},
      {"3", "100", "25", "50", false, "250", "62.5", "312.5", "2625"},
      {"3", "100", "25", "400", false, "-100", "-25", "-125", "-1050"},
      {"3", "100", "25", "10%", true, "270", "0", "270", "2835"},
      {"-2", "49.90", "12", "", false, "-99.8", "-11.976", "-111.776", "-1047.9"},
      {"0.333", "19.99", "6", "2.5%", false, "6.49025325", "0.389415195", "6.879668445",
       "68.147659125"},
      {"3", "100", "0", "", false, "300", "0", "300", "3150"},
      {"3", "100", "-", "", false, "300", "-", "300", "3150"},
      {"3", "-", "25", "10%", false, "-", "-", "-", "-"},
      {"-", "100", "25", "", false, "-", "-", "-", "-"},
      {"-", "100", "25", "", true, "-", "0", "-", "-"},
      {"3", "100", "-", "", true, "300", "0", "300", "3150"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.quantity) + " * " + each.price + " at " + each.vat + " less " +
                 each.rebate);
    Invoice* of = invoice();
    of->setVatfree(each.vatfree);
    InvoiceLine* made = line(of, maybe(each.quantity), maybe(each.price), maybe(each.vat));
    made->setAllowance(rebate(each.rebate));
    EXPECT_EQ(made->lineSumExclVat(), maybe(each.exclVat));
    EXPECT_EQ(made->lineVat(), maybe(each.lineVat));
    EXPECT_EQ(made->lineSum(), maybe(each.sum));
    const bool hasSum = made->lineSumExclVat().has_value();
    EXPECT_EQ(made->localAmount(), hasSum ? maybe("0") : maybe("-")) << "no rate yet";
    of->setExchangeRate(dec("10.5"));
    EXPECT_EQ(made->localAmount(), maybe(each.local));
    made->setInvoice(nullptr);
    EXPECT_EQ(made->lineSumExclVat(), maybe(each.exclVat)) << "a line stands by itself";
    EXPECT_EQ(made->localAmount(), hasSum ? maybe("0") : maybe("-"));
  }
}

TEST_F(InvoiceLineTest, NumberAndNameTakeTheArticleOverTheArticleItselfDoesNot) {
  Article* bolt = article("12", 12, dec("7.50"));
  bolt->setName("Bolt M8");
  Article* nut = article("N-1", std::nullopt, 3);
  nut->setName("Nut");
  struct Case {
    const char* key;
    Value value;
    Article* article;
    const char *price, *vat;
  };
  const Case cases[] = {
      {"article", bolt, bolt, "1", "2"},
      {"article", "12 pieces", bolt, "1", "2"},
      {"article", 12, bolt, "1", "2"},
      {"article", dec("12.0"), bolt, "1", "2"},
      {"article", dec("12.5"), nullptr, "1", "2"},
      {"article", "N-1", nullptr, "1", "2"},  // its leading integer is 0
      {"article", nullptr, nullptr, "1", "2"},
      {"articleNumber", "12", bolt, "7.5", "12"},
      {"articleNumber", "N-1", nut, "3", "0"},
      {"articleNumber", "12 pieces", nullptr, "-", "0"},
      {"articleNumber", nullptr, nullptr, "-", "0"},
      {"articleName", "bolt m8", bolt, "7.5", "12"},
      {"articleName", "b*8", bolt, "7.5", "12"},
      {"articleName", "Bolt", nullptr, "-", "0"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.key) + " = " + each.value.description());
    InvoiceLine* made = line(invoice(), 1, 1, 2);
    made->setArticle(nut);
    made->setValueForKey(each.value, each.key);
    EXPECT_EQ(made->article(), each.article);
    EXPECT_EQ(made->price(), maybe(each.price));
    EXPECT_EQ(made->vat(), maybe(each.vat));
    EXPECT_EQ(made->articleNumber(), each.article ? each.article->number() : std::nullopt);
    EXPECT_EQ(made->articleName(), each.article ? each.article->name() : std::nullopt);
  }
}

TEST_F(InvoiceLineTest, ADependentTaxIsAShareOfTheLineAbove) {
  Article* fee = article("F", 6, 1000);
  fee->setIsDependentTax(true);
  fee->setDependentTaxLevel(2.5);
  Invoice* of = invoice();
  InvoiceLine* first = line(of, 10, 100);
  InvoiceLine* second = line(of, 4, 10);
  InvoiceLine* third = line(of, 7, 8);
  first->setNumber(10);
  second->setNumber(20);
  const auto take = [&](std::optional<std::int64_t> number) {
    third->setNumber(number);
    third->setQuantity(7);
    third->setPrice(8);
    third->setArticleNumber("F");
    return third->quantity().value().toString() + " * " + third->price().value().toString();
  };
  EXPECT_EQ(take(15), "1 * 25");
  EXPECT_EQ(third->vat(), Decimal(6));
  EXPECT_EQ(take(30), "1 * 1");
  EXPECT_EQ(take(20), "1 * 25") << "a line of the same number is not above";
  EXPECT_EQ(take(10), "7 * 8") << "there is no line above";
  EXPECT_EQ(take(std::nullopt), "7 * 8");
  first->setAllowance(rebate("10%"));
  EXPECT_EQ(take(15), "1 * 22.5");
  second->setNumber(10);
  EXPECT_EQ(take(15), "1 * 1") << "of equal numbers the one made last is next above";
  second->setPrice(std::nullopt);
  EXPECT_EQ(take(15), "7 * 8") << "the line above has no sum";
  second->setPrice(10);
  for (const auto level : {std::optional<double>(), std::optional(std::nan(""))}) {
    fee->setDependentTaxLevel(level);
    EXPECT_EQ(take(15), "1 * 0");
  }
  third->setInvoice(nullptr);
  EXPECT_EQ(take(15), "7 * 8");
}

TEST_F(InvoiceLineTest, AChangeIsAnnouncedOnceWhereItCounts) {
  Invoice* of = invoice();
  InvoiceLine* made = line(of, 2, 10);
  Watch watch(context());
  watch.add(*made, {"quantity", "price", "vat", "lineSum", "lineVat", "lineSumExclVat",
                    "allowanceString", "articleNumber", "articleName"});
  watch.add(*of, {"totalAmount", "sendable"});
  const Counts sums = {{"lineSum", 1}, {"lineVat", 1}, {"lineSumExclVat", 1}};
  const auto expect = [&](Counts wanted, bool withSums, bool withTotal) {
    if (withSums) wanted.insert(sums.begin(), sums.end());
    if (withTotal) wanted.insert({{"totalAmount", 1}, {"sendable", 1}});
    EXPECT_EQ(watch.counts(), wanted);
  };
  made->setPrice(11);
  expect({{"price", 1}}, true, true);
  made->setValueForKey(3, "quantity");
  expect({{"quantity", 1}}, true, true);
  made->setValueForKey(rebate("10%"), "allowance");
  expect({{"allowanceString", 1}}, true, true);
  made->setVat(12);
  EXPECT_EQ(watch.counts(), (Counts{{"vat", 1}, {"lineSum", 1}, {"lineVat", 1}}));
  made->setArticle(nullptr);
  expect({{"articleNumber", 1}, {"articleName", 1}}, false, false);
  made->setInvoice(nullptr);
  expect({}, false, true);
  made->setPrice(12);
  expect({{"price", 1}}, true, false);
}

TEST_F(InvoiceLineTest, RebatesAreTypedAndReplaced) {
  InvoiceLine* made = line(invoice(), 1, 200);
  made->setAllowanceString("10%");
  Allowance* former = made->allowance();
  ASSERT_NE(former, nullptr);
  EXPECT_EQ(made->lineSumExclVat(), Decimal(180));
  EXPECT_EQ(made->allowanceString(), former->description());
  made->setValueForKey("SEK 50", "allowanceString");
  EXPECT_TRUE(former->isDeleted());
  EXPECT_EQ(made->lineSumExclVat(), Decimal(150));
  for (const std::optional<std::string>& text : {std::optional<std::string>("much"), {}}) {
    made->setAllowanceString("10%");
    made->setAllowanceString(text);
    EXPECT_EQ(made->allowance(), nullptr);
    EXPECT_EQ(made->allowanceString(), std::nullopt);
    EXPECT_EQ(context().count("Allowance"), 0U);
  }
}

TEST_F(InvoiceLineTest, ACopyKeepsItsPlaceAndBelongsToNoInvoice) {
  InvoiceLine* made = line(invoice(), 2, 10, 12);
  EXPECT_EQ(made->number(), world.clock->now().seconds() - 978307200);
  made->setAllowance(rebate("5"));
  made->setComment("Text");
  made->setNumber(4711);
  const InvoiceLine* copy = made->duplicate();
  EXPECT_EQ(copy->invoice(), nullptr);
  EXPECT_EQ(copy->number(), 4711);
  EXPECT_EQ(copy->article(), made->article());
  EXPECT_EQ(copy->comment(), "Text");
  EXPECT_EQ(copy->lineSum(), made->lineSum());
  EXPECT_NE(copy->allowance(), made->allowance());
}

}  // namespace
}  // namespace bokfolio::test
