// Short words for describing properties, for tests that make a model of their own.
#pragma once

#include <string>
#include <utility>

#include "bokfolio/store/model.hpp"

namespace bokfolio::test {

inline PropertyDescription attribute(std::string name, PropertyKind kind) {
  PropertyDescription described;
  described.name = std::move(name);
  described.kind = kind;
  return described;
}

inline PropertyDescription relation(std::string name, PropertyKind kind, std::string target,
                                    std::string inverse = "") {
  PropertyDescription described = attribute(std::move(name), kind);
  described.target = std::move(target);
  described.inverse = std::move(inverse);
  return described;
}

}  // namespace bokfolio::test
