#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"
#include "tests/world/local_server.hpp"

namespace bokfolio::test {
namespace {

using testing::HasSubstr;

class CliBook : public testing::Test {
 protected:
  CliBook() { desk.furnish(); }
  Desk desk;
};

TEST_F(CliBook, SettingsChangeOneByOne) {
  Json expected = R"({"currency": "SEK", "days": 30, "filing": "twice", "automatic": true,
    "layout": "Built-in", "accounts": {"accountsReceivable": null, "currencyGains": null,
    "currencyLosses": null, "roundingAccount": null, "results": null}})"_json;
  EXPECT_EQ(desk.json("book show"), expected);
  struct Case {
    const char* options;
    const char* pointer;
    Json value;
  };
  const Case cases[] = {
      {"--days 14", "/days", 14},
      {"--filing once", "/filing", "once"},
      {"--automatic no", "/automatic", false},
      {"--layout Plain", "/layout", "Plain"},
      {"--currency NOK", "/currency", "NOK"},
      {"--receivable bank", "/accounts/accountsReceivable", 1930},
      {"--gains 3001", "/accounts/currencyGains", 3001},
      {"--losses 4010", "/accounts/currencyLosses", 4010},
      {"--rounding sales", "/accounts/roundingAccount", 3001},
      {"--results 2440", "/accounts/results", 2440},
      {"--gains ''", "/accounts/currencyGains", nullptr},
      {"--automatic ja", "/automatic", true},
  };
  for (const Case& each : cases) {
    expected[Json::json_pointer(each.pointer)] = each.value;
    EXPECT_EQ(desk.json("book set " + std::string(each.options)), expected) << each.options;
    EXPECT_EQ(desk.json("book show"), expected) << each.options;
  }
  for (const char* wrong : {"", "--days soon", "--days 99999", "--filing never", "--automatic 1",
                            "--currency kr", "--currency ''"})
    desk.refuses("book set " + std::string(wrong), "; ", 2);
  desk.refuses("book set --days 10 --gains 9999", "9999", 1);
  EXPECT_THAT(desk.ok("book show --locale sv_SE"),
              HasSubstr("Öresavrundning            3001 Sales\n"));
}

TEST_F(CliBook, GuardedSettingsWarnOrRefuse) {
  desk.ok("book set --filing once");
  desk.sql("INSERT INTO Invoice(id, version, dueDate) VALUES(1, 1, 1000000)");
  const Outcome warned = desk.run("--json book set --filing twice");
  EXPECT_EQ(warned.status, 0);
  EXPECT_THAT(warned.err, HasSubstr("invoice filing method"));
  EXPECT_EQ(Json::parse(warned.out)["filing"], "twice");
  desk.ok("book set --filing twice --currency SEK");  // no change, nothing to say

  desk.refuses("book set --currency NOK", "currency", 1);
}

TEST_F(CliBook, TheCompanyKeepsWhatItWasGiven) {
  const std::pair<const char*, const char*> fields[] = {
      {"orgname", "name"},
      {"orgid", "orgid"},
      {"vatno", "vatno"},
      {"street", "street"},
      {"zipcode", "zipcode"},
      {"city", "city"},
      {"county", "county"},
      {"phone", "phone"},
      {"fax", "fax"},
      {"email", "email"},
      {"homepage", "homepage"},
      {"bank", "bank"},
      {"bic", "bic"},
      {"bankAccount", "bank-account"},
      {"paymentOption1", "payment1"},
      {"paymentOption2", "payment2"},
  };
  std::string options = " --country no --registered yes";
  for (const auto& [key, option] : fields) {
    options += " --" + std::string(option) + " 'the " + key + "'";
  }
  desk.ok("company set" + options);
  desk.ok("company set --fax ''");
  const Json company = desk.json("company show");
  for (const auto& [key, option] : fields) {
    const bool cleared = std::string(key) == "fax";
    EXPECT_EQ(company[key], cleared ? Json(nullptr) : Json("the " + std::string(key)));
  }
  EXPECT_EQ(company["country"], "no");
  EXPECT_EQ(company["registeredForTax"], true);
  EXPECT_THAT(desk.ok("company show --locale sv_SE"),
              testing::AllOf(HasSubstr("Momsregistreringsnummer  the vatno\n"),
                             HasSubstr("Registrerad för skatt    ja\n")));
  for (const char* wrong : {"", " --name X --country Norway", " --name X --registered maybe"})
    desk.refuses("company set" + std::string(wrong), "", 2);
}

