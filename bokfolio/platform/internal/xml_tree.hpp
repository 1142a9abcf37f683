// XmlTree: what an XmlDocument holds, and the reader that makes one from bytes. The parser below
// takes much that is not well-formed; the reader looks at everything it made before it is believed.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/platform/error.hpp"
#include "bokfolio/platform/xml.hpp"

namespace bokfolio {

struct XmlTree {
  // In document order, the root first. Each is alone on the heap, since the others point to it.
  std::vector<std::unique_ptr<XmlElement>> elements;
  // The text of the whole document; an element's text is a part of it.
  std::string text;

  // A new element inside `parent`, or the root when there is none. Its text begins here.
  XmlElement* open(std::string name, std::vector<XmlAttribute> attributes, XmlElement* parent);
  // Its text ends here.
  void close(XmlElement* element) const noexcept { element->textEnd_ = text.size(); }
};

// nullptr and the error when the bytes are refused.
std::unique_ptr<XmlTree> readXml(std::string_view bytes, const XmlLimits& limits, ErrorOut error);

}  // namespace bokfolio
