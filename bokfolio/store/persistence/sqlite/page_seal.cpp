#include "bokfolio/store/persistence/sqlite/internal/page_seal.hpp"

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace bokfolio::internal {

namespace {

using SealBytes = std::array<unsigned char, kSealSize>;

SealBytes sealFor(std::span<const unsigned char> page, std::uint32_t number) {
  XXH128_canonical_t written;
  XXH128_canonicalFromHash(&written,
                           XXH3_128bits_withSeed(page.data(), page.size() - kSealSize, number));
  static_assert(sizeof written.digest == kSealSize);
  SealBytes bytes{};
  std::memcpy(bytes.data(), written.digest, kSealSize);
  return bytes;
}

bool isBlank(std::span<const unsigned char> page) {
  return std::all_of(page.begin(), page.end(), [](unsigned char byte) { return byte == 0; });
}

}  // namespace

Seal sealOf(std::span<const unsigned char> page, std::uint32_t number) {
  SealBytes wanted = sealFor(page, number);
  const auto there = page.last<kSealSize>();
  const auto isThere = [&] { return std::equal(there.begin(), there.end(), wanted.begin()); };
  if (isThere()) return Seal::Whole;
  turnSeal(wanted);
  if (isThere()) return Seal::Open;
  return isBlank(page) ? Seal::Blank : Seal::Broken;
}

void seal(std::span<unsigned char> page, std::uint32_t number) {
  const SealBytes bytes = sealFor(page, number);
  std::copy(bytes.begin(), bytes.end(), page.last<kSealSize>().begin());
}

void turnSeal(std::span<unsigned char, kSealSize> bytes) {
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(~byte);
}

std::uint32_t pageSizeSaid(std::span<const unsigned char> head) {
  constexpr std::string_view kMark("SQLite format 3\0", 16);
  if (head.size() < kHeadSize || std::memcmp(head.data(), kMark.data(), kMark.size()) != 0)
    return 0;
  const auto said = static_cast<std::uint32_t>(head[16] << 8U | head[17]);
  return said == 1 ? 65536 : said;
}

bool saysSealed(std::span<const unsigned char> head) {
  return pageSizeSaid(head) != 0 && head[20] == kSealSize;
}

}  // namespace bokfolio::internal
