// Repair: the way out of a damaged document. What can be mended is mended in place, after a copy;
// else what can be read goes into a new document and the damaged one stays as it is.
#pragma once

#include <string>

#include "host.hpp"

namespace bokfolio::cli {

// With a path the document is left as it is whatever its state, and what can be read goes there.
void repair(Host& host, const std::string& to);

}  // namespace bokfolio::cli
