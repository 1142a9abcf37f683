// Xml: a small document, read whole and then only looked at. It is about data in XML (rates,
// entries, property lists), so it keeps elements, attributes and text, and drops comments and
// processing instructions. Names are compared as they are written, prefix included; namespaces are
// not considered.
//
// Documents come from strangers. Nothing outside the document is ever read, nothing declared in it
// is expanded, and what exceeds the limits or is not well-formed is refused as a whole. A document
// type declaration is skipped: a document may have one, but only the five predefined entities and
// character references mean anything in its text, and any other reference is an error.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio {

struct XmlTree;

struct XmlLimits {
  std::size_t bytes = std::size_t{16} << 20;
  std::size_t depth = 256;        // elements from the root to the innermost, both counted
  std::size_t nodes = 1'000'000;  // elements, attributes and pieces of text together
};

struct XmlAttribute {
  std::string name;
  std::string value;
};

// One element. It belongs to its document, and so does every view and pointer that it answers.
class BOKFOLIO_EXPORT XmlElement {
 public:
  XmlElement(const XmlElement&) = delete;
  XmlElement& operator=(const XmlElement&) = delete;

  std::string_view name() const noexcept { return name_; }
  // In document order.
  const std::vector<XmlAttribute>& attributes() const noexcept { return attributes_; }
  // nullopt when there is none of that name; an empty value is a value.
  std::optional<std::string_view> attribute(std::string_view name) const noexcept;
  // The elements directly inside, in document order.
  const std::vector<const XmlElement*>& children() const noexcept { return children_; }
  // Those of one name; empty when there is none.
  std::vector<const XmlElement*> children(std::string_view name) const;
  // nullptr when there is none.
  const XmlElement* firstChild(std::string_view name) const noexcept;
  // All text within, that of inner elements included, in document order: CDATA sections as they
  // are, references decoded, blanks kept, comments left out as if they were not there.
  std::string_view stringValue() const noexcept;
  // The elements that a path of child steps leads to, in document order: "./Cube/Cube" or
  // "Cube/Cube". "." is the element itself. Each step is a name; of the path language nothing else
  // is known, so "*", "..", "//" and predicates lead nowhere.
  std::vector<const XmlElement*> select(std::string_view path) const;

 private:
  friend struct XmlTree;
  XmlElement() = default;

  std::string name_;
  std::vector<XmlAttribute> attributes_;
  std::vector<const XmlElement*> children_;
  // The text of the whole document, and the part of it that lies in this element.
  const std::string* text_ = nullptr;
  std::size_t textBegin_ = 0;
  std::size_t textEnd_ = 0;
};

class BOKFOLIO_EXPORT XmlDocument {
 public:
  // Reads UTF-8, or ISO-8859-1 when the declaration says so. nullopt and an error of
  // kPlatformErrorDomain otherwise: XmlTooLarge beyond a limit; XmlMalformed for text that is not
  // well-formed or in another encoding, for characters that XML forbids, an attribute given twice,
  // a second root, and a reference to anything but the predefined entities. One input always gives
  // the same answer. Linear; needs up to twenty times the input in memory while it reads.
  static std::optional<XmlDocument> parse(std::string_view bytes, const XmlLimits& limits = {},
                                          ErrorOut error = nullptr);

  XmlDocument(XmlDocument&&) noexcept;
  XmlDocument& operator=(XmlDocument&&) noexcept;
  ~XmlDocument();

  const XmlElement& root() const noexcept;

 private:
  explicit XmlDocument(std::unique_ptr<XmlTree> tree);

  std::unique_ptr<XmlTree> tree_;
};

}  // namespace bokfolio
