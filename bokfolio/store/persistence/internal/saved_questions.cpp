#include "bokfolio/store/persistence/internal/saved_questions.hpp"

#include <algorithm>

#include "bokfolio/store/persistence/internal/failure.hpp"

namespace bokfolio::internal {

namespace {

bool isOrdered(PropertyKind kind) {
  return kind == PropertyKind::Integer || kind == PropertyKind::Date || kind == PropertyKind::ToOne;
}

[[noreturn]] void fail(const Entity& entity, const std::string& what) {
  throw Failure{PersistenceError::Failed, entity.name() + " cannot be asked for " + what + "."};
}

const Property& stored(const Entity& entity, std::uint16_t ordinal) {
  if (ordinal >= entity.properties().size() || !entity.property(ordinal).persistent())
    fail(entity, "a property that is not stored");
  return entity.property(ordinal);
}

void checkCondition(const Entity& entity, const SavedCondition& condition) {
  using enum SavedCondition::Kind;
  if (condition.ordinal == kIdOrdinal) {
    if (condition.kind == IsText) fail(entity, "an id that is a text");
    return;
  }
  const Property& property = stored(entity, condition.ordinal);
  if (condition.kind == InRange && !isOrdered(property.kind()))
    fail(entity, "a stretch of " + property.name());
  if (condition.kind == IsText && property.kind() != PropertyKind::String)
    fail(entity, "a text in " + property.name());
}

bool asksForValue(const SavedCondition& condition) {
  return condition.kind == SavedCondition::Kind::InRange ||
         condition.kind == SavedCondition::Kind::IsNotNil;
}

bool areJoined(const SavedCondition& a, const SavedCondition& b) {
  return a.ordinal == b.ordinal && asksForValue(a) && asksForValue(b);
}

// A name may hold any character but a zero byte.
void append(std::string& text, const Property& property) {
  text += property.name();
  text += ',';
}

}  // namespace

void checkQuestion(const SavedQuestion& question) {
  const Entity& entity = *question.entity;
  for (const SavedCondition& condition : question.conditions) checkCondition(entity, condition);
  if (question.order == kIdOrdinal) return;
  const Property& property = stored(entity, question.order);
  if (!isOrdered(property.kind())) fail(entity, "the order of " + property.name());
}

bool isImpossible(const SavedQuestion& question) {
  return std::any_of(
      question.conditions.begin(), question.conditions.end(), [](const SavedCondition& condition) {
        return condition.kind == SavedCondition::Kind::InRange && condition.low > condition.high;
      });
}

bool hasStretchesToJoin(const SavedQuestion& question) {
  const auto& conditions = question.conditions;
  for (auto each = conditions.begin(); each != conditions.end(); ++each)
    if (std::any_of(each + 1, conditions.end(),
                    [&](const SavedCondition& other) { return areJoined(*each, other); }))
      return true;
  return false;
}

void joinStretches(SavedQuestion& question) {
  std::vector<SavedCondition> joined;
  for (SavedCondition& condition : question.conditions) {
    const auto known = std::find_if(joined.begin(), joined.end(), [&](const SavedCondition& each) {
      return areJoined(each, condition);
    });
    if (known == joined.end()) {
      joined.push_back(std::move(condition));
    } else if (known->kind == SavedCondition::Kind::IsNotNil) {
      *known = std::move(condition);
    } else if (condition.kind == SavedCondition::Kind::InRange) {
      known->low = std::max(known->low, condition.low);
      known->high = std::min(known->high, condition.high);
    }
  }
  question.conditions = std::move(joined);
}

std::string keptSumText(const KeptSumLayout& layout) {
  std::string text;
  append(text, *layout.plus);
  append(text, *layout.minus);
  append(text, *layout.unless);
  text += std::to_string(layout.unlessValue) + ",";
  append(text, *layout.owner);
  append(text, *layout.mark);
  append(text, *layout.via);
  append(text, *layout.period);
  return text + layout.instant->name();
}

void checkSumLine(const Entity& entity, const SumLine& line, RecordId highestId) {
  const RecordId highest = std::max({line.period, line.owner, line.mark});
  if (line.period != 0 && (line.owner != 0 || line.mark != 0) && highest <= highestId) return;
  throw Failure{PersistenceError::Refused,
                "A sum of " + entity.name() + " needs a period, and an owner or a mark."};
}

void checkSumsKept(const Entity& entity, bool kept, PersistenceError code) {
  if (kept) return;
  throw Failure{code, "The document keeps no sums of " + entity.name() + "."};
}

}  // namespace bokfolio::internal
