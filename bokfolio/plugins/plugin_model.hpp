// How plug-ins change the data model of a document, one after the other, and what they may not do
// to it. A host asks for the model before it opens the document.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/error.hpp"
#include "bokfolio/plugins/plugin_base.hpp"
#include "bokfolio/store/model.hpp"

namespace bokfolio {

// Errors of plug-ins; what the library's rules say has domains of its own.
inline constexpr std::string_view kPluginErrorDomain = "BokfolioPluginErrorDomain";

enum class PluginError : int {
  NotFound = 1,      // no file there
  NotLoadable = 2,   // the system cannot load it; the description has the system's words
  NotAPlugin = 3,    // loadable, but it lacks what BOKFOLIO_PLUGIN puts into a plug-in
  OtherVersion = 4,  // made for another version of this library, or by an unfit compiler
  Failed = 5,        // it could not be made, or threw when asked
  ModelRefused = 6,  // its model has faults, or lacks or changes what was there before
  OpenToOthers = 7,  // other users could change its file, or put another in its place
};

// Asks the plug-in for its model and takes that over. false with ModelRefused (all faults named),
// or Failed when it throws, and then the model is as it was. An extension may add entities, and at
// the end of an entity's keys further ones; entities and stored keys that were there keep their
// name, kind, target and place, because classes go by the place, and with default, delete rule,
// validation and accessors they keep the rules of bookkeeping that those are. Derived keys and the
// kept sum stay as they are, because rules read them; a key may depend on more than before.
BOKFOLIO_EXPORT bool extendModel(Model& model, const BFPluginBase& plugin,
                                 ErrorOut error = nullptr);

}  // namespace bokfolio
