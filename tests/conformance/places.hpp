// Where a document of each engine lies, so that one suite can run over all of them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/persistence.hpp"

struct sqlite3;

namespace bokfolio::test {

// A folder of its own, gone with it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  // Names of what lies in it, sorted.
  std::vector<std::string> names() const;

 private:
  std::string path_;
};

// Whole files; "" for one that cannot be read.
std::string bytesOf(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);

// The document by SQLite past the library, as a program would that keeps the seals of pages; a new
// file has none. The caller closes it.
sqlite3* openByHand(const std::string& path);

class Place {
 public:
  virtual ~Place() = default;
  // Engines, not open yet: on a new document, on the same again, on a copy made by backup.
  virtual std::unique_ptr<Persistence> create() = 0;
  virtual std::unique_ptr<Persistence> again() = 0;
  virtual std::string copyPath() const = 0;
  virtual std::unique_ptr<Persistence> copy() = 0;
};

struct PlaceKind {
  std::string name;
  std::unique_ptr<Place> (*make)();
};

const std::vector<PlaceKind>& placeKinds();

}  // namespace bokfolio::test
