#include "bokfolio/store/persistence/sqlite/salvage/internal/known_ids.hpp"

#include <algorithm>

#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/stored_record.hpp"

namespace bokfolio::internal {

namespace {

// The id at the end of an entry of so many columns; 0 when it is none.
std::int64_t idOf(const std::vector<StoredValue>& entry, std::size_t columns) {
  if (entry.size() != columns + 1 || entry.back().kind != StoredValue::Kind::Integer) return 0;
  return isId(entry.back().integer) ? entry.back().integer : 0;
}

std::string textOf(const StoredValue& value) {
  switch (value.kind) {
    case StoredValue::Kind::Integer:
      return std::to_string(value.integer);
    case StoredValue::Kind::Text:
      return std::string(value.bytes);
    default:
      return "";
  }
}

}  // namespace

KnownIds::KnownIds(const DamagedSchema& schema, const SqlTable& table, PageClaims& claims,
                   TreeReader& reader) {
  std::vector<std::int64_t> sure;
  for (const SqlIndex& index : table.indexes) {
    const SchemaLine* line = schema.find("index", index.name);
    if (line == nullptr) continue;
    indexes_.push_back({&index, line->root, claims.newOwner()});
    std::vector<std::int64_t> told;
    const bool whole = read(reader, indexes_.back(), told);
    if (whole) ++whole_;
    auto& into = whole ? sure : ids_;
    into.insert(into.end(), told.begin(), told.end());
  }
  if (whole_ > 0) ids_ = std::move(sure);
  keepAgreed();
}

bool KnownIds::read(TreeReader& reader, const Index& index, std::vector<std::int64_t>& told) {
  bool sound = true;
  std::vector<StoredValue> entry;
  const bool whole = reader.readIndex(index.root, index.owner, [&](const TreeRecord& found) {
    const std::int64_t id = decodeRecord(found.record, found.size, entry)
                                ? idOf(entry, index.index->columns.size())
                                : 0;
    if (id != 0) {
      told.push_back(id);
    } else {
      sound = false;
    }
  });
  return whole && sound;
}

// Sorts them; each once, when more than half of the whole indexes have it.
void KnownIds::keepAgreed() {
  std::sort(ids_.begin(), ids_.end());
  auto end = ids_.begin();
  for (auto from = ids_.begin(); from != ids_.end();) {
    const auto to = std::upper_bound(from, ids_.end(), *from);
    if ((to - from) * 2 > whole_) *end++ = *from;
    from = to;
  }
  ids_.erase(end, ids_.end());
}

bool KnownIds::has(std::int64_t id) const {
  return std::binary_search(ids_.begin(), ids_.end(), id);
}

void KnownIds::describe(TreeReader& reader, std::vector<SalvageReport::LostRecord>& lost) const {
  std::vector<StoredValue> entry;
  const auto before = [](const SalvageReport::LostRecord& record, std::int64_t id) {
    return record.id < static_cast<RecordId>(id);
  };
  for (const Index& index : indexes_) {
    const auto& columns = index.index->columns;
    reader.readIndex(index.root, index.owner, [&](const TreeRecord& found) {
      const std::int64_t id =
          decodeRecord(found.record, found.size, entry) ? idOf(entry, columns.size()) : 0;
      const auto record = std::lower_bound(lost.begin(), lost.end(), id, before);
      if (id == 0 || record == lost.end() || record->id != static_cast<RecordId>(id)) return;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        if (entry[i].kind != StoredValue::Kind::Nil) record->known[columns[i]] = textOf(entry[i]);
      }
    });
  }
}

}  // namespace bokfolio::internal
