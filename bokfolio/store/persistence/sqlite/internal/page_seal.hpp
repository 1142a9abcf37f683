// The seal of a page: its last sixteen bytes, which its number and all its other bytes determine. A
// page that was changed, or put in another's place, does not fit its seal any more. One that is as
// it was before its last save does.
//
// The seal of the first page is broken, in a way that can be told, while a save writes the others:
// who finds it so and no journal beside the file has pages of two states.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace bokfolio::internal {

inline constexpr std::size_t kSealSize = 16;
// The file begins with a head of this size, which tells how long the pages are and how many bytes
// at the end of each are not SQLite's.
inline constexpr std::size_t kHeadSize = 100;

enum class Seal : std::uint8_t {
  Whole,
  Broken,
  Open,   // a save was under way
  Blank,  // no page at all, but zeros: never written, or wiped out
};

// Pages are numbered from 1.
Seal sealOf(std::span<const unsigned char> page, std::uint32_t number);
void seal(std::span<unsigned char> page, std::uint32_t number);
// Makes a whole seal an open one and the reverse; the bytes are those of the seal alone.
void turnSeal(std::span<unsigned char, kSealSize> bytes);

// What the head says, or the first page; 0 when it is not that of an SQLite file.
std::uint32_t pageSizeSaid(std::span<const unsigned char> head);
bool saysSealed(std::span<const unsigned char> head);

}  // namespace bokfolio::internal
