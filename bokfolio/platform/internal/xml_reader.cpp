#include <algorithm>
#include <cstddef>
#include <pugixml.hpp>
#include <utility>

#include "bokfolio/platform/internal/xml_text.hpp"
#include "bokfolio/platform/internal/xml_tree.hpp"
#include "bokfolio/platform/platform_error.hpp"

namespace bokfolio {

namespace {

// References are left to the reader, since the parser lets unknown ones stand as text. Text beside
// the root is kept, to be refused.
constexpr unsigned int kParseOptions = pugi::parse_cdata | pugi::parse_ws_pcdata | pugi::parse_eol |
                                       pugi::parse_wconv_attribute | pugi::parse_declaration |
                                       pugi::parse_doctype | pugi::parse_fragment;

std::string_view describe(pugi::xml_parse_status status) noexcept {
  switch (status) {
    case pugi::status_bad_pi:
      return "a declaration or processing instruction is not complete";
    case pugi::status_bad_comment:
      return "a comment is not complete";
    case pugi::status_bad_cdata:
      return "a CDATA section is not complete";
    case pugi::status_bad_doctype:
      return "the document type declaration is not complete";
    case pugi::status_bad_pcdata:
      return "the text ends too early";
    case pugi::status_bad_start_element:
    case pugi::status_unrecognized_tag:
      return "a tag is not complete";
    case pugi::status_bad_attribute:
      return "an attribute is not complete";
    case pugi::status_bad_end_element:
    case pugi::status_end_element_mismatch:
      return "an element's end does not fit its beginning";
    default:
      return "it cannot be read";
  }
}

class Reader {
 public:
  Reader(std::string_view source, const XmlLimits& limits, ErrorOut error)
      : source_(source), limits_(limits), error_(error), tree_(std::make_unique<XmlTree>()) {}

  bool read();
  std::unique_ptr<XmlTree> takeTree() { return std::move(tree_); }

 private:
  struct Level {
    pugi::xml_node node;
    XmlElement* element = nullptr;
  };

  bool malformed(std::ptrdiff_t offset, std::string_view reason) const;
  bool malformed(const pugi::xml_node& node, std::string_view reason) const {
    return malformed(node.offset_debug(), reason);
  }
  bool tooLarge(std::string_view what) const {
    return failPlatform(error_, PlatformErrorCode::XmlTooLarge,
                        "The XML document has too many " + std::string(what) + ".");
  }
  bool countNode() { return ++nodes_ <= limits_.nodes || tooLarge("elements"); }
  bool findRoot(const pugi::xml_document& document, pugi::xml_node& root) const;
  bool readElements(const pugi::xml_node& root);
  bool open(const pugi::xml_node& node);
  bool readAttributes(const pugi::xml_node& node, std::vector<XmlAttribute>& attributes);
  bool readText(const pugi::xml_node& node);

  std::string_view source_;
  const XmlLimits& limits_;
  ErrorOut error_;
  std::unique_ptr<XmlTree> tree_;
  std::vector<Level> levels_;
  std::size_t nodes_ = 0;
};

bool Reader::malformed(std::ptrdiff_t offset, std::string_view reason) const {
  const auto end =
      std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)), source_.size());
  const std::string_view before = source_.substr(0, end);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  return failPlatform(error_, PlatformErrorCode::XmlMalformed,
                      "The XML document is not well-formed at line " + std::to_string(line) + ": " +
                          std::string(reason) + ".");
}

bool Reader::read() {
  const auto forbidden = findForbiddenXmlCharacter(source_);
  if (forbidden != std::string_view::npos) {
    return malformed(static_cast<std::ptrdiff_t>(forbidden), "a character is not allowed");
  }
  pugi::xml_document document;
  const pugi::xml_parse_result result =
      document.load_buffer(source_.data(), source_.size(), kParseOptions, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) return tooLarge("bytes");
  if (!result) return malformed(result.offset, describe(result.status));
  pugi::xml_node root;
  return findRoot(document, root) && readElements(root);
}

