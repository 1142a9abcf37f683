// HostDocument: what the library sees of a document that the host has open, so that a book can say
// which of them is its own. The host derives its document class from it; windows, files and undo
// menus are the host's business.
#pragma once

#include "bokfolio/export.hpp"

namespace bokfolio {

class Context;

class BOKFOLIO_EXPORT HostDocument {
 public:
  HostDocument() = default;
  HostDocument(const HostDocument&) = delete;
  HostDocument& operator=(const HostDocument&) = delete;
  virtual ~HostDocument();

  // The context of the document's records; nullptr while it has none.
  virtual const Context* context() const = 0;
};

}  // namespace bokfolio
