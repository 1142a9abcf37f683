// Failure: how an engine's inner parts give up. It is thrown where the fault is found, undoes what
// was begun on its way out, and becomes an Error value at the engine's face; it never leaves the
// engine.
#pragma once

#include <string>
#include <utility>

#include "bokfolio/store/persistence/persistence.hpp"

namespace bokfolio::internal {

struct Failure {
  PersistenceError code;
  std::string sentence;
};

inline bool failPersistence(ErrorOut error, PersistenceError code, std::string sentence) {
  if (error != nullptr) {
    *error = Error(kPersistenceErrorDomain, static_cast<int>(code), std::move(sentence));
  }
  return false;
}

// Runs `work`; a Failure on the way is answered with false and its sentence.
template <class Work>
bool answering(ErrorOut error, Work&& work) {
  try {
    std::forward<Work>(work)();
    return true;
  } catch (Failure& failure) {
    return failPersistence(error, failure.code, std::move(failure.sentence));
  }
}

}  // namespace bokfolio::internal
