#include "bokfolio/store/persistence/sqlite/salvage/internal/damaged_schema.hpp"

#include <algorithm>
#include <limits>
#include <optional>

#include "bokfolio/store/persistence/internal/sql/table.hpp"
#include "bokfolio/store/persistence/sqlite/salvage/internal/stored_record.hpp"

namespace bokfolio::internal {

namespace {

using Kind = StoredValue::Kind;

constexpr std::uint32_t kSchemaRoot = 1;

// Columns: type, name, table, root page, text.
std::optional<SchemaLine> lineOf(std::string_view record, std::uint64_t size) {
  std::vector<StoredValue> values;
  if (!decodeRecord(record, size, values) || values.size() != 5) return std::nullopt;
  if (values[0].kind != Kind::Text || values[1].kind != Kind::Text || values[2].kind != Kind::Text)
    return std::nullopt;
  if (values[3].kind != Kind::Integer && values[3].kind != Kind::Nil) return std::nullopt;
  if (values[4].kind != Kind::Text && values[4].kind != Kind::Nil) return std::nullopt;
  SchemaLine line;
  line.type = values[0].bytes;
  for (const char* type : {"table", "index", "view", "trigger"}) {
    if (line.type != type) continue;
    line.name = values[1].bytes;
    const std::int64_t root = values[3].integer;
    if (root > 0 && root <= std::numeric_limits<std::int32_t>::max())
      line.root = static_cast<std::uint32_t>(root);
    line.text = values[4].bytes;
    return line;
  }
  return std::nullopt;
}

bool isLostLeaf(const PageFile& file, std::uint32_t number) {
  std::string bytes;
  if (file.read(number, bytes) == PageFile::Page::Missing) return false;
  const auto page = parseTreePage(bytes, number);
  if (!page || page->kind != TreePage::Kind::TableLeaf) return false;
  return std::any_of(page->cells.begin(), page->cells.end(), [&](const TreeCell& cell) {
    return cell.localSize == cell.payload &&
           lineOf(std::string_view(bytes).substr(cell.local, cell.localSize), cell.payload);
  });
}

}  // namespace

DamagedSchema::DamagedSchema(const PageFile& file, PageClaims& claims, TreeReader& reader) {
  whole_ = reader.readTable(kSchemaRoot, claims.newOwner(),
                            [this](const TreeRecord& record) { take(record); });
  if (!whole_) readLostLeaves(file, claims, reader);
}

void DamagedSchema::take(const TreeRecord& record) {
  const auto line = lineOf(record.record, record.size);
  if (!line) {
    whole_ = false;
    return;
  }
  if (find(line->type, line->name) == nullptr) lines_.push_back(*line);
}

// Leaves whose parent is damaged. Descriptions look like nothing else in a document.
void DamagedSchema::readLostLeaves(const PageFile& file, PageClaims& claims, TreeReader& reader) {
  for (std::uint32_t page = 2; page <= file.pages(); ++page) {
    if (claims.isClaimed(page) || !isLostLeaf(file, page)) continue;
    reader.readLeaf(page, claims.newOwner(), [this](const TreeRecord& record) { take(record); });
  }
}

const SchemaLine* DamagedSchema::find(std::string_view type, std::string_view name) const {
  const auto found = std::find_if(lines_.begin(), lines_.end(), [&](const SchemaLine& line) {
    return line.type == type && isSameName(line.name, name);
  });
  return found == lines_.end() ? nullptr : &*found;
}

}  // namespace bokfolio::internal
