#include "bokfolio/platform/xml.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {
namespace {

using Texts = std::vector<std::string>;

XmlDocument parsed(std::string_view text) {
  std::optional<Error> error;
  auto document = XmlDocument::parse(text, {}, &error);
  if (!document) throw std::runtime_error(error ? error->localizedDescription() : "no error");
  return std::move(*document);
}

// The code of the refusal, 0 when the text is taken. What a caller without error gets is the same.
int refusal(std::string_view text, const XmlLimits& limits = {}) {
  std::optional<Error> error;
  const bool taken = XmlDocument::parse(text, limits, &error).has_value();
  EXPECT_EQ(taken, !error.has_value());
  EXPECT_EQ(taken, XmlDocument::parse(text, limits).has_value());
  return error ? error->code() : 0;
}

std::string outcome(std::string_view text) {
  std::optional<Error> error;
  const auto document = XmlDocument::parse(text, {}, &error);
  return document ? std::string(document->root().stringValue()) : error->localizedDescription();
}

Texts values(const std::vector<const XmlElement*>& elements) {
  Texts texts;
  for (const XmlElement* element : elements) texts.emplace_back(element->stringValue());
  return texts;
}

std::string repeated(std::string_view piece, std::size_t times) {
  std::string text;
  for (std::size_t i = 0; i < times; ++i) text += piece;
  return text;
}

TEST(Xml, FindsDirectChildrenByNameInDocumentOrder) {
  const XmlDocument document = parsed(
      "<entry><row>1</row><name>a</name><group><name>inner</name></group><row>2</row>"
      "<name>b</name><Row>3</Row><x:row>4</x:row></entry>");
  const XmlElement& entry = document.root();
  EXPECT_EQ(entry.name(), "entry");
  EXPECT_EQ(entry.children().size(), 7U);
  EXPECT_EQ(values(entry.children("row")), (Texts{"1", "2"}));
  EXPECT_EQ(values(entry.children("x:row")), Texts{"4"});
  EXPECT_EQ(entry.firstChild("name")->stringValue(), "a");
  EXPECT_EQ(entry.firstChild("account"), nullptr);
  EXPECT_TRUE(entry.children("account").empty());
}

TEST(Xml, StringValueIsAllTextWithin) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"<a>Office<!-- no --> rent</a>", "Office rent"},
      {"<a>1<![CDATA[<&lt;]]>2<![CDATA[3]]></a>", "1<&lt;23"},
      {"<a>x<b>y<c/>z</b> <b>w</b></a>", "xyz w"},
      {"<a/>", ""},
      {"<a> \r\n\t</a>", " \n\t"},
      {"<a>&lt;&gt;&amp;&quot;&apos;</a>", "<>&\"'"},
      {"<a>&amp;lt;</a>", "&lt;"},
      {"<a>&#229;&#xE5;&#x1F600;&#13;</a>", "\u00e5\u00e5\U0001F600\r"},
      {"\xEF\xBB\xBF<?xml version='1.0'?><!DOCTYPE a><!-- x --><?pi?><a>\u00e5</a>\n", "\u00e5"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE5&#8364;</a>", "\u00e5\u20ac"},
      {"<?xml version='1.0' encoding = \"utf-8\"?><a>\u20ac</a>", "\u20ac"},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(outcome(text), value) << text;

  const XmlDocument document = parsed("<a>1<b>2<c>3</c></b>4<b>5</b></a>");
  EXPECT_EQ(values(document.root().children("b")), (Texts{"23", "5"}));
}

TEST(Xml, KeepsAttributesByPositionAndByName) {
  const XmlDocument document = parsed("<a z='1' b=\"x&#10;&quot;\ny\" x:z=''/>");
  const XmlElement& root = document.root();
  ASSERT_EQ(root.attributes().size(), 3U);
  EXPECT_EQ(root.attributes()[0].name, "z");
  EXPECT_EQ(root.attributes()[1].value, "x\n\" y");
  EXPECT_EQ(root.attribute("z"), "1");
  EXPECT_EQ(root.attribute("x:z"), "");
  EXPECT_EQ(root.attribute("Z"), std::nullopt);
}

TEST(Xml, SelectsByChildSteps) {
  const XmlDocument document = parsed(
      "<p:r xmlns='u'><C><C><C>1</C><D>no</D></C><C><C>2</C><C>3<C>deep</C></C></C></C>"
      "<C><C/><C><C>4</C></C></C><p:C><C><C>no</C></C></p:C></p:r>");
  const XmlElement& root = document.root();
  EXPECT_EQ(values(root.select("./C/C/C")), (Texts{"1", "2", "3deep", "4"}));
  EXPECT_EQ(root.select("C/C").size(), 4U);
  EXPECT_EQ(root.select("."), std::vector<const XmlElement*>{&root});
  for (const char* path : {"", "./", "/C", "C/", ".//C", "*", "..", "C/D/C", "c"}) {
    EXPECT_TRUE(root.select(path).empty()) << path;
  }
}

TEST(Xml, MovesWithItsElements) {
  XmlDocument first = parsed("<a><b>1</b></a>");
  const XmlElement* inner = first.root().firstChild("b");
  const XmlDocument second = std::move(first);
  EXPECT_EQ(second.root().firstChild("b"), inner);
  EXPECT_EQ(inner->stringValue(), "1");
}

