// RecordAccess: the store's own door to a record's memory. Only the store's parts use it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bokfolio/store/record.hpp"
#include "bokfolio/store/slot_view.hpp"

namespace bokfolio {

struct RecordAccess {
  static constexpr std::uint16_t kInserted = Record::kInserted;
  static constexpr std::uint16_t kUpdated = Record::kUpdated;
  static constexpr std::uint16_t kDeleted = Record::kDeleted;
  static constexpr std::uint16_t kGone = Record::kGone;
  static constexpr std::uint16_t kRetracted = Record::kRetracted;
  static constexpr std::uint16_t kBornHere = Record::kBornHere;
  static constexpr std::uint16_t kKept = Record::kKept;
  static constexpr std::uint16_t kNew = Record::kNew;
  static constexpr std::uint16_t kLeaving = Record::kLeaving;
  static constexpr std::uint16_t kObserved = Record::kObserved;

  static std::byte*& slots(Record& record) { return record.slots_; }
  static const std::byte* slots(const Record& record) { return record.slots_; }
  static std::uint16_t& state(Record& record) { return record.state_; }
  static bool has(const Record& record, std::uint16_t flags) {
    return (record.state_ & flags) != 0;
  }
  static void raise(Record& record, std::uint16_t flags) { record.state_ |= flags; }
  static void lower(Record& record, std::uint16_t flags) {
    record.state_ = static_cast<std::uint16_t>(record.state_ & ~static_cast<unsigned>(flags));
  }
  static std::uint32_t& version(Record& record) { return record.version_; }
  static std::uint16_t& detachedIndexes(Record& record) { return record.detachedIndexes_; }

  // In fetches, sets and indexes.
  static bool isLive(const Record& record) {
    return (record.state_ & (kDeleted | kGone | kRetracted)) == 0;
  }
  // The values must be in memory.
  static SlotView view(const Record& record) { return {*record.entity_, record.slots_}; }
};

}  // namespace bokfolio