TEST_F(CliBook, TheLogotypeIsKeptAsPdfOrTiff) {
  const std::string pdf = "%PDF-1.4\nnot drawn here\n%%EOF\n";
  desk.write("mark.pdf", pdf);
  desk.write("mark.txt", "An oak and an elm.\n");
  EXPECT_EQ(desk.run("company show --extract out").status, 1);
  EXPECT_EQ(desk.json("company set --logotype mark.pdf")["logotype"], "PDF");
  desk.refuses("company set --name X --logotype mark.txt", "mark.txt", 4);
  desk.refuses("company set --name X --logotype missing.pdf", "missing.pdf", 4);
  EXPECT_THAT(desk.ok("company show --extract out.pdf"),
              HasSubstr("Logotype             PDF, 1 kB"));
  EXPECT_EQ(desk.read("out.pdf"), pdf);
  EXPECT_EQ(desk.json("company set --logotype ''")["logotype"], nullptr);
}

TEST_F(CliBook, CreditTermsAreOneTextALanguage) {
  EXPECT_EQ(desk.json("company credit-text sv 'Trettio dagar'"), Json({{"sv", "Trettio dagar"}}));
  desk.ok("company credit-text en '30 days'");
  desk.sql("INSERT INTO CreditDetails(id, version, language) VALUES(9, 1, 'sv')");
  EXPECT_EQ(desk.json("company credit-text sv 'Tio dagar'"),
            Json({{"sv", "Tio dagar"}, {"en", "30 days"}}));
  EXPECT_THAT(desk.ok("company show"), HasSubstr("Credit terms (sv)    Tio dagar\n"));
  EXPECT_EQ(desk.json("company credit-text sv ''"), Json({{"en", "30 days"}}));
  EXPECT_EQ(desk.json("company show")["creditTexts"], Json({{"en", "30 days"}}));
  EXPECT_TRUE(desk.json("check")["sound"]);
  desk.refuses("company credit-text Swedish Text", "", 2);
  desk.refuses("company credit-text sv", "", 2);
}

TEST_F(CliBook, RatesComeFromTheServerThatIsNamed) {
  const char* document =
      "<Envelope><Cube><Cube time='2025-03-14'><Cube currency='USD' rate='1.25'/>"
      "<Cube currency='SEK' rate='11'/><Cube currency='IDR' "
      "rate='16000'/></Cube></Cube></Envelope>";
  std::string path = "/stats/eurofxref/eurofxref-daily.xml";
  LocalServer server([&](httplib::Server& made) {
    made.Get(path, [document](const httplib::Request&, httplib::Response& response) {
      response.set_content(document, "application/xml");
    });
  });
  desk.environment = "no_proxy=127.0.0.1 BOKFOLIO_RATE_SERVER=http://" + server.host();
  EXPECT_EQ(desk.json("rates"),
            Json({{"base", "EUR"}, {"rates", {{"IDR", "16000"}, {"SEK", "11"}, {"USD", "1.25"}}}}));
  EXPECT_EQ(desk.json("rates USD SEK"), Json({{"from", "USD"}, {"to", "SEK"}, {"rate", "8.8"}}));
  EXPECT_EQ(desk.json("rates USD")["rate"], "8.8") << "in the book's currency";
  EXPECT_EQ(desk.ok("rates SEK USD --locale en_US"), "1 SEK = 0.1136364 USD\n");
  EXPECT_EQ(desk.ok("rates IDR EUR --locale sv_SE"), "1 IDR = 0,0000625 EUR\n");
  desk.refuses("rates usd", "there is no rate of usd in SEK; ", 1);
  desk.refuses("rates --server 127.0.0.1", "", 2);
  desk.refuses("rates --server ftp://127.0.0.1", "", 2);
  const std::string host = server.host();
  server.stop();
  desk.refuses("rates --server http://" + host + "/", "", 4);
}

}  // namespace
}  // namespace bokfolio::test
