// SavedState: which state of the file an engine looks at. Records are read bit by bit, and those
// read before another program's save would not go together with those read after it: the first
// sight of such a save is Stale, and stays so.
//
// A statement that runs alone sees one state but pays for taking and leaving the file's lock, far
// more than for finding a record. A writer therefore keeps the reader's lock between its saves:
// other writers of ours are kept out anyway, other programs wait. Readers never keep it, since that
// would keep the writer from saving.
#pragma once

#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"

namespace bokfolio::internal {

class SavedState {
 public:
  enum class Lock : std::uint8_t { ForEachStatement, BetweenSaves };

  // What the connection has seen last is the state to go by.
  SavedState(Connection& connection, Lock lock);

  // Before reading.
  void look() {
    if (lock_ == Lock::BetweenSaves && !connection_.inTransaction()) begin_.run();
  }
  // While a statement or transaction keeps the file as it is. When it is Stale, others may save on.
  void check();
  // Leaves the file to others, before a save and what cannot be done inside a transaction.
  void leave() {
    if (connection_.inTransaction()) connection_.execute("COMMIT");
  }
  // Around what this connection writes, after check(). Undoing a save that failed may look like
  // another program's.
  void beginChange() { changing_ = true; }
  void endChange();

 private:
  Connection& connection_;
  Lock lock_;
  Statement begin_;
  std::uint32_t seen_;
  bool changing_ = false;
};

}  // namespace bokfolio::internal
