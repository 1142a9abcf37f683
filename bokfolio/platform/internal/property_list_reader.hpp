// From elements to property lists: the grammar of the document, one function a kind of value.
#pragma once

#include <optional>

#include "bokfolio/platform/property_list.hpp"
#include "bokfolio/platform/xml.hpp"

namespace bokfolio::internal {

// nullopt and PropertyListMalformed when the element is no "plist" with one value in it. Recurses
// as deep as the document, which has limits.
std::optional<PropertyList> readPropertyList(const XmlElement& root, ErrorOut error);

}  // namespace bokfolio::internal
