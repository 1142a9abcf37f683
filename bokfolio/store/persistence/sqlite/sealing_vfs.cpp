#include "bokfolio/store/persistence/sqlite/internal/sealing_vfs.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <vector>

#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"

namespace bokfolio::internal {

namespace {

constexpr char kName[] = "bokfolio";
// Of SQLite's file controls those above 100 are for such layers.
constexpr int kTellSeals = 0x424B464F;

using Bytes = std::vector<unsigned char>;

sqlite3_vfs& systemVfs() { return *sqlite3_vfs_find(nullptr); }

bool isPage(std::int64_t size, std::int64_t at) {
  constexpr std::int64_t kSmallest = 512;
  return size >= kSmallest && (size & (size - 1)) == 0 && at % size == 0;
}

// A document, or its journal, which goes through untouched.
class File {
 public:
  File(sqlite3_vfs& vfs, bool isDocument)
      : memory_(static_cast<std::size_t>(vfs.szOsFile) / sizeof(std::max_align_t) + 1),
        isDocument_(isDocument) {}

  int open(sqlite3_vfs& vfs, const char* name, int flags, int* flagsGot);
  int read(void* into, int size, sqlite3_int64 at);
  int write(const void* from, int size, sqlite3_int64 at);
  int truncate(sqlite3_int64 size);
  int sync(int flags);
  int size(sqlite3_int64& size);
  int unlock(int level);
  int control(int operation, void* argument);
  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(memory_.data()); }
  const sqlite3_io_methods& methods() { return *real()->pMethods; }

 private:
  void learn(std::span<const unsigned char> head);
  bool isSealed(int size) const { return seals_.isSealed && (pageSize_ == 0 || size == pageSize_); }
  int check(std::span<const unsigned char> page, std::uint32_t number);
  int writeSealed(std::span<const unsigned char> page, std::uint32_t number);
  int openSeal();
  int settle();
  int writeReal(std::span<const unsigned char> bytes, sqlite3_int64 at) {
    return note(methods().xWrite(real(), bytes.data(), static_cast<int>(bytes.size()), at));
  }
  sqlite3_int64 sealOfFirst() const { return pageSize_ - static_cast<int>(kSealSize); }
  // What has failed may have been done in part: only SQLite's journal can put it right.
  int note(int code) {
    if (code != SQLITE_OK) hasFailed_ = true;
    return code;
  }

