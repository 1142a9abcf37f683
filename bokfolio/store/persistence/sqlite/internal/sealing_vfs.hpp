// SealingVfs: the layer between SQLite and the files of documents that seals each page written and
// looks at the seal of each page read. Everything else goes through to the system's own layer, or
// to the one that the host has put in its place.
//
// A file that says that its pages have no room for seals is read and written as it is; one that is
// empty when it is opened gets them. It must be told to leave the room: Connection does.
//
// While a save is under way the seal of the first page is open. It is opened before the first other
// page is written, and whole again when all of them are with the system: a first page that is
// written meanwhile is kept back until then. So whoever finds it open, and no journal, knows that
// the file is neither the old state nor the new one. Nothing is flushed for the sake of that order:
// a process that dies keeps it, a power cut may not.
//
// Seals go into SQLite's own pages, too, so that its journal holds pages with the seals that they
// had.
#pragma once

#include <sqlite3.h>

#include <cstdint>

namespace bokfolio::internal {

// The name by which SQLite knows the layer.
const char* sealingVfs();

// Of the main file of a connection.
bool isSealed(sqlite3* database);
// The last page that could not be believed since this was last asked.
struct BrokenSeal {
  std::uint32_t page = 0;  // 0: none
  bool isOpen = false;     // the first: a save broke off, and its journal is gone
};
BrokenSeal takeBrokenSeal(sqlite3* database);

}  // namespace bokfolio::internal
