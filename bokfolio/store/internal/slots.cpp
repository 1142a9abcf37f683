#include "bokfolio/store/internal/slots.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "bokfolio/store/store_error.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::size_t kBlocksPerChunk = 256;

bool ownsText(const Property& property) {
  return property.kind() == PropertyKind::String || property.kind() == PropertyKind::Binary;
}

SlotText* textAt(const Entity& entity, const std::byte* slots, std::uint16_t ordinal) {
  return *reinterpret_cast<SlotText* const*>(slots + entity.offset(ordinal));
}

std::string_view characters(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

SlotText* makeText(std::string_view characters) {
  void* memory = ::operator new(sizeof(SlotText) + characters.size());
  auto* text = new (memory) SlotText{1, static_cast<std::uint32_t>(characters.size())};
  if (!characters.empty())
    std::memcpy(static_cast<void*>(text + 1), characters.data(), characters.size());
  return text;
}

void retain(SlotText* text) { ++text->references; }

void release(SlotText* text) {
  if (--text->references == 0) ::operator delete(text);
}

SlotPool::SlotPool(std::size_t blockBytes)
    : blockBytes_(std::max(blockBytes, sizeof(std::byte*))) {}

std::byte* SlotPool::allocate() {
  std::byte* block = free_;
  if (block != nullptr) {
    std::memcpy(&free_, block, sizeof free_);
  } else {
    if (next_ == end_) {
      chunks_.push_back(std::make_unique<std::byte[]>(blockBytes_ * kBlocksPerChunk));
      next_ = chunks_.back().get();
      end_ = next_ + blockBytes_ * kBlocksPerChunk;
    }
    block = next_;
    next_ += blockBytes_;
  }
  std::memset(block, 0, blockBytes_);
  return block;
}

void SlotPool::free(std::byte* block) {
  std::memcpy(block, &free_, sizeof free_);
  free_ = block;
}

void SlotWriter::setNil(std::uint16_t ordinal) {
  const Property& property = entity_->property(ordinal);
  std::byte* place = slots_ + entity_->offset(ordinal);
  if (ownsText(property)) {
    if (SlotText* old = textAt(*entity_, slots_, ordinal)) release(old);
    std::memset(place, 0, sizeof(void*));
  } else if (property.isToOne()) {
    std::memset(place, 0, sizeof(void*));
  }
  reinterpret_cast<std::uint64_t*>(slots_)[ordinal / 64] &= ~(std::uint64_t{1} << (ordinal % 64));
}

void SlotWriter::setText(std::uint16_t ordinal, std::string_view value) {
  SlotText* made = makeText(value);
  if (SlotText* old = textAt(*entity_, slots_, ordinal)) release(old);
  put(ordinal, made);
}

void SlotWriter::setReference(std::uint16_t ordinal, Record* value) {
  if (value == nullptr) {
    setNil(ordinal);
  } else {
    put(ordinal, value);
  }
}

void SlotWriter::setValue(const Property& property, const Value& value) {
  const std::uint16_t ordinal = property.ordinal();
  switch (value.kind()) {
    case ValueKind::Nil:
      return setNil(ordinal);
    case ValueKind::Integer:
      return setInteger(ordinal, *value.integer());
    case ValueKind::Double:
      return setReal(ordinal, *value.real());
    case ValueKind::Decimal:
      return setDecimal(ordinal, *value.decimal());
    case ValueKind::String:
      return setText(ordinal, *value.string());
    case ValueKind::Date:
      return setDate(ordinal, *value.date());
    case ValueKind::Binary:
      return setText(ordinal, characters(*value.bytes()));
    case ValueKind::Record:
      return setReference(ordinal, value.record());
    case ValueKind::RecordSet:
      return;
  }
}

Value fittingValue(const Property& property, const Value& value) {
  if (value.isNil()) return value;
  switch (property.kind()) {
    case PropertyKind::Integer:
      if (const auto number = value.asInteger()) return *number;
      break;
    case PropertyKind::Double:
      if (const auto number = value.asDouble()) return *number;
      break;
    case PropertyKind::Decimal:
      if (const auto number = value.asDecimal()) return *number;
      break;
    case PropertyKind::String:
      if (value.string() != nullptr) return value;
      break;
    case PropertyKind::Date:
      if (value.date() != nullptr) return value;
      break;
    case PropertyKind::Binary:
      if (value.bytes() != nullptr) return value;
      break;
    case PropertyKind::ToOne:
      if (value.record() != nullptr) return value;
      break;
    case PropertyKind::ToMany:
      if (value.records() != nullptr) return value;
      break;
  }
  throw ValueKindError(property.entity().name() + "." + property.name() + " cannot hold " +
                       value.description());
}

Value readValue(const Property& property, const SlotView& slots) {
  const std::uint16_t ordinal = property.ordinal();
  if (slots.isNil(ordinal)) return {};
  switch (property.kind()) {
    case PropertyKind::Integer:
      return slots.integer(ordinal);
    case PropertyKind::Double:
      return slots.real(ordinal);
    case PropertyKind::Decimal:
      return slots.decimal(ordinal);
    case PropertyKind::String:
      return slots.text(ordinal);
    case PropertyKind::Date:
      return slots.date(ordinal);
    case PropertyKind::Binary: {
      const std::string_view blob = slots.blob(ordinal);
      return Bytes(blob.begin(), blob.end());
    }
    case PropertyKind::ToOne:
      return slots.reference(ordinal);
    case PropertyKind::ToMany:
      break;
  }
  return {};
}

bool sameSlot(const Property& property, const SlotView& a, const SlotView& b) {
  const std::uint16_t ordinal = property.ordinal();
  if (a.isNil(ordinal) || b.isNil(ordinal)) return a.isNil(ordinal) == b.isNil(ordinal);
  switch (property.kind()) {
    case PropertyKind::Integer:
      return a.integer(ordinal) == b.integer(ordinal);
    case PropertyKind::Double: {
      const double x = a.real(ordinal);
      const double y = b.real(ordinal);
      return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
    }
    case PropertyKind::Decimal:
      return a.decimal(ordinal) == b.decimal(ordinal);
    case PropertyKind::Date:
      return a.date(ordinal) == b.date(ordinal);
    case PropertyKind::String:
    case PropertyKind::Binary:
      return a.text(ordinal) == b.text(ordinal);
    case PropertyKind::ToOne:
      return a.reference(ordinal) == b.reference(ordinal);
    case PropertyKind::ToMany:
      break;
  }
  return true;
}

void copySlots(const Entity& entity, const std::byte* from, std::byte* to) {
  std::memcpy(to, from, entity.slotBytes());
  for (const Property& property : entity.properties()) {
    const std::uint16_t ordinal = property.ordinal();
    if (property.isToMany()) {
      std::memset(to + entity.offset(ordinal), 0, sizeof(void*));
    } else if (ownsText(property)) {
      if (SlotText* text = textAt(entity, to, ordinal)) retain(text);
    }
  }
}

void releaseSlots(const Entity& entity, std::byte* slots) {
  for (const Property& property : entity.properties()) {
    const std::uint16_t ordinal = property.ordinal();
    if (property.isToMany()) {
      delete SlotWriter(entity, slots).relation(ordinal);
    } else if (ownsText(property)) {
      if (SlotText* text = textAt(entity, slots, ordinal)) release(text);
    }
  }
}

}  // namespace bokfolio::internal
