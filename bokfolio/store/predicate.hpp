// Predicate: a condition on records, written as a format text with arguments.
//
//   Predicate("number == %@", {1930})
//   Predicate("tag == %@ AND entry.date < %@", {tag, date})
//   Predicate("%K = %@", {"vatAccount", account})
//
// Conditions: == = != <> < <= =< > >= =>, LIKE and LIKE[c], joined by AND && OR || NOT ! and
// parentheses; TRUE or FALSE may stand alone. Operands: a key, a dotted path across to-one
// relationships, `relationship.@count`, SELF (the record), nil NULL TRUE YES FALSE NO, numbers,
// quoted texts, instants (2009-03-31T22:00:00Z), %@ (a value), %d (an integer), %K (a key or path).
// Words are read in any case; '#' before a key that is also a word says that the key is meant.
// Quotes are ' or " and \ makes the next character stand for itself, but for \n \t \r.
//
// In the text right of LIKE, '*' stands for any run of characters, '?' for one, \ makes the next
// stand for itself (in quotes written twice). [c] means in any case, as Unicode folds. Only texts
// are like a text, and none like '?' among more than a thousand characters between two '*'.
//
// nil equals only nil; <, <=, >, >= with nil are false; a path reads as nil where a relationship on
// it is nil; AND, OR and NOT know only true and false. A format text is parsed once and kept;
// arguments are values and never become part of the text.
#pragma once

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

  // Parses to the same condition, unless longer than is parsed; records stand as `Entity:id`.
  std::string description() const;

  // For the store itself: the condition as a tree.
  explicit Predicate(std::shared_ptr<const predicate::Node> root) : root_(std::move(root)) {}
  const std::shared_ptr<const predicate::Node>& root() const { return root_; }

 private:
  std::shared_ptr<const predicate::Node> root_;
};

}  // namespace bokfolio
