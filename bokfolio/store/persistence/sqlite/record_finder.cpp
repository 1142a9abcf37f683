#include "bokfolio/store/persistence/sqlite/internal/record_finder.hpp"

#include <algorithm>
#include <utility>

#include "bokfolio/store/persistence/internal/saved_questions.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

namespace bokfolio::internal {

namespace {

// A program asks in few forms; one that does not starts anew now and then.
constexpr std::size_t kMaxStatements = 64;

std::int64_t sqlNumber(std::size_t number) {
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max());
  return static_cast<std::int64_t>(std::min(number, kMost));
}

// Answers the position after the last.
int bindConditions(Statement& statement, const SavedQuestion& question) {
  int position = 1;
  for (const SavedCondition& condition : question.conditions) {
    const bool ranges = condition.kind == SavedCondition::Kind::InRange;
    switch (comparisonOf(question, condition)) {
      case Comparison::IsFrom:
        statement.bind(position++,
                       ranges ? condition.low : std::numeric_limits<std::int64_t>::min());
        break;
      case Comparison::IsEqual:
        statement.bind(position++, condition.low);
        break;
      case Comparison::IsUpTo:
        statement.bind(position++, condition.high);
        break;
      case Comparison::IsBetween:
        statement.bind(position++, condition.low);
        statement.bind(position++, condition.high);
        break;
      case Comparison::IsText:
        statement.bindText(position++, condition.text);
        break;
      case Comparison::IsNil:
      case Comparison::IsNotNil:
      case Comparison::IsSomeText:
        break;
    }
  }
  return position;
}

}  // namespace

RecordFinder::RecordFinder(Connection& connection, const std::vector<SqlTable>& tables,
                           SavedState& state)
    : connection_(connection), tables_(tables), state_(state), finders_(tables.size()) {}

void RecordFinder::find(const SavedQuestion& question, RecordSink& sink) {
  checkQuestion(question);
  std::optional<SavedQuestion> changed;
  const SavedQuestion* fitted = fit(question, changed);
  if (fitted == nullptr) return;
  const std::size_t entity = question.entity->ordinal();
  const SqlTable& table = tables_[entity];
  Statement& statement = prepared(finders_[entity].finding, formOf(*fitted),
                                  [&] { return internal::find(sqliteDialect(), table, *fitted); });
  int position = bindConditions(statement, *fitted);
  if (isSliced(*fitted)) statement.bind(position++, sqlNumber(fitted->limit));
  if (fitted->skip != 0) statement.bind(position, sqlNumber(fitted->skip));
  state_.look();
  readRecords(connection_, table, statement, state_, sink);
}

std::size_t RecordFinder::count(const SavedQuestion& question) {
  checkQuestion(question);
  std::optional<SavedQuestion> changed;
  const SavedQuestion* fitted = fit(question, changed);
  if (fitted == nullptr) return 0;
  const std::size_t entity = question.entity->ordinal();
  Statement& statement = prepared(finders_[entity].counting, formOfCount(*fitted), [&] {
    return internal::count(sqliteDialect(), tables_[entity], *fitted);
  });
  const int position = bindConditions(statement, *fitted);
  if (isLimited(*fitted)) statement.bind(position, sqlNumber(fitted->limit));
  state_.look();
  const Statement::Run run(statement);
  statement.step();
  state_.check();
  return static_cast<std::size_t>(statement.integer(0));
}

const SavedQuestion* RecordFinder::fit(const SavedQuestion& question,
                                       std::optional<SavedQuestion>& fitted) const {
  const SqlTable& table = tables_[question.entity->ordinal()];
  if (table.name.empty() || isImpossible(question)) return nullptr;
  const auto lacks = [&](std::uint16_t ordinal) {
    return ordinal != kIdOrdinal && table.column(ordinal) == nullptr;
  };
  const auto lacksColumn = [&](const SavedCondition& each) { return lacks(each.ordinal); };
  const auto& conditions = question.conditions;
  const bool lacksAny = std::any_of(conditions.begin(), conditions.end(), lacksColumn);
  const bool joins = hasStretchesToJoin(question);
  if (!lacksAny && !joins && !lacks(question.order)) return &question;
  if (lacksAny && std::any_of(conditions.begin(), conditions.end(), [&](const auto& each) {
        return lacksColumn(each) && each.kind != SavedCondition::Kind::IsNil;
      }))
    return nullptr;
  fitted = question;
  if (lacks(question.order)) fitted->order = kIdOrdinal;
  std::erase_if(fitted->conditions, lacksColumn);
  if (joins) joinStretches(*fitted);
  return isImpossible(*fitted) ? nullptr : &*fitted;
}

template <class Text>
Statement& RecordFinder::prepared(Statements& statements, std::string form, Text text) {
  const auto found = statements.find(form);
  if (found != statements.end()) return found->second;
  if (statements.size() == kMaxStatements) statements.clear();
  return statements.emplace(std::move(form), connection_.prepare(text())).first->second;
}

}  // namespace bokfolio::internal
