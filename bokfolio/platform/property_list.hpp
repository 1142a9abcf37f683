// PropertyList: settings and tables as desktop programs keep them in XML ("<plist>"): maps, arrays,
// texts, numbers, yes and no, dates, bytes. Read whole and then only looked at. It is about small
// files that come with a program; what the values mean is known by whoever asks for them.
//
// A file may still come from a stranger: the limits of XmlDocument hold, and what is not exactly a
// property list is refused as a whole, with the element that is wrong. The binary form and the
// older textual one are not read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/platform/xml.hpp"

namespace bokfolio {

// One value, with all that is in it. Copies are deep.
class BOKFOLIO_EXPORT PropertyList {
 public:
  struct Entry;
  using Array = std::vector<PropertyList>;
  // In ascending order of keys; no key twice.
  using Map = std::vector<Entry>;
  using Value = std::variant<Map, Array, std::string, std::int64_t, double, bool, Date, Bytes>;

  // The value in a document whose root is "plist". nullopt and an error of kPlatformErrorDomain
  // otherwise: those of XmlDocument::parse; PropertyListMalformed for an element that is none of a
  // property list, a map in which keys and values do not take turns or a key comes twice, stray
  // text, an integer that does not fit 64 bits, a real that is no finite number, a date that is not
  // YYYY-MM-DDThh:mm:ssZ, data that is not base64.
  static std::optional<PropertyList> parse(std::string_view bytes, ErrorOut error = nullptr,
                                           const XmlLimits& limits = {});

  explicit PropertyList(Value value);
  PropertyList(const PropertyList&);
  PropertyList(PropertyList&&) noexcept;
  PropertyList& operator=(const PropertyList&);
  PropertyList& operator=(PropertyList&&) noexcept;
  ~PropertyList();

  const Value& value() const noexcept { return value_; }

  // Each answers nullptr when the value is of another kind.
  const Map* map() const noexcept;
  const Array* array() const noexcept;
  const std::string* string() const noexcept;
  const bool* boolean() const noexcept;
  const Date* date() const noexcept;
  const Bytes* data() const noexcept;
  // nullopt unless it was written as an integer.
  std::optional<std::int64_t> integer() const noexcept;
  // An integer or a real, as a real; nullopt for other kinds.
  std::optional<double> number() const noexcept;

  // The value under a key; nullptr when there is none, and when this is no map.
  const PropertyList* find(std::string_view key) const noexcept;

  friend bool operator==(const PropertyList& a, const PropertyList& b);

 private:
  Value value_;
};

struct PropertyList::Entry {
  std::string key;
  PropertyList value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

}  // namespace bokfolio
