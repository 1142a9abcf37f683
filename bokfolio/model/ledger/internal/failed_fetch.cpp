#include "bokfolio/model/ledger/internal/failed_fetch.hpp"

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/persistence.hpp"

namespace bokfolio::internal {

bool refuseUnreadable(ErrorOut error, const Context& context) {
  if (error != nullptr)
    *error = Error(kPersistenceErrorDomain, static_cast<int>(PersistenceError::Failed),
                   context.fetchFailure());
  return false;
}

}  // namespace bokfolio::internal
