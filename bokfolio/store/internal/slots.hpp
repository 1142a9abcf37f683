// Slots: the memory of one record's values and how they are laid out, made, copied and freed. A
// block begins with one bit a property (set: not nil), then each value at its offset: integers,
// doubles and dates 8 bytes, decimals 24, texts and blobs a counted pointer, a to-one a record
// pointer, a to-many a pointer to its RelationSet (made when first needed; its bit stays clear).
//
// Blocks of one entity come from one pool: no allocator overhead a record, and neighbours in
// creation are neighbours in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "bokfolio/store/internal/relation_set.hpp"
#include "bokfolio/store/schema.hpp"
#include "bokfolio/store/slot_view.hpp"
#include "bokfolio/store/value.hpp"

namespace bokfolio::internal {

SlotText* makeText(std::string_view characters);
void retain(SlotText* text);
void release(SlotText* text);

// Fixed-size blocks, all bytes zero when handed out.
class SlotPool {
 public:
  explicit SlotPool(std::size_t blockBytes);
  SlotPool(SlotPool&&) noexcept = default;
  SlotPool& operator=(SlotPool&&) noexcept = default;

  std::byte* allocate();
  void free(std::byte* block);

 private:
  std::size_t blockBytes_;
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::byte* next_ = nullptr;
  std::byte* end_ = nullptr;
  std::byte* free_ = nullptr;  // each free block begins with a pointer to the next
};

// The writing half of SlotView. Old contents are released, nothing is announced or tracked: callers
// are the journal and the loader.
class SlotWriter {
 public:
  SlotWriter(const Entity& entity, std::byte* slots) : entity_(&entity), slots_(slots) {}

  void setNil(std::uint16_t ordinal);
  void setInteger(std::uint16_t ordinal, std::int64_t value) { put(ordinal, value); }
  void setReal(std::uint16_t ordinal, double value) { put(ordinal, value); }
  void setDecimal(std::uint16_t ordinal, const Decimal& value) { put(ordinal, value); }
  void setDate(std::uint16_t ordinal, Date value) { put(ordinal, value); }
  void setText(std::uint16_t ordinal, std::string_view value);
  void setReference(std::uint16_t ordinal, Record* value);
  // A value that fittingValue answered for the property.
  void setValue(const Property& property, const Value& value);

  RelationSet*& relation(std::uint16_t ordinal) {
    return *reinterpret_cast<RelationSet**>(slots_ + entity_->offset(ordinal));
  }

 private:
  template <class T>
  void put(std::uint16_t ordinal, const T& value) {
    *reinterpret_cast<T*>(slots_ + entity_->offset(ordinal)) = value;
    setPresent(ordinal);
  }
  void setPresent(std::uint16_t ordinal) {
    reinterpret_cast<std::uint64_t*>(slots_)[ordinal / 64] |= std::uint64_t{1} << (ordinal % 64);
  }

  const Entity* entity_;
  std::byte* slots_;
};

// The value as the kind that the property holds: numbers as one another where that is exact or a
// cut to an integer. Throws ValueKindError when there is no such value.
Value fittingValue(const Property& property, const Value& value);
// A slot as a Value; a to-one as its record, a to-many is not a slot and must not be asked.
Value readValue(const Property& property, const SlotView& slots);
// Whether both blocks hold the same in that slot.
bool sameSlot(const Property& property, const SlotView& a, const SlotView& b);
// Copies every value but the to-many sets into a block that holds nothing.
void copySlots(const Entity& entity, const std::byte* from, std::byte* to);
// Frees what the block's slots own; the block itself goes back to its pool.
void releaseSlots(const Entity& entity, std::byte* slots);

}  // namespace bokfolio::internal
