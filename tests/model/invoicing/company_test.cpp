#include "bokfolio/model/invoicing/company.hpp"

#include <leptonica/allheaders.h>

#include <stdexcept>

#include "bokfolio/model/invoicing/delivery_address.hpp"
#include "tests/model/ledger/ledger_world.hpp"

namespace bokfolio::test {
namespace {

using CompanyTest = LedgerWorld;

TEST_F(CompanyTest, ACountryIsInsideTheUnionOnlyAsTheListWritesIt) {
  const std::string inside =
      "at be bg cs cy cz de dk es fi fr gb gr hu ie it lu nl pl pt ro se si sk uk ";
  auto* company = context().insert<Company>();
  std::string found;
  for (char a = 'a'; a <= 'z'; ++a) {
    for (char b = 'a'; b <= 'z'; ++b) {
      const std::string code{a, b};
      company->setCountry(code);
      EXPECT_EQ(company->isOutsideEU(), Company::outsideEU(code));
      if (!Company::outsideEU(code)) found += code + " ";
    }
  }
  EXPECT_EQ(found, inside);
  for (const char* code : {"SE", "Se", "", "see", "se "}) EXPECT_TRUE(Company::outsideEU(code));
  company->setCountry(std::nullopt);
  EXPECT_EQ(company->valueForKey("isOutsideEU"), Value(1));
}

TEST_F(CompanyTest, TheLogotypeIsKeptAsPdfOrElseAsTiff) {
  constexpr std::string_view kPdf = "%PDF-1.4\nthe rest is for the viewer";
  const Bytes pdf(kPdf.begin(), kPdf.end());
  PIX* pixels = pixCreate(3, 2, 32);
  std::uint8_t* data = nullptr;
  std::size_t size = 0;
  ASSERT_EQ(pixWriteMem(&data, &size, pixels, IFF_PNG), 0);
  pixDestroy(&pixels);
  const Bytes png(data, data + size);
  lept_free(data);

  auto* company = context().insert<Company>();
  EXPECT_EQ(company->logotype(), std::nullopt);
  int changes = 0;
  const auto token = context().observe(*company, "logotype", [&](const auto&) { ++changes; });
  EXPECT_TRUE(company->setLogotype(Image({{Image::Kind::Bitmap, png}, {Image::Kind::Pdf, pdf}})));
  EXPECT_GT(changes, 0);
  EXPECT_EQ(company->valueForKey("logotype"), Value(pdf));
  ASSERT_TRUE(context().save());
  open();
  company = context().fetchFirst<Company>();
  ASSERT_TRUE(company->logotype());
  EXPECT_EQ(*company->logotype()->firstPdf(), pdf);

  EXPECT_TRUE(company->setLogotype(Image::decode(png)));
  ASSERT_TRUE(company->logotype());
  EXPECT_EQ(company->valueForKey("logotype"), Value(*Image::decode(png)->tiff()));
  std::optional<Error> error;
  EXPECT_FALSE(company->setLogotype(Image(std::vector<Image::Representation>()), &error));
  EXPECT_TRUE(error);
  EXPECT_TRUE(company->logotype()) << "a picture that cannot be kept changes nothing";
  EXPECT_TRUE(company->setLogotype(std::nullopt));
  EXPECT_EQ(company->logotype(), std::nullopt);
}

TEST_F(CompanyTest, ADeliveryAddressPutsTheCompanyBeforeThePerson) {
  auto* address = context().insert<DeliveryAddress>();
  address->setName("Åsa Ek");
  address->setCompany("Ek & Co");
  EXPECT_THROW(address->formattedAddressWithCountryIncluded(false), std::out_of_range);
  address->setCountry("no");
  EXPECT_THROW(address->formattedAddressWithCountryIncluded(false), std::out_of_range);
  EXPECT_EQ(address->formattedAddressWithCountryIncluded(true).text(), "Ek & Co\nÅsa Ek\nNorway");
  address->setStreet("Storgata 1");
  address->setZipcode("0155");
  address->setCity("Oslo");
  const AttributedText block = address->formattedAddressWithCountryIncluded(true);
  EXPECT_EQ(block.text(), "Ek & Co\nÅsa Ek\nStorgata 1\n0155 Oslo\nNorway");
  ASSERT_EQ(block.runs().size(), 1U) << "all of it is styled alike";
  EXPECT_FALSE(block.attributesAt(0).empty());
  address->setCompany(std::nullopt);
  EXPECT_EQ(address->formattedAddressWithCountryIncluded(false).text(),
            "Åsa Ek\nStorgata 1\n0155 Oslo");
  address->setName("");
  EXPECT_EQ(address->formattedAddressWithCountryIncluded(false).text(), "\nStorgata 1\n0155 Oslo");
}

}  // namespace
}  // namespace bokfolio::test
