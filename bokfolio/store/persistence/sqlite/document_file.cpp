#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <system_error>
#include <vector>

#include "bokfolio/store/persistence/internal/failure.hpp"

namespace bokfolio::internal {

namespace {

struct Stays {
  int engines = 0;
  std::vector<int> parked;
};

struct StayTable {
  std::mutex mutex;
  std::map<FileIdentity, Stays> files;
};

// Never destroyed: a host may keep a document open in a static object that outlives this one.
StayTable& stayTable() {
  static auto* table = new StayTable;
  return *table;
}

[[noreturn]] void fail(PersistenceError code, const std::string& path, const std::string& rest) {
  throw Failure{code, "\"" + path + "\" " + rest};
}

std::string wordsFor(int systemError) { return std::generic_category().message(systemError); }

[[noreturn]] void failSystem(const std::string& path, int systemError) {
  switch (systemError) {
    case ENOENT:
    case ENOTDIR:
      fail(PersistenceError::NotFound, path, "does not exist.");
    case EACCES:
    case EPERM:
    case EROFS:
      fail(PersistenceError::ReadOnly, path, "or its folder cannot be written.");
    case EEXIST:
      fail(PersistenceError::AlreadyExists, path, "exists already.");
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      fail(PersistenceError::Full, path, "cannot be written: the disk is full.");
    default:
      fail(PersistenceError::Failed, path, "cannot be opened (" + wordsFor(systemError) + ").");
  }
}

std::string folderOf(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string resolved(const std::string& path) {
  char* absolute = ::realpath(path.c_str(), nullptr);
  if (absolute == nullptr) {
    if (errno == EACCES) fail(PersistenceError::Failed, path, "may not be read by this user.");
    failSystem(path, errno);
  }
  std::string result(absolute);
  std::free(absolute);
  return result;
}

// A descriptor of the regular file there; -1 is never answered.
int openDocument(const std::string& path, bool forWriting) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) failSystem(path, errno);
  if (!S_ISREG(status.st_mode)) fail(PersistenceError::NotADocument, path, "is not a file.");
  if (forWriting && ::eaccess(folderOf(path).c_str(), W_OK | X_OK) != 0) failSystem(path, errno);
  // What has come to the path since is neither followed nor waited for.
  const int descriptor =
      ::open(path.c_str(), (forWriting ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (descriptor < 0 && errno == EACCES && ::eaccess(path.c_str(), R_OK) != 0) {
    fail(PersistenceError::Failed, path, "may not be read by this user.");
  }
  if (descriptor < 0) failSystem(path, errno);
  return descriptor;
}

FileIdentity identityOf(int descriptor) {
  struct stat status {};
  ::fstat(descriptor, &status);
  return {status.st_dev, status.st_ino};
}

bool flushFolder(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool flushed = ::fsync(descriptor) == 0;
  const int systemError = errno;
  ::close(descriptor);
  errno = systemError;
  return flushed;
}

// False for somebody else's file: who has it now would lose it.
bool giveOwnerOf(int from, int to) {
  struct stat old {};
  struct stat made {};
  if (::fstat(from, &old) != 0 || ::fstat(to, &made) != 0) return false;
  return (old.st_uid == made.st_uid && old.st_gid == made.st_gid) ||
         ::fchown(to, old.st_uid, old.st_gid) == 0;
}

// SQLite would take it for the journal of whatever comes to the path, and "heal" that with it.
void refuseStrayJournal(const std::string& path) {
  for (const char* suffix : {"-journal", "-wal"}) {
    if (fileSize(path + suffix) == 0) continue;
    fail(PersistenceError::AlreadyExists, path + suffix,
         "belongs to a document that was here: move it away first.");
  }
}

// Some file systems know only one of the two ways.
bool moveWithoutReplacing(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (::link(from.c_str(), to.c_str()) != 0) return false;
  ::unlink(from.c_str());
  return true;
}

}  // namespace

FileStay::FileStay(FileIdentity file) : file_(file) {
  StayTable& table = stayTable();
  const std::lock_guard guard(table.mutex);
  ++table.files[file].engines;
}

FileStay::~FileStay() {
  StayTable& table = stayTable();
  const std::lock_guard guard(table.mutex);
  const auto found = table.files.find(file_);
  if (--found->second.engines > 0) return;
  for (const int descriptor : found->second.parked) ::close(descriptor);
  table.files.erase(found);
}

void FileStay::park(int descriptor) noexcept {
  StayTable& table = stayTable();
  const std::lock_guard guard(table.mutex);
  try {
    table.files[file_].parked.push_back(descriptor);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a leaked descriptor harms less than a lost lock
  }
}

DocumentFile::DocumentFile(const std::string& path, bool forWriting)
    : path_(resolved(path)),
      descriptor_(openDocument(path_, forWriting)),
      stay_(identityOf(descriptor_)) {
  if (!forWriting) return;
  try {
    lock();
  } catch (const Failure&) {
    stay_.park(descriptor_);
    throw;
  }
}

void DocumentFile::lock() {
  if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) {
      fail(PersistenceError::InUse, path_, "is open for writing elsewhere.");
    }
    fail(PersistenceError::Failed, path_, "cannot be locked (" + wordsFor(errno) + ").");
  }
  checkInPlace();
}

