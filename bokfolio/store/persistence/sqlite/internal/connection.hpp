// Connection, Statement, Transaction: SQLite's C interface made safe. Each owns its handle;
// everything that SQLite refuses is thrown as a Failure whose sentence names the document. A
// connection must outlive its statements.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bokfolio/store/persistence/internal/failure.hpp"

namespace bokfolio::internal {

class Statement {
 public:
  Statement() = default;
  Statement(sqlite3* database, const std::string& path, std::string_view sql);

  void bind(int position, std::int64_t value) { check(sqlite3_bind_int64(get(), position, value)); }
  void bind(int position, double value) { check(sqlite3_bind_double(get(), position, value)); }
  void bindNull(int position) { check(sqlite3_bind_null(get(), position)); }
  // The characters must stay until the statement was run.
  void bindText(int position, std::string_view text);
  void bindBlob(int position, std::string_view bytes);

  // True while there is a row.
  bool step();
  // For a statement without rows: runs it and makes it ready for the next time.
  void run();
  // Must be called before binding again.
  void reset() noexcept { sqlite3_reset(get()); }
  // Resets a statement that is kept for the next time, whatever happens meanwhile.
  class Run {
   public:
    explicit Run(Statement& statement) : statement_(statement) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() { statement_.reset(); }

   private:
    Statement& statement_;
  };

  int type(int column) const { return sqlite3_column_type(get(), column); }
  std::int64_t integer(int column) const { return sqlite3_column_int64(get(), column); }
  double real(int column) const { return sqlite3_column_double(get(), column); }
  // Valid until the next step.
  std::string_view text(int column) const;
  std::string_view blob(int column) const;

  sqlite3_stmt* get() const { return handle_.get(); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  void check(int code) const {
    if (code != SQLITE_OK) fail(code);
  }
  [[noreturn]] void fail(int code) const;

  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
  const std::string* path_ = nullptr;
};

class Connection {
 public:
  enum class Access : std::uint8_t { ReadOnly, ReadWrite };

  // Opens an existing file and closes every door that a crafted file could use: no extensions, no
  // triggers, no views, no functions called by the schema (but such without arguments), no writing
  // to SQLite's own tables.
  Connection(std::string path, Access access, int patienceMilliseconds);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const std::string& path() const { return path_; }
  Statement prepare(std::string_view sql) { return {handle_.get(), path_, sql}; }
  void execute(std::string_view sql) { prepare(sql).run(); }
  // The first column of the first row; 0 when there is no row.
  std::int64_t integer(std::string_view sql);
  // Names as SQLite compares them. Neither reads the file but for its schema, once; inside a
  // transaction the schema is that of the file.
  bool hasTable(const std::string& name) const;
  // As declared; nullopt when there is no such column.
  std::optional<std::string_view> columnType(const std::string& table,
                                             const std::string& column) const;
  // How much of the file may stay in memory; kCache at first.
  static constexpr int kCache = 2000;
  void setCache(int kibibytes) { execute("PRAGMA cache_size=-" + std::to_string(kibibytes)); }
  std::int64_t changes() const { return sqlite3_changes64(handle_.get()); }
  // In the pages of a new file, and of the next copy; SQLite forgets it with each.
  void leaveRoomForSeals();
  // Whether each page of the file bears a seal.
  bool isSealed() const;
  // Words about a page that was not as its seal says, if one was met since this was last asked or
  // thrown; empty without one.
  std::string takeBrokenSeal();
  // A number that differs when the file was changed between two looks at it, by anybody. It costs
  // no look of its own.
  std::uint32_t stateSeen() const;
  // Lets statements call functions that have arguments, for VACUUM, which is made of some. The
  // schema must have been read before.
  class FunctionsAllowed {
   public:
    explicit FunctionsAllowed(Connection& connection)
        : database_(connection.handle_.get()),
          before_(sqlite3_limit(database_, SQLITE_LIMIT_FUNCTION_ARG, kMost)) {}
    FunctionsAllowed(const FunctionsAllowed&) = delete;
    FunctionsAllowed& operator=(const FunctionsAllowed&) = delete;
    ~FunctionsAllowed() { sqlite3_limit(database_, SQLITE_LIMIT_FUNCTION_ARG, before_); }

   private:
    static constexpr int kMost = 100;

    sqlite3* database_;
    int before_;
  };
  bool inTransaction() const { return sqlite3_get_autocommit(handle_.get()) == 0; }

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };

  void harden();

  std::string path_;
  std::unique_ptr<sqlite3, Close> handle_;
};

// Writing takes the write lock at once; what was done is undone unless commit() passed. Reading
// sees one state of the file, whatever is saved meanwhile.
class Transaction {
 public:
  enum class Kind : std::uint8_t { Reading, Writing };

  explicit Transaction(Connection& connection, Kind kind = Kind::Writing)
      : connection_(connection) {
    connection_.execute(kind == Kind::Reading ? "BEGIN" : "BEGIN IMMEDIATE");
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction();

  void commit() { connection_.execute("COMMIT"); }

 private:
  Connection& connection_;
};

}  // namespace bokfolio::internal
