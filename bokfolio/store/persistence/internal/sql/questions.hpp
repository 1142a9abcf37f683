// The store's questions as SQL text. Values never appear in it, so that one statement serves all
// questions of a form: the same properties, compared in the same way, in the same order.
//
// What an engine binds, by position: for each condition in turn its text, or the ends of its
// stretch that matter, see comparisonOf(); then the limit when there is one or some are skipped;
// then how many are skipped.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "bokfolio/store/persistence/internal/sql/statements.hpp"
#include "bokfolio/store/persistence/saved_question.hpp"

namespace bokfolio::internal {

// How a statement compares a column. A value that is "not nil" is asked for by its lower end where
// its kind has one: only so does an index pass over the nils.
enum class Comparison : char {
  IsNil = '0',
  IsNotNil = '1',
  IsEqual = '=',    // binds `low`
  IsFrom = '>',     // binds `low`; for "not nil" the lowest value
  IsUpTo = '<',     // binds `high`
  IsBetween = '-',  // binds both
  IsText = '"',     // binds the text
  IsSomeText = '$',
};

// `question` is checkQuestion()'s.
Comparison comparisonOf(const SavedQuestion& question, const SavedCondition& condition);

inline bool isLimited(const SavedQuestion& question) {
  return question.limit != std::numeric_limits<std::size_t>::max();
}

// Whether a limit is bound.
inline bool isSliced(const SavedQuestion& question) {
  return isLimited(question) || question.skip != 0;
}

// Equal for questions about one entity that share a statement.
std::string formOf(const SavedQuestion& question);
// The same for counting: neither order nor skip matter.
std::string formOfCount(const SavedQuestion& question);

// The table must have all columns that the question names.
std::string find(const SqlDialect& dialect, const SqlTable& table, const SavedQuestion& question);
// One row with the number.
std::string count(const SqlDialect& dialect, const SqlTable& table, const SavedQuestion& question);

}  // namespace bokfolio::internal
