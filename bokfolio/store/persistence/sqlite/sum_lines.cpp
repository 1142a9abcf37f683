#include "bokfolio/store/persistence/sqlite/internal/sum_lines.hpp"

#include <algorithm>
#include <tuple>

#include "bokfolio/store/persistence/internal/saved_questions.hpp"
#include "bokfolio/store/persistence/internal/sql/statements.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

namespace bokfolio::internal {

namespace {

constexpr const char* kNotePrefix = "sum_";
constexpr const char* kOneLine = "dated=?1 AND period=?2 AND owner=?3 AND mark=?4 AND instant=?5";

// The key of a line; a line of all instants has none of its own.
void bindKey(Statement& statement, const SumLine& line) {
  statement.bind(1, std::int64_t{line.instant ? 1 : 0});
  statement.bind(2, static_cast<std::int64_t>(line.period));
  statement.bind(3, static_cast<std::int64_t>(line.owner));
  statement.bind(4, static_cast<std::int64_t>(line.mark));
  statement.bind(5, line.instant.value_or(0));
}

// So that each page of the file is met once. Lines about the same stay as they came.
std::vector<const SumLine*> inOrderOfKey(const std::vector<SumLine>& lines) {
  std::vector<const SumLine*> ordered;
  ordered.reserve(lines.size());
  for (const SumLine& line : lines) ordered.push_back(&line);
  const auto key = [](const SumLine& line) {
    return std::tuple(line.instant.has_value(), line.period, line.owner, line.mark,
                      line.instant.value_or(0));
  };
  std::stable_sort(ordered.begin(), ordered.end(),
                   [&](const SumLine* a, const SumLine* b) { return key(*a) < key(*b); });
  return ordered;
}

const char* conditionOf(SumLineQuestion::Kind kind) {
  switch (kind) {
    case SumLineQuestion::Kind::TotalsOfPeriod:
      return "dated=0 AND period=?1";
    case SumLineQuestion::Kind::InstantsOfOwner:
      return "dated=1 AND period=?1 AND owner=?2";
    case SumLineQuestion::Kind::One:
      break;
  }
  return kOneLine;
}

}  // namespace

std::string sumTableOf(const SqlTable& table) { return "bokfolio_sum_" + table.name; }

void addSumTable(Connection& connection, const SqlTable& table) {
  // All totals of a period lie together, and so do the instants of one owner in it.
  connection.execute("CREATE TABLE IF NOT EXISTS " + quoted(sumTableOf(table)) +
                     "(dated INTEGER NOT NULL, period INTEGER NOT NULL, owner INTEGER NOT NULL, "
                     "mark INTEGER NOT NULL, instant INTEGER NOT NULL, amount TEXT NOT NULL, "
                     "PRIMARY KEY(dated, period, owner, mark, instant)) STRICT, WITHOUT ROWID");
}

std::string findSums(const SqlTable& table, SumLineQuestion::Kind kind) {
  return "SELECT dated, period, owner, mark, instant, amount FROM " + quoted(sumTableOf(table)) +
         " WHERE " + conditionOf(kind) + " ORDER BY dated, period, owner, mark, instant";
}

bool hasSumTable(const Connection& connection, const SqlTable& table) {
  return connection.hasTable(sumTableOf(table));
}

void noteSums(Connection& connection, const SqlTable& table) {
  Statement note = connection.prepare(
      "INSERT INTO bokfolio_document(name, value) VALUES(?1, ?2) "
      "ON CONFLICT(name) DO UPDATE SET value=excluded.value");
  const std::string name = kNotePrefix + table.name;
  note.bindText(1, name);
  note.bindText(2, table.sums->layout);
  note.run();
}

SumLines::SumLines(Connection& connection, const std::vector<SqlTable>& tables, SavedState& state)
    : connection_(connection), tables_(tables), state_(state), sums_(tables.size()) {
  Statement notes = connection.prepare("SELECT name, value FROM bokfolio_document");
  while (notes.step()) {
    const std::string name(notes.text(0));
    if (!name.starts_with(kNotePrefix)) continue;
    const auto table = std::find_if(tables.begin(), tables.end(), [&](const SqlTable& each) {
      return each.sums && kNotePrefix + each.name == name && each.sums->layout == notes.text(1);
    });
    if (table == tables.end() || !hasSumTable(connection, *table)) {
      strangers_.push_back(name);
    } else {
      sums_[static_cast<std::size_t>(table - tables.begin())].kept = true;
    }
  }
}

void SumLines::read(const Entity& entity, const SumLineQuestion& question, SumLineSink& sink) {
  checkSumsKept(entity, kept(entity), PersistenceError::Failed);
  Statement& statement = asking(entity, question);
  const Statement::Run run(statement);
  state_.look();
  bool more = statement.step();
  state_.check();
  const auto id = [&](int column, std::int64_t lowest) {
    const std::int64_t value = statement.integer(column);
    if (value >= lowest && value <= kHighestId) return static_cast<RecordId>(value);
    failDamaged(connection_, "a sum of " + entity.name() + " is about no record");
  };
  SumLine line;
  for (; more; more = statement.step()) {
    line.period = id(1, 1);
    line.owner = id(2, 0);
    line.mark = id(3, 0);
    line.instant.reset();
    if (statement.integer(0) != 0) line.instant = statement.integer(4);
    line.amount = statement.text(5);
    sink.line(line);
  }
}

Statement& SumLines::asking(const Entity& entity, const SumLineQuestion& question) {
  EntitySums& sums = sums_[entity.ordinal()];
  const auto text = [&] { return findSums(tables_[entity.ordinal()], question.kind); };
  if (question.kind == SumLineQuestion::Kind::One) {
    Statement& statement = prepared(sums.one, text);
    bindKey(statement, {question.period, question.owner, question.mark, question.instant, {}});
    return statement;
  }
  const bool all = question.kind == SumLineQuestion::Kind::TotalsOfPeriod;
  Statement& statement = prepared(all ? sums.totals : sums.instants, text);
  statement.bind(1, static_cast<std::int64_t>(question.period));
  if (!all) statement.bind(2, static_cast<std::int64_t>(question.owner));
  return statement;
}

void SumLines::write(const std::vector<ChangeSet::Sums>& sums) {
  for (EntitySums& each : sums_) each.brought = false;
  for (const std::string& name : strangers_) {
    Statement forget = connection_.prepare("DELETE FROM bokfolio_document WHERE name=?1");
    forget.bindText(1, name);
    forget.run();
  }
  for (const ChangeSet::Sums& each : sums) write(each);
}

void SumLines::write(const ChangeSet::Sums& sums) {
  const Entity& entity = *sums.entity;
  const SqlTable& table = tables_[entity.ordinal()];
  EntitySums& known = sums_[entity.ordinal()];
  if (sums.replacesAll && table.sums) {
    connection_.execute("DELETE FROM " + quoted(sumTableOf(table)));
    noteSums(connection_, table);
    known.brought = true;
  }
  checkSumsKept(entity, known.kept || known.brought, PersistenceError::Refused);
  for (const SumLine* line : inOrderOfKey(sums.lines)) put(entity, *line);
}

void SumLines::put(const Entity& entity, const SumLine& line) {
  checkSumLine(entity, line, static_cast<RecordId>(kHighestId));
  EntitySums& known = sums_[entity.ordinal()];
  const SqlTable& table = tables_[entity.ordinal()];
  if (line.amount.empty()) {
    Statement& statement = prepared(known.drop, [&] {
      return "DELETE FROM " + quoted(sumTableOf(table)) + " WHERE " + kOneLine;
    });
    bindKey(statement, line);
    return statement.run();
  }
  Statement& statement = prepared(known.put, [&] {
    return "INSERT INTO " + quoted(sumTableOf(table)) +
           "(dated, period, owner, mark, instant, amount) VALUES(?1, ?2, ?3, ?4, ?5, ?6) "
           "ON CONFLICT DO UPDATE SET amount=excluded.amount";
  });
  bindKey(statement, line);
  statement.bindText(6, line.amount);
  statement.run();
}

void SumLines::endWriting() {
  for (EntitySums& each : sums_) each.kept = each.kept || each.brought;
  strangers_.clear();
}

template <class Text>
Statement& SumLines::prepared(std::optional<Statement>& statement, Text text) {
  if (!statement) statement = connection_.prepare(text());
  return *statement;
}

void SumLines::verify() {
  for (std::size_t entity = 0; entity < tables_.size(); ++entity)
    if (sums_[entity].kept) verify(tables_[entity]);
}

void SumLines::verify(const SqlTable& table) {
  const auto lost = [](const char* column, const std::string& target) {
    return std::string(column) + " NOT IN (SELECT id FROM " + quoted(target) + ")";
  };
  const std::int64_t wrong = connection_.integer(
      "SELECT count(*) FROM " + quoted(sumTableOf(table)) +
      " WHERE dated NOT IN (0, 1) OR (dated=0 AND instant<>0) OR amount='' "
      "OR (owner=0 AND mark=0) OR " +
      lost("period", table.sums->period) + " OR (owner<>0 AND " + lost("owner", table.sums->owner) +
      ") OR (mark<>0 AND " + lost("mark", table.sums->mark) + ")");
  if (wrong == 0) return;
  failDamaged(connection_, std::to_string(wrong) + " sums of " + table.name + " are about nothing");
}

}  // namespace bokfolio::internal
