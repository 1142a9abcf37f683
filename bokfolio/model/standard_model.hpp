// The standard model: every entity of a bookkeeping document, put together from the tables beside
// the record classes. A host or plug-in may extend the answer before it is frozen.
#pragma once

#include "bokfolio/export.hpp"
#include "bokfolio/store/model.hpp"

namespace bokfolio {

BOKFOLIO_EXPORT Model standardModel();

}  // namespace bokfolio
