// The faults, by kind. Each scenario goes through its faults, counts what became of them, and
// throws Broken, with what is needed to see it again, at the first one that breaks the promise:
// whatever fails, the document is the old one or the new one, the failure has words, and after a
// rollback memory is as last saved.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/persistence.hpp"
#include "tests/faults/operations.hpp"
#include "tests/faults/table.hpp"

namespace bokfolio::faults {

enum class Engine { Memory, Sqlite };

// Each call of the engine that the operation makes fails in turn, with each of the codes.
void failEngineCalls(Table& table, Engine engine, const Operation& operation,
                     const std::vector<PersistenceError>& codes);

// So many processes are killed while they save, import, convert, copy and make documents.
void kill(Table& table, std::uint64_t seed, std::uint64_t kills);

// Files may not grow beyond each size that work on the document passes through, or every `stride`th
// of them.
void fillDisk(Table& table, std::size_t stride);
// The same on a disk that is really full; nothing where none can be mounted.
void fillRealDisk(Table& table);

// Documents cut short and with single bytes changed, so many of each.
void damage(Table& table, std::uint64_t seed, std::uint64_t flips, std::uint64_t cuts);
// Files that are no documents, or not to be used as they lie there.
void meetStrangeFiles(Table& table);
// Journals that a crash left, and what may happen to them.
void meetJournals(Table& table, std::uint64_t seed, std::uint64_t rounds);

}  // namespace bokfolio::faults
