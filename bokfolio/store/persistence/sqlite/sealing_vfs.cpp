#include "bokfolio/store/persistence/sqlite/internal/sealing_vfs.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"

namespace bokfolio::internal {

namespace {

constexpr char kName[] = "bokfolio";
// Of SQLite's file controls those above 100 are for such layers.
constexpr int kTellSealed = 0x424B464F;
constexpr int kTellBroken = 0x424B4650;

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
  int lock(int level);
  int unlock(int level);
  int control(int operation, void* argument);
  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(memory_.data()); }
  const sqlite3_io_methods& methods() { return *real()->pMethods; }

 private:
  void learn(std::span<const unsigned char> head);
  bool isSealed(int size) const { return isSealed_ && (pageSize_ == 0 || size == pageSize_); }
  bool isBelieved(Seal found, std::uint32_t number) const;
  int openSeal();
  int settle();
  int writeReal(std::span<const unsigned char> bytes, sqlite3_int64 at) {
    return methods().xWrite(real(), bytes.data(), static_cast<int>(bytes.size()), at);
  }
  sqlite3_int64 sealOfFirst() const { return pageSize_ - static_cast<int>(kSealSize); }

  std::vector<std::max_align_t> memory_;  // of the file below
  bool isDocument_;
  bool isSealed_ = false;
  int pageSize_ = 0;  // 0 until a page of a new file was written
  int level_ = SQLITE_LOCK_NONE;
  Bytes first_;  // kept back; empty without
  // Of the first page as it is on the disk while its seal is open there.
  std::optional<std::array<unsigned char, kSealSize>> wholeSeal_;
  bool isOpened_ = false;  // by this file
  bool isNew_ = false;     // and counts for nothing until it was saved once
  BrokenSeal broken_;
};

int File::open(sqlite3_vfs& vfs, const char* name, int flags, int* flagsGot) {
  const int code = vfs.xOpen(&vfs, name, real(), flags, flagsGot);
  if (code != SQLITE_OK || !isDocument_) return code;
  sqlite3_int64 length = 0;
  isNew_ = methods().xFileSize(real(), &length) == SQLITE_OK && length == 0;
  isSealed_ = isNew_;
  std::array<unsigned char, kHeadSize> head{};
  if (methods().xRead(real(), head.data(), kHeadSize, 0) == SQLITE_OK) learn(head);
  return SQLITE_OK;
}

// What was once sealed stays so: a head that says otherwise later is damaged.
void File::learn(std::span<const unsigned char> head) {
  const std::uint32_t said = pageSizeSaid(head);
  if (said == 0 || (isSealed_ && !isNew_)) return;
  isSealed_ = saysSealed(head);
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
  const auto number = static_cast<std::uint32_t>(at / size + 1);
  const Seal found = sealOf(page, number);
  if (isBelieved(found, number)) return code;
  broken_ = {number, number == 1 && found == Seal::Open};
  return SQLITE_IOERR_DATA;
}

// Who writes may come upon a page that was free before it was ever written.
bool File::isBelieved(Seal found, std::uint32_t number) const {
  switch (found) {
    case Seal::Whole:
      return true;
    case Seal::Open:
      return number == 1 && isOpened_;
    case Seal::Blank:
      return isNew_ || level_ >= SQLITE_LOCK_RESERVED;
    case Seal::Broken:
      break;
  }
  return false;
}

int File::write(const void* from, int size, sqlite3_int64 at) {
  if (!isDocument_ || !isPage(size, at)) return methods().xWrite(real(), from, size, at);
  // The page is SQLite's own memory, and the room for seals ours.
  const std::span page(static_cast<unsigned char*>(const_cast<void*>(from)),
                       static_cast<std::size_t>(size));
  if (at == 0) learn(page);
  if (!isSealed(size)) return writeReal(page, at);
  pageSize_ = size;
  seal(page, static_cast<std::uint32_t>(at / size + 1));
  if (at == 0) {
    first_.assign(page.begin(), page.end());
    return SQLITE_OK;
  }
  const int opened = openSeal();
  return opened != SQLITE_OK ? opened : writeReal(page, at);
}

int File::openSeal() {
  if (isOpened_ || isNew_) return SQLITE_OK;
  isOpened_ = true;
  Bytes first(static_cast<std::size_t>(pageSize_));
  if (methods().xRead(real(), first.data(), pageSize_, 0) != SQLITE_OK) first.clear();
  const Seal found = first.empty() ? Seal::Broken : sealOf(first, 1);
  // Being healed: it will be written.
  if (found == Seal::Broken || found == Seal::Blank) return SQLITE_OK;
  std::array<unsigned char, kSealSize> there{};
  std::copy_n(first.end() - kSealSize, kSealSize, there.begin());
  std::array<unsigned char, kSealSize> other = there;
  turnSeal(other);
  wholeSeal_ = found == Seal::Open ? other : there;
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

int File::truncate(sqlite3_int64 size) {
  if (size == 0) first_.clear();
  return methods().xTruncate(real(), size);
}

int File::sync(int flags) {
  const int code = methods().xSync(real(), flags);
  if (code == SQLITE_OK) isNew_ = false;
  return code;
}

int File::size(sqlite3_int64& size) {
  const int code = methods().xFileSize(real(), &size);
  if (!first_.empty()) size = std::max<sqlite3_int64>(size, pageSize_);
  return code;
}

int File::lock(int level) {
  const int code = methods().xLock(real(), level);
  if (code == SQLITE_OK) level_ = level;
  return code;
}

// What was not settled by now has failed: the journal will put it right.
int File::unlock(int level) {
  level_ = level;
  if (level <= SQLITE_LOCK_SHARED) {
    first_.clear();
    wholeSeal_.reset();
    isOpened_ = false;
  }
  return methods().xUnlock(real(), level);
}

int File::control(int operation, void* argument) {
  switch (operation) {
    case SQLITE_FCNTL_SYNC:  // comes before a flush, and instead of one
      if (const int code = settle(); code != SQLITE_OK) return code;
      break;
    case kTellSealed:
      *static_cast<bool*>(argument) = isSealed_;
      return SQLITE_OK;
    case kTellBroken:
      *static_cast<BrokenSeal*>(argument) = std::exchange(broken_, {});
      return SQLITE_OK;
    default:
      break;
  }
  return methods().xFileControl(real(), operation, argument);
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
int lockFile(sqlite3_file* slot, int level) { return fileOf(slot).lock(level); }
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

bool isSealed(sqlite3* database) {
  bool sealed = false;
  sqlite3_file_control(database, "main", kTellSealed, &sealed);
  return sealed;
}

BrokenSeal takeBrokenSeal(sqlite3* database) {
  BrokenSeal broken;
  sqlite3_file_control(database, "main", kTellBroken, &broken);
  return broken;
}

}  // namespace bokfolio::internal
