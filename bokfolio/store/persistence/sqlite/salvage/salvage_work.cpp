#include "bokfolio/store/persistence/sqlite/salvage/internal/salvage_work.hpp"

#include <algorithm>
#include <iterator>
#include <limits>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/sqlite/internal/document_format.hpp"
#include "bokfolio/store/persistence/sqlite/internal/page_bytes.hpp"
#include "bokfolio/store/persistence/sqlite/internal/record_reader.hpp"

namespace bokfolio::internal {

namespace {

// A version that is higher than ours by more is damage.
constexpr std::int64_t kVersionsToCome = 255;

bool isVersion(const StoredValue& value) {
  return value.kind == StoredValue::Kind::Integer && value.integer > 0 &&
         value.integer <= std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

SalvageWork::SalvageWork(const PageFile& file, const std::vector<SqlTable>& model, std::string path,
                         SalvageReport& report)
    : file_(file),
      path_(std::move(path)),
      report_(report),
      claims_(file.pages()),
      reader_(file, claims_),
      schema_(file, claims_, reader_),
      plan_(schema_, model) {
  checkDocument();
  report_.torn = file.isTorn();
  report_.remarks = file.remarks();
  report_.remarks.insert(report_.remarks.end(), plan_.remarks.begin(), plan_.remarks.end());
}

void SalvageWork::checkDocument() {
  const bool tables = schema_.find("table", "bokfolio_entity") != nullptr ||
                      schema_.find("table", "bokfolio_document") != nullptr;
  const std::int64_t newest = DocumentFormat::current().version;
  if (!file_.isMarked() && !tables) {
    throw Failure{PersistenceError::NotADocument,
                  "\"" + path_ + "\" is not a document of this program."};
  }
  if (file_.version() > newest && file_.version() <= newest + kVersionsToCome) {
    throw Failure{PersistenceError::NewerFormat,
                  "\"" + path_ + "\" was written by a later version of this program (format " +
                      std::to_string(file_.version()) + ")."};
  }
  const bool any = std::any_of(plan_.tables.begin(), plan_.tables.end(),
                               [](const PlannedTable& planned) { return planned.root != 0; });
  if (any) return;
  throw Failure{PersistenceError::Damaged,
                "\"" + path_ + "\" is damaged so that no table can be found in it."};
}

void SalvageWork::run(const std::string& path, const std::string& application) {
  readFreePages();
  for (const PlannedTable& planned : plan_.tables) {
    sources_.push_back(
        {KnownIds(schema_, planned.table, claims_, reader_), claims_.newOwner(), true, {}, {}, 1});
    report_.tables.emplace_back().name = planned.table.name;
  }
  readNextIds();
  SalvageTarget target(path, plan_, application);
  copyNotes(target);
  for (std::size_t table = 0; table < sources_.size(); ++table) copyTable(table, target);
  copyLostLeaves(target);
  target.dropBrokenReferences(report_.references);
  for (std::size_t table = 0; table < sources_.size(); ++table) tellLost(table);
  addMissingTargets();
  setNextIds(target);
  target.joinPairs(report_);
  target.finish();
}

// A list that is not as the head says may leave out pages that are free.
void SalvageWork::readFreePages() {
  const PageClaims::Owner owner = claims_.newOwner();
  std::uint32_t found = 0;
  std::string page;
  for (std::uint32_t trunk = file_.firstFree(); trunk != 0 && freeWhole_;) {
    freeWhole_ = !claims_.isClaimed(trunk) && claims_.claim(trunk, owner) &&
                 file_.read(trunk, page) == PageFile::Page::Whole;
    if (!freeWhole_) break;
    const std::uint32_t leaves = big32(page, 4);
    freeWhole_ = leaves <= file_.pageSize() / 4 - 2;
    for (std::uint32_t i = 0; i < leaves && freeWhole_; ++i) {
      const std::uint32_t leaf = big32(page, 8 + std::size_t{4} * i);
      freeWhole_ = !claims_.isClaimed(leaf) && claims_.claim(leaf, owner);
    }
    found += leaves + 1;
    trunk = big32(page, 0);
  }
  freeWhole_ = freeWhole_ && found == file_.freePages() && file_.isHeadSound();
}

void SalvageWork::copyNotes(SalvageTarget& target) {
  const SchemaLine* line = schema_.find("table", "bokfolio_document");
  bool whole = line != nullptr;
  if (line != nullptr) {
    DecimalText room;
    whole = reader_.readTable(line->root, claims_.newOwner(), [&](const TreeRecord& found) {
      if (!decodeRecord(found.record, found.size, stored_) || stored_.size() != 2) return;
      for (StoredValue& value : stored_) {
        if (value.kind != StoredValue::Kind::Text) return;
        if (!fitValue(PropertyKind::String, value, room).empty()) return;
      }
      if (stored_[0].bytes.substr(0, 4) != "sum_") target.note(stored_[0].bytes, stored_[1].bytes);
    });
  }
  if (!whole) report_.remarks.emplace_back("Notes about the document itself are damaged.");
}

void SalvageWork::readNextIds() {
  const SchemaLine* line = schema_.find("table", "bokfolio_entity");
  bool whole = line != nullptr;
  if (line != nullptr) {
    whole = reader_.readTable(line->root, claims_.newOwner(), [&](const TreeRecord& found) {
      if (!decodeRecord(found.record, found.size, stored_) || stored_.size() != 2) return;
      if (stored_[0].kind != StoredValue::Kind::Text || !isId(stored_[1].integer)) return;
      const std::size_t table = tableNamed(std::string(stored_[0].bytes));
      if (table < sources_.size()) sources_[table].nextId = stored_[1].integer;
    });
  }
  if (!whole) {
    report_.remarks.emplace_back(
        "What ids were given is damaged; new records get the next after the highest known.");
  }
}

std::size_t SalvageWork::tableNamed(const std::string& name) const {
  std::size_t table = 0;
  while (table < plan_.tables.size() && plan_.tables[table].table.name != name) ++table;
  return table;
}

void SalvageWork::copyTable(std::size_t table, SalvageTarget& target) {
  const PlannedTable& planned = plan_.tables[table];
  Source& source = sources_[table];
  if (planned.root == 0) {
    source.whole = !planned.isLost;
    return;
  }
  bool readable = true;
  const bool whole = reader_.readTable(planned.root, source.owner, [&](const TreeRecord& found) {
    readable = take(table, found, target) && readable;
  });
  source.whole = whole && readable;
}

// False when the bytes are no record of the table at all.
bool SalvageWork::take(std::size_t table, const TreeRecord& record, SalvageTarget& target) {
  const std::int64_t id = record.key;
  if (!isId(id) || !decodeRecord(record.record, record.size, stored_)) return false;
  if (stored_.size() > plan_.tables[table].places.size()) return false;
  std::vector<SalvageReport::Value> dropped;
  const std::int64_t version = fitRecord(table, id, dropped);
  if (!target.insert(table, id, version, values_)) return true;  // it was read already
  report_.values.insert(report_.values.end(), dropped.begin(), dropped.end());
  Source& source = sources_[table];
  (inLostLeaves_ ? source.found : source.ids).push_back(id);
  if (record.doubtful) report_.tables[table].doubtful.push_back(static_cast<RecordId>(id));
  return true;
}

std::int64_t SalvageWork::fitRecord(std::size_t table, std::int64_t id,
                                    std::vector<SalvageReport::Value>& dropped) {
  const PlannedTable& planned = plan_.tables[table];
  values_.assign(planned.table.columns.size(), {});
  decimals_.resize(planned.table.columns.size());
  const auto drop = [&](const std::string& column, std::string reason) {
    dropped.push_back({planned.table.name, static_cast<RecordId>(id), column, std::move(reason)});
  };
  std::int64_t version = 1;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    const std::size_t place = planned.places[i];
    if (place == PlannedTable::kId) continue;
    if (place == PlannedTable::kVersion) {
      if (isVersion(stored_[i])) {
        version = stored_[i].integer;
      } else {
        drop("version", "is none");
      }
      continue;
    }
    const SqlColumn& column = planned.table.columns[place];
    std::string reason = fitValue(column.kind, stored_[i], decimals_[place]);
    if (reason.empty()) {
      values_[place] = stored_[i];
    } else {
      drop(column.name, std::move(reason));
    }
  }
  return version;
}

void SalvageWork::copyLostLeaves(SalvageTarget& target) {
  const bool wanted = std::any_of(sources_.begin(), sources_.end(),
                                  [](const Source& source) { return !source.whole; });
  inLostLeaves_ = true;
  std::string bytes;
  for (std::uint32_t page = 2; wanted && page <= file_.pages(); ++page) {
    if (claims_.isClaimed(page) || file_.read(page, bytes) == PageFile::Page::Missing) continue;
    const auto parsed = parseTreePage(bytes, page);
    if (!parsed || parsed->kind != TreePage::Kind::TableLeaf) continue;
    LostLeaf leaf;
    leaf.damaged = !reader_.readLeaf(page, claims_.newOwner(), [&](const TreeRecord& found) {
      leaf.records.push_back({found.key, std::string(found.record), found.size});
    });
    if (!leaf.records.empty()) copyLostLeaf(leaf, target);
  }
}

void SalvageWork::copyLostLeaf(const LostLeaf& leaf, SalvageTarget& target) {
  std::vector<std::size_t> candidates;
  for (std::size_t table = 0; table < sources_.size(); ++table)
    if (!sources_[table].whole && mayBelong(leaf, table)) candidates.push_back(table);
  if (candidates.empty()) return;
  const std::string records = std::to_string(leaf.records.size()) + " records";
  if (candidates.size() > 1) {
    report_.remarks.push_back(records + " were left out: they may be of " +
                              plan_.tables[candidates[0]].table.name + " or of " +
                              plan_.tables[candidates[1]].table.name + ".");
    return;
  }
  const std::size_t table = candidates.front();
  const KnownIds& known = sources_[table].known;
  const bool doubtful = leaf.damaged || !freeWhole_;
  for (const LostRecord& record : leaf.records) {
    if (known.wholeIndexes() > 0 && !known.has(record.id)) continue;
    take(table, {record.id, record.bytes, record.size, doubtful}, target);
  }
}

bool SalvageWork::mayBelong(const LostLeaf& leaf, std::size_t table) {
  const Source& source = sources_[table];
  const bool vouched = source.known.wholeIndexes() > 0;
  if (!vouched && !freeWhole_) return false;
  std::size_t fitting = 0;
  for (const LostRecord& record : leaf.records) {
    const bool read = std::binary_search(source.ids.begin(), source.ids.end(), record.id);
    if (read || !isId(record.id) || (vouched && !source.known.has(record.id))) continue;
    if (fits(record, plan_.tables[table])) ++fitting;
  }
  return fitting * 10 >= leaf.records.size() * 8;
}

bool SalvageWork::fits(const LostRecord& record, const PlannedTable& planned) {
  if (!decodeRecord(record.bytes, record.size, stored_)) return false;
  if (stored_.size() > planned.places.size()) return false;
  // A table whose description is lost may have had its columns in another order.
  if (planned.isLost && stored_.size() != planned.places.size()) return false;
  DecimalText room;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    const std::size_t place = planned.places[i];
    if (stored_[i].kind == StoredValue::Kind::Unreadable) continue;
    if (place == PlannedTable::kId) {
      if (stored_[i].kind != StoredValue::Kind::Nil) return false;
    } else if (place == PlannedTable::kVersion) {
      if (!isVersion(stored_[i])) return false;
    } else if (!fitValue(planned.table.columns[place].kind, stored_[i], room).empty()) {
      return false;
    }
  }
  return true;
}

void SalvageWork::tellLost(std::size_t table) {
  Source& source = sources_[table];
  SalvageReport::Table& told = report_.tables[table];
  source.ids.insert(source.ids.end(), source.found.begin(), source.found.end());
  std::sort(source.ids.begin(), source.ids.end());
  std::sort(told.doubtful.begin(), told.doubtful.end());
  told.read = source.ids.size();
  told.lostIsAll = source.whole || source.known.wholeIndexes() > 0;
  // One index against a table without a fault is a fault of the index.
  if (source.whole && source.known.wholeIndexes() < 2) return;
  std::vector<std::int64_t> lost;
  std::set_difference(source.known.ids().begin(), source.known.ids().end(), source.ids.begin(),
                      source.ids.end(), std::back_inserter(lost));
  for (const std::int64_t id : lost) told.lost.push_back({static_cast<RecordId>(id), {}});
  if (!lost.empty()) source.known.describe(reader_, told.lost);
}

// Where no index tells what there was, references do.
void SalvageWork::addMissingTargets() {
  for (const SalvageReport::Reference& reference : report_.references) {
    const std::size_t table = tableNamed(reference.target);
    if (table >= sources_.size() || report_.tables[table].lostIsAll) continue;
    if (static_cast<std::int64_t>(reference.targetId) >= sources_[table].nextId) continue;
    auto& lost = report_.tables[table].lost;
    const auto place = std::lower_bound(
        lost.begin(), lost.end(), reference.targetId,
        [](const SalvageReport::LostRecord& record, RecordId id) { return record.id < id; });
    if (place == lost.end() || place->id != reference.targetId) {
      lost.insert(place, {reference.targetId, {}});
    }
  }
}

void SalvageWork::setNextIds(SalvageTarget& target) {
  for (std::size_t table = 0; table < sources_.size(); ++table) {
    const Source& source = sources_[table];
    std::int64_t next = std::max(source.nextId, std::int64_t{1});
    const auto raise = [&](std::int64_t id) {
      if (id < kHighestId) next = std::max(next, id + 1);
    };
    if (!source.ids.empty()) raise(source.ids.back());
    if (!source.known.ids().empty()) raise(source.known.ids().back());
    for (const auto& reference : report_.references)
      if (reference.target == plan_.tables[table].table.name)
        raise(static_cast<std::int64_t>(reference.targetId));
    target.setNextId(table, next);
  }
}

}  // namespace bokfolio::internal