TEST(Xml, RefusesWhatIsNotWellFormed) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", "line 1: there is no element"},
      {"<!-- only -->", "line 1: there is no element"},
      {"plain", "line 1: there is text outside the root element"},
      {"<a/>\n\ntail", "line 1: there is text outside the root element"},
      {"<a/><![CDATA[ ]]>", "line 1: there is text outside the root element"},
      {"\n<?xml version='1.0'?><a/>", "line 2: the declaration is not at the start"},
      {"<a/>\n<b/>", "line 2: there is a second root element"},
      {"<a/><!DOCTYPE a>", "line 1: a document type is out of place"},
      {"<a>\n<b></a>", "line 2: an element's end does not fit its beginning"},
      {"<a>\n<b>", "line 2: an element's end does not fit its beginning"},
      {"<a></a></a>", "line 1: an element's end does not fit its beginning"},
      {"<a b=1/>", "line 1: an attribute is not complete"},
      {"<a\n b='<'/>", "line 1: an attribute holds a less-than sign"},
      {"<a>\n<b c='1' d='' c='1'/></a>", "line 2: an element has the same attribute twice"},
      {"<a><!-- </a>", "line 1: a comment is not complete"},
      {"<a><![CDATA[</a>", "line 1: a CDATA section is not complete"},
      {"<a>\n1 & 2;</a>", "line 1: an ampersand begins no reference"},
      {"<a>&amp</a>", "line 1: an ampersand begins no reference"},
      {"<a b='&nbsp;'/>", "line 1: the reference &nbsp; stands for no character"},
      {"<a>&#0;</a>", "line 1: the reference &#0; stands for no character"},
      {"<a>&#xD800;</a>", "line 1: the reference &#xD800; stands for no character"},
      {"<a>&#-1;&#x110000;</a>", "line 1: the reference &#-1; stands for no character"},
      {"<a>&#4294967296;</a>", "line 1: the reference &#4294967296; stands for no character"},
      {"<a>\n\x01</a>", "line 2: a character is not allowed"},
      {std::string("<a>\0</a>", 8), "line 1: a character is not allowed"},
      {"<a>\xEF\xBF\xBF</a>", "line 1: a character is not allowed"},
  };
  for (const auto& [text, reason] : cases) {
    const auto code = static_cast<int>(PlatformErrorCode::XmlMalformed);
    EXPECT_EQ(refusal(text), code) << text;
    EXPECT_EQ(outcome(text), "The XML document is not well-formed at " + reason + ".") << text;
  }
  for (const char* text : {"<a>\xE5</a>", "<a>\xED\xA0\x80</a>", "\xFF\xFE<",
                           "<?xml version='1.0' encoding='UTF-16'?><a/>"}) {
    EXPECT_EQ(outcome(text), "The XML document is neither UTF-8 nor declared as ISO-8859-1.");
  }
}

TEST(Xml, EveryPrefixOfADocumentIsRefused) {
  const std::string whole =
      "<?xml version='1.0'?><!DOCTYPE a [<!ENTITY x 'y'>]><a b='&lt;1'>\u00e5<![CDATA[c]]><d/>"
      "<!-- e -->&#65;</a>";
  EXPECT_EQ(refusal(whole), 0);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_NE(refusal(std::string_view(whole).substr(0, length)), 0) << length;
  }
}

TEST(Xml, ExpandsNothingThatADocumentDeclares) {
  std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'aaaaaaaaaa'>";
  for (int i = 1; i < 10; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + repeated(inner, 10) + "'>";
  }
  bomb += "]>";
  EXPECT_EQ(outcome(bomb + "<a>nothing</a>"), "nothing");
  const std::string refused = "stands for no character.";
  EXPECT_TRUE(outcome(bomb + "<a>&e9;</a>").ends_with("the reference &e9; " + refused));
  EXPECT_TRUE(outcome("<!DOCTYPE a [<!ENTITY f SYSTEM 'file:///etc/passwd'>]><a>&f;</a>")
                  .ends_with("the reference &f; " + refused));
  EXPECT_EQ(outcome("<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a>1</a>"), "1");
}

TEST(Xml, KeepsItsLimits) {
  const auto tooLarge = static_cast<int>(PlatformErrorCode::XmlTooLarge);
  const std::string small = "<a b='1'><c>2</c></a>";
  XmlLimits limits{small.size(), 2, 4};
  EXPECT_EQ(refusal(small, limits), 0);
  EXPECT_EQ(refusal(small + " ", limits), tooLarge);
  limits = {1000, 2, 3};
  EXPECT_EQ(refusal(small, limits), tooLarge);
  limits = {1000, 1, 4};
  EXPECT_EQ(refusal(small, limits), tooLarge);

  const std::size_t depth = XmlLimits{}.depth;
  EXPECT_EQ(refusal(repeated("<a>", depth) + repeated("</a>", depth)), 0);
  EXPECT_EQ(refusal(repeated("<a>", depth + 1) + repeated("</a>", depth + 1)), tooLarge);
  EXPECT_EQ(refusal(repeated("<a>", 200'000) + repeated("</a>", 200'000)), tooLarge);
  XmlLimits deep;
  deep.depth = 200'000;
  EXPECT_EQ(refusal(repeated("<a>", 200'000) + repeated("</a>", 200'000), deep), 0);
}

}  // namespace
}  // namespace bokfolio
