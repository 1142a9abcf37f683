// An engine that fails on demand, around any other engine: to try what a context, a record class or
// a host does when reading or saving fails. A call that fails is not handed on to the engine
// inside.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/store/persistence/persistence.hpp"

namespace bokfolio {

enum class PersistenceOperation : std::uint8_t {
  Open,
  Load,
  NextId,
  Commit,
  Backup,
  Verify,
  Find,
  Count,
  KeepsSums,
  Sums,
};

struct PersistenceFault {
  // The call that fails: 1 is the next one of its kind. 0 fails every call from now on.
  std::uint64_t call = 1;
  // Which calls are counted; nullopt counts all.
  std::optional<PersistenceOperation> operation;
  PersistenceError code = PersistenceError::Failed;
  std::string description = "The engine was told to fail.";
  // Load, Find and Sums only: so many records, or lines, are delivered before it fails.
  std::uint64_t afterRecords = 0;
};

// What shall fail, and what was called. Kept by the test while the engine belongs to a context.
class BOKFOLIO_EXPORT PersistenceFaults {
 public:
  // Several faults may wait at a time; each fires once, one with call 0 every time.
  void add(PersistenceFault fault);
  void clear();

  // Calls since the beginning, those that failed included.
  std::uint64_t calls() const;
  std::uint64_t calls(PersistenceOperation operation) const;
  // How many of them were made to fail.
  std::uint64_t fired() const { return fired_; }

  // Counts a call and answers the fault that it meets. For the engine.
  std::optional<PersistenceFault> meet(PersistenceOperation operation);

 private:
  std::vector<PersistenceFault> waiting_;
  std::array<std::uint64_t, 10> calls_{};  // by operation
  std::uint64_t fired_ = 0;
};

BOKFOLIO_EXPORT std::unique_ptr<Persistence> makeFaultInjectingPersistence(
    std::unique_ptr<Persistence> engine, std::shared_ptr<PersistenceFaults> faults);

}  // namespace bokfolio