// Outside the root stand the declaration, first of all, a document type, and blanks.
bool Reader::findRoot(const pugi::xml_document& document, pugi::xml_node& root) const {
  bool hasDoctype = false;
  for (const pugi::xml_node node : document.children()) {
    const std::string_view text = node.value();
    switch (node.type()) {
      case pugi::node_declaration:
        if (node.previous_sibling()) return malformed(node, "the declaration is not at the start");
        break;
      case pugi::node_doctype:
        if (root || hasDoctype) return malformed(node, "a document type is out of place");
        hasDoctype = true;
        break;
      case pugi::node_element:
        if (root) return malformed(node, "there is a second root element");
        root = node;
        break;
      default:
        if (node.type() != pugi::node_pcdata || text.find_first_not_of(" \t\r\n") != text.npos) {
          return malformed(node, "there is text outside the root element");
        }
    }
  }
  return root || malformed(0, "there is no element");
}

bool Reader::readElements(const pugi::xml_node& root) {
  if (!open(root)) return false;
  pugi::xml_node next = root.first_child();
  while (!levels_.empty()) {
    if (!next) {
      tree_->close(levels_.back().element);
      next = levels_.back().node.next_sibling();
      levels_.pop_back();
    } else if (next.type() == pugi::node_element) {
      if (!open(next)) return false;
      next = next.first_child();
    } else {
      if (!readText(next)) return false;
      next = next.next_sibling();
    }
  }
  return true;
}

bool Reader::open(const pugi::xml_node& node) {
  if (levels_.size() >= limits_.depth) return tooLarge("levels");
  std::vector<XmlAttribute> attributes;
  if (!countNode() || !readAttributes(node, attributes)) return false;
  XmlElement* parent = levels_.empty() ? nullptr : levels_.back().element;
  levels_.push_back({node, tree_->open(node.name(), std::move(attributes), parent)});
  return true;
}

bool Reader::readAttributes(const pugi::xml_node& node, std::vector<XmlAttribute>& attributes) {
  std::vector<std::string_view> names;
  for (const pugi::xml_attribute attribute : node.attributes()) {
    if (!countNode()) return false;
    const std::string_view raw = attribute.value();
    std::string reason = "an attribute holds a less-than sign";
    XmlAttribute& added = attributes.emplace_back();
    added.name = attribute.name();
    if (raw.find('<') != raw.npos || !appendXmlText(added.value, raw, reason)) {
      return malformed(node, reason);
    }
    names.emplace_back(attribute.name());
  }
  std::sort(names.begin(), names.end());
  return std::adjacent_find(names.begin(), names.end()) == names.end() ||
         malformed(node, "an element has the same attribute twice");
}

bool Reader::readText(const pugi::xml_node& node) {
  if (!countNode()) return false;
  if (node.type() == pugi::node_cdata) {
    tree_->text += node.value();
    return true;
  }
  std::string reason;
  return appendXmlText(tree_->text, node.value(), reason) || malformed(node, reason);
}

}  // namespace

std::unique_ptr<XmlTree> readXml(std::string_view bytes, const XmlLimits& limits, ErrorOut error) {
  if (bytes.size() > limits.bytes) {
    failPlatform(error, PlatformErrorCode::XmlTooLarge,
                 "The XML document has more than " + std::to_string(limits.bytes) + " bytes.");
    return nullptr;
  }
  const std::optional<std::string> source = xmlToUtf8(bytes);
  if (!source) {
    failPlatform(error, PlatformErrorCode::XmlMalformed,
                 "The XML document is neither UTF-8 nor declared as ISO-8859-1.");
    return nullptr;
  }
  Reader reader(*source, limits, error);
  return reader.read() ? reader.takeTree() : nullptr;
}

}  // namespace bokfolio
