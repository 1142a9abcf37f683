#include "bokfolio/store/persistence/internal/sql/questions.hpp"

#include <algorithm>
#include <utility>

namespace bokfolio::internal {

namespace {

void append(std::string& form, std::uint16_t ordinal) {
  form += static_cast<char>(ordinal & 0xFF);
  form += static_cast<char>(ordinal >> 8);
}

void appendConditions(std::string& form, const SavedQuestion& question) {
  for (const SavedCondition& condition : question.conditions) {
    append(form, condition.ordinal);
    form += static_cast<char>(comparisonOf(question, condition));
  }
}

bool isStretch(Comparison comparison) {
  switch (comparison) {
    case Comparison::IsFrom:
    case Comparison::IsUpTo:
    case Comparison::IsBetween:
    case Comparison::IsSomeText:
      return true;
    default:
      return false;
  }
}

class Writer {
 public:
  Writer(const SqlDialect& dialect, const SqlTable& table, const SavedQuestion& question)
      : dialect_(dialect), table_(table), question_(question) {}

  std::string from() {
    std::string text = " FROM " + quoted(table_.name);
    const char* before = " WHERE ";
    for (const SavedCondition& condition : question_.conditions) {
      text += std::exchange(before, " AND ") + comparison(condition);
    }
    return text;
  }

  std::string order() const {
    const std::string direction = question_.ascending ? "" : " DESC";
    std::string text = " ORDER BY ";
    if (question_.order != kIdOrdinal) text += name(question_.order) + direction + ",";
    if (question_.order == kIdOrdinal && findsByStretch()) text += '+';
    return text + "\"id\"" + direction;
  }

  std::string limit() { return isLimited(question_) ? " LIMIT " + parameter() : ""; }

  std::string slice() {
    if (question_.skip == 0) return limit();
    const std::string wanted = " LIMIT " + parameter();
    return wanted + " OFFSET " + parameter();
  }

 private:
  std::string name(std::uint16_t ordinal) const {
    return quoted(ordinal == kIdOrdinal ? "id" : table_.column(ordinal)->name);
  }

  // An index leads to a stretch of values, but not in order of id: then a database that knows
  // nothing of its content may rather read the whole table in that order. Sorting what was found is
  // bounded by the answer.
  bool findsByStretch() const {
    const auto isIndexed = [&](const std::string& column) {
      return std::any_of(table_.indexes.begin(), table_.indexes.end(), [&](const SqlIndex& index) {
        return std::find(index.columns.begin(), index.columns.end(), column) != index.columns.end();
      });
    };
    const auto& conditions = question_.conditions;
    return std::any_of(conditions.begin(), conditions.end(), [&](const SavedCondition& each) {
      return each.ordinal != kIdOrdinal && isStretch(comparisonOf(question_, each)) &&
             isIndexed(table_.column(each.ordinal)->name);
    });
  }

  std::string parameter() { return dialect_.parameterMark + std::to_string(++bound_); }

  std::string comparison(const SavedCondition& condition) {
    const std::string column = name(condition.ordinal);
    switch (comparisonOf(question_, condition)) {
      case Comparison::IsNil:
        return column + " IS NULL";
      case Comparison::IsNotNil:
        return column + " IS NOT NULL";
      case Comparison::IsSomeText:
        return column + ">=''";
      case Comparison::IsFrom:
        return column + ">=" + parameter();
      case Comparison::IsUpTo:
        return column + "<=" + parameter();
      case Comparison::IsBetween: {
        const std::string low = parameter();
        return column + " BETWEEN " + low + " AND " + parameter();
      }
      case Comparison::IsEqual:
      case Comparison::IsText:
        break;
    }
    return column + "=" + parameter();
  }

  const SqlDialect& dialect_;
  const SqlTable& table_;
  const SavedQuestion& question_;
  int bound_ = 0;
};

Comparison notNil(const SavedQuestion& question, std::uint16_t ordinal) {
  if (ordinal == kIdOrdinal) return Comparison::IsFrom;
  switch (question.entity->property(ordinal).kind()) {
    case PropertyKind::Integer:
    case PropertyKind::Date:
    case PropertyKind::ToOne:
      return Comparison::IsFrom;
    case PropertyKind::String:
      return Comparison::IsSomeText;
    default:
      return Comparison::IsNotNil;
  }
}

}  // namespace

Comparison comparisonOf(const SavedQuestion& question, const SavedCondition& condition) {
  using Ends = std::numeric_limits<std::int64_t>;
  switch (condition.kind) {
    case SavedCondition::Kind::IsNil:
      return Comparison::IsNil;
    case SavedCondition::Kind::IsNotNil:
      return notNil(question, condition.ordinal);
    case SavedCondition::Kind::IsText:
      return Comparison::IsText;
    case SavedCondition::Kind::InRange:
      break;
  }
  if (condition.low == condition.high) return Comparison::IsEqual;
  if (condition.high == Ends::max()) return Comparison::IsFrom;
  if (condition.low == Ends::min()) return Comparison::IsUpTo;
  return Comparison::IsBetween;
}

std::string formOf(const SavedQuestion& question) {
  std::string form;
  append(form, question.order);
  form += question.ascending ? '+' : '-';
  form += isLimited(question) ? 'l' : ' ';
  form += question.skip != 0 ? 's' : ' ';
  appendConditions(form, question);
  return form;
}

std::string formOfCount(const SavedQuestion& question) {
  std::string form(1, isLimited(question) ? '#' : '*');
  appendConditions(form, question);
  return form;
}

std::string find(const SqlDialect& dialect, const SqlTable& table, const SavedQuestion& question) {
  Writer writer(dialect, table, question);
  std::string text = selected(table.columns) + writer.from();
  text += writer.order();
  return text + writer.slice();
}

std::string count(const SqlDialect& dialect, const SqlTable& table, const SavedQuestion& question) {
  Writer writer(dialect, table, question);
  if (!isLimited(question)) return "SELECT count(*)" + writer.from();
  std::string text = "SELECT count(*) FROM(SELECT 1" + writer.from();
  return text + writer.limit() + ") AS found";
}

}  // namespace bokfolio::internal
