#include "bokfolio/model/invoicing/article.hpp"

#include <gmock/gmock.h>

#include <limits>

#include "bokfolio/model/invoicing/invoice_line.hpp"
#include "bokfolio/store/numbering.hpp"
#include "tests/model/ledger/ledger_world.hpp"
#include "tests/model/ledger/watch.hpp"

namespace bokfolio::test {
namespace {

class ArticleTest : public LedgerWorld {
 protected:
  Article* article(const std::optional<std::string>& number,
                   const std::optional<std::string>& name = "Thing") {
    auto* made = context().insert<Article>();
    made->setNumber(number);
    made->setName(name);
    return made;
  }
  void useLocale(const std::string& locale) {
    world.useLocale(locale);
    open();
  }
};

TEST_F(ArticleTest, RatesAreThoseOfTheTable) {
  Decimal sum;
  std::string countries;
  for (char a = 'a'; a <= 'z'; ++a) {
    for (char b = 'a'; b <= 'z'; ++b) {
      const Decimal rate = Article::vatRateForCountry(std::string{a, b});
      sum += rate;
      if (!rate.isZero()) countries += std::string{a, b} + ' ';
    }
  }
  EXPECT_EQ(countries,
            "at be bg cy cz de dk ee es fi fr gb gr ie it lt lv nl no pl pt ro se si sk uk ");
  EXPECT_EQ(sum, dec("536.1"));
  for (const auto& [country, rate] :
       {std::pair("fr", "19.6"), std::pair("gb", "17.5"), std::pair("uk", "25"),
        std::pair("nl", "19"), std::pair("SE", "25")})
    EXPECT_EQ(Article::vatRateForCountry(country), dec(rate)) << country;
  for (const auto& none : {std::optional<std::string>("hu"), std::optional<std::string>(""),
                           std::optional<std::string>("sek"), std::optional<std::string>()})
    EXPECT_EQ(Article::vatRateForCountry(none), Decimal());
}

TEST_F(ArticleTest, ANewOneGetsItsRateAtOnceAndItsNumberAMomentLater) {
  useLocale("sv_SE");
  Account* sales = account(3000, AccountType::Income);
  Account* vat = account(2610, AccountType::DebtAndEquity);
  auto* first = context().insert<Article>();
  EXPECT_EQ(first->vat(), Decimal(25));
  EXPECT_EQ(first->unit(), std::nullopt);
  world.runLoop->advance(999);
  EXPECT_EQ(first->number(), std::nullopt);
  world.runLoop->advance(1);
  EXPECT_EQ(first->number(), "1");

  for (const char* number : {"9", "10"}) article(number);
  Article* latest = article("010");  // the youngest of equal numbers lends its accounts
  latest->setSalesAccount(sales);
  latest->setVatAccount(vat);
  auto* next = context().insert<Article>();
  Article* numbered = article("7");
  world.runLoop->advance(1000);
  EXPECT_EQ(next->number(), "11");
  EXPECT_EQ(next->salesAccount(), sales);
  EXPECT_EQ(next->vatAccount(), vat);
  EXPECT_EQ(numbered->number(), "7");
  EXPECT_EQ(numbered->salesAccount(), nullptr);

  useLocale("C");
  EXPECT_EQ(context().insert<Article>()->vat(), Decimal()) << "no country";
}

TEST_F(ArticleTest, TheNextNumberFollowsTheHighestOne) {
  struct Case {
    std::vector<const char*> numbers;
    const char* next;
  };
  const Case cases[] = {
      {{}, "1"},
      {{"1", "9", "10"}, "11"},
      {{"0099", "100"}, "101"},
      {{"100", "99x"}, "101"},
      {{"5", "ABC"}, "1"},  // letters come after digits and begin with no integer
      {{"5", "-7"}, "6"},
      {{"12,5"}, "13"},
      {{"2147483647"}, "2147483647"},
      {{"2147483648", "3"}, "2147483647"},
      {{"99999999999999999999", "3"}, "2147483647"},
      {{"1000000000000000000", "999999999999999999"}, "2147483647"},
      {{"-99999999999999999999"}, "-2147483647"},
  };
  for (const Case& c : cases) {
    open();
    for (const char* number : c.numbers) article(number);
    auto* made = context().insert<Article>();
    made->setPropertiesFromLatestArticle();
    EXPECT_EQ(made->number(), c.next) << testing::PrintToString(c.numbers);
  }
}

TEST_F(ArticleTest, ALongListIsNotWalked) {
  for (int number = 1; number <= 2000; ++number) article(std::to_string(number));
  Article* odd = article("1a");
  EXPECT_THAT(
      highestNumbered(context(), "Article", "number"),
      testing::ElementsAre(context().fetchFirst<Article>(Predicate("number == '2000'")), odd));
  EXPECT_THROW(highestNumbered(context(), "Article", "name"), UndefinedKeyError);
}

TEST_F(ArticleTest, OrdersAndDescribesByNumberAndName) {
  Article* none = article(std::nullopt, std::nullopt);
  Article* nine = article("9", "b");
  Article* ten = article("10", "B");
  EXPECT_EQ(nine->compareNumber(*ten), -1);
  EXPECT_EQ(ten->compareNumber(*nine), 1);
  EXPECT_EQ(none->compareNumber(*nine), 1);
  EXPECT_EQ(nine->compareNumber(*none), -1);
  EXPECT_EQ(none->compareNumber(*article(std::nullopt)), 1) << "no strict order";
  EXPECT_EQ(nine->compare(*ten), 1) << "small letters come after capitals";
  EXPECT_EQ(none->compare(*nine), -1);
  EXPECT_EQ(nine->compare(*none), 1);
  EXPECT_EQ(none->compare(*none), 0);

  EXPECT_EQ(nine->description(), "9\tb");
  EXPECT_EQ(article("9", std::nullopt)->description(), "9");
  EXPECT_EQ(article(std::nullopt, "b")->description(), "b");
  EXPECT_EQ(none->valueForKey("description"), Value(text("Unnamed product.")));
}

TEST_F(ArticleTest, ADependentTaxIsKnownByItsName) {
  struct Case {
    const char* locale;
    std::optional<std::string> name;
    std::optional<double> level;  // nil: an ordinary article
  };
  const Case cases[] = {
      {"en_US", "Percentage 2.5", 2.5},
      {"en_US", "PERCENTAGE 2.5 % of the above", 2.5},
      {"en_US", "percentage   -3", -3.0},
      {"en_US", "Percentage 2.3", 2.3},
      {"en_US", "Percentage 2,5", 2.0},
      {"en_US", "Percentage 0.123456789", 0.12345679},  // a float's digits
      {"en_US", "Percentage ", std::nullopt},
      {"en_US", "Percentage", std::nullopt},  // shorter than the prefix
      {"en_US", "Percentage1 2", std::nullopt},
      {"en_US", "Percentage\u00A02", std::nullopt},
      {"en_US", "Percentage " + std::string(60, '9'), std::nullopt},
      {"en_US", std::nullopt, std::nullopt},
      {"sv_SE", "procentdel 2,5 %", 2.5},
      {"sv_SE", "Percentage 2,5", std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + ' ' + c.name.value_or("nil"));
    useLocale(c.locale);
    auto* made = context().insert<Article>();
    made->setDependentTaxLevel(77.0);
    made->setIsDependentTax(true);
    made->setValueForKey(c.name ? Value(*c.name) : Value(), "name");
    EXPECT_EQ(made->name(), c.name);
    EXPECT_EQ(made->isDependentTax(), c.level.has_value());
    EXPECT_EQ(made->dependentTaxLevel(), c.level ? c.level : 77.0);
  }
  EXPECT_EQ(Value(2.3).asDecimal(), dec("2.3"));
}

TEST_F(ArticleTest, ANameIsComparedInCharacters) {
  auto texts = std::make_shared<MemoryResources>();
  texts->add("localization/en/default", "texts", "\"localized dependent tax\" = \"Åäö ÅÄÖ åä \"\n");
  world.environment.setLocalizer(
      std::make_shared<const CatalogLocalizer>(texts, world.environment.locale()));
  open();
  Article* made = article("1", "åÄö åäö ÅÄ 4");
  EXPECT_TRUE(made->isDependentTax());
  EXPECT_EQ(made->dependentTaxLevel(), 4.0);
  made->setName("Åäö ÅÄÖ åä4 4");
  EXPECT_FALSE(made->isDependentTax());
}

TEST_F(ArticleTest, AnnouncesWhatFollowsFromANameAndFromALine) {
  Article* made = article("1");
  Watch watch(context());
  watch.add(*made, {"name", "isDependentTax", "dependentTaxLevel", "description", "isUsed"});
  made->setName("Chair");
  EXPECT_EQ(watch.counts(), (Counts{{"isDependentTax", 1}, {"name", 1}, {"description", 1}}));
  made->setName("Percentage 5");
  EXPECT_EQ(
      watch.counts(),
      (Counts{{"dependentTaxLevel", 1}, {"isDependentTax", 1}, {"name", 1}, {"description", 1}}));
  EXPECT_EQ(made->valueForKey("isUsed"), Value(0));
  context().insert<InvoiceLine>()->setArticle(made);
  EXPECT_EQ(made->valueForKey("isUsed"), Value(1));
  EXPECT_EQ(watch.counts(), (Counts{{"isUsed", 1}}));
}

TEST_F(ArticleTest, NameAndNumberAreNeeded) {
  Article* made = article(std::nullopt, std::nullopt);
  std::optional<Error> error;
  EXPECT_FALSE(made->setValidated("name", Value(), &error));
  expectError(error, kBokfolioErrorDomain, static_cast<int>(ArticleError::NoName),
              text("Each article requires a name."));
  EXPECT_FALSE(made->setValidated("number", Value(), &error));
  expectError(error, kBokfolioErrorDomain, static_cast<int>(ArticleError::NoNumber),
              text("Each article requires a number."));
  EXPECT_FALSE(made->setValidated("number", Value()));
  EXPECT_TRUE(made->setValidated("number", Value("")));
  EXPECT_FALSE(context().save());
  EXPECT_TRUE(made->setValidated("name", Value("Chair")));
  EXPECT_TRUE(context().save());
}

}  // namespace
}  // namespace bokfolio::test
