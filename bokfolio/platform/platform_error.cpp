#include "bokfolio/platform/platform_error.hpp"

#include <utility>

namespace bokfolio {

bool failPlatform(ErrorOut error, PlatformErrorCode code, std::string description) {
  if (error != nullptr) {
    *error = Error(kPlatformErrorDomain, static_cast<int>(code), std::move(description));
  }
  return false;
}

}  // namespace bokfolio
