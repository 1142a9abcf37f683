// Index: the live records of one entity, ordered by one or two of their stored values and then by
// id, so that equality, ranges and "the greatest one" are found without a scan.
//
// Values are coded into 64 bits that keep their order: nil is 0 and comes first, integers, dates
// and references are exact (the two lowest integers share a code), doubles and decimals are coded
// through their nearest double. Texts answer equality only: plain digits are coded through their
// value, above all other texts (store/numbering.hpp looks there for the greatest), the rest through
// a hash. Codes may coincide for unequal values: an index narrows, the predicate decides.
//
// A record leaves the index when an indexed value is about to change and is taken in again when the
// index is next asked, so that a burst of writes costs one reordering.
//
// An index covers all records, or, while the engine's index serves for what is saved, only those
// that were changed or made since the last save.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "bokfolio/store/internal/sorted_blocks.hpp"
#include "bokfolio/store/record.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/slot_view.hpp"

namespace bokfolio::internal {

using IndexCode = std::uint64_t;

inline constexpr IndexCode kNilCode = 0;
inline constexpr IndexCode kLowestCode = 1;
inline constexpr IndexCode kHighestCode = ~static_cast<IndexCode>(0);

// The code of a stored value, and of a value that it is compared with. nullopt: values of that kind
// have no place in the property's order, so that the index says nothing about them.
IndexCode codeOf(const Property& property, const SlotView& slots);
std::optional<IndexCode> codeOf(const Property& property, const Value& value);

// Texts of plain digits, at most 18 of them after leading zeros, have these codes and the ones
// above, in the order of their value; other texts lie below.
inline constexpr IndexCode kLowestDigitsCode = IndexCode{1} << 63;

// What has that code among integers and dates.
std::int64_t integerOfCode(IndexCode code);
// Whether engines keep indexes of the property's values.
bool isLookedUp(const Property& property);

// Whether equal codes mean equal values, but for the two lowest integers.
bool hasExactCodes(const Property& property);

struct IndexEntry {
  IndexCode first;
  IndexCode second;
  Record* record;
};

struct ByIndexOrder {
  bool operator()(const IndexEntry& a, const IndexEntry& b) const {
    if (a.first != b.first) return a.first < b.first;
    if (a.second != b.second) return a.second < b.second;
    return a.record->id() < b.record->id();
  }
};

// Codes from `low` to `high`, both included.
struct CodeRange {
  IndexCode low = kNilCode;
  IndexCode high = kHighestCode;
};

class Index {
 public:
  using Blocks = SortedBlocks<IndexEntry, ByIndexOrder>;
  using Position = Blocks::Position;

  explicit Index(const IndexLayout& layout) : layout_(&layout) {}

  enum class Coverage : std::uint8_t { None, Changed, All };

  const IndexLayout& layout() const { return *layout_; }
  Coverage coverage() const { return coverage_; }
  // Whether changes of records must be told.
  bool follows() const { return coverage_ != Coverage::None; }

  // The records whose codes lie in the ranges. The second range narrows only when the first is a
  // single code. Entries are valid until the next change of a record.
  struct Span {
    Position from;
    Position to;
  };
  Span find(CodeRange first, CodeRange second = {}) const;
  std::size_t estimate(const Span& span) const { return entries_.distance(span.from, span.to); }
  const Blocks& entries() const { return entries_; }

  // --- For the journal and the loader
  // All of these records, which must have their values in memory; from now on it covers all.
  void build(const std::vector<Record*>& records);
  // Holds nothing from now on. Records that wait to be taken in must be live or shells.
  void reset(Coverage coverage);
  // Takes the record out before an indexed value changes; it waits to be taken in again.
  void detach(Record& record);
  // A record that is not in the index waits to be taken in.
  void await(Record& record);
  // Takes the record out, or forgets that it waits, because it is no longer live.
  void drop(Record& record);
  void attachWaiting();

 private:
  IndexEntry entryOf(Record& record) const;
  std::uint16_t bit() const { return static_cast<std::uint16_t>(1U << layout_->ordinal); }

  const IndexLayout* layout_;
  Coverage coverage_ = Coverage::None;
  Blocks entries_;
  std::vector<Record*> waiting_;
};

}  // namespace bokfolio::internal
