#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio {
namespace {

constexpr const char* kDocument =
    "<e:E xmlns:e='u'><Cube><Cube><Cube currency='USD' rate='1.25'/>"
    "<Cube currency='SEK' rate='11'/><Cube currency='XXX' rate='0'/></Cube></Cube></e:E>";

using BookRates = test::LedgerWorld;

TEST_F(BookRates, AreHomeUnitsForOneForeignUnitDownloadedEveryTime) {
  world.http->answerNext(kDocument);
  auto* book = context().insert<Book>();
  book->setCurrency("SEK");
  book->setExchangeRates({{"USD", Decimal(99)}});
  const Error before("domain", 1, "before");
  std::optional<Error> error = before;
  EXPECT_EQ(book->exchangeRate("USD", &error), test::dec("8.8"));
  EXPECT_EQ(book->exchangeRate("SEK", &error), Decimal(1));
  EXPECT_EQ(book->exchangeRate("GBP", &error), std::nullopt);
  EXPECT_EQ(book->exchangeRate(std::nullopt, &error), std::nullopt);
  EXPECT_EQ(Book::exchangeRateBetween("EUR", "EUR", &error, world.environment), Decimal(1));
  EXPECT_EQ(Book::exchangeRateBetween("USD", "SEK", &error, world.environment),
            Decimal(5) / Decimal(44));
  book->setCurrency(std::nullopt);
  EXPECT_EQ(book->exchangeRate("EUR", &error), std::nullopt);
  EXPECT_EQ(error, before);
  EXPECT_EQ(world.http->requests().size(), 7U);

  EXPECT_EQ(Book::exchangeRateBetween("EUR", "XXX", nullptr, world.environment), std::nullopt);
  EXPECT_EQ(Book::exchangeRateBetween("EUR", "XXX", &error, world.environment), std::nullopt);
  EXPECT_NE(error, before);
}

}  // namespace
}  // namespace bokfolio
