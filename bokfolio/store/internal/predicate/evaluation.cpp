// Evaluation: whether a record satisfies a bound condition. Two-valued: what cannot be compared is
// false, and NOT turns that into true.
#include <algorithm>

#include "bokfolio/store/context.hpp"
#include "bokfolio/store/internal/predicate/binding.hpp"

namespace bokfolio::predicate {

namespace {

bool satisfies(Comparison comparison, std::strong_ordering order) {
  switch (comparison) {
    case Comparison::Equal:
      return order == 0;
    case Comparison::NotEqual:
      return order != 0;
    case Comparison::Less:
      return order < 0;
    case Comparison::LessOrEqual:
      return order <= 0;
    case Comparison::Greater:
      return order > 0;
    case Comparison::GreaterOrEqual:
      return order >= 0;
    case Comparison::Like:
    case Comparison::LikeAnyCase:
      break;
  }
  return false;
}

bool matches(const Value& text, const Value& pattern, bool anyCase) {
  return text.string() != nullptr && pattern.string() != nullptr &&
         LikePattern(*pattern.string(), anyCase).matches(*text.string());
}

}  // namespace

bool BoundComparison::holds(StoreParts& store, const Record& record) const {
  if (test_ == Test::Any) return holdsForValues(store, record);
  const Record* at = left_->follow(store, record);
  const bool isNil =
      at == nullptr || (test_ != Test::Count && store.slots(*at).isNil(left_->last().ordinal()));
  if (test_ == Test::Nil) return isNil == (comparison_ == Comparison::Equal);
  // The constant is not nil.
  if (isNil) return comparison_ == Comparison::NotEqual;
  if (test_ != Test::Count) return holdsForSlot(store.slots(*at));
  const auto count = static_cast<std::int64_t>(store.memberCount(*at, left_->last()));
  return satisfies(comparison_, count <=> integer_);
}

bool BoundComparison::holdsForSlot(const SlotView& slots) const {
  const std::uint16_t ordinal = left_->last().ordinal();
  switch (test_) {
    case Test::Integer:
      return satisfies(comparison_, slots.integer(ordinal) <=> integer_);
    case Test::Date:
      return satisfies(comparison_, slots.date(ordinal) <=> *constant_.date());
    case Test::Decimal:
      return satisfies(comparison_, slots.decimal(ordinal) <=> decimal_);
    case Test::Text:
      return satisfies(comparison_, slots.text(ordinal).compare(*constant_.string()) <=> 0);
    case Test::Reference:
      return (slots.reference(ordinal) == constant_.record()) == (comparison_ == Comparison::Equal);
    case Test::Like:
      return pattern_->matches(slots.text(ordinal));
    case Test::Nil:
    case Test::Count:
    case Test::Any:
      break;
  }
  return false;
}

bool BoundComparison::holdsForValues(StoreParts& store, const Record& record) const {
  const Value left = left_ ? left_->read(store, record) : leftConstant_;
  const Value right = right_ ? right_->read(store, record) : constant_;
  switch (comparison_) {
    case Comparison::Equal:
      return left == right;
    case Comparison::NotEqual:
      return !(left == right);
    case Comparison::Like:
    case Comparison::LikeAnyCase:
      if (pattern_) return left.string() != nullptr && pattern_->matches(*left.string());
      return matches(left, right, comparison_ == Comparison::LikeAnyCase);
    default: {
      const auto order = Value::compare(left, right);
      return order && satisfies(comparison_, *order);
    }
  }
}

bool BoundCondition::holds(StoreParts& store, const Record& record) const {
  const auto partHolds = [&](const BoundCondition& part) { return part.holds(store, record); };
  switch (kind_) {
    case Node::Kind::Compare:
      return comparison_->holds(store, record);
    case Node::Kind::And:
      return std::all_of(parts_.begin(), parts_.end(), partHolds);
    case Node::Kind::Or:
      return std::any_of(parts_.begin(), parts_.end(), partHolds);
    case Node::Kind::Not:
      return !parts_.front().holds(store, record);
  }
  return false;
}

bool Conditions::hold(const Record& record) {
  return hold(record.managedObjectContext().parts(), record);
}

bool Conditions::hold(StoreParts& store, const Record& record) {
  const auto& bound = boundTo(record.entity());
  return std::all_of(bound.begin(), bound.end(), [&](const BoundCondition& condition) {
    return condition.holds(store, record);
  });
}

}  // namespace bokfolio::predicate
