// The document as a file: that it is there, is held by one writer, has not been moved away, and
// appears complete or not at all. What is in it is SQLite's business.
//
// The writer's lock is flock() on a descriptor of the document. POSIX drops all of a process's
// record locks on a file, SQLite's included, as soon as the process closes any descriptor of that
// file. So a descriptor that has served is parked until nobody in this process uses the file any
// more; that list is the one thing here that is shared by all engines.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace bokfolio::internal {

using FileIdentity = std::pair<dev_t, ino_t>;

// One engine's stay at a file.
class FileStay {
 public:
  explicit FileStay(FileIdentity file);
  FileStay(const FileStay&) = delete;
  FileStay& operator=(const FileStay&) = delete;
  ~FileStay();

  // Closes the descriptor, later if need be.
  void park(int descriptor) noexcept;
  const FileIdentity& file() const { return file_; }

 private:
  FileIdentity file_;
};

// Must outlive the connection to the same file. All throw Failure.
class DocumentFile {
 public:
  // `forWriting` takes the writer's lock: InUse when somebody has it.
  DocumentFile(const std::string& path, bool forWriting);
  DocumentFile(const DocumentFile&) = delete;
  DocumentFile& operator=(const DocumentFile&) = delete;
  ~DocumentFile();

  // Absolute, links resolved.
  const std::string& path() const { return path_; }
  // NotFound or Stale when the path no longer leads to the file that was opened: what would be
  // written now would be lost.
  void checkInPlace() const;
  // For as long as this lives: InUse when somebody holds the writer's lock. For one that does not
  // write.
  void keepWritersOut() const;
  // The bytes of the file go to another one, which is there and is nobody else's.
  void copyTo(const std::string& path) const;
  // For reading at a place. It must not be closed.
  int descriptor() const { return descriptor_; }

 private:
  void lock();

  std::string path_;
  int descriptor_;
  FileStay stay_;
};

// A file that is being made beside its final place, gone again unless published.
class NewFile {
 public:
  // Takes the place of the document, with its owner and permissions: from then on the path leads to
  // the new file, and `replaced` holds one that it leads to no more. It must outlive this, and
  // nobody may write it meanwhile. ReadOnly when the owner cannot be kept.
  explicit NewFile(const DocumentFile& replaced);
  // AlreadyExists when there is something at the path, or a journal of what was there; ReadOnly,
  // NotFound (the folder), Full. The file gets the permissions that are usual for this process, or
  // else is for its owner alone until it is published with the permissions given.
  explicit NewFile(std::string path, std::optional<mode_t> permissions = std::nullopt);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  const std::string& temporaryPath() const { return temporary_; }
  // Flushes file and folder to the disk. Never replaces what has appeared there meanwhile, and
  // never takes for the file what others have put in its place: Stale. Nothing in this process may
  // have the new file open.
  void publish();

 private:
  void makeTemporary();
  void finish() const;
  void takePlace() const;

  const DocumentFile* replaced_ = nullptr;
  std::string path_;
  std::string temporary_;
  FileIdentity made_;
  std::optional<mode_t> permissions_;
};

bool fileExists(const std::string& path);
// Nothing when there is none.
std::optional<mode_t> filePermissions(const std::string& path);
// In bytes; 0 when there is none.
std::int64_t fileSize(const std::string& path);

}  // namespace bokfolio::internal
