#include "bokfolio/store/persistence/sqlite/internal/saved_state.hpp"

namespace bokfolio::internal {

SavedState::SavedState(Connection& connection, Lock lock)
    : connection_(connection),
      lock_(lock),
      begin_(connection.prepare("BEGIN")),
      seen_(connection.stateSeen()) {}

void SavedState::check() {
  const std::uint32_t found = connection_.stateSeen();
  if (changing_) endChange();
  if (found == seen_) return;
  leave();
  throw Failure{PersistenceError::Stale,
                "\"" + connection_.path() + "\" was saved by another program; open it again."};
}

void SavedState::endChange() {
  seen_ = connection_.stateSeen();
  changing_ = false;
}

}  // namespace bokfolio::internal
