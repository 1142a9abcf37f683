// Refusals: how the model's operations say no. Nothing is built unless the caller wants an error.
#pragma once

#include <string_view>

#include "bokfolio/platform/environment.hpp"
#include "bokfolio/platform/error.hpp"

namespace bokfolio::internal {

// Fills the error, if one is wanted, with a code of the library's domain and the localised text;
// always false.
template <class Code>
bool refuse(ErrorOut error, Code code, std::string_view textKey, const Environment& environment) {
  if (error != nullptr)
    *error = Error(kBokfolioErrorDomain, static_cast<int>(code), environment.text(textKey));
  return false;
}

}  // namespace bokfolio::internal
