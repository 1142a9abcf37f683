// Query: one question about records, however it was asked: a fetch, a to-many set, a filtered set.
// The planner picks the cheapest way to the candidates (an inverse set, an index, an inverse path,
// a scan), and the predicate decides about every candidate.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "bokfolio/store/predicate.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/sort_descriptor.hpp"

namespace bokfolio {

struct StoreParts;

struct Query {
  StoreParts* store = nullptr;  // nullptr only when `among` is set
  const Entity* entity = nullptr;
  // Only members of this to-many relationship of this record.
  const Record* owner = nullptr;
  const Property* relationship = nullptr;
  // Only these records (any entities), in ascending id.
  std::shared_ptr<const std::vector<Record*>> among;
  // All of these hold.
  std::vector<Predicate> conditions;
  // Keys with an accessor of their own are read through it (sets and arrays); else stored values
  // are compared (fetches).
  bool throughAccessors = false;
  std::vector<SortDescriptor> order;
  std::optional<std::size_t> limit;

  // How the planner may find candidates; tests run every query both ways.
  enum class Strategy { Best, ScanOnly };
  Strategy strategy = Strategy::Best;
};

// The answer in the query's order, ascending id where it has none.
std::vector<Record*> run(const Query& query);
std::size_t countOf(const Query& query);
bool holds(const Query& query, const Record& record);

}  // namespace bokfolio
