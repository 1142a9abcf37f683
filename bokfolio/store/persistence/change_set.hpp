// ChangeSet: what one save writes, all of it or nothing.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "bokfolio/store/persistence/saved_question.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/slot_view.hpp"

namespace bokfolio {

struct RecordChange {
  enum class Kind : std::uint8_t { Insert, Update, Delete };

  Kind kind;
  RecordId id;
  // The version that the saved record must have; the engine stores version + 1. 0 for an insertion.
  std::uint32_t version;
  // The record's values; not to be read for a deletion. References are records, saved under their
  // id.
  SlotView values;
  // Update: ordinals of the properties whose value differs from the saved one; never empty.
  std::vector<std::uint16_t> changed;
};

struct ChangeSet {
  std::vector<RecordChange> changes;
  // For each entity that got new records: the id that its next record will have.
  std::vector<std::pair<const Entity*, RecordId>> nextIds;

  // The lines of kept sums that these changes alter, with their new amounts. `replacesAll`: they
  // are all there are, whatever the document held.
  struct Sums {
    const Entity* entity = nullptr;
    bool replacesAll = false;
    std::vector<SumLine> lines;
  };
  std::vector<Sums> sums;

  bool empty() const { return changes.empty() && nextIds.empty() && sums.empty(); }
};

}  // namespace bokfolio
