// The engine that keeps a document in memory: for tests, for trying something out, and as the
// yardstick for what every engine must do. Values are kept by entity and property name, so that a
// context can be closed and another, with another model, opened on the same document.
#pragma once

#include <memory>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/store/persistence/persistence.hpp"

namespace bokfolio {

namespace internal {
struct MemoryState;
}

// What is saved. It outlives the engines that work on it.
class BOKFOLIO_EXPORT MemoryDocument {
 public:
  MemoryDocument();
  MemoryDocument(const MemoryDocument&) = delete;
  MemoryDocument& operator=(const MemoryDocument&) = delete;
  ~MemoryDocument();

  // The copy that Persistence::backup made under that path, or nullptr. No file is involved: the
  // path is only a name here.
  std::shared_ptr<MemoryDocument> backup(const std::string& path) const;

  internal::MemoryState& state() { return *state_; }

 private:
  std::unique_ptr<internal::MemoryState> state_;
};

// An engine on the document, on a new one when there is none given. Several engines may share a
// document: as with a server, who writes what another has changed since reading it gets Stale.
BOKFOLIO_EXPORT std::unique_ptr<Persistence> makeMemoryPersistence(
    std::shared_ptr<MemoryDocument> document = nullptr);

}  // namespace bokfolio
