#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hosts/cli/desk.hpp"

namespace bokfolio::test {
namespace {

TEST(CliAddress, DrawsTheFormOfACountry) {
  const Desk desk;
  const std::string american =
      "[Street                                          ]\n"
      "[City                 ] [County    ] [Postal code]\n"
      "(United States                                  v)\n"
      "[Note                                            ]\n";
  for (const char* country : {"us", "US", "Us", "'united states'"}) {
    EXPECT_EQ(desk.ok("address --country " + std::string(country)), american);
  }
  EXPECT_EQ(desk.ok("--locale sv_SE address -c no"),
            "[Gatuadress                                      ]\n"
            "[Postnummer   ] [Ort                             ]\n"
            "(Norge                                          v)\n"
            "[Anmärkning                                      ]\n");
  EXPECT_EQ(desk.ok("address -c uk").find("[County"), 102U) << "a row of its own";
  const Outcome unknown = desk.run("address -c qq");
  EXPECT_EQ(unknown.status, 0);
  EXPECT_THAT(unknown.out, testing::HasSubstr("(Qq"));
  EXPECT_EQ(unknown.err, "bokfolio: \"Qq\" has no layout of its own: this is the general one\n");
}

TEST(CliAddress, TellsTheFramesToPrograms) {
  const Desk desk;
  const Json answer = desk.json("address -c SE");
  EXPECT_EQ(answer["name"], "Sweden");
  EXPECT_EQ(answer["layout"], "SE");
  EXPECT_EQ(answer["moveDown"], 61);
  EXPECT_EQ(answer["fields"].size(), 4U);
  EXPECT_FALSE(answer["fields"].contains("county"));
  EXPECT_EQ(answer["fields"]["postalCode"],
            Json({{"x", 0}, {"y", 136}, {"width", 120}, {"height", 24}}));
  EXPECT_EQ(desk.run("address").status, 2);
}

}  // namespace
}  // namespace bokfolio::test