  std::vector<std::max_align_t> memory_;  // of the file below
  bool isDocument_;
  SealState seals_;
  int pageSize_ = 0;  // 0 until a page of a new file was written
  Bytes page_;        // the one being written
  Bytes first_;       // kept back; empty without
  // Of the first page as it is on the disk while its seal is open there.
  std::optional<std::array<unsigned char, kSealSize>> wholeSeal_;
  bool isOpened_ = false;  // by this file
  bool isNew_ = false;     // and counts for nothing until it was saved once
  bool hasFailed_ = false;
};

int File::open(sqlite3_vfs& vfs, const char* name, int flags, int* flagsGot) {
  const int code = vfs.xOpen(&vfs, name, real(), flags, flagsGot);
  if (code != SQLITE_OK || !isDocument_) return code;
  sqlite3_int64 length = 0;
  isNew_ = methods().xFileSize(real(), &length) == SQLITE_OK && length == 0;
  seals_.isSealed = isNew_;
  std::array<unsigned char, kHeadSize> head{};
  if (methods().xRead(real(), head.data(), kHeadSize, 0) == SQLITE_OK) learn(head);
  return SQLITE_OK;
}

void File::learn(std::span<const unsigned char> head) {
  const std::uint32_t said = pageSizeSaid(head);
  if (said == 0) return;  // SQLite will refuse it
  seals_.isSealed = saysSealed(head);
  pageSize_ = static_cast<int>(said);
}

int File::read(void* into, int size, sqlite3_int64 at) {
  if (!first_.empty() && at + size <= pageSize_) {
    std::copy_n(first_.begin() + static_cast<std::ptrdiff_t>(at), size,
                static_cast<unsigned char*>(into));
    return SQLITE_OK;
  }
  const int code = methods().xRead(real(), into, size, at);
  if ((code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) || !isDocument_ || !isPage(size, at))
    return code;
  const std::span page(static_cast<const unsigned char*>(into), static_cast<std::size_t>(size));
  if (at == 0) learn(page);
  if (!isSealed(size)) return code;
  const int believed = check(page, static_cast<std::uint32_t>(at / size + 1));
  return believed != SQLITE_OK ? believed : code;
}

int File::check(std::span<const unsigned char> page, std::uint32_t number) {
  const Seal found = sealOf(page, number);
  const bool isOpen = number == 1 && found == Seal::Open;
  if (found == Seal::Whole || (isOpen && isOpened_)) return SQLITE_OK;
  seals_.broken = number;
  seals_.isOpen = isOpen;
  return SQLITE_IOERR_DATA;
}

int File::write(const void* from, int size, sqlite3_int64 at) {
  const std::span bytes(static_cast<const unsigned char*>(from), static_cast<std::size_t>(size));
  if (!isDocument_) return methods().xWrite(real(), from, size, at);
  if (!isPage(size, at)) return writeReal(bytes, at);
  if (at == 0) learn(bytes);
  if (!isSealed(size)) return writeReal(bytes, at);
  pageSize_ = size;
  return writeSealed(bytes, static_cast<std::uint32_t>(at / size + 1));
}

int File::writeSealed(std::span<const unsigned char> page, std::uint32_t number) {
  Bytes& copy = number == 1 ? first_ : page_;
  copy.assign(page.begin(), page.end());
  seal(copy, number);
  if (number == 1) return SQLITE_OK;  // the last to be written
  const int opened = openSeal();
  return opened != SQLITE_OK ? opened
                             : writeReal(copy, static_cast<sqlite3_int64>(number - 1) * pageSize_);
}

int File::openSeal() {
  if (isOpened_ || isNew_) return SQLITE_OK;
  Bytes first(static_cast<std::size_t>(pageSize_));
  const int code = methods().xRead(real(), first.data(), pageSize_, 0);
  if (code != SQLITE_OK) return note(code);
  std::array<unsigned char, kSealSize> bytes{};
  std::copy_n(first.end() - kSealSize, kSealSize, bytes.begin());
  const Seal found = sealOf(first, 1);
  isOpened_ = true;
  if (found == Seal::Broken) return SQLITE_OK;  // being healed: it will be written
  std::array<unsigned char, kSealSize> other = bytes;
  turnSeal(other);
  wholeSeal_ = found == Seal::Open ? other : bytes;
  return found == Seal::Open ? SQLITE_OK : writeReal(other, sealOfFirst());
}

// All pages are written, by a save or by SQLite's putting back what was there before.
int File::settle() {
  int code = SQLITE_OK;
  if (!first_.empty()) {
    code = writeReal(first_, 0);
  } else if (wholeSeal_) {
    code = writeReal(*wholeSeal_, sealOfFirst());
  }
  if (code != SQLITE_OK) return code;
  first_.clear();
  wholeSeal_.reset();
  isOpened_ = false;
  return SQLITE_OK;
}

int File::truncate(sqlite3_int64 size) { return note(methods().xTruncate(real(), size)); }

int File::sync(int flags) {
  const int settled = settle();
  if (settled != SQLITE_OK) return settled;
  const int code = note(methods().xSync(real(), flags));
  if (code == SQLITE_OK) {
    hasFailed_ = false;
    isNew_ = false;
  }
  return code;
}

int File::size(sqlite3_int64& size) {
  const int code = methods().xFileSize(real(), &size);
  if (!first_.empty()) size = std::max<sqlite3_int64>(size, pageSize_);
  return code;
}

// Without a sync before it, as for files that count for nothing yet, this is the end of a save.
int File::unlock(int level) {
  int settled = SQLITE_OK;
  if (level <= SQLITE_LOCK_SHARED) {
    if (!first_.empty() && !hasFailed_) settled = settle();
    first_.clear();
    wholeSeal_.reset();
    isOpened_ = false;
    hasFailed_ = false;
  }
  const int code = methods().xUnlock(real(), level);
  return code != SQLITE_OK ? code : settled;
}

int File::control(int operation, void* argument) {
  if (operation != kTellSeals) return methods().xFileControl(real(), operation, argument);
  *static_cast<SealState*>(argument) = seals_;
  return SQLITE_OK;
}

// ---- SQLite's tables of functions

struct Slot : sqlite3_file {
  File* file;
};

File& fileOf(sqlite3_file* slot) { return *static_cast<Slot*>(slot)->file; }

// SQLite is C: nothing may be thrown through it.
template <typename Call>
int guarded(Call&& call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return SQLITE_IOERR_NOMEM;
  }
}

