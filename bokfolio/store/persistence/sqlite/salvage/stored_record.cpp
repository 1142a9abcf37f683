#include "bokfolio/store/persistence/sqlite/salvage/internal/stored_record.hpp"

#include <array>
#include <cstring>

#include "bokfolio/store/persistence/sqlite/internal/page_bytes.hpp"

namespace bokfolio::internal {

namespace {

constexpr std::uint64_t kReal = 7;
constexpr std::uint64_t kFirstBlob = 12;

// How many bytes a value of the type takes; the types 10 and 11 are never written.
bool sizeOf(std::uint64_t type, std::uint64_t& size) {
  constexpr std::array<std::uint64_t, 10> kSizes = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0};
  if (type < kSizes.size()) {
    size = kSizes[type];
    return true;
  }
  if (type < kFirstBlob) return false;
  size = (type - kFirstBlob) / 2;
  return true;
}

std::int64_t integerOf(std::string_view bytes) {
  std::uint64_t value = bigEndian(bytes, 0, bytes.size());
  const std::size_t bits = bytes.size() * 8;
  if (bits < 64 && (value >> (bits - 1) & 1U) != 0) value |= ~std::uint64_t{0} << bits;
  return static_cast<std::int64_t>(value);
}

StoredValue valueOf(std::uint64_t type, std::string_view bytes) {
  StoredValue value;
  if (type == 0) return value;
  if (type >= kFirstBlob) {
    value.kind = type % 2 == 0 ? StoredValue::Kind::Blob : StoredValue::Kind::Text;
    value.bytes = bytes;
  } else if (type == kReal) {
    value.kind = StoredValue::Kind::Real;
    const std::uint64_t bits = bigEndian(bytes, 0, bytes.size());
    std::memcpy(&value.real, &bits, sizeof bits);
  } else {
    value.kind = StoredValue::Kind::Integer;
    value.integer = type > kReal ? static_cast<std::int64_t>(type) - 8 : integerOf(bytes);
  }
  return value;
}

}  // namespace

bool decodeRecord(std::string_view record, std::uint64_t size, std::vector<StoredValue>& values) {
  values.clear();
  std::size_t at = 0;
  std::uint64_t head = 0;
  if (!readVarint(record, at, head) || head < at || head > record.size()) return false;
  const std::string_view types = record.substr(0, static_cast<std::size_t>(head));
  std::uint64_t body = head;
  while (at < types.size()) {
    std::uint64_t type = 0;
    std::uint64_t length = 0;
    if (!readVarint(types, at, type) || !sizeOf(type, length)) return false;
    if (length > size - body) return false;
    if (body + length <= record.size()) {
      values.push_back(valueOf(
          type, record.substr(static_cast<std::size_t>(body), static_cast<std::size_t>(length))));
    } else {
      values.emplace_back().kind = StoredValue::Kind::Unreadable;
    }
    body += length;
  }
  return body == size;
}

}  // namespace bokfolio::internal
