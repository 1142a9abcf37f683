// Fetches that fail answer nothing and do not say why. Operations that must not take "nothing" for
// "there are none" refuse through this.
#pragma once

#include "bokfolio/platform/error.hpp"

namespace bokfolio {

class Context;

namespace internal {

// After a failed fetch: fills the error, if one is wanted, with the engine's reason; always false.
bool refuseUnreadable(ErrorOut error, const Context& context);

}  // namespace internal

}  // namespace bokfolio
