#include "tests/conformance/places.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bokfolio/store/persistence/faults/fault_injecting_persistence.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

namespace bokfolio::test {

namespace {

class MemoryPlace final : public Place {
 public:
  std::unique_ptr<Persistence> create() override { return makeMemoryPersistence(document_); }
  std::unique_ptr<Persistence> again() override { return makeMemoryPersistence(document_); }
  std::string copyPath() const override { return "copy"; }
  std::unique_ptr<Persistence> copy() override {
    return makeMemoryPersistence(document_->backup(copyPath()));
  }

 private:
  std::shared_ptr<MemoryDocument> document_ = std::make_shared<MemoryDocument>();
};

class SqlitePlace final : public Place {
 public:
  std::unique_ptr<Persistence> create() override { return make("document", OpenMode::Create); }
  std::unique_ptr<Persistence> again() override { return make("document", OpenMode::ReadWrite); }
  std::string copyPath() const override { return folder_ / "copy"; }
  std::unique_ptr<Persistence> copy() override { return make("copy", OpenMode::ReadWrite); }

 private:
  std::unique_ptr<Persistence> make(const std::string& name, OpenMode mode) {
    return makeSqlitePersistence({folder_ / name, mode, "1", nullptr, 0});
  }

  TemporaryFolder folder_;
};

// With nothing to fail, the wrapper is the engine inside.
class WrappedPlace final : public Place {
 public:
  std::unique_ptr<Persistence> create() override { return wrap(place_.create()); }
  std::unique_ptr<Persistence> again() override { return wrap(place_.again()); }
  std::string copyPath() const override { return place_.copyPath(); }
  std::unique_ptr<Persistence> copy() override { return wrap(place_.copy()); }

 private:
  static std::unique_ptr<Persistence> wrap(std::unique_ptr<Persistence> engine) {
    return makeFaultInjectingPersistence(std::move(engine), std::make_shared<PersistenceFaults>());
  }

  MemoryPlace place_;
};

template <class Kind>
std::unique_ptr<Place> makePlace() {
  return std::make_unique<Kind>();
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  // In memory where the system has such a folder: flushing to a disk tries patience, not engines.
  const std::filesystem::path memory = "/dev/shm";
  const auto parent =
      std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
  std::string name = (parent / "bokfolio-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

sqlite3* openByHand(const std::string& path) {
  // The library makes its layer known when it opens its first document.
  const char* layer = std::filesystem::exists(path) ? "bokfolio" : nullptr;
  sqlite3* database = nullptr;
  const int code =
      sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, layer);
  if (code != SQLITE_OK) throw std::runtime_error(path + " cannot be opened by hand");
  return database;
}

const std::vector<PlaceKind>& placeKinds() {
  static const std::vector<PlaceKind> kinds = {
      {"Memory", makePlace<MemoryPlace>},
      {"Sqlite", makePlace<SqlitePlace>},
      {"Wrapped", makePlace<WrappedPlace>},
  };
  return kinds;
}

}  // namespace bokfolio::test
