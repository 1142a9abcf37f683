#include "bokfolio/platform/property_list.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "bokfolio/platform/calendar.hpp"
#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {
namespace {

std::string plist(const std::string& value) {
  return "<plist version=\"1.0\">" + value + "</plist>";
}

PropertyList read(const std::string& value) {
  std::optional<Error> error;
  const auto list = PropertyList::parse(plist(value), &error);
  EXPECT_TRUE(list.has_value()) << value << ": " << error->localizedDescription();
  return list.value_or(PropertyList(std::string("refused")));
}

std::string refusal(const std::string& value) {
  std::optional<Error> error;
  EXPECT_FALSE(PropertyList::parse(plist(value), &error).has_value()) << value;
  if (!error) return "";
  EXPECT_EQ(error->domain(), kPlatformErrorDomain);
  EXPECT_EQ(error->code(), static_cast<int>(PlatformErrorCode::PropertyListMalformed)) << value;
  return error->localizedDescription();
}

TEST(PropertyListTest, ReadsEveryKindOfValue) {
  using Value = PropertyList::Value;
  const std::pair<const char*, Value> cases[] = {
      {"<string> å &lt;<![CDATA[&]]></string>", std::string(" å <&")},
      {"<integer>-42</integer>", std::int64_t{-42}},
      {"<integer> +0x1F </integer>", std::int64_t{31}},
      {"<integer>9223372036854775807</integer>", INT64_MAX},
      {"<integer>-9223372036854775808</integer>", INT64_MIN},
      {"<real>0.3</real>", 0.3},
      {"<true/>", true},
      {"<false></false>", false},
      {"<date>2026-02-28T23:59:58Z</date>",
       dateFromCivil({2026, 2, 28}, {23, 59, 58}, TimeZone::utc())},
      {"<data>\n  AP8Q\n  QUI=\n</data>", Bytes{0, 255, 16, 'A', 'B'}},
      {"<data>QQ==</data>", Bytes{'A'}},
      {"<data/>", Bytes{}},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(read(text), PropertyList(value)) << text;
  EXPECT_EQ(read("<integer>2</integer>").number(), 2.0);
  EXPECT_EQ(read("<integer>2</integer>").integer(), 2);
  EXPECT_EQ(read("<real>2</real>").integer(), std::nullopt);
  EXPECT_EQ(read("<string>2</string>").number(), std::nullopt);
}

TEST(PropertyListTest, FindsByKeyWhateverTheOrder) {
  const auto list = PropertyList::parse(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Someone//DTD PLIST 1.0//EN" "http://example.com/list.dtd">
<plist version="1.0">
  <dict>
    <key>se</key> <!-- Sweden -->
    <dict><key>rows</key><array><integer>3</integer><string>x</string></array></dict>
    <key></key><true/>
    <key>default</key><dict/>
  </dict>
</plist>)");
  ASSERT_TRUE(list.has_value());
  const PropertyList* rows = list->find("se")->find("rows");
  ASSERT_NE(rows, nullptr);
  EXPECT_EQ((*rows->array())[0].integer(), 3);
  EXPECT_EQ(*(*rows->array())[1].string(), "x");
  EXPECT_EQ(*list->find("")->boolean(), true);
  EXPECT_TRUE(list->find("default")->map()->empty());
  EXPECT_EQ(list->find("SE"), nullptr);
  EXPECT_EQ(rows->find("0"), nullptr);
  EXPECT_EQ(list->map()->front().key, "");
}

TEST(PropertyListTest, RefusesWhatIsNoneAndSaysWhere) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "holds one value"},
      {"text<true/>", "text between"},
      {"<set/>", "<set>: is no value"},
      {"<dict><key>a</key></dict>", "do not take turns"},
      {"<dict><true/><key>a</key></dict>", "do not take turns"},
      {"<dict><key>a</key><true/><key>a</key><true/></dict>", "the key \"a\" twice"},
      {"<dict><key>a</key>stray<true/></dict>", "text between"},
      {"<array><true/>,<true/></array>", "text between"},
      {"<dict><key><b/></key><true/></dict>", "has elements in it"},
      {"<string>a<b/></string>", "has elements in it"},
      {"<integer></integer>", "is no integer"},
      {"<integer>1.5</integer>", "<integer>1.5: is no integer"},
      {"<integer>+-1</integer>", "is no integer"},
      {"<integer>9223372036854775808</integer>", "64 bits"},
      {"<integer>99999999999999999999</integer>", "64 bits"},
      {"<real>1,5</real>", "no finite number"},
      {"<real>nan</real>", "no finite number"},
      {"<real>1e999</real>", "no finite number"},
      {"<date>2026-02-29T00:00:00Z</date>", "no day and time"},
      {"<date>2026-02-28</date>", "no date of the form"},
      {"<data>QQ=</data>", "not base64"},
      {"<data>QQ=A</data>", "not base64"},
      {"<data>Q-Q=</data>", "not base64"},
  };
  for (const auto& [text, reason] : cases) {
    EXPECT_NE(refusal(text).find(reason), std::string::npos) << text << ": " << refusal(text);
  }
  EXPECT_NE(refusal("<integer>" + std::string(38, 'x') + "åååå</integer>").find("xå...:"),
            std::string::npos);

  std::optional<Error> error;
  EXPECT_FALSE(PropertyList::parse("<list><true/></list>", &error));
  EXPECT_EQ(error->code(), static_cast<int>(PlatformErrorCode::PropertyListMalformed));
  EXPECT_FALSE(PropertyList::parse("bplist00\x01\x02", &error));
  EXPECT_EQ(error->code(), static_cast<int>(PlatformErrorCode::XmlMalformed));
  XmlLimits shallow;
  shallow.depth = 3;
  EXPECT_TRUE(PropertyList::parse(plist("<array><true/></array>"), &error, shallow));
  EXPECT_FALSE(
      PropertyList::parse(plist("<array><array><true/></array></array>"), &error, shallow));
  EXPECT_EQ(error->code(), static_cast<int>(PlatformErrorCode::XmlTooLarge));
}

}  // namespace
}  // namespace bokfolio
