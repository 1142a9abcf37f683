// Typed names of an entity's stored keys. A class lists its slots once, in the order of its table;
// the table gives each its name and checks the order. Reading through a slot is a bounds-free
// access to the record's memory.
#pragma once

#include <cstdint>

namespace bokfolio {

// T is std::int64_t, double, Decimal, std::string, Date or Bytes.
template <class T>
struct Slot {
  std::uint16_t ordinal;
};

template <class T>
struct ToOneSlot {
  std::uint16_t ordinal;
};

template <class T>
struct ToManySlot {
  std::uint16_t ordinal;
};

}  // namespace bokfolio
