// What the store asks an engine about saved records without reading them all: records by id, by a
// stored value or a stretch of values, in the order of one key, and the sums that are kept of them.
// An engine answers about what is saved; the store lays unsaved changes over it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "bokfolio/store/record.hpp"

namespace bokfolio {

class Entity;

// In place of a property's ordinal: the record's id.
inline constexpr std::uint16_t kIdOrdinal = std::numeric_limits<std::uint16_t>::max();

struct SavedCondition {
  enum class Kind : std::uint8_t {
    IsNil,
    IsNotNil,
    InRange,  // an integer, a date (microseconds), a to-one or an id from `low` to `high`, both
              // included; nil is in no range
    IsText,   // these characters exactly
  };

  std::uint16_t ordinal = kIdOrdinal;
  Kind kind = Kind::InRange;
  std::int64_t low = std::numeric_limits<std::int64_t>::min();
  std::int64_t high = std::numeric_limits<std::int64_t>::max();
  std::string text;
};

// Integers, dates, texts and to-ones only: the kinds of which engines keep indexes.
struct SavedQuestion {
  const Entity* entity = nullptr;
  std::vector<SavedCondition> conditions;  // all hold
  // The ordinal of an integer, date or to-one: nil comes first, equal values in order of id.
  // Descending turns all of that round. Without: by id.
  std::uint16_t order = kIdOrdinal;
  bool ascending = true;
  std::size_t limit = std::numeric_limits<std::size_t>::max();
  std::size_t skip = 0;  // so many of the answer are passed over first
};

// One line of an entity's kept sums (EntityTable::keepSum): what one owner, or one mark, or one
// owner with one mark, comes to in a period: at one instant, or in all.
struct SumLine {
  RecordId period = 0;
  RecordId owner = 0;                   // 0: of all owners, for a mark
  RecordId mark = 0;                    // 0: of all records, marked or not
  std::optional<std::int64_t> instant;  // nullopt: the line of all instants
  // The exact sum in a form of its own (internal::ExactSum::text); "" as a change: the line goes.
  std::string amount;
};

// What lines are wanted: those of all instants of a period, or those by instant of one owner in it,
// or exactly one.
struct SumLineQuestion {
  enum class Kind : std::uint8_t { TotalsOfPeriod, InstantsOfOwner, One };

  Kind kind = Kind::TotalsOfPeriod;
  RecordId period = 0;
  RecordId owner = 0;
  RecordId mark = 0;                    // One
  std::optional<std::int64_t> instant;  // One
};

}  // namespace bokfolio
