// How the errors of plug-ins are made.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "bokfolio/plugins/plugin_model.hpp"

namespace bokfolio::internal {

// Fills `error` when one is wanted and answers false.
inline bool failPlugin(ErrorOut error, PluginError code, std::string description) {
  if (error != nullptr) {
    *error = Error(kPluginErrorDomain, static_cast<int>(code), std::move(description));
  }
  return false;
}

// Inside a handler: what was thrown says.
inline std::string caughtReason() {
  try {
    throw;
  } catch (const std::exception& fault) {
    return fault.what();
  } catch (...) {
    return "it threw something that is no exception";
  }
}

}  // namespace bokfolio::internal
