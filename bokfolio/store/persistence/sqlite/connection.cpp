#include "bokfolio/store/persistence/sqlite/internal/connection.hpp"

#include <cerrno>
#include <new>
#include <utility>

#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"
#include "bokfolio/store/persistence/sqlite/internal/sealing_vfs.hpp"

namespace bokfolio::internal {

namespace {

bool isDenied(int systemError) {
  return systemError == EACCES || systemError == EPERM || systemError == EROFS;
}

// A quota and a limit on file sizes are full disks to the user.
bool isFull(int systemError) {
  return systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG;
}

PersistenceError meaning(int code, int systemError) {
  switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return PersistenceError::InUse;
    case SQLITE_FULL:
      return PersistenceError::Full;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return PersistenceError::ReadOnly;
    case SQLITE_NOTADB:
      return PersistenceError::NotADocument;
    case SQLITE_CORRUPT:
      return PersistenceError::Damaged;
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
      return PersistenceError::Refused;
    case SQLITE_IOERR:
      if (code == SQLITE_IOERR_DATA) return PersistenceError::Damaged;
      if (isFull(systemError)) return PersistenceError::Full;
      return PersistenceError::Failed;
    case SQLITE_CANTOPEN:
      if (isDenied(systemError)) return PersistenceError::ReadOnly;
      if (isFull(systemError)) return PersistenceError::Full;
      return PersistenceError::Failed;
    default:
      return PersistenceError::Failed;
  }
}

// While a save ends, SQLite's own note of the error is often that of a later call, and what the
// document's file notes does not tell of its journal.
int systemErrorOf(sqlite3* database, int code) {
  if (isFull(errno)) return errno;
  int last = 0;
  if ((code & 0xFF) == SQLITE_IOERR) {
    sqlite3_file_control(database, "main", SQLITE_FCNTL_LAST_ERRNO, &last);
  }
  return isFull(last) ? last : sqlite3_system_errno(database);
}

std::string sentence(PersistenceError meaning, int code, std::string_view words) {
  const std::string said(words);
  switch (meaning) {
    case PersistenceError::InUse:
      return "is being used by another program.";
    case PersistenceError::Full:
      return "cannot grow: the disk is full.";
    case PersistenceError::ReadOnly:
      if (code == SQLITE_READONLY_ROLLBACK || code == SQLITE_READONLY_RECOVERY) {
        return "was left in the middle of a save; open it for writing once to heal it.";
      }
      return "or its folder cannot be written.";
    case PersistenceError::NotADocument:
      return "is not a document of this program.";
    case PersistenceError::Damaged:
      return "is damaged (" + said + ").";
    case PersistenceError::Refused:
      return "does not accept these changes (" + said + ").";
    default:
      return "could not be read or written (" + said + ").";
  }
}

Failure sqliteFailure(const std::string& path, int code, int systemError, std::string_view words) {
  if ((code & 0xFF) == SQLITE_NOMEM) throw std::bad_alloc();
  const PersistenceError meant = meaning(code, systemError);
  return {meant, "\"" + path + "\" " + sentence(meant, code, words)};
}

// About a page that was found not to be as it was saved, once; empty without one.
std::string sealWords(sqlite3* database) {
  const BrokenSeal broken = takeBrokenSeal(database);
  if (broken.page == 0) return "";
  if (broken.isOpen) return "a save broke off and its journal is gone";
  return "page " + std::to_string(broken.page) + " is not as it was saved";
}

[[noreturn]] void failSqlite(sqlite3* database, const std::string& path, int code) {
  std::string words = code == SQLITE_IOERR_DATA ? sealWords(database) : "";
  if (words.empty()) words = sqlite3_errmsg(database);
  throw sqliteFailure(path, code, systemErrorOf(database, code), words);
}

}  // namespace

Statement::Statement(sqlite3* database, const std::string& path, std::string_view sql)
    : path_(&path) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  handle_.reset(statement);
  if (code != SQLITE_OK) failSqlite(database, path, code);
}

void Statement::fail(int code) const { failSqlite(sqlite3_db_handle(get()), *path_, code); }

