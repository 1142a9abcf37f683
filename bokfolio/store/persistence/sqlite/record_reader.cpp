#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

#include <algorithm>
#include <limits>

namespace bokfolio::internal {

namespace {

constexpr int kFirstColumn = 2;  // after id and version

class RecordReader {
 public:
  RecordReader(Connection& connection, const SqlTable& table, Statement& statement)
      : connection_(connection), table_(table), statement_(statement) {}

  // The row that the statement stands at.
  template <class Sink>
  void read(Sink& sink) {
    const int columns = static_cast<int>(table_.columns.size());
    sink.begin(id(), version());
    for (int place = 0; place < columns; ++place) {
      const SqlColumn& column = table_.columns[static_cast<std::size_t>(place)];
      const int type = statement_.type(kFirstColumn + place);
      if (type != SQLITE_NULL) readValue(sink, column, kFirstColumn + place, type);
    }
    sink.end();
  }

 private:
  RecordId id() const {
    const std::int64_t id = statement_.integer(0);
    if (!isId(id)) failDamaged(connection_, table_.name + " has the id " + std::to_string(id));
    return static_cast<RecordId>(id);
  }

  std::uint32_t version() const {
    const std::int64_t version = statement_.integer(1);
    if (version <= 0 || version > std::numeric_limits<std::uint32_t>::max()) {
      failDamaged(connection_, place() + " has the version " + std::to_string(version));
    }
    return static_cast<std::uint32_t>(version);
  }

  template <class Sink>
  void readValue(Sink& sink, const SqlColumn& column, int position, int type) {
    switch (column.kind) {
      case PropertyKind::Integer:
        expect(type, SQLITE_INTEGER, column);
        return sink.integer(column.ordinal, statement_.integer(position));
      case PropertyKind::Double:
        expect(type, SQLITE_FLOAT, column);
        return sink.real(column.ordinal, statement_.real(position));
      case PropertyKind::Decimal:
        expect(type, SQLITE_TEXT, column);
        return sink.decimal(column.ordinal, decimal(column, position));
      case PropertyKind::String:
        expect(type, SQLITE_TEXT, column);
        return sink.text(column.ordinal, statement_.text(position));
      case PropertyKind::Date:
        expect(type, SQLITE_INTEGER, column);
        return sink.date(column.ordinal, Date::fromMicroseconds(statement_.integer(position)));
      case PropertyKind::Binary:
        expect(type, SQLITE_BLOB, column);
        return sink.blob(column.ordinal, statement_.blob(position));
      case PropertyKind::ToOne:
        expect(type, SQLITE_INTEGER, column);
        return sink.reference(column.ordinal, reference(column, position));
      case PropertyKind::ToMany:
        return;
    }
  }

  void expect(int type, int wanted, const SqlColumn& column) const {
    if (type != wanted) failDamaged(connection_, place(column) + " is of the wrong type");
  }

  Decimal decimal(const SqlColumn& column, int position) const {
    const auto value = Decimal::parse(statement_.text(position));
    if (!value) failDamaged(connection_, place(column) + " is no decimal number");
    return *value;
  }

  RecordId reference(const SqlColumn& column, int position) const {
    const std::int64_t id = statement_.integer(position);
    if (!isId(id)) failDamaged(connection_, place(column) + " refers to no record");
    return static_cast<RecordId>(id);
  }

  std::string place() const { return table_.name + " " + std::to_string(statement_.integer(0)); }
  std::string place(const SqlColumn& column) const { return column.name + " of " + place(); }

