// MemoryState: the tables of a document in memory. Tables and columns are only ever added. Each
// table counts the references to each of its ids, present or not, so that one left dangling is seen
// without a search. The sums that are kept of an entity lie with its table.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "bokfolio/platform/date.hpp"
#include "bokfolio/platform/decimal.hpp"
#include "bokfolio/store/model.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_index.hpp"
#include "bokfolio/store/persistence/memory/memory_persistence.hpp"
#include "bokfolio/store/persistence/saved_question.hpp"
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

  const MemoryCell& cell(std::size_t column) const;
};

struct MemoryColumn {
  std::string name;
  PropertyKind kind = PropertyKind::Integer;
  std::size_t target = 0;  // to-one only: the table referred to
};

struct MemorySums {
  // Of a line: whether it has an instant, then period, owner, mark and the instant.
  using Key = std::tuple<bool, RecordId, RecordId, RecordId, std::int64_t>;

  std::string layout;  // keptSumText(); "": the lines are not up to date
  std::map<Key, std::string> lines;

  static Key keyOf(const SumLine& line) {
    return {line.instant.has_value(), line.period, line.owner, line.mark, line.instant.value_or(0)};
  }
};

struct MemoryTable {
  std::string name;
  std::vector<MemoryColumn> columns;
  std::map<RecordId, MemoryRow> rows;
  std::unordered_map<RecordId, std::uint32_t> references;
  RecordId nextId = 1;
  MemorySums sums;
  std::map<std::size_t, MemoryIndex> indexes;  // by column, those that were asked for

  const MemoryIndex& index(std::size_t column);
};

// Where the properties of one entity lie: (ordinal, column), persistent ones only.
struct MemoryLayout {
  struct Sums {
    std::string layout;     // keptSumText()
    std::size_t owner = 0;  // tables
    std::size_t mark = 0;
    std::size_t period = 0;
  };

  std::size_t table = 0;
  std::vector<std::pair<std::uint16_t, std::size_t>> columns;
  std::optional<Sums> sums;

  std::size_t column(std::uint16_t ordinal) const;
};

// What an index orders by; nil for kinds that have no order.
MemoryKey keyOf(const MemoryCell& cell);

struct MemoryState {
  std::vector<MemoryTable> tables;
  std::map<std::string, std::shared_ptr<MemoryDocument>> backups;

  // tables.size() when there is none.
  std::size_t find(std::string_view name) const;
};

}  // namespace bokfolio::internal
