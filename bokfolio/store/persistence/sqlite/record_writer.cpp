#include "bokfolio/store/persistence/sqlite/internal/record_writer.hpp"

#include <algorithm>
#include <cmath>

#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

namespace bokfolio::internal {

namespace {

// Records of one entity are changed in few combinations; a stranger pattern starts anew.
constexpr std::size_t kMaxUpdates = 64;

// A big save comes back to the pages of indexes again and again, and what has no room in memory is
// written, flushed and read anew meanwhile. Small ones get by with what reading needs.
class RoomForPages {
 public:
  RoomForPages(Connection& connection, std::size_t changes)
      : connection_(changes < kBig ? nullptr : &connection) {
    if (connection_ != nullptr) connection_->setCache(kRoom);
  }
  RoomForPages(const RoomForPages&) = delete;
  RoomForPages& operator=(const RoomForPages&) = delete;
  ~RoomForPages() {
    if (connection_ == nullptr) return;
    try {
      connection_->setCache(Connection::kCache);
    } catch (...) {  // NOLINT(bugprone-empty-catch): the room is kept longer than it need be
    }
  }

 private:
  static constexpr std::size_t kBig = 5000;
  static constexpr int kRoom = 64 * 1024;  // KiB

  Connection* connection_;
};

std::int64_t sqlId(RecordId id) {
  if (id == 0 || id > static_cast<RecordId>(kHighestId)) {
    throw Failure{PersistenceError::Refused, std::to_string(id) + " is no id of a record."};
  }
  return static_cast<std::int64_t>(id);
}

bool contains(const std::vector<std::uint16_t>& ordinals, std::uint16_t ordinal) {
  return std::find(ordinals.begin(), ordinals.end(), ordinal) != ordinals.end();
}

}  // namespace

RecordWriter::RecordWriter(Connection& connection, const std::vector<SqlTable>& tables,
                           SavedState& state, SumLines& sums)
    : connection_(connection),
      tables_(tables),
      state_(state),
      sums_(sums),
      writers_(tables.size()),
      raiseNextId_(connection.prepare("INSERT INTO bokfolio_entity(name, next_id) VALUES(?1, ?2) "
                                      "ON CONFLICT(name) DO UPDATE SET next_id = excluded.next_id "
                                      "WHERE excluded.next_id > next_id")) {
  for (std::size_t entity = 0; entity < tables.size(); ++entity) {
    writers_[entity].decimals.resize(tables[entity].columns.size());
  }
}

void RecordWriter::write(const ChangeSet& changes) {
  for (TableWriter& writer : writers_) writer.nextId = 0;
  const RoomForPages room(connection_, changes.changes.size());
  state_.leave();
  Transaction transaction(connection_);
  state_.check();
  state_.beginChange();
  for (const RecordChange& change : changes.changes) apply(change);
  for (const auto& [entity, nextId] : changes.nextIds) {
    TableWriter& writer = writers_[entity->ordinal()];
    writer.nextId = std::max(writer.nextId, nextId);
  }
  writeNextIds();
  sums_.write(changes.sums);
  commit(transaction);
  state_.endChange();
  sums_.endWriting();
}

void RecordWriter::apply(const RecordChange& change) {
  switch (change.kind) {
    case RecordChange::Kind::Insert:
      return insert(change);
    case RecordChange::Kind::Update:
      return update(change);
    case RecordChange::Kind::Delete:
      return remove(change);
  }
}

void RecordWriter::insert(const RecordChange& change) {
  const std::size_t entity = change.values.entity().ordinal();
  TableWriter& writer = writers_[entity];
  const SqlTable& table = tables_[entity];
  if (!writer.insert) {
    writer.insert = connection_.prepare(internal::insert(sqliteDialect(), table));
  }
  Statement& statement = *writer.insert;
  statement.bind(1, sqlId(change.id));
  statement.bind(2, std::int64_t{change.version} + 1);
  for (std::size_t column = 0; column < table.columns.size(); ++column) {
    bind(statement, static_cast<int>(column) + 3, entity, column, change.values);
  }
  statement.run();
  writer.nextId = std::max(writer.nextId, change.id + 1);
}

void RecordWriter::update(const RecordChange& change) {
  const std::size_t entity = change.values.entity().ordinal();
  Statement& statement = updateOf(entity, change.changed);
  statement.bind(1, sqlId(change.id));
  statement.bind(2, std::int64_t{change.version});
  statement.bind(3, std::int64_t{change.version} + 1);
  int position = 4;
  const auto& columns = tables_[entity].columns;
  for (std::size_t column = 0; column < columns.size(); ++column) {
    if (contains(change.changed, columns[column].ordinal)) {
      bind(statement, position++, entity, column, change.values);
    }
  }
  statement.run();
  expectOneChange(change);
}

void RecordWriter::remove(const RecordChange& change) {
  const std::size_t entity = change.values.entity().ordinal();
  TableWriter& writer = writers_[entity];
  if (!writer.remove) {
    writer.remove = connection_.prepare(internal::remove(sqliteDialect(), tables_[entity]));
  }
  writer.remove->bind(1, sqlId(change.id));
  writer.remove->bind(2, std::int64_t{change.version});
  writer.remove->run();
  expectOneChange(change);
}

Statement& RecordWriter::updateOf(std::size_t entity, const std::vector<std::uint16_t>& ordinals) {
  auto& updates = writers_[entity].updates;
  const auto found = updates.find(ordinals);
  if (found != updates.end()) return found->second;
  std::vector<SqlColumn> columns;
  for (const SqlColumn& column : tables_[entity].columns) {
    if (contains(ordinals, column.ordinal)) {
      columns.push_back(column);
    }
  }
  if (updates.size() == kMaxUpdates) updates.clear();
  return updates
      .emplace(ordinals,
               connection_.prepare(internal::update(sqliteDialect(), tables_[entity], columns)))
      .first->second;
}

void RecordWriter::bind(Statement& statement, int position, std::size_t entity, std::size_t column,
                        const SlotView& values) {
  const SqlColumn& described = tables_[entity].columns[column];
  const std::uint16_t ordinal = described.ordinal;
  if (values.isNil(ordinal)) return statement.bindNull(position);
  switch (described.kind) {
    case PropertyKind::Integer:
      return statement.bind(position, values.integer(ordinal));
    case PropertyKind::Double:
      // SQLite would make it nil.
      if (std::isnan(values.real(ordinal))) {
        throw Failure{PersistenceError::Refused,
                      tables_[entity].name + "." + described.name + " is not a number."};
      }
      return statement.bind(position, values.real(ordinal));
    case PropertyKind::Decimal: {
      char* text = writers_[entity].decimals[column].data();
      return statement.bindText(position, {text, values.decimal(ordinal).toChars(text)});
    }
    case PropertyKind::String:
      return statement.bindText(position, values.text(ordinal));
    case PropertyKind::Date:
      return statement.bind(position, values.date(ordinal).microseconds());
    case PropertyKind::Binary:
      return statement.bindBlob(position, values.blob(ordinal));
    case PropertyKind::ToOne:
      return statement.bind(position, sqlId(values.reference(ordinal)->id()));
    case PropertyKind::ToMany:
      return;
  }
}

void RecordWriter::expectOneChange(const RecordChange& change) {
  if (connection_.changes() == 1) return;
  throw Failure{PersistenceError::Stale, change.values.entity().name() + " " +
                                             std::to_string(change.id) +
                                             " was changed by somebody else since it was read."};
}

void RecordWriter::writeNextIds() {
  for (std::size_t entity = 0; entity < writers_.size(); ++entity) {
    if (writers_[entity].nextId == 0) continue;
    raiseNextId_.bindText(1, tables_[entity].name);
    raiseNextId_.bind(2, sqlId(writers_[entity].nextId));
    raiseNextId_.run();
  }
}

void RecordWriter::commit(Transaction& transaction) {
  try {
    transaction.commit();
  } catch (const Failure& failure) {
    if (failure.code != PersistenceError::Refused) throw;
    const std::string broken = brokenReference(connection_);
    if (broken.empty()) throw;
    throw Failure{PersistenceError::Refused,
                  "\"" + connection_.path() + "\" does not accept these changes: " + broken + "."};
  }
}

}  // namespace bokfolio::internal
