#include "bokfolio/platform/xml.hpp"

#include <utility>

#include "bokfolio/platform/internal/xml_tree.hpp"

namespace bokfolio {

std::optional<std::string_view> XmlElement::attribute(std::string_view name) const noexcept {
  for (const XmlAttribute& attribute : attributes_) {
    if (attribute.name == name) return attribute.value;
  }
  return std::nullopt;
}

std::vector<const XmlElement*> XmlElement::children(std::string_view name) const {
  std::vector<const XmlElement*> found;
  for (const XmlElement* child : children_) {
    if (child->name_ == name) found.push_back(child);
  }
  return found;
}

const XmlElement* XmlElement::firstChild(std::string_view name) const noexcept {
  for (const XmlElement* child : children_) {
    if (child->name_ == name) return child;
  }
  return nullptr;
}

std::string_view XmlElement::stringValue() const noexcept {
  return std::string_view(*text_).substr(textBegin_, textEnd_ - textBegin_);
}

std::vector<const XmlElement*> XmlElement::select(std::string_view path) const {
  std::vector<const XmlElement*> selected{this};
  if (path == ".") return selected;
  if (path.starts_with("./")) path.remove_prefix(2);
  for (bool more = true; more;) {
    const auto slash = path.find('/');
    more = slash != std::string_view::npos;
    const std::string_view step = path.substr(0, slash);
    path.remove_prefix(more ? slash + 1 : path.size());
    std::vector<const XmlElement*> next;
    for (const XmlElement* element : selected) {
      for (const XmlElement* child : element->children_) {
        if (child->name_ == step) next.push_back(child);
      }
    }
    selected = std::move(next);
  }
  return selected;
}

XmlElement* XmlTree::open(std::string name, std::vector<XmlAttribute> attributes,
                          XmlElement* parent) {
  elements.push_back(std::unique_ptr<XmlElement>(new XmlElement));
  XmlElement* element = elements.back().get();
  element->name_ = std::move(name);
  element->attributes_ = std::move(attributes);
  element->text_ = &text;
  element->textBegin_ = text.size();
  if (parent != nullptr) parent->children_.push_back(element);
  return element;
}

XmlDocument::XmlDocument(std::unique_ptr<XmlTree> tree) : tree_(std::move(tree)) {}

XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;

XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;

XmlDocument::~XmlDocument() = default;

std::optional<XmlDocument> XmlDocument::parse(std::string_view bytes, const XmlLimits& limits,
                                              ErrorOut error) {
  std::unique_ptr<XmlTree> tree = readXml(bytes, limits, error);
  if (tree == nullptr) return std::nullopt;
  return XmlDocument(std::move(tree));
}

const XmlElement& XmlDocument::root() const noexcept { return *tree_->elements.front(); }

}  // namespace bokfolio
