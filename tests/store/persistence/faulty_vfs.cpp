#include "tests/store/persistence/faulty_vfs.hpp"

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace bokfolio::test {

namespace {

struct State {
  sqlite3_vfs* real = nullptr;
  sqlite3_vfs shim{};
  FaultyVfs::Trap trap = FaultyVfs::Trap::None;
  int left = 0;
  int code = SQLITE_OK;
};

State state;

// SQLITE_OK: go on.
int step() {
  if (state.trap == FaultyVfs::Trap::None) return SQLITE_OK;
  --state.left;
  if (state.left > 0) return SQLITE_OK;
  if (state.left < 0 && state.trap != FaultyVfs::Trap::FailOn) return SQLITE_OK;
  if (state.trap == FaultyVfs::Trap::Die) ::_exit(0);
  return state.code;
}

struct ShimFile {
  sqlite3_file base;
  sqlite3_file* real;
};

sqlite3_file* realOf(sqlite3_file* file) { return reinterpret_cast<ShimFile*>(file)->real; }

int closeFile(sqlite3_file* file) {
  return realOf(file)->pMethods != nullptr ? realOf(file)->pMethods->xClose(realOf(file))
                                           : SQLITE_OK;
}
int readFile(sqlite3_file* file, void* into, int size, sqlite3_int64 at) {
  return realOf(file)->pMethods->xRead(realOf(file), into, size, at);
}
int writeFile(sqlite3_file* file, const void* from, int size, sqlite3_int64 at) {
  const int code = step();
  return code != SQLITE_OK ? code : realOf(file)->pMethods->xWrite(realOf(file), from, size, at);
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  const int code = step();
  return code != SQLITE_OK ? code : realOf(file)->pMethods->xTruncate(realOf(file), size);
}
int syncFile(sqlite3_file* file, int flags) {
  const int code = step();
  return code != SQLITE_OK ? code : realOf(file)->pMethods->xSync(realOf(file), flags);
}
int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
  return realOf(file)->pMethods->xFileSize(realOf(file), size);
}
int lockFile(sqlite3_file* file, int level) {
  return realOf(file)->pMethods->xLock(realOf(file), level);
}
int unlockFile(sqlite3_file* file, int level) {
  return realOf(file)->pMethods->xUnlock(realOf(file), level);
}
int checkLock(sqlite3_file* file, int* result) {
  return realOf(file)->pMethods->xCheckReservedLock(realOf(file), result);
}
int control(sqlite3_file* file, int operation, void* argument) {
  return realOf(file)->pMethods->xFileControl(realOf(file), operation, argument);
}
int sectorSize(sqlite3_file* file) { return realOf(file)->pMethods->xSectorSize(realOf(file)); }
int characteristics(sqlite3_file* file) {
  return realOf(file)->pMethods->xDeviceCharacteristics(realOf(file));
}

const sqlite3_io_methods& methods() {
  static const sqlite3_io_methods table = [] {
    sqlite3_io_methods made{};
    made.iVersion = 1;
    made.xClose = closeFile;
    made.xRead = readFile;
    made.xWrite = writeFile;
    made.xTruncate = truncateFile;
    made.xSync = syncFile;
    made.xFileSize = sizeOfFile;
    made.xLock = lockFile;
    made.xUnlock = unlockFile;
    made.xCheckReservedLock = checkLock;
    made.xFileControl = control;
    made.xSectorSize = sectorSize;
    made.xDeviceCharacteristics = characteristics;
    return made;
  }();
  return table;
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  auto* shim = reinterpret_cast<ShimFile*>(file);
  shim->real = reinterpret_cast<sqlite3_file*>(shim + 1);
  const int code = state.real->xOpen(state.real, name, shim->real, flags, outFlags);
  file->pMethods = code == SQLITE_OK ? &methods() : nullptr;
  return code;
}

int deleteFile(sqlite3_vfs*, const char* name, int syncFolder) {
  const int code = step();
  return code != SQLITE_OK ? code : state.real->xDelete(state.real, name, syncFolder);
}

}  // namespace

FaultyVfs::FaultyVfs() {
  state = {};
  state.real = sqlite3_vfs_find(nullptr);
  state.shim = *state.real;
  state.shim.zName = "faulty";
  state.shim.pNext = nullptr;
  state.shim.szOsFile = static_cast<int>(sizeof(ShimFile)) + state.real->szOsFile;
  state.shim.xOpen = openFile;
  state.shim.xDelete = deleteFile;
  sqlite3_vfs_register(&state.shim, 1);
}

FaultyVfs::~FaultyVfs() {
  sqlite3_vfs_unregister(&state.shim);
  sqlite3_vfs_register(state.real, 1);
}

void FaultyVfs::set(Trap trap, int operation, int code) {
  state.trap = trap;
  state.left = operation;
  state.code = code;
}

bool FaultyVfs::sprung() const { return state.left <= 0; }

int FaultyVfs::left() const { return state.left; }

bool survives(const std::function<void(FaultyVfs&)>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    FaultyVfs vfs;
    work(vfs);
    ::_exit(1);
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
    throw std::runtime_error("a process of its own did not end as it should");
  }
  return WEXITSTATUS(status) == 1;
}

}  // namespace bokfolio::test