int closeFile(sqlite3_file* slot) {
  const std::unique_ptr<File> file(&fileOf(slot));
  return file->methods().xClose(file->real());
}
int readFile(sqlite3_file* slot, void* into, int size, sqlite3_int64 at) {
  return fileOf(slot).read(into, size, at);
}
int writeFile(sqlite3_file* slot, const void* from, int size, sqlite3_int64 at) {
  return guarded([&] { return fileOf(slot).write(from, size, at); });
}
int truncateFile(sqlite3_file* slot, sqlite3_int64 size) { return fileOf(slot).truncate(size); }
int syncFile(sqlite3_file* slot, int flags) { return fileOf(slot).sync(flags); }
int sizeOfFile(sqlite3_file* slot, sqlite3_int64* size) { return fileOf(slot).size(*size); }
int lockFile(sqlite3_file* slot, int level) {
  return fileOf(slot).methods().xLock(fileOf(slot).real(), level);
}
int unlockFile(sqlite3_file* slot, int level) { return fileOf(slot).unlock(level); }
int checkLock(sqlite3_file* slot, int* result) {
  return fileOf(slot).methods().xCheckReservedLock(fileOf(slot).real(), result);
}
int controlFile(sqlite3_file* slot, int operation, void* argument) {
  return fileOf(slot).control(operation, argument);
}
int sectorSize(sqlite3_file* slot) {
  return fileOf(slot).methods().xSectorSize(fileOf(slot).real());
}
// Without the ways of reading and writing less than pages, or past this layer.
int characteristics(sqlite3_file* slot) {
  return fileOf(slot).methods().xDeviceCharacteristics(fileOf(slot).real()) &
         (SQLITE_IOCAP_POWERSAFE_OVERWRITE | SQLITE_IOCAP_UNDELETABLE_WHEN_OPEN |
          SQLITE_IOCAP_IMMUTABLE);
}
int mapShared(sqlite3_file* slot, int region, int size, int extend, void volatile** at) {
  return fileOf(slot).methods().xShmMap(fileOf(slot).real(), region, size, extend, at);
}
int lockShared(sqlite3_file* slot, int offset, int count, int flags) {
  return fileOf(slot).methods().xShmLock(fileOf(slot).real(), offset, count, flags);
}
void barrier(sqlite3_file* slot) { fileOf(slot).methods().xShmBarrier(fileOf(slot).real()); }
int unmapShared(sqlite3_file* slot, int remove) {
  return fileOf(slot).methods().xShmUnmap(fileOf(slot).real(), remove);
}

