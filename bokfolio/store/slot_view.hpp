// SlotView: read access to the stored values of one record in memory, without copies. Indexes,
// queries and persistence engines read records through it; only the journal writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "bokfolio/platform/bytes.hpp"
#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/schema.hpp"

namespace bokfolio {

class Record;

namespace internal {
// A text or blob of a slot: shared, immutable, its characters follow the head.
struct SlotText {
  std::uint32_t references;
  std::uint32_t size;
  const char* characters() const { return reinterpret_cast<const char*>(this + 1); }
};
class RelationSet;
}  // namespace internal

class SlotView {
 public:
  SlotView(const Entity& entity, const std::byte* slots) : entity_(&entity), slots_(slots) {}

  const Entity& entity() const { return *entity_; }
  bool isNil(std::uint16_t ordinal) const {
    const auto* words = reinterpret_cast<const std::uint64_t*>(slots_);
    return ((words[ordinal / 64] >> (ordinal % 64)) & 1U) == 0;
  }
  // The typed readers may only be asked when the slot is not nil and of that kind.
  std::int64_t integer(std::uint16_t ordinal) const { return at<std::int64_t>(ordinal); }
  double real(std::uint16_t ordinal) const { return at<double>(ordinal); }
  const Decimal& decimal(std::uint16_t ordinal) const { return at<Decimal>(ordinal); }
  Date date(std::uint16_t ordinal) const { return at<Date>(ordinal); }
  std::string_view text(std::uint16_t ordinal) const {
    const auto* text = at<const internal::SlotText*>(ordinal);
    return {text->characters(), text->size};
  }
  std::string_view blob(std::uint16_t ordinal) const { return text(ordinal); }
  Record* reference(std::uint16_t ordinal) const { return at<Record*>(ordinal); }
  // A to-many's set as far as it is known; nullptr when nothing is.
  const internal::RelationSet* relation(std::uint16_t ordinal) const {
    return at<const internal::RelationSet*>(ordinal);
  }

 private:
  template <class T>
  const T& at(std::uint16_t ordinal) const {
    return *reinterpret_cast<const T*>(slots_ + entity_->offset(ordinal));
  }

  const Entity* entity_;
  const std::byte* slots_;
};

}  // namespace bokfolio