  Connection& connection_;
  const SqlTable& table_;
  Statement& statement_;
};

// Reading checks all but the form of decimals.
class NoSink final : public RecordSink {
 public:
  void begin(RecordId /*id*/, std::uint32_t /*version*/) override {}
  void integer(std::uint16_t /*ordinal*/, std::int64_t /*value*/) override {}
  void real(std::uint16_t /*ordinal*/, double /*value*/) override {}
  void decimal(std::uint16_t /*ordinal*/, const Decimal& /*value*/) override {}
  void text(std::uint16_t /*ordinal*/, std::string_view /*value*/) override {}
  void date(std::uint16_t /*ordinal*/, Date /*value*/) override {}
  void blob(std::uint16_t /*ordinal*/, std::string_view /*value*/) override {}
  void reference(std::uint16_t /*ordinal*/, RecordId /*value*/) override {}
  void end() override {}
};

void verifyRecords(Connection& connection, const SqlTable& table) {
  Statement statement = connection.prepare(select(table, table.columns));
  RecordReader reader(connection, table, statement);
  NoSink sink;
  while (statement.step()) reader.read(sink);
}

void verifyDecimals(Connection& connection, const SqlTable& table, const SqlColumn& column) {
  const std::string name = quoted(column.name);
  Statement statement = connection.prepare("SELECT id, " + name + " FROM " + quoted(table.name) +
                                           " WHERE " + name + " IS NOT NULL");
  char canonical[Decimal::kMaxTextLength];
  while (statement.step()) {
    const std::string_view text = statement.text(1);
    const auto value = Decimal::parse(text);
    if (value && std::string_view(canonical, value->toChars(canonical)) == text) continue;
    failDamaged(connection, column.name + " of " + table.name + " " +
                                std::to_string(statement.integer(0)) +
                                " is not a decimal in its shortest form");
  }
}

std::int64_t savedNextId(Connection& connection, const SqlTable& table) {
  Statement statement = connection.prepare("SELECT next_id FROM bokfolio_entity WHERE name = ?1");
  statement.bindText(1, table.name);
  return statement.step() ? statement.integer(0) : 1;
}

std::int64_t highestId(Connection& connection, const SqlTable& table) {
  return connection.integer("SELECT id FROM " + quoted(table.name) + " ORDER BY id DESC LIMIT 1");
}

}  // namespace

void readRecords(Connection& connection, const SqlTable& table, Statement& statement,
                 SavedState& state, RecordSink& sink) {
  RecordReader reader(connection, table, statement);
  const Statement::Run run(statement);
  bool more = statement.step();
  state.check();
  for (; more; more = statement.step()) reader.read(sink);
}

void failDamaged(const Connection& connection, const std::string& what) {
  throw Failure{PersistenceError::Damaged,
                "\"" + connection.path() + "\" is damaged (" + what + ")."};
}

RecordId readNextId(Connection& connection, const SqlTable& table) {
  const std::int64_t id =
      std::max(savedNextId(connection, table), highestId(connection, table) + 1);
  if (!isId(id)) failDamaged(connection, table.name + " has no id left");
  return static_cast<RecordId>(id);
}

void verifyDocument(Connection& connection, const std::vector<SqlTable>& tables) {
  Statement check = connection.prepare("PRAGMA integrity_check(1)");
  if (check.step() && check.text(0) != "ok") {
    const std::string seal = connection.takeBrokenSeal();
    failDamaged(connection, seal.empty() ? std::string(check.text(0)) : seal);
  }
  const std::string broken = brokenReference(connection);
  if (!broken.empty()) failDamaged(connection, broken);
  for (const SqlTable& table : tables) {
    if (table.name.empty()) continue;
    verifyRecords(connection, table);
    readNextId(connection, table);
    if (highestId(connection, table) >= savedNextId(connection, table)) {
      failDamaged(connection, table.name + " would give an id a second time");
    }
    for (const SqlColumn& column : table.columns) {
      if (column.kind == PropertyKind::Decimal) verifyDecimals(connection, table, column);
    }
  }
}

std::string brokenReference(Connection& connection) {
  Statement check =
      connection.prepare("SELECT \"table\", rowid, parent FROM pragma_foreign_key_check");
  if (!check.step()) return "";
  return std::string(check.text(0)) + " " + std::to_string(check.integer(1)) + " refers to a " +
         std::string(check.text(2)) + " that does not exist";
}

}  // namespace bokfolio::internal
