// Throws, in turn an exception and none, when it is made without a document.
#include <stdexcept>

#include "bokfolio/plugins/plugin_abi.hpp"

namespace {

struct NeedsDocument final : bokfolio::BFViewPluginBase {
  explicit NeedsDocument(bokfolio::Context* context) : BFViewPluginBase(context) {
    static bool odd = false;
    if (context != nullptr) return;
    odd = !odd;
    if (!odd) throw 1;
    throw std::runtime_error("there is no document");
  }
};

}  // namespace

BOKFOLIO_PLUGIN(NeedsDocument);
