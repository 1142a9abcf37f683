// Binding: a condition resolved for one entity, ready to be asked of many records. Key paths become
// slots, constants on the left change sides, and comparisons of a slot with a constant become tests
// that read the slot in place. BoundCondition answers for records of its entity only; Conditions
// keeps one binding for each entity that it meets.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "bokfolio/store/internal/bound_path.hpp"
#include "bokfolio/store/internal/predicate/like.hpp"
#include "bokfolio/store/internal/predicate/node.hpp"
#include "bokfolio/store/predicate.hpp"

namespace bokfolio::predicate {

// One comparison. What is between a slot and a constant, the planner may look up.
class BoundComparison {
 public:
  BoundComparison(const Node& node, const Entity& entity, internal::KeyReading reading);
  // `toOne == record`: membership of the record's to-many, as a condition.
  BoundComparison(const Property& toOne, const Record& owner);

  bool holds(StoreParts& store, const Record& record) const;
  bool isPure() const;

  // nullptr unless this compares a slot with a constant.
  const internal::BoundPath* slotPath() const;
  Comparison comparison() const { return comparison_; }
  const Value& constant() const { return constant_; }

 private:
  enum class Test : std::uint8_t { Nil, Integer, Date, Decimal, Text, Reference, Like, Count, Any };

  void takeOperands(const Node& node, const Entity& entity, internal::KeyReading reading);
  Test chooseTest();
  Test chooseSlotTest();
  bool holdsForSlot(const SlotView& slots) const;
  bool holdsForValues(StoreParts& store, const Record& record) const;

  Test test_ = Test::Any;
  Comparison comparison_;
  std::optional<internal::BoundPath> left_;   // empty only when both sides are constants
  std::optional<internal::BoundPath> right_;  // empty: constant_
  Value leftConstant_;
  Value constant_;
  std::int64_t integer_ = 0;
  Decimal decimal_;
  std::shared_ptr<const LikePattern> pattern_;
};

class BoundCondition {
 public:
  BoundCondition(const Node& node, const Entity& entity, internal::KeyReading reading);

  bool holds(StoreParts& store, const Record& record) const;
  // Whether asking runs nobody's accessor, so that nothing can change meanwhile.
  bool isPure() const;
  // The comparisons that all must hold.
  void collectConjuncts(std::vector<const BoundComparison*>& conjuncts) const;

 private:
  Node::Kind kind_;
  std::optional<BoundComparison> comparison_;
  std::vector<BoundCondition> parts_;
};

// Conditions that must all hold, for records of any entity. The predicates must outlive it.
class Conditions {
 public:
  Conditions(std::span<const Predicate> predicates, internal::KeyReading reading)
      : predicates_(predicates), reading_(reading) {}

  bool hold(const Record& record);
  bool hold(StoreParts& store, const Record& record);
  const std::vector<BoundCondition>& boundTo(const Entity& entity) {
    if (entity_ != &entity) bind(entity);
    return bound_;
  }

 private:
  using Binding = std::pair<const Entity*, std::vector<BoundCondition>>;

  void bind(const Entity& entity);

  std::span<const Predicate> predicates_;
  internal::KeyReading reading_;
  const Entity* entity_ = nullptr;  // the one asked last
  std::vector<BoundCondition> bound_;
  std::vector<Binding> others_;
};

}  // namespace bokfolio::predicate
