// The exceptions of the store. They report programming errors: a key that no entity has, a text
// that is no predicate, a record used after it is gone. Expected failures (validation, saving,
// opening) travel as Error values instead and are never thrown.
#pragma once

#include <stdexcept>
#include <string>

#include "bokfolio/export.hpp"

namespace bokfolio {

class BOKFOLIO_EXPORT StoreError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

// A key or entity name that the model does not have.
class BOKFOLIO_EXPORT UndefinedKeyError : public StoreError {
 public:
  using StoreError::StoreError;
};

// A value of a kind that the key cannot hold.
class BOKFOLIO_EXPORT ValueKindError : public StoreError {
 public:
  using StoreError::StoreError;
};

// A text that is no predicate; the message quotes the text and the column.
class BOKFOLIO_EXPORT PredicateError : public StoreError {
 public:
  using StoreError::StoreError;
};

// A record whose deletion was saved, or whose insertion was rolled back.
class BOKFOLIO_EXPORT RecordGoneError : public StoreError {
 public:
  using StoreError::StoreError;
};

// A model with faults; the message lists all of them.
class BOKFOLIO_EXPORT ModelError : public StoreError {
 public:
  using StoreError::StoreError;
};

// The persistence engine failed while records had to be read.
class BOKFOLIO_EXPORT LoadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace bokfolio
