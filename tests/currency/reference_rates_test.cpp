#include "bokfolio/currency/reference_rates.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bokfolio/platform/platform_error.hpp"
#include "tests/world/world.hpp"

namespace bokfolio {
namespace {

const std::filesystem::path kFolder = std::filesystem::path(BOKFOLIO_SHARED_DATA) / "ecb";

std::string rateDocument(const std::string& elements) {
  return "<?xml version='1.0'?><g:Envelope xmlns:g='urn:g' xmlns='urn:x'><Cube><Cube time='x'>" +
         elements + "</Cube></Cube></g:Envelope>";
}

struct RateCase {
  std::string a;
  std::string b;
  std::string expected;  // the rate, "nil" without an error, or the error's description
};

void expectRates(const std::string& document, const std::vector<RateCase>& cases) {
  const auto rates = ReferenceRates::read(document);
  ASSERT_TRUE(rates);
  for (const auto& [a, b, expected] : cases) {
    std::optional<Error> error;
    const auto rate = rates->crossRate(a, b, &error);
    EXPECT_EQ(rate, rates->crossRate(a, b));
    EXPECT_FALSE(rate && error);
    EXPECT_EQ(error  ? error->localizedDescription()
              : rate ? rate->toString()
                     : "nil",
              expected)
        << a << ' ' << b;
  }
}

TEST(ReferenceRates, GiveTheRateBetweenAnyTwoCurrencies) {
  expectRates(rateDocument("<Cube currency='USD' rate='1.25'/><Cube currency='SEK' rate='10.9200'/>"
                           "<Cube currency='JPY' rate='160'/>"),
              {{"SEK", "USD", "8.736"},
               {"USD", "SEK", "0.11446886446886446886446886446886446886"},
               {"EUR", "USD", "0.8"},
               {"SEK", "EUR", "10.92"},
               {"EUR", "EUR", "1"},
               {"JPY", "JPY", "1"},
               {"usd", "SEK", "nil"},
               {"SEK", "usd", "nil"},
               {"eur", "EUR", "nil"},
               {"", "EUR", "nil"},
               {"GBP", "NOK", "nil"}});
}

TEST(ReferenceRates, GoByPositionAndLetNoElementSpoilTheOthers) {
  const std::string document = rateDocument(
      "<Cube x='AAA' y='2' currency='z'/><Cube rate='1.5' currency='BBB'/><Cube currency='CCC'/>"
      "<Cube/><Cube currency='DDD' rate='0'/><Cube currency='EUR' rate='7'/>"
      "<Cube currency='EEE' rate='1,5'/><Cube currency='FFF' rate='3'/>"
      "<Cube currency='FFF' rate='4'><Cube currency='AAA' rate='9'/></Cube>"
      "<Other currency='AAA' rate='9'/><Cube currency='BIG' rate='1e120'/>"
      "<Cube currency='LOW' rate='1e-120'/>");
  expectRates(document, {{"AAA", "EUR", "2"},
                         {"BBB", "EUR", "nil"},
                         {"EUR", "1.5", "The reference rate of 1.5 is not a number."},
                         {"CCC", "EUR", "The reference rate of CCC is not a number."},
                         {"EEE", "AAA", "The reference rate of EEE is not a number."},
                         {"EEE", "BBB", "nil"},
                         {"DDD", "AAA", "0"},
                         {"AAA", "DDD", "The reference rate of DDD is zero."},
                         {"BIG", "LOW", "The reference rates of BIG and LOW are too far apart."},
                         {"LOW", "BIG", "The reference rates of LOW and BIG are too far apart."},
                         {"FFF", "AAA", "2"},
                         {"AAA", "EUR", "2"}});
}

// Quotients by long division outside this library. The last file holds 61 days, of which the path
// gives the oldest.
TEST(ReferenceRates, OfRealDaysAgreeWithLongDivision) {
  if (!std::filesystem::exists(kFolder)) GTEST_SKIP() << "no real files beside this checkout";
  const std::vector<std::pair<std::string, std::vector<RateCase>>> days{
      {"daily-2017-03-08",
       {{"SEK", "USD", "9.0207464948844259189086775293671845396"},
        {"USD", "SEK", "0.11085557060794135870535479873559959254"},
        {"IDR", "GBP", "16304.681106128894677993844593270549722"}}},
      {"daily-2018-06-11",
       {{"SEK", "USD", "8.6963528413910093299406276505513146735"},
        {"EUR", "JPY", "0.0077148588180836290695880265391143342077"},
        {"NOK", "DKK", "1.275479246093540245932449122053374859"}}},
      {"daily-2022-07-08",
       {{"SEK", "USD", "10.495424579356489225622355603660336515"},
        {"USD", "SEK", "0.09527961374396474944921014390849857029"},
        {"IDR", "GBP", "17982.774723650765502157592953833422002"}}},
      {"daily-2025-05-09",
       {{"SEK", "USD", "9.7049413437611091361535726981869889797"},
        {"USD", "SEK", "0.10304029304029304029304029304029304029"},
        {"EUR", "JPY", "0.006121449559255631733594515181194906954"}}},
      {"hist-90d-2018-06-11",
       {{"SEK", "USD", "8.1861912846632710809281267685342388229"},
        {"NOK", "DKK", "1.2850603412401165210153974198918019143"}}}};
  for (const auto& [day, cases] : days) {
    SCOPED_TRACE(day);
    std::ifstream in(kFolder / ("eurofxref-" + day + ".xml"));
    expectRates(std::string(std::istreambuf_iterator<char>(in), {}), cases);
  }
}

TEST(ReferenceRates, AreLoadedFromTheServerOfTheEnvironment) {
  test::TestWorld world;
  world.environment.setReferenceRateSource({"http", "mirror:81", std::chrono::seconds(3), 2000});
  const auto malformed = static_cast<int>(PlatformErrorCode::XmlMalformed);
  const Error down("domain", 7, "The server is down.");
  world.http->answerNext(rateDocument("<Cube currency='SEK' rate='11'/>"));
  world.http->answerNext(rateDocument("<Cube currency='SEK' rate='11'>"));
  world.http->answerNext(rateDocument("<Cube currency='SEK' rate='&e9;'/>"));
  world.http->failNext(down);
  world.http->answerNext("<html><body>502</body></html>");
  for (const int expected : {0, malformed, malformed, down.code()}) {
    std::optional<Error> error;
    const bool loaded = loadReferenceRates(world.environment, &error).has_value();
    EXPECT_EQ(loaded, !error);
    EXPECT_EQ(error ? error->code() : 0, expected);
  }
  EXPECT_TRUE(world.log->lines().empty());
  world.environment.setReferenceRateSource({});
  EXPECT_TRUE(loadReferenceRates(world.environment));
  EXPECT_EQ(world.log->lines().size(), 1U);

  const HttpRequest& mirror = world.http->requests().front();
  EXPECT_EQ(mirror.url, "http://mirror:81/stats/eurofxref/eurofxref-daily.xml");
  EXPECT_EQ(mirror.schemes, (std::vector<std::string>{"https", "http"}));
  EXPECT_EQ(mirror.timeout, std::chrono::seconds(3));
  EXPECT_EQ(mirror.maximumBytes, 2000U);
  const HttpRequest& bank = world.http->requests().back();
  EXPECT_EQ(bank.url, "https://www.ecb.europa.eu/stats/eurofxref/eurofxref-daily.xml");
  EXPECT_EQ(bank.schemes, std::vector<std::string>{"https"});
}

}  // namespace
}  // namespace bokfolio
