// A record as it stands in a cell, taken apart: its values in the order of the table's columns.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace bokfolio::internal {

struct StoredValue {
  enum class Kind : std::uint8_t {
    Nil,
    Integer,
    Real,
    Text,
    Blob,
    Unreadable,  // it stood where nothing can be read
  };

  Kind kind = Kind::Nil;
  std::int64_t integer = 0;
  double real = 0;
  std::string_view bytes;  // of a text or blob; within the record
};

// `record` is its first bytes, of `size` in all. False unless they are a record from the first to
// the last.
bool decodeRecord(std::string_view record, std::uint64_t size, std::vector<StoredValue>& values);

}  // namespace bokfolio::internal
