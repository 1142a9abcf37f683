// Reading what a document holds before something is added to it. A fetch that the engine refuses
// reads as empty elsewhere; here that would make everything a second time.
#pragma once

#include <vector>

#include "bokfolio/interchange/sie/internal/failure.hpp"
#include "bokfolio/store/context.hpp"

namespace bokfolio::sie_internal {

// All records of the class that satisfy the predicate, ascending id. Throws Failure.
template <class T>
std::vector<T*> documentRecords(Context& context,
                                const std::optional<Predicate>& predicate = std::nullopt) {
  const auto records = context.fetchEntitiesWithName(T::kEntityName, predicate);
  if (!records)
    throw Failure(InterchangeErrorCode::UnreadableDocument, 0,
                  "The document could not be read. Check it and the disk it lies on, then import "
                  "again.");
  std::vector<T*> typed;
  typed.reserve(records->size());
  for (Record* record : *records) typed.push_back(static_cast<T*>(record));
  return typed;
}

}  // namespace bokfolio::sie_internal
