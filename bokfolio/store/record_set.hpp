// RecordSet: the records on the many side of a relationship, or those of them that satisfy a
// predicate. It is a question, not a container: counting, summing, looking and iterating ask the
// context each time and see unsaved changes; filtering only narrows the question. Iteration runs
// over the members of the moment it began, in ascending record id, so that a loop may delete.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "bokfolio/export.hpp"
#include "bokfolio/platform/decimal.hpp"

namespace bokfolio {

class Context;
class Predicate;
class Property;
class Record;
class SortDescriptor;
class Value;
struct Query;

class BOKFOLIO_EXPORT RecordSet {
 public:
  // No records.
  RecordSet();
  // Exactly these records, each once.
  explicit RecordSet(std::vector<Record*> members);
  // The members of a to-many relationship.
  RecordSet(const Record& owner, const Property& relationship);

  // The members that also satisfy the predicate. A key with an accessor of its own is read through
  // that accessor, as everywhere in memory.
  RecordSet filtered(const Predicate& predicate) const;

  // Number of members; for a whole relationship it costs the same at any size.
  std::size_t count() const;
  bool empty() const;
  bool contains(const Record* record) const;
  // The member with the lowest record id, or nullptr.
  Record* first() const;
  // Decimal sum of a key over the members, added in ascending record id; nil counts as zero.
  Decimal sum(std::string_view key) const;
  // The union of what a to-many key holds in each member.
  RecordSet distinctUnion(std::string_view key) const;

  // The members of this moment, ascending record id.
  std::vector<Record*> snapshot() const;
  std::vector<Record*> sorted(const std::vector<SortDescriptor>& order) const;

  // Same members, whatever question they answer.
  friend BOKFOLIO_EXPORT bool operator==(const RecordSet& a, const RecordSet& b);

 private:
  explicit RecordSet(Query query);
  std::optional<RecordSet> unionAsQuestion(std::string_view key) const;

  std::shared_ptr<const Query> query_;  // nullptr: members_ is the answer
  std::shared_ptr<const std::vector<Record*>> members_;
};

// The same with the members' class. T must be the class of the relationship's target.
template <class T>
class RecordSetOf : public RecordSet {
 public:
  RecordSetOf() = default;
  explicit RecordSetOf(RecordSet set) : RecordSet(std::move(set)) {}

  class Iterator {
   public:
    using value_type = T*;
    using difference_type = std::ptrdiff_t;
    explicit Iterator(std::vector<Record*>::const_iterator at) : at_(at) {}
    T* operator*() const { return static_cast<T*>(*at_); }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    friend bool operator==(const Iterator&, const Iterator&) = default;

   private:
    std::vector<Record*>::const_iterator at_;
  };

  // A loop's own copy of the members.
  class Range {
   public:
    explicit Range(std::vector<Record*> members) : members_(std::move(members)) {}
    Iterator begin() const { return Iterator(members_.begin()); }
    Iterator end() const { return Iterator(members_.end()); }
    std::size_t size() const { return members_.size(); }
    T* operator[](std::size_t index) const { return static_cast<T*>(members_[index]); }

   private:
    std::vector<Record*> members_;
  };

  // for (Row* row : entry.rows().members()) ...
  Range members() const { return Range(snapshot()); }
  Range membersBy(const std::vector<SortDescriptor>& order) const { return Range(sorted(order)); }
  RecordSetOf filtered(const Predicate& predicate) const {
    return RecordSetOf(RecordSet::filtered(predicate));
  }
  T* first() const { return static_cast<T*>(RecordSet::first()); }
};

}  // namespace bokfolio
