// The engine that keeps a document in one SQLite file; docs/file-format.md describes the file.
//
// Who writes, holds the document from open() until the engine goes: a second writer, in this or
// another process, gets InUse at once. Readers come and go beside it, and each answer is about one
// whole save. Between two saves a writer that has read keeps programs that know SQLite's locks
// alone from writing; where such a program has saved all the same, everything from then on is
// Stale. A save is on the disk when commit() answers true; until then, and after any failure or
// crash, the file holds the state before. Beside the document lies a "-journal" while a save runs:
// after a crash it belongs to the document and heals it at the next opening for writing.
//
// Each page bears a seal of what a save wrote there. One that the disk, or a program that keeps no
// seals, has changed since is Damaged to whoever reads it: no answer is made of changed bytes.
//
// A big save takes up to 64 MB while it runs, all else about 2 MB beside what is asked for.
//
// Errors besides those that PersistenceError describes. open():
//   NotADocument  also a folder, or an empty file
//   ReadOnly      opened for writing without permission; for reading while it needs healing
//   Damaged       cut short, inconsistent, or left half done by a save whose journal is gone or
//                 damaged
//   Stale         another program replaced the file at that moment
//   Refused       the file holds a property as another kind than the model, or two names of the
//                 model differ in capitals only
// commit(): NotFound and Stale also when the file itself was moved away or replaced since open.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/clock.hpp"
#include "bokfolio/store/persistence/persistence.hpp"

namespace bokfolio {

enum class OpenMode : std::uint8_t {
  Create,     // there must be nothing at the path; the document appears complete or not at all
  ReadWrite,  // an existing document; one of an older format gives its place to a converted one,
              // after a copy was made
  ReadOnly,   // no lock, and not a byte is written
};

struct SqliteOptions {
  std::string path;
  OpenMode mode = OpenMode::ReadWrite;
  // Of the program, noted in documents that it creates.
  std::string applicationVersion;
  // Dates the copy that is made before a conversion: "<path>.v1-2026-11-21.bak". nullptr: the
  // system's.
  std::shared_ptr<const Clock> clock;
  // How long a save waits for readers, and a reader for a save, before it gives up with InUse.
  int patienceMilliseconds = 5000;
};

BOKFOLIO_EXPORT std::unique_ptr<Persistence> makeSqlitePersistence(SqliteOptions options);

}  // namespace bokfolio
