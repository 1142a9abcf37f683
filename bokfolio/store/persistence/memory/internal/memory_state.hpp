// MemoryState: the tables of a document in memory. Tables and columns are only ever added. Each
// table counts the references to each of its ids, present or not, so that one left dangling is seen
// without a search.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/model.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/record.hpp"

namespace bokfolio::internal {

struct MemoryReference {
  RecordId id;
};

struct MemoryBlob {
  std::string bytes;
};

// monostate is nil.
using MemoryCell = std::variant<std::monostate, std::int64_t, double, Decimal, std::string, Date,
                                MemoryBlob, MemoryReference>;

struct MemoryRow {
  std::uint32_t version = 0;
  std::vector<MemoryCell> cells;  // by column; those of columns added later are missing: nil
};

struct MemoryColumn {
  std::string name;
  PropertyKind kind = PropertyKind::Integer;
  std::size_t target = 0;  // to-one only: the table referred to
};

struct MemoryTable {
  std::string name;
  std::vector<MemoryColumn> columns;
  std::map<RecordId, MemoryRow> rows;
  std::unordered_map<RecordId, std::uint32_t> references;
  RecordId nextId = 1;
};

struct MemoryState {
  std::vector<MemoryTable> tables;
  std::map<std::string, std::shared_ptr<MemoryDocument>> backups;

  // tables.size() when there is none.
  std::size_t find(std::string_view name) const;
};

}  // namespace bokfolio::internal
