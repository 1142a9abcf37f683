#include "bokfolio/model/ledger/internal/failed_fetch.hpp"

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

bool refuseUnreadable(ErrorOut error, std::string_view entityName, Context& context) {
  if (error == nullptr) return false;
  std::string reason = "the records of " + std::string(entityName) + " could not be read";
  try {
    context.count(entityName);  // unlike a fetch, it says what is wrong
  } catch (const LoadError& failure) {
    reason = failure.what();
  }
  *error = Error(kPersistenceErrorDomain, static_cast<int>(PersistenceError::Failed), reason);
  return false;
}

}  // namespace bokfolio::internal
