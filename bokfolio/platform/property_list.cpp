#include "bokfolio/platform/property_list.hpp"

#include <algorithm>

#include "bokfolio/platform/internal/property_list_reader.hpp"

namespace bokfolio {

PropertyList::PropertyList(Value value) : value_(std::move(value)) {}
PropertyList::PropertyList(const PropertyList&) = default;
PropertyList::PropertyList(PropertyList&&) noexcept = default;
PropertyList& PropertyList::operator=(const PropertyList&) = default;
PropertyList& PropertyList::operator=(PropertyList&&) noexcept = default;
PropertyList::~PropertyList() = default;

std::optional<PropertyList> PropertyList::parse(std::string_view bytes, ErrorOut error,
                                                const XmlLimits& limits) {
  const auto document = XmlDocument::parse(bytes, limits, error);
  if (!document) return std::nullopt;
  return internal::readPropertyList(document->root(), error);
}

const PropertyList::Map* PropertyList::map() const noexcept { return std::get_if<Map>(&value_); }

const PropertyList::Array* PropertyList::array() const noexcept {
  return std::get_if<Array>(&value_);
}

const std::string* PropertyList::string() const noexcept {
  return std::get_if<std::string>(&value_);
}

const bool* PropertyList::boolean() const noexcept { return std::get_if<bool>(&value_); }

const Date* PropertyList::date() const noexcept { return std::get_if<Date>(&value_); }

const Bytes* PropertyList::data() const noexcept { return std::get_if<Bytes>(&value_); }

std::optional<std::int64_t> PropertyList::integer() const noexcept {
  const auto* whole = std::get_if<std::int64_t>(&value_);
  return whole != nullptr ? std::optional(*whole) : std::nullopt;
}

std::optional<double> PropertyList::number() const noexcept {
  if (const auto whole = integer()) return static_cast<double>(*whole);
  const auto* real = std::get_if<double>(&value_);
  return real != nullptr ? std::optional(*real) : std::nullopt;
}

const PropertyList* PropertyList::find(std::string_view key) const noexcept {
  const Map* entries = map();
  if (entries == nullptr) return nullptr;
  const auto found = std::lower_bound(
      entries->begin(), entries->end(), key,
      [](const Entry& entry, std::string_view wanted) { return entry.key < wanted; });
  return found != entries->end() && found->key == key ? &found->value : nullptr;
}

bool operator==(const PropertyList& a, const PropertyList& b) { return a.value_ == b.value_; }

}  // namespace bokfolio
