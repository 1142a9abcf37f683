// ValueTransformer: turns the value that is kept into the one that is shown, and back. Controls of
// a user interface are bound to a key through a transformer that they know by name only; the
// registry of names is one for the process, since the controls of all windows use it. Values are
// texts, nil included.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "bokfolio/export.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT ValueTransformer {
 public:
  // Makes the transformer known under a name, in place of an earlier one of that name; nullptr
  // takes the name out. Both are safe from any thread.
  static void setValueTransformer(std::shared_ptr<const ValueTransformer> transformer,
                                  std::string name);
  // nullptr when nothing is known under the name. An answer stays usable when the name is given to
  // another.
  static std::shared_ptr<const ValueTransformer> valueTransformerForName(std::string_view name);
  // In alphabetical order.
  static std::vector<std::string> valueTransformerNames();

  virtual ~ValueTransformer();

  virtual std::optional<std::string> transformedValue(
      const std::optional<std::string>& value) const = 0;
  // The way back. Answers the same as transformedValue() unless a transformer says otherwise, and
  // is asked for only when it allows it.
  virtual std::optional<std::string> reverseTransformedValue(
      const std::optional<std::string>& value) const;
  // Yes, unless a transformer says otherwise.
  virtual bool allowsReverseTransformation() const;
  // Of what transformedValue() answers: std::string.
  virtual const std::type_info& transformedValueClass() const;
};

}  // namespace bokfolio
