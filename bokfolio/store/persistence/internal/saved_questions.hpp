// What every engine must know about the store's questions: which it may be asked, which cannot have
// an answer, and how the form of an entity's kept sums is written down.
#pragma once

#include <string>

#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio::internal {

// Throws Failure (Failed) for a question that names what is not stored, or a stretch or an order of
// values that engines do not know.
void checkQuestion(const SavedQuestion& question);
// Whether a stretch of the question ends before it begins.
bool isImpossible(const SavedQuestion& question);
// Whether several conditions ask for a value of one property. An index follows only one of them;
// joined, they are one.
bool hasStretchesToJoin(const SavedQuestion& question);
void joinStretches(SavedQuestion& question);

// Names all that the sums depend on: sums that were kept under another text are not these. Never
// empty.
std::string keptSumText(const KeptSumLayout& layout);

// Throws Failure (Refused) for a line that no sums can have.
void checkSumLine(const Entity& entity, const SumLine& line, RecordId highestId);
// Throws Failure where sums are wanted or changed that nobody declared, or nobody brought yet.
void checkSumsKept(const Entity& entity, bool kept, PersistenceError code);

}  // namespace bokfolio::internal
