// Predicate: a condition on records, written as a format text with arguments.
//
//   Predicate("number == %@", {1930})
//   Predicate("tag == %@ AND entry.date < %@", {tag, date})
//   Predicate("%K = %@", {"vatAccount", account})
//
// Conditions: == = != < <= > >=, LIKE[c] ('*' any run, '?' one character, any case) and LIKE,
// joined by AND && OR || NOT ! and parentheses. Operands: a key, a dotted path across to-one
// relationships, `relationship.@count`, nil NULL TRUE FALSE, numbers, quoted texts, %@ (a value),
// %d (an integer), %K (a key). Words are read in any case.
//
// nil equals only nil; <, <=, >, >= with nil are false; AND, OR and NOT know only true and false. A
// format text is parsed once and kept; arguments are values and never become part of the text.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio {

class Record;

namespace predicate {
struct Node;  // the parsed condition with its arguments bound
}

class BOKFOLIO_EXPORT Predicate {
 public:
  // Throws PredicateError, quoting the text and the column, for a text that is no condition, for
  // too few or too many arguments, and for an argument of the wrong kind (%d wants an integer, %K a
  // text).
  explicit Predicate(std::string_view format, std::vector<Value> arguments = {});

  static Predicate andPredicate(const std::vector<Predicate>& parts);
  static Predicate orPredicate(const std::vector<Predicate>& parts);
  static Predicate notPredicate(const Predicate& part);

  // Whether a record satisfies the condition, keys read through their accessors. Throws
  // UndefinedKeyError for a key that the record's entity lacks.
  bool evaluate(const Record& record) const;
  // The records that satisfy it, in their order.
  std::vector<Record*> filtered(const std::vector<Record*>& records) const;

  // A text that parses to the same condition; records stand as `Entity:id`.
  std::string description() const;

  // For the store itself: the condition as a tree.
  explicit Predicate(std::shared_ptr<const predicate::Node> root) : root_(std::move(root)) {}
  const std::shared_ptr<const predicate::Node>& root() const { return root_; }

 private:
  std::shared_ptr<const predicate::Node> root_;
};

}  // namespace bokfolio
