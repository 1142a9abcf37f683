// Planner: where to look for the records that satisfy a query. It reads the comparisons that all
// must hold, asks sets and indexes how many records they would yield, and names the cheapest
// source. A source holds every record of the answer and usually others: the conditions decide.
//
// Of entities by lookup the engine is asked how many saved records a source has; an index in memory
// then covers only what has changed since.
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "bokfolio/store/internal/index.hpp"
#include "bokfolio/store/internal/predicate/binding.hpp"
#include "bokfolio/store/internal/query.hpp"
#include "bokfolio/store/internal/store_parts.hpp"

namespace bokfolio::internal {

// So few candidates that looking for a better source costs more than asking them all.
inline constexpr std::size_t kFewEnough = 16;

// The far set of a record, a stretch of an index or one record, from which the candidates are
// reached against the direction of some to-one links. Without any of them: every record of the
// entity.
struct Source {
  double estimate = std::numeric_limits<double>::infinity();
  const Record* owner = nullptr;
  const Property* toMany = nullptr;
  const Index* index = nullptr;
  Index::Span span;
  std::optional<SavedQuestion> saved;  // what the index leaves to the engine
  Record* single = nullptr;
  bool none = false;
  std::vector<const Property*> links;  // from the query's entity onward
};

// A stretch of an index that runs in the order that a query asks for.
struct OrderedSource {
  const Index* index = nullptr;
  Index::Span span;
  std::optional<SavedQuestion> saved;  // what the index leaves to the engine, in the same order
  bool bySecond = false;  // ordered by the second code, the first being the same in all of it
  bool ascending = true;
};

class Planner {
 public:
  Planner(StoreParts& store, const Entity& entity,
          const std::vector<const predicate::BoundComparison*>& conjuncts);

  const Source& cheapest();
  // For an order by one stored key first; nullopt when no index runs that way.
  std::optional<OrderedSource> ordered(const Property& key, bool ascending);

 private:
  using Conjuncts = std::vector<const predicate::BoundComparison*>;
  using Links = std::vector<const Property*>;
  // Conjuncts on keys of the entity at the end of the same links, which are a conjunct's own.
  struct Group {
    const Links* links;
    const Entity* entity;
    Conjuncts conjuncts;
  };

  void considerPartners(const Group& group, const predicate::BoundComparison& conjunct);
  void considerIndex(const Group& group, const IndexLayout& layout);
  void consider(const Group& group, Source source);
  // The codes that a record must have in the property; nullopt when nothing narrows them.
  static std::optional<CodeRange> rangeOf(const Group& group, const Property& property);
  // What the comparisons on the index's keys come to for the engine; nullopt when it has no index
  // of such values.
  static std::optional<SavedQuestion> questionOf(const Group& group, const IndexLayout& layout);
  double savedEstimate(const SavedQuestion& question, const IndexLayout& layout);
  double membersEstimate(const Record& owner, const Property& toMany);
  // How many records of the query's entity there are for each at the end of the links.
  double spread(const Links& links);

  StoreParts& store_;
  const Entity& entity_;
  std::vector<Group> groups_;
  Source best_;
};

// The source's records of this moment, ascending id.
std::vector<Record*> collect(StoreParts& store, const Entity& entity, const Source& source);

}  // namespace bokfolio::internal