DocumentFile::~DocumentFile() {
  ::flock(descriptor_, LOCK_UN);
  stay_.park(descriptor_);
}

void DocumentFile::checkInPlace() const {
  struct stat status {};
  if (::stat(path_.c_str(), &status) != 0) {
    fail(PersistenceError::NotFound, path_, "was moved or deleted while it was open.");
  }
  if (FileIdentity{status.st_dev, status.st_ino} != stay_.file()) {
    fail(PersistenceError::Stale, path_, "was replaced by another file while it was open.");
  }
}

void DocumentFile::keepWritersOut() const {
  // A file system without such locks has none that could be held.
  if (::flock(descriptor_, LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
  fail(PersistenceError::InUse, path_, "is open for writing elsewhere.");
}

void DocumentFile::copyTo(const std::string& path) const {
  const int to = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (to < 0) failSystem(path, errno);
  std::vector<char> bytes(std::size_t{1} << 16);
  off_t at = 0;
  ssize_t got = 0;
  int systemError = 0;
  while (systemError == 0 && (got = ::pread(descriptor_, bytes.data(), bytes.size(), at)) > 0) {
    for (ssize_t done = 0; done < got && systemError == 0;) {
      const ssize_t put = ::pwrite(to, bytes.data() + done, static_cast<std::size_t>(got - done),
                                   at + static_cast<off_t>(done));
      if (put < 0) systemError = errno;
      done += put;
    }
    at += static_cast<off_t>(got);
  }
  if (got < 0) systemError = errno;
  ::close(to);
  if (systemError != 0) failSystem(path, systemError);
}

NewFile::NewFile(std::string path, std::optional<mode_t> permissions)
    : path_(std::move(path)), permissions_(permissions) {
  if (path_.empty()) fail(PersistenceError::NotFound, path_, "is no path.");
  if (fileExists(path_)) failSystem(path_, EEXIST);
  refuseStrayJournal(path_);
  makeTemporary();
}

NewFile::NewFile(const DocumentFile& replaced)
    : replaced_(&replaced),
      path_(replaced.path()),
      permissions_(filePermissions(path_).value_or(S_IRUSR | S_IWUSR)) {
  makeTemporary();
}

void NewFile::makeTemporary() {
  constexpr mode_t kOwners = S_IRUSR | S_IWUSR;
  constexpr mode_t kEverybodys = kOwners | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
  const mode_t mode = permissions_ ? kOwners : kEverybodys;
  const std::string base = folderOf(path_) + "/.bokfolio-new-" + std::to_string(::getpid()) + "-";
  for (int attempt = 0;; ++attempt) {
    temporary_ = base + std::to_string(attempt);
    const int descriptor = ::open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor >= 0) {
      made_ = identityOf(descriptor);
      ::close(descriptor);
      return;
    }
    if (errno == ENOENT) fail(PersistenceError::NotFound, folderOf(path_), "does not exist.");
    if (errno != EEXIST) failSystem(path_, errno);
  }
}

NewFile::~NewFile() {
  if (temporary_.empty()) return;
  ::unlink(temporary_.c_str());
  ::unlink((temporary_ + "-journal").c_str());
}

// Through a descriptor: in a folder that others may write, the name may lead elsewhere by now.
void NewFile::finish() const {
  const int descriptor = ::open(temporary_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  const bool isOurs = descriptor >= 0 && identityOf(descriptor) == made_;
  const bool flushed =
      isOurs && (replaced_ == nullptr || giveOwnerOf(replaced_->descriptor(), descriptor)) &&
      (!permissions_ || ::fchmod(descriptor, *permissions_) == 0) && ::fsync(descriptor) == 0;
  const int systemError = errno;
  if (descriptor >= 0) ::close(descriptor);
  if (flushed) return;
  if (isOurs || (descriptor < 0 && systemError != ELOOP)) failSystem(path_, systemError);
  fail(PersistenceError::Stale, path_, "was replaced by another file while it was being made.");
}

void NewFile::publish() {
  finish();
  takePlace();
  temporary_.clear();
  // Not every file system can flush a folder, and not every folder can be read.
  if (!flushFolder(folderOf(path_)) && errno == EIO) failSystem(path_, errno);
}

void NewFile::takePlace() const {
  if (replaced_ != nullptr) {
    replaced_->checkInPlace();
    if (::rename(temporary_.c_str(), path_.c_str()) != 0) failSystem(path_, errno);
    return;
  }
  refuseStrayJournal(path_);
  if (!moveWithoutReplacing(temporary_, path_)) failSystem(path_, errno);
}

bool fileExists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

std::optional<mode_t> filePermissions(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
}

std::int64_t fileSize(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

}  // namespace bokfolio::internal
