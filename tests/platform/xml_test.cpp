#include "bokfolio/platform/xml.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {
namespace {

using Texts = std::vector<std::string>;
using Cases = std::vector<std::pair<std::string, std::string>>;

// The text of the whole document, or why it is refused.
std::string outcome(std::string_view text, const XmlLimits& limits = {},
                    PlatformErrorCode code = PlatformErrorCode::XmlMalformed) {
  std::optional<Error> error;
  const auto document = XmlDocument::parse(text, limits, &error);
  EXPECT_NE(document.has_value(), error.has_value());
  EXPECT_EQ(document.has_value(), XmlDocument::parse(text, limits).has_value());
  if (!error) return std::string(document->root().stringValue());
  EXPECT_EQ(error->domain(), kPlatformErrorDomain);
  EXPECT_EQ(error->code(), static_cast<int>(code));
  return error->localizedDescription();
}

Texts values(const std::vector<const XmlElement*>& elements) {
  Texts texts;
  for (const XmlElement* element : elements) texts.emplace_back(element->stringValue());
  return texts;
}

std::string nested(std::size_t depth) {
  std::string text;
  for (std::size_t i = 0; i < depth; ++i) text += "<a>";
  for (std::size_t i = 0; i < depth; ++i) text += "</a>";
  return text;
}

TEST(Xml, FindsDirectChildrenByNameInDocumentOrder) {
  auto parsed = XmlDocument::parse(
      "<entry><row>1<b>2</b>3</row><name>a</name><group><name>inner</name></group><row>4</row>"
      "<name>b</name><Row>5</Row><x:row>6</x:row></entry>");
  const XmlDocument document = std::move(parsed.value());
  const XmlElement& entry = document.root();
  EXPECT_EQ(entry.name(), "entry");
  EXPECT_EQ(entry.children().size(), 7U);
  EXPECT_EQ(values(entry.children("row")), (Texts{"123", "4"}));
  EXPECT_EQ(values(entry.children("x:row")), Texts{"6"});
  EXPECT_EQ(entry.firstChild("name")->stringValue(), "a");
  EXPECT_EQ(entry.firstChild("account"), nullptr);
}

TEST(Xml, StringValueIsAllTextWithin) {
  const Cases cases{
      {"<a>Office<!-- no --> rent</a>", "Office rent"},
      {"<a>1<![CDATA[<&lt;]]>2<![CDATA[3]]></a>", "1<&lt;23"},
      {"<a>x<b>y<c/>z</b> <b>w</b></a>", "xyz w"},
      {"<a> \r\n\t</a>", " \n\t"},
      {"<a>&lt;&gt;&amp;&quot;&apos;&amp;lt;</a>", "<>&\"'&lt;"},
      {"<a>&#229;&#xE5;&#x1F600;&#13;</a>", "\u00e5\u00e5\U0001F600\r"},
      {"\xEF\xBB\xBF<?xml version='1.0'?><!DOCTYPE a><!-- x --><?pi?><a>\u00e5</a>\n", "\u00e5"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE5&#8364;</a>", "\u00e5\u20ac"},
      {"<?xml version='1.0' encoding = \"utf-8\"?><a>\u20ac</a>", "\u20ac"},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(outcome(text), value) << text;
}

TEST(Xml, KeepsAttributesByPositionAndByName) {
  const auto document = XmlDocument::parse("<a z='1' b=\"x&#10;&quot;\ny\" x:z=''/>");
  const XmlElement& root = document.value().root();
  ASSERT_EQ(root.attributes().size(), 3U);
  EXPECT_EQ(root.attributes()[0].name, "z");
  EXPECT_EQ(root.attributes()[1].value, "x\n\" y");
  EXPECT_EQ(root.attribute("x:z"), "");
  EXPECT_EQ(root.attribute("Z"), std::nullopt);
}

TEST(Xml, SelectsByChildSteps) {
  const auto document = XmlDocument::parse(
      "<p:r xmlns='u'><C><C><C>1</C><D>no</D></C><C><C>2</C><C>3<C>deep</C></C></C></C>"
      "<C><C/><C><C>4</C></C></C><p:C><C><C>no</C></C></p:C></p:r>");
  const XmlElement& root = document.value().root();
  EXPECT_EQ(values(root.select("./C/C/C")), (Texts{"1", "2", "3deep", "4"}));
  EXPECT_EQ(root.select("C/C").size(), 4U);
  EXPECT_EQ(root.select("."), std::vector<const XmlElement*>{&root});
  for (const char* path : {"", "./", "/C", "C/", ".//C", "*", "..", "C/D/C", "c"}) {
    EXPECT_TRUE(root.select(path).empty()) << path;
  }
}

TEST(Xml, RefusesWhatIsNotWellFormed) {
  const Cases cases{
      {"<!-- only -->", "1: there is no element"},
      {"plain", "1: there is text outside the root element"},
      {"<a/><![CDATA[ ]]>", "1: there is text outside the root element"},
      {"\n<?xml version='1.0'?><a/>", "2: the declaration is not at the start"},
      {"<a/>\n<b/>", "2: there is a second root element"},
      {"<a/><!DOCTYPE a>", "1: a document type is out of place"},
      {"<a>\n<b></a>", "2: an element's end does not fit its beginning"},
      {"<a></a></a>", "1: an element's end does not fit its beginning"},
      {"<a b=1/>", "1: an attribute is not complete"},
      {"<a\n b='<'/>", "1: an attribute holds a less-than sign"},
      {"<a>\n<b c='1' d='' c='1'/></a>", "2: an element has the same attribute twice"},
      {"<a>\n1 & 2;</a>", "1: an ampersand begins no reference"},
      {"<a b='&nbsp;'/>", "1: the reference &nbsp; stands for no character"},
      {"<a>&#0;</a>", "1: the reference &#0; stands for no character"},
      {"<a>&#xD800;</a>", "1: the reference &#xD800; stands for no character"},
      {"<a>&#4294967296;</a>", "1: the reference &#4294967296; stands for no character"},
      {std::string("<a>\n\0</a>", 9), "2: a character is not allowed"},
      {"<a>\xEF\xBF\xBF</a>", "1: a character is not allowed"},
  };
  for (const auto& [text, reason] : cases) {
    EXPECT_EQ(outcome(text), "The XML document is not well-formed at line " + reason + ".");
  }
  for (const char* text : {"<a>\xE5</a>", "<?xml version='1.0' encoding='UTF-16'?><a/>"}) {
    EXPECT_EQ(outcome(text), "The XML document is neither UTF-8 nor declared as ISO-8859-1.");
  }
  const std::string whole =
      "<?xml version='1.0'?><!DOCTYPE a [<!ENTITY x 'y'>]><a b='&lt;1'>\u00e5<![CDATA[c]]><d/>"
      "<!-- e -->&#65;</a>";
  EXPECT_EQ(outcome(whole), "\u00e5cA");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(XmlDocument::parse(std::string_view(whole).substr(0, length))) << length;
  }
}

TEST(Xml, ExpandsNothingThatADocumentDeclares) {
  const std::string bomb =
      "<!DOCTYPE a [<!ENTITY e0 'aaaaaaaaaa'><!ENTITY e1 '&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;'>"
      "<!ENTITY e2 '&e1;&e1;&e1;&e1;&e1;&e1;&e1;'><!ENTITY f SYSTEM 'file:///etc/passwd'>]>";
  EXPECT_EQ(outcome(bomb + "<a>nothing</a>"), "nothing");
  for (const std::string reference : {"&e2;", "&f;"}) {
    EXPECT_TRUE(outcome(bomb + "<a>" + reference + "</a>")
                    .ends_with("the reference " + reference + " stands for no character."));
  }
  EXPECT_EQ(outcome("<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a>1</a>"), "1");
}

TEST(Xml, KeepsItsLimits) {
  const std::string small = "<a b='1'><c>2</c></a>";
  EXPECT_EQ(outcome(small, {small.size(), 2, 4}), "2");
  for (const XmlLimits& limits :
       {XmlLimits{small.size() - 1, 2, 4}, XmlLimits{99, 1, 4}, XmlLimits{99, 2, 3}}) {
    EXPECT_NE(outcome(small, limits, PlatformErrorCode::XmlTooLarge), "2");
  }
  EXPECT_EQ(outcome(nested(256)), "");
  EXPECT_NE(outcome(nested(257), {}, PlatformErrorCode::XmlTooLarge), "");
  EXPECT_EQ(outcome(nested(50'000), {1'000'000, 50'000, 50'000}), "");
}

}  // namespace
}  // namespace bokfolio