void Statement::bindText(int position, std::string_view text) {
  check(sqlite3_bind_text64(get(), position, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Statement::bindBlob(int position, std::string_view bytes) {
  check(sqlite3_bind_blob64(get(), position, bytes.data(), bytes.size(), SQLITE_STATIC));
}

bool Statement::step() {
  errno = 0;
  const int code = sqlite3_step(get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) fail(code);
  return false;
}

void Statement::run() {
  const Run run(*this);
  while (step()) {
  }
}

std::string_view Statement::text(int column) const {
  const auto* characters = reinterpret_cast<const char*>(sqlite3_column_text(get(), column));
  if (characters == nullptr) {
    if (sqlite3_errcode(sqlite3_db_handle(get())) == SQLITE_NOMEM) throw std::bad_alloc();
    return "";
  }
  return {characters, static_cast<std::size_t>(sqlite3_column_bytes(get(), column))};
}

std::string_view Statement::blob(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(get(), column));
  if (bytes == nullptr) return "";  // an empty blob, too
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(get(), column))};
}

Connection::Connection(std::string path, Access access, int patienceMilliseconds)
    : path_(std::move(path)) {
  const int flags = (access == Access::ReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) |
                    SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(path_.c_str(), &database, flags, sealingVfs());
  handle_.reset(database);
  if (database == nullptr) throw std::bad_alloc();
  if (code != SQLITE_OK) failSqlite(database, path_, code);
  // Silently gives a reader's handle where the file cannot be written.
  if (access == Access::ReadWrite && sqlite3_db_readonly(database, "main") == 1) {
    failSqlite(database, path_, SQLITE_READONLY);
  }
  sqlite3_busy_timeout(database, patienceMilliseconds);
  leaveRoomForSeals();
  harden();
}

void Connection::harden() {
  for (const auto& [option, value] :
       {std::pair{SQLITE_DBCONFIG_DEFENSIVE, 1}, std::pair{SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
        std::pair{SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}, std::pair{SQLITE_DBCONFIG_ENABLE_VIEW, 0},
        std::pair{SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0}, std::pair{SQLITE_DBCONFIG_DQS_DML, 0},
        std::pair{SQLITE_DBCONFIG_DQS_DDL, 0}, std::pair{SQLITE_DBCONFIG_ENABLE_FKEY, 1}}) {
    int set = -1;
    sqlite3_db_config(handle_.get(), option, value, &set);
    if (set != value) throw Failure{PersistenceError::Failed, "SQLite cannot be made safe here."};
  }
  // A virtual table would have its module's code read whatever the file holds.
  sqlite3_drop_modules(handle_.get(), nullptr);
  // What a file's own schema computes (checks, indexes) runs whenever its tables are touched, and
  // could take any time and memory. A schema with a function that has arguments is not read at all;
  // this library's own statements do without.
  sqlite3_limit(handle_.get(), SQLITE_LIMIT_FUNCTION_ARG, 0);
  execute("PRAGMA cell_size_check=ON");
  // Another program that cuts the file short would otherwise end this one.
  execute("PRAGMA mmap_size=0");
  setCache(kCache);
  execute("PRAGMA temp_store=MEMORY");
  // Also syncs the folder after a save: without it, a power cut may bring the last save's journal
  // back and with it the state before.
  execute("PRAGMA synchronous=EXTRA");
}

std::int64_t Connection::integer(std::string_view sql) {
  Statement statement = prepare(sql);
  return statement.step() ? statement.integer(0) : 0;
}

bool Connection::hasTable(const std::string& name) const {
  return sqlite3_table_column_metadata(handle_.get(), "main", name.c_str(), nullptr, nullptr,
                                       nullptr, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::optional<std::string_view> Connection::columnType(const std::string& table,
                                                       const std::string& column) const {
  const char* type = nullptr;
  const int code =
      sqlite3_table_column_metadata(handle_.get(), "main", table.c_str(), column.c_str(), &type,
                                    nullptr, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) return std::nullopt;
  return type == nullptr ? "" : type;
}

void Connection::leaveRoomForSeals() {
  int reserved = kSealSize;
  sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_RESERVE_BYTES, &reserved);
}

bool Connection::isSealed() const { return internal::isSealed(handle_.get()); }

std::string Connection::takeBrokenSeal() { return sealWords(handle_.get()); }

std::uint32_t Connection::stateSeen() const {
  std::uint32_t number = 0;
  sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_DATA_VERSION, &number);
  return number;
}

Transaction::~Transaction() {
  // A full disk or an input/output error has already ended the transaction.
  if (!connection_.inTransaction()) return;
  try {
    connection_.execute("ROLLBACK");
  } catch (...) {  // NOLINT(bugprone-empty-catch): the journal heals the file at the next opening
  }
}

}  // namespace bokfolio::internal
