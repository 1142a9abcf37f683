#include "bokfolio/store/persistence/sqlite/sqlite_persistence.hpp"

#include <optional>
#include <utility>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_file.hpp"
#include "bokfolio/store/persistence/sqlite/internal/hot_journal.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_finder.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_writer.hpp"
#include "bokfolio/store/persistence/sqlite/internal/sqlite_engine.hpp"

namespace bokfolio {

namespace {

using internal::answering;
using internal::Connection;
using internal::Failure;
using internal::SqlTable;

class SqlitePersistence final : public Persistence {
 public:
  SqlitePersistence(SqliteOptions options, internal::DocumentFormat format)
      : options_(std::move(options)), format_(std::move(format)) {}

  bool open(const Schema& schema, ErrorOut error) override {
    return answering(error, [&] {
      close();
      try {
        openDocument(schema);
      } catch (...) {
        close();
        throw;
      }
    });
  }
  bool load(const Entity& entity, RecordSink& sink, ErrorOut error) override {
    return answering(error, [&] {
      opened();
      SavedQuestion all;
      all.entity = &entity;
      finder_->find(all, sink);
    });
  }
  bool find(const SavedQuestion& question, RecordSink& sink, ErrorOut error) override {
    return answering(error, [&] {
      opened();
      finder_->find(question, sink);
    });
  }
  bool count(const SavedQuestion& question, std::size_t& count, ErrorOut error) override {
    return answering(error, [&] {
      opened();
      count = finder_->count(question);
    });
  }
  bool keepsSums(const Entity& entity, bool& kept, ErrorOut error) override {
    return answering(error, [&] {
      opened();
      kept = sums_->kept(entity);
    });
  }
  bool sums(const Entity& entity, const SumLineQuestion& question, SumLineSink& sink,
            ErrorOut error) override {
    return answering(error, [&] {
      opened();
      sums_->read(entity, question, sink);
    });
  }
  bool nextId(const Entity& entity, RecordId& id, ErrorOut error) override {
    return answering(error, [&] {
      Connection& connection = opened();
      const SqlTable& table = tables_[entity.ordinal()];
      id = table.name.empty() ? 1 : internal::readNextId(connection, table);
    });
  }
  bool commit(const ChangeSet& changes, ErrorOut error) override {
    return answering(error, [&] {
      opened();
      if (!writer_) {
        throw Failure{PersistenceError::ReadOnly,
                      "\"" + file_->path() + "\" was opened for reading only."};
      }
      if (changes.empty()) return;
      file_->checkInPlace();
      writer_->write(changes);
    });
  }
  bool backup(const std::string& path, ErrorOut error) override {
    return answering(error, [&] {
      Connection& connection = opened();
      state_->leave();
      internal::copyDocument(connection, path);
    });
  }
  bool verify(ErrorOut error) override {
    return answering(error, [&] {
      internal::verifyDocument(opened(), tables_);
      sums_->verify();
    });
  }

 private:
  void openDocument(const Schema& schema);
  void create();
  void connect();
  void hold();
  void fitDocument();
  void convert();
  void checkReadable();
  void close();
  Connection& opened() {
    if (!connection_) {
      throw Failure{PersistenceError::Failed, "\"" + options_.path + "\" is not open."};
    }
    return *connection_;
  }

  SqliteOptions options_;
  internal::DocumentFormat format_;
  std::vector<SqlTable> tables_;  // by entity ordinal; without a name: not in the file
  // In this order: each needs those above it.
  std::optional<internal::DocumentFile> file_;
  std::optional<Connection> connection_;
  std::optional<internal::SavedState> state_;
  std::optional<internal::SumLines> sums_;
  std::optional<internal::RecordFinder> finder_;
  std::optional<internal::RecordWriter> writer_;
};

void SqlitePersistence::openDocument(const Schema& schema) {
  const auto zero = options_.path.find('\0');
  if (zero != std::string::npos) {
    throw Failure{PersistenceError::NotFound,
                  "\"" + options_.path.substr(0, zero) + "\" is followed by a zero byte: no path."};
  }
  for (const Entity& entity : schema.entities()) tables_.push_back(internal::sqlTable(entity));
  internal::checkNames(tables_);
  if (options_.mode == OpenMode::Create) {
    create();
    options_.mode = OpenMode::ReadWrite;  // from now on it is there
  }
  connect();
}

void SqlitePersistence::create() {
  internal::NewFile file(options_.path);
  {
    Connection connection(file.temporaryPath(), Connection::Access::ReadWrite,
                          options_.patienceMilliseconds);
    internal::createDocument(connection, format_, tables_, options_.applicationVersion);
  }
  file.publish();
}

void SqlitePersistence::hold() {
  const bool forWriting = options_.mode != OpenMode::ReadOnly;
  file_.emplace(options_.path, forWriting);
  if (forWriting) internal::checkHealing(*file_);
  connection_.emplace(file_->path(),
                      forWriting ? Connection::Access::ReadWrite : Connection::Access::ReadOnly,
                      options_.patienceMilliseconds);
}

void SqlitePersistence::connect() {
  hold();
  const bool forWriting = options_.mode != OpenMode::ReadOnly;
  if (forWriting) {
    fitDocument();
  } else {
    checkReadable();
    const internal::Transaction reading(*connection_, internal::Transaction::Kind::Reading);
    tables_ = internal::presentTables(*connection_, tables_);
  }
  using Lock = internal::SavedState::Lock;
  state_.emplace(*connection_, forWriting ? Lock::BetweenSaves : Lock::ForEachStatement);
  sums_.emplace(*connection_, tables_, *state_);
  finder_.emplace(*connection_, tables_, *state_);
  if (forWriting) writer_.emplace(*connection_, tables_, *state_, *sums_);
}

void SqlitePersistence::fitDocument() {
  const bool older = internal::checkFormat(*connection_, format_) < format_.version;
  // One file between saves, whatever another program made of it.
  connection_->execute("PRAGMA journal_mode=DELETE");
  if (older) convert();
  internal::fitTables(*connection_, tables_);
}

void SqlitePersistence::convert() {
  const SystemClock system;
  {
    internal::NewFile converted(*file_);
    internal::convertDocument(*file_, *connection_, format_,
                              options_.clock ? *options_.clock : system, converted.temporaryPath());
    // Other programs' SQLite does not know the writer's lock. What one of them has begun would go
    // on in the file without a name.
    const std::uint32_t seen = connection_->stateSeen();
    const internal::Transaction writing(*connection_);
    if (connection_->stateSeen() != seen) {
      throw Failure{PersistenceError::InUse,
                    "\"" + file_->path() + "\" is being used by another program."};
    }
    converted.publish();
  }
  connection_.reset();
  file_.reset();
  hold();
}

void SqlitePersistence::checkReadable() {
  if (internal::checkFormat(*connection_, format_) >= format_.readable) return;
  throw Failure{
      PersistenceError::ReadOnly,
      "\"" + file_->path() + "\" has an older format; open it for writing once to convert it."};
}

void SqlitePersistence::close() {
  writer_.reset();
  finder_.reset();
  sums_.reset();
  state_.reset();
  connection_.reset();
  file_.reset();
  tables_.clear();
}

}  // namespace

std::unique_ptr<Persistence> internal::makeSqliteEngine(SqliteOptions options,
                                                        DocumentFormat format) {
  return std::make_unique<SqlitePersistence>(std::move(options), std::move(format));
}

std::unique_ptr<Persistence> makeSqlitePersistence(SqliteOptions options) {
  return internal::makeSqliteEngine(std::move(options), internal::DocumentFormat::current());
}

}  // namespace bokfolio
