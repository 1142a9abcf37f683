#include "bokfolio/store/predicate.hpp"

#include "bokfolio/store/internal/predicate/binding.hpp"
#include "bokfolio/store/internal/predicate/node.hpp"
#include "bokfolio/store/internal/predicate/parser.hpp"
#include "bokfolio/store/internal/predicate/printing.hpp"

namespace bokfolio {

namespace {

std::vector<predicate::NodePointer> rootsOf(const std::vector<Predicate>& parts) {
  std::vector<predicate::NodePointer> roots;
  roots.reserve(parts.size());
  for (const Predicate& part : parts) roots.push_back(part.root());
  return roots;
}

predicate::Conditions inMemory(const Predicate& condition) {
  return {std::span(&condition, 1), internal::KeyReading::ThroughAccessors};
}

}  // namespace

Predicate::Predicate(std::string_view format, std::vector<Value> arguments)
    : root_(predicate::instantiate(*predicate::parseCached(format), std::move(arguments))) {}

Predicate Predicate::andPredicate(const std::vector<Predicate>& parts) {
  return Predicate(predicate::makeAnd(rootsOf(parts)));
}

Predicate Predicate::orPredicate(const std::vector<Predicate>& parts) {
  return Predicate(predicate::makeOr(rootsOf(parts)));
}

Predicate Predicate::notPredicate(const Predicate& part) {
  return Predicate(predicate::makeNot(part.root_));
}

bool Predicate::evaluate(const Record& record) const { return inMemory(*this).hold(record); }

std::vector<Record*> Predicate::filtered(const std::vector<Record*>& records) const {
  predicate::Conditions conditions = inMemory(*this);
  std::vector<Record*> answer;
  for (Record* record : records)
    if (conditions.hold(*record)) answer.push_back(record);
  return answer;
}

std::string Predicate::description() const { return predicate::print(*root_); }

}  // namespace bokfolio
