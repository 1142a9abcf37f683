#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_target.hpp"

#include <map>
#include <set>

#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

namespace bokfolio::internal {

namespace {

constexpr int kCache = 64 * 1024;  // KiB
constexpr int kFirstValue = 3;     // after id and version

void bind(Statement& statement, int position, const StoredValue& value) {
  switch (value.kind) {
    case StoredValue::Kind::Nil:
    case StoredValue::Kind::Unreadable:
      return statement.bindNull(position);
    case StoredValue::Kind::Integer:
      return statement.bind(position, value.integer);
    case StoredValue::Kind::Real:
      return statement.bind(position, value.real);
    case StoredValue::Kind::Text:
      return statement.bindText(position, value.bytes);
    case StoredValue::Kind::Blob:
      return statement.bindBlob(position, value.bytes);
  }
}

}  // namespace

SalvageTarget::SalvageTarget(const std::string& path, const SalvagePlan& plan,
                             const std::string& application)
    : connection_(path, Connection::Access::ReadWrite, 0) {
  for (const PlannedTable& planned : plan.tables) tables_.push_back(planned.table);
  connection_.setCache(kCache);
  // The file counts for nothing until it is published, which flushes it.
  connection_.execute("PRAGMA journal_mode=MEMORY");
  connection_.execute("PRAGMA synchronous=OFF");
  createDocument(connection_, DocumentFormat::current(), tables_, application);
  connection_.execute("PRAGMA foreign_keys=OFF");
  for (const SqlTable& table : tables_) {
    std::string text = internal::insert(sqliteDialect(), table);
    inserts_.push_back(connection_.prepare(text + " ON CONFLICT DO NOTHING"));
  }
  transaction_.emplace(connection_);
  // Sums are of no records yet, and say so once they were computed. '`' comes after '_'.
  connection_.execute("DELETE FROM bokfolio_document WHERE name>='sum_' AND name<'sum`'");
}

bool SalvageTarget::insert(std::size_t table, std::int64_t id, std::int64_t version,
                           const std::vector<StoredValue>& values) {
  Statement& statement = inserts_[table];
  statement.bind(1, id);
  statement.bind(2, version);
  for (std::size_t i = 0; i < values.size(); ++i)
    bind(statement, kFirstValue + static_cast<int>(i), values[i]);
  statement.run();
  return connection_.changes() == 1;
}

void SalvageTarget::note(std::string_view name, std::string_view value) {
  Statement statement = connection_.prepare(
      "INSERT INTO bokfolio_document(name, value) VALUES(?1, ?2) "
      "ON CONFLICT(name) DO UPDATE SET value=excluded.value");
  statement.bindText(1, name);
  statement.bindText(2, value);
  statement.run();
}

void SalvageTarget::setNextId(std::size_t table, std::int64_t id) {
  Statement statement = connection_.prepare("UPDATE bokfolio_entity SET next_id=?2 WHERE name=?1");
  statement.bindText(1, tables_[table].name);
  statement.bind(2, id);
  statement.run();
}

void SalvageTarget::dropBrokenReferences(std::vector<SalvageReport::Reference>& dropped) {
  for (const SqlTable& table : tables_) {
    for (const SqlColumn& column : table.columns)
      if (column.kind == PropertyKind::ToOne) dropBroken(table, column, dropped);
  }
}

void SalvageTarget::dropBroken(const SqlTable& table, const SqlColumn& column,
                               std::vector<SalvageReport::Reference>& dropped) {
  const std::string name = quoted(column.name);
  const std::string broken = " WHERE " + name + " IS NOT NULL AND " + name +
                             " NOT IN (SELECT id FROM " + quoted(column.target) + ")";
  Statement find = connection_.prepare("SELECT id, " + name + " FROM " + quoted(table.name) +
                                       broken + " ORDER BY id");
  bool any = false;
  while (find.step()) {
    any = true;
    dropped.push_back({table.name, static_cast<RecordId>(find.integer(0)), column.name,
                       column.target, static_cast<RecordId>(find.integer(1))});
  }
  if (any) {
    connection_.execute("UPDATE " + quoted(table.name) + " SET " + name + "=NULL" + broken);
  }
}

void SalvageTarget::joinPairs(SalvageReport& report) {
  using Step = void (SalvageTarget::*)(const SqlTable&, const SqlColumn&, SalvageReport&);
  for (const Step step : {&SalvageTarget::restoreInverse, &SalvageTarget::dropOneSided}) {
    for (const SqlTable& table : tables_) {
      for (const SqlColumn& column : table.columns)
        if (!column.inverse.empty()) (this->*step)(table, column, report);
    }
  }
}

// Where the column refers to a record that refers to none, and is the only one that does.
void SalvageTarget::restoreInverse(const SqlTable& table, const SqlColumn& column,
                                   SalvageReport& report) {
  std::map<std::int64_t, std::vector<std::int64_t>> referring;  // by the record referred to
  Statement find =
      connection_.prepare("SELECT far.id, own.id FROM " + quoted(table.name) + " AS own JOIN " +
                          quoted(column.target) + " AS far ON far.id=own." + quoted(column.name) +
                          " WHERE far." + quoted(column.inverse) + " IS NULL");
  while (find.step()) referring[find.integer(0)].push_back(find.integer(1));
  std::set<RecordId> restored;
  for (const auto& [far, own] : referring) {
    if (own.size() > 1) continue;
    setReference(column.target, column.inverse, far, own.front());
    restored.insert(static_cast<RecordId>(far));
  }
  // What was told to be lost there is not.
  const auto isRestored = [&](const auto& told) {
    return told.table == column.target && told.column == column.inverse &&
           restored.count(told.record) != 0;
  };
  std::erase_if(report.values, isRestored);
  std::erase_if(report.references, isRestored);
}

void SalvageTarget::dropOneSided(const SqlTable& table, const SqlColumn& column,
                                 SalvageReport& report) {
  std::vector<SalvageReport::Reference> dropped;
  Statement find = connection_.prepare(
      "SELECT own.id, far.id FROM " + quoted(table.name) + " AS own JOIN " + quoted(column.target) +
      " AS far ON far.id=own." + quoted(column.name) + " WHERE far." + quoted(column.inverse) +
      " IS NOT own.id ORDER BY own.id");
  while (find.step()) {
    dropped.push_back({table.name, static_cast<RecordId>(find.integer(0)), column.name,
                       column.target, static_cast<RecordId>(find.integer(1))});
  }
  for (const auto& each : dropped)
    setReference(table.name, column.name, static_cast<std::int64_t>(each.record), 0);
  report.references.insert(report.references.end(), dropped.begin(), dropped.end());
}

// 0: to nothing.
void SalvageTarget::setReference(const std::string& table, const std::string& column,
                                 std::int64_t id, std::int64_t target) {
  Statement statement =
      connection_.prepare("UPDATE " + quoted(table) + " SET " + quoted(column) + "=?2 WHERE id=?1");
  statement.bind(1, id);
  if (target == 0) {
    statement.bindNull(2);
  } else {
    statement.bind(2, target);
  }
  statement.run();
}

void SalvageTarget::finish() {
  inserts_.clear();
  transaction_->commit();
  transaction_.reset();
  verifyDocument(connection_, tables_);
}

}  // namespace bokfolio::internal
