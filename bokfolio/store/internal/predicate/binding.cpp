#include "bokfolio/store/internal/predicate/binding.hpp"

#include <algorithm>

#include "bokfolio/store/record.hpp"

namespace bokfolio::predicate {

namespace {

Comparison mirrored(Comparison comparison) {
  switch (comparison) {
    case Comparison::Less:
      return Comparison::Greater;
    case Comparison::LessOrEqual:
      return Comparison::GreaterOrEqual;
    case Comparison::Greater:
      return Comparison::Less;
    case Comparison::GreaterOrEqual:
      return Comparison::LessOrEqual;
    default:
      return comparison;
  }
}

bool isLike(Comparison comparison) {
  return comparison == Comparison::Like || comparison == Comparison::LikeAnyCase;
}

bool isEquality(Comparison comparison) {
  return comparison == Comparison::Equal || comparison == Comparison::NotEqual;
}

// The constant as an integer, when it is exactly one.
std::optional<std::int64_t> exactInteger(const Value& value) {
  if (const auto* integer = value.integer()) return *integer;
  const auto decimal = value.asDecimal();
  if (!decimal) return std::nullopt;
  const auto cut = decimal->toInteger();
  return cut && Decimal(*cut) == *decimal ? cut : std::nullopt;
}

}  // namespace

BoundComparison::BoundComparison(const Node& node, const Entity& entity,
                                 internal::KeyReading reading)
    : comparison_(node.comparison) {
  takeOperands(node, entity, reading);
  test_ = chooseTest();
}

BoundComparison::BoundComparison(const Property& toOne, const Record& owner)
    : test_(Test::Reference), comparison_(Comparison::Equal), left_(toOne), constant_(&owner) {}

void BoundComparison::takeOperands(const Node& node, const Entity& entity,
                                   internal::KeyReading reading) {
  const auto* left = std::get_if<KeyPath>(&node.left);
  const auto* right = std::get_if<KeyPath>(&node.right);
  if (left != nullptr) left_.emplace(entity, *left, reading);
  if (right != nullptr) right_.emplace(entity, *right, reading);
  if (left == nullptr) leftConstant_ = std::get<Value>(node.left);
  if (right == nullptr) constant_ = std::get<Value>(node.right);
  if (left == nullptr && right != nullptr && !isLike(comparison_)) {
    std::swap(left_, right_);
    std::swap(leftConstant_, constant_);
    comparison_ = mirrored(comparison_);
  }
  if (isLike(comparison_) && right == nullptr && constant_.string() != nullptr)
    pattern_ = std::make_shared<const LikePattern>(*constant_.string(),
                                                   comparison_ == Comparison::LikeAnyCase);
}

BoundComparison::Test BoundComparison::chooseTest() {
  if (!left_ || right_) return Test::Any;
  if (left_->isSlot()) return chooseSlotTest();
  const auto integer = exactInteger(constant_);
  if (!left_->isCount() || !integer || isLike(comparison_)) return Test::Any;
  integer_ = *integer;
  return Test::Count;
}

BoundComparison::Test BoundComparison::chooseSlotTest() {
  const PropertyKind kind = left_->last().kind();
  if (isLike(comparison_)) return pattern_ && kind == PropertyKind::String ? Test::Like : Test::Any;
  if (constant_.isNil()) return isEquality(comparison_) ? Test::Nil : Test::Any;
  if (kind == PropertyKind::Integer) {
    const auto integer = exactInteger(constant_);
    if (integer) integer_ = *integer;
    return integer ? Test::Integer : Test::Any;
  }
  if (kind == PropertyKind::Decimal) {
    const auto decimal = constant_.asDecimal();
    if (decimal) decimal_ = *decimal;
    return decimal ? Test::Decimal : Test::Any;
  }
  if (kind == PropertyKind::Date && constant_.date() != nullptr) return Test::Date;
  if (kind == PropertyKind::String && constant_.string() != nullptr) return Test::Text;
  if (kind == PropertyKind::ToOne && constant_.record() != nullptr && isEquality(comparison_))
    return Test::Reference;
  return Test::Any;
}

bool BoundComparison::isPure() const {
  return (!left_ || left_->isPure()) && (!right_ || right_->isPure());
}

const internal::BoundPath* BoundComparison::slotPath() const {
  return left_ && !right_ && left_->isSlot() ? &*left_ : nullptr;
}

BoundCondition::BoundCondition(const Node& node, const Entity& entity, internal::KeyReading reading)
    : kind_(node.kind) {
  if (kind_ == Node::Kind::Compare) comparison_.emplace(node, entity, reading);
  parts_.reserve(node.parts.size());
  for (const NodePointer& part : node.parts) parts_.emplace_back(*part, entity, reading);
}

bool BoundCondition::isPure() const {
  if (comparison_) return comparison_->isPure();
  return std::all_of(parts_.begin(), parts_.end(),
                     [](const BoundCondition& part) { return part.isPure(); });
}

void BoundCondition::collectConjuncts(std::vector<const BoundComparison*>& conjuncts) const {
  if (comparison_) conjuncts.push_back(&*comparison_);
  if (kind_ != Node::Kind::And) return;
  for (const BoundCondition& part : parts_) part.collectConjuncts(conjuncts);
}

void Conditions::bind(const Entity& entity) {
  const auto known = std::find_if(others_.begin(), others_.end(),
                                  [&](const Binding& each) { return each.first == &entity; });
  if (known != others_.end()) {
    std::swap(known->first, entity_);
    std::swap(known->second, bound_);
    return;
  }
  std::vector<BoundCondition> bound;
  bound.reserve(predicates_.size());
  for (const Predicate& each : predicates_) bound.emplace_back(*each.root(), entity, reading_);
  if (entity_ != nullptr) others_.emplace_back(entity_, std::move(bound_));
  bound_ = std::move(bound);
  entity_ = &entity;
}

}  // namespace bokfolio::predicate