// The second version is for write-ahead logs, which other programs may have left.
constexpr sqlite3_io_methods ioMethods(int version) {
  sqlite3_io_methods methods{};
  methods.iVersion = version;
  methods.xClose = closeFile;
  methods.xRead = readFile;
  methods.xWrite = writeFile;
  methods.xTruncate = truncateFile;
  methods.xSync = syncFile;
  methods.xFileSize = sizeOfFile;
  methods.xLock = lockFile;
  methods.xUnlock = unlockFile;
  methods.xCheckReservedLock = checkLock;
  methods.xFileControl = controlFile;
  methods.xSectorSize = sectorSize;
  methods.xDeviceCharacteristics = characteristics;
  methods.xShmMap = mapShared;
  methods.xShmLock = lockShared;
  methods.xShmBarrier = barrier;
  methods.xShmUnmap = unmapShared;
  return methods;
}

constexpr sqlite3_io_methods kWithoutLog = ioMethods(1);
constexpr sqlite3_io_methods kWithLog = ioMethods(2);

int openFile(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* into, int flags, int* got) {
  auto* slot = static_cast<Slot*>(into);
  slot->pMethods = nullptr;
  return guarded([&] {
    sqlite3_vfs& system = systemVfs();
    auto file = std::make_unique<File>(system, (flags & SQLITE_OPEN_MAIN_DB) != 0);
    const int code = file->open(system, name, flags, got);
    if (code != SQLITE_OK) {
      if (file->real()->pMethods != nullptr) file->methods().xClose(file->real());
      return code;
    }
    slot->pMethods = file->methods().iVersion > 1 ? &kWithLog : &kWithoutLog;
    slot->file = file.release();
    return SQLITE_OK;
  });
}
int deleteFile(sqlite3_vfs* /*vfs*/, const char* name, int syncFolder) {
  return systemVfs().xDelete(&systemVfs(), name, syncFolder);
}
int accessFile(sqlite3_vfs* /*vfs*/, const char* name, int flags, int* result) {
  return systemVfs().xAccess(&systemVfs(), name, flags, result);
}
int fullPath(sqlite3_vfs* /*vfs*/, const char* name, int size, char* into) {
  return systemVfs().xFullPathname(&systemVfs(), name, size, into);
}
int randomness(sqlite3_vfs* /*vfs*/, int size, char* into) {
  return systemVfs().xRandomness(&systemVfs(), size, into);
}
int sleepFor(sqlite3_vfs* /*vfs*/, int microseconds) {
  return systemVfs().xSleep(&systemVfs(), microseconds);
}
int currentTime(sqlite3_vfs* /*vfs*/, double* days) {
  return systemVfs().xCurrentTime(&systemVfs(), days);
}
int lastError(sqlite3_vfs* /*vfs*/, int size, char* into) {
  return systemVfs().xGetLastError(&systemVfs(), size, into);
}

sqlite3_vfs makeVfs() {
  sqlite3_vfs vfs{};
  vfs.iVersion = 1;
  vfs.szOsFile = sizeof(Slot);
  vfs.mxPathname = systemVfs().mxPathname;
  vfs.zName = kName;
  vfs.xOpen = openFile;
  vfs.xDelete = deleteFile;
  vfs.xAccess = accessFile;
  vfs.xFullPathname = fullPath;
  vfs.xRandomness = randomness;
  vfs.xSleep = sleepFor;
  vfs.xCurrentTime = currentTime;
  vfs.xGetLastError = lastError;
  return vfs;
}

// A host may unload this library and keep SQLite. Documents that are closed even later still need
// the table itself, which therefore has nothing to destroy.
class Registration {
 public:
  explicit Registration(sqlite3_vfs& vfs) : vfs_(vfs) { sqlite3_vfs_register(&vfs_, 0); }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  ~Registration() { sqlite3_vfs_unregister(&vfs_); }

 private:
  sqlite3_vfs& vfs_;
};

}  // namespace

const char* sealingVfs() {
  sqlite3_initialize();
  static sqlite3_vfs vfs = makeVfs();
  static const Registration registration(vfs);
  return kName;
}

SealState sealState(sqlite3* database) {
  SealState state;
  sqlite3_file_control(database, "main", kTellSeals, &state);
  return state;
}

}  // namespace bokfolio::internal
