// What the tests of the SQLite engine share: a folder, a document in it, and SQLite by hand.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"
#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"
#include "tests/conformance/draft.hpp"
#include "tests/conformance/places.hpp"

namespace bokfolio::test {

// The bytes of a document, with a whole seal on each page.
inline std::string sealedAnew(std::string bytes) {
  constexpr std::size_t kPage = 4096;
  const std::span all(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
  for (std::size_t at = 0; at + kPage <= all.size(); at += kPage)
    internal::seal(all.subspan(at, kPage), static_cast<std::uint32_t>(at / kPage + 1));
  return bytes;
}

class SqliteFile : public testing::Test {
 protected:
  // An engine on the document, not open yet. It never waits.
  std::unique_ptr<Persistence> engine(OpenMode mode) const { return engineAt(path, mode); }
  static std::unique_ptr<Persistence> engineAt(const std::string& at, OpenMode mode) {
    return makeSqlitePersistence({at, mode, "1.2", nullptr, 0});
  }
  // An open engine; the test fails when it does not open.
  std::unique_ptr<Persistence> opened(OpenMode mode) const {
    auto made = engine(mode);
    std::optional<Error> error;
    EXPECT_TRUE(made->open(*schema, &error)) << error->localizedDescription();
    return made;
  }
  // What opening answers, PersistenceError{} for success. A sentence names the path.
  PersistenceError openingAt(const std::string& at, OpenMode mode) const {
    std::optional<Error> error;
    if (engineAt(at, mode)->open(*schema, &error)) return PersistenceError{};
    EXPECT_NE(error->localizedDescription().find('"'), std::string::npos);
    return codeOf(error);
  }
  PersistenceError opening(OpenMode mode) const { return openingAt(path, mode); }

  // Runs SQL on the document past the engine and answers the first column of its rows, by "|".
  std::string raw(const std::string& sql) const {
    sqlite3* database = openByHand(path);
    std::string rows;
    const auto add = [](void* into, int, char** values, char**) {
      auto& text = *static_cast<std::string*>(into);
      if (!text.empty()) text += '|';
      text += values[0] == nullptr ? "NULL" : values[0];
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), add, &rows, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    sqlite3_close(database);
    return rows;
  }

  TemporaryFolder folder;
  std::string path = folder / "document";
  std::shared_ptr<const Schema> schema = paperSchema();
};

}  // namespace bokfolio::test
