// What a host does with the firm's document, each thing with the save that ends it: for faults to
// happen in the middle of.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bokfolio/platform/error.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::faults {

struct Answer {
  bool done = false;
  std::optional<Error> error;
  // What was read, for an operation that asks.
  std::string figures;

  std::string sentence() const { return error ? error->localizedDescription() : "no words"; }
};

struct Operation {
  const char* name;
  // May throw LoadError. It does not roll back.
  Answer (*run)(Context& context);
  bool fromOpening = false;  // opening the document is part of it
};

const std::vector<Operation>& operations();
Answer saved(Context& context);

}  // namespace bokfolio::faults
