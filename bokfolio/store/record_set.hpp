// RecordSet: the records on the many side of a relationship, or those of them that satisfy a
// predicate. It is a question, not a container: counting, summing, looking and iterating ask the
// context each time and see unsaved changes; filtering only narrows the question. Iteration runs
// over the members of the moment it began, in ascending record id, so that a loop may delete.
//
// A whole relationship is kept as its owner and key alone, since that is what nearly every loop of
// the model asks for; a question with conditions is shared among the copies of its set.
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
class Entity;
class Predicate;
class Property;
class Record;
class SlotView;
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

 protected:
  using StoredVisit = void (*)(void* visitor, Record& member, const SlotView& values);
  void visitStored(void* visitor, StoredVisit visit) const;

 private:
  explicit RecordSet(Query query);
  bool isWhole() const { return owner_ != nullptr; }
  const std::vector<Record*>* given() const;
  const Entity* entity() const;
  Query asQuery() const;
  std::optional<RecordSet> unionAsQuestion(std::string_view key) const;

  // A whole relationship: no query then.
  const Record* owner_ = nullptr;
  const Property* relationship_ = nullptr;
  std::shared_ptr<const Query> query_;
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

  // Calls visit(member, values) for each member, as an iteration does. The values are the stored
  // ones, past every accessor, where they lie in memory: for sums that read much of each member. A
  // visit may read other records but change nothing. Cost: for the few members of an ordinary
  // document (64), nothing is allocated.
  template <class Visit>
  void forEachStored(Visit visit) const {
    visitStored(&visit, [](void* visitor, Record& member, const SlotView& values) {
      (*static_cast<Visit*>(visitor))(static_cast<T&>(member), values);
    });
  }
};

}  // namespace bokfolio
