#include "bokfolio/store/persistence/memory/internal/memory_commit.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/internal/saved_questions.hpp"

namespace bokfolio::internal {

namespace {

std::string nameOf(const std::string& entity, RecordId id) {
  return entity + " " + std::to_string(id);
}

MemoryCell cellOf(const Property& property, const SlotView& slots) {
  const std::uint16_t ordinal = property.ordinal();
  if (slots.isNil(ordinal)) return {};
  switch (property.kind()) {
    case PropertyKind::Integer:
      return slots.integer(ordinal);
    case PropertyKind::Double:
      if (std::isnan(slots.real(ordinal))) {
        throw Failure{PersistenceError::Refused,
                      property.entity().name() + "." + property.name() + " is not a number."};
      }
      return slots.real(ordinal);
    case PropertyKind::Decimal:
      return slots.decimal(ordinal);
    case PropertyKind::String:
      return std::string(slots.text(ordinal));
    case PropertyKind::Date:
      return slots.date(ordinal);
    case PropertyKind::Binary:
      return MemoryBlob{std::string(slots.blob(ordinal))};
    case PropertyKind::ToOne:
      return MemoryReference{slots.reference(ordinal)->id()};
    case PropertyKind::ToMany:
      break;
  }
  return {};
}

}  // namespace

MemoryCommit::~MemoryCommit() {
  for (auto step = sumSteps_.rbegin(); step != sumSteps_.rend(); ++step) takeBack(*step);
  for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) takeBack(*step);
}

void MemoryCommit::apply(const MemoryLayout& layout, const RecordChange& change) {
  switch (change.kind) {
    case RecordChange::Kind::Insert:
      return insert(layout, change);
    case RecordChange::Kind::Update:
      return update(layout, change);
    case RecordChange::Kind::Delete:
      return remove(layout, change);
  }
}

void MemoryCommit::insert(const MemoryLayout& layout, const RecordChange& change) {
  MemoryTable& table = state_.tables[layout.table];
  if (change.id == 0 || table.rows.count(change.id) != 0) {
    throw Failure{PersistenceError::Refused,
                  nameOf(table.name, change.id) + " cannot be inserted: the id is taken."};
  }
  MemoryRow row;
  row.version = change.version + 1;
  row.cells.resize(table.columns.size());
  for (const auto& [ordinal, column] : layout.columns) {
    row.cells[column] = cellOf(change.values.entity().property(ordinal), change.values);
  }
  countIn(layout.table, row);
  remember(layout.table, change.id);
  for (auto& [column, index] : table.indexes) index.add(keyOf(row.cell(column)), change.id);
  table.rows.emplace(change.id, std::move(row));
  table.nextId = std::max(table.nextId, change.id + 1);
}

void MemoryCommit::update(const MemoryLayout& layout, const RecordChange& change) {
  MemoryTable& table = state_.tables[layout.table];
  MemoryRow& row = saved(table, change)->second;
  MemoryRow changed = row;
  changed.version = change.version + 1;
  changed.cells.resize(table.columns.size());
  for (const auto& [ordinal, column] : layout.columns) {
    if (std::find(change.changed.begin(), change.changed.end(), ordinal) == change.changed.end())
      continue;
    changed.cells[column] = cellOf(change.values.entity().property(ordinal), change.values);
  }
  countIn(layout.table, changed);
  Step& step = remember(layout.table, change.id);
  countOut(layout.table, row);
  for (auto& [column, index] : table.indexes) {
    index.remove(keyOf(row.cell(column)), change.id);
    index.add(keyOf(changed.cell(column)), change.id);
  }
  step.replaced = std::exchange(row, std::move(changed));
}

void MemoryCommit::remove(const MemoryLayout& layout, const RecordChange& change) {
  MemoryTable& table = state_.tables[layout.table];
  const auto row = saved(table, change);
  Step& step = remember(layout.table, change.id);
  countOut(layout.table, row->second);
  for (auto& [column, index] : table.indexes) {
    index.remove(keyOf(row->second.cell(column)), change.id);
  }
  step.removed = table.rows.extract(row);
}

void MemoryCommit::raiseNextId(const MemoryLayout& layout, RecordId nextId) {
  MemoryTable& table = state_.tables[layout.table];
  remember(layout.table, 0);
  table.nextId = std::max(table.nextId, nextId);
}

void MemoryCommit::apply(const MemoryLayout& layout, const ChangeSet::Sums& sums) {
  MemoryTable& table = state_.tables[layout.table];
  if (sums.replacesAll && layout.sums) {
    forgetSums(layout.table);
    table.sums.layout = layout.sums->layout;
  }
  const bool kept = layout.sums && table.sums.layout == layout.sums->layout;
  checkSumsKept(*sums.entity, kept, PersistenceError::Refused);
  for (const SumLine& line : sums.lines) {
    checkSumLine(*sums.entity, line, std::numeric_limits<RecordId>::max());
    SumStep& step = sumSteps_.emplace_back();
    step.table = layout.table;
    step.key = MemorySums::keyOf(line);
    putLine(table, step, line.amount);
  }
}

void MemoryCommit::forgetSums(std::size_t table) {
  SumStep& step = sumSteps_.emplace_back();
  step.table = table;
  step.all = std::exchange(state_.tables[table].sums, {});
}

void MemoryCommit::putLine(MemoryTable& table, SumStep& step, const std::string& amount) {
  Lines& lines = table.sums.lines;
  if (amount.empty()) {
    step.removed = lines.extract(step.key);
    return;
  }
  const auto [line, added] = lines.try_emplace(step.key, amount);
  if (!added) step.replaced = std::exchange(line->second, amount);
}

void MemoryCommit::keep() {
  steps_.clear();
  sumSteps_.clear();
}

void MemoryCommit::takeBack(SumStep& step) noexcept {
  MemorySums& sums = state_.tables[step.table].sums;
  if (step.all) {
    sums = std::move(*step.all);
  } else if (!step.removed.empty()) {
    sums.lines.insert(std::move(step.removed));
  } else if (step.replaced) {
    sums.lines.find(step.key)->second = std::move(*step.replaced);
  } else {
    sums.lines.erase(step.key);
  }
}

void MemoryCommit::checkReferences() const {
  for (const Step& step : steps_) {
    const MemoryTable& table = state_.tables[step.table];
    const auto row = table.rows.find(step.id);
    const auto counted = table.references.find(step.id);
    if (row == table.rows.end()) {
      if (counted == table.references.end() || counted->second == 0) continue;
      throw Failure{PersistenceError::Refused,
                    nameOf(table.name, step.id) + " is still referred to by other records."};
    }
    for (std::size_t column = 0; column < row->second.cells.size(); ++column) {
      const auto* reference = std::get_if<MemoryReference>(&row->second.cells[column]);
      if (reference == nullptr) continue;
      const MemoryTable& target = state_.tables[table.columns[column].target];
      if (target.rows.count(reference->id) != 0) continue;
      throw Failure{PersistenceError::Refused, nameOf(table.name, step.id) + " refers to " +
                                                   nameOf(target.name, reference->id) +
                                                   ", which is not saved."};
    }
  }
}

MemoryCommit::Rows::iterator MemoryCommit::saved(MemoryTable& table, const RecordChange& change) {
  const auto row = table.rows.find(change.id);
  if (row == table.rows.end() || row->second.version != change.version) {
    throw Failure{PersistenceError::Stale, nameOf(table.name, change.id) +
                                               " was changed by somebody else since it was read."};
  }
  return row;
}

MemoryCommit::Step& MemoryCommit::remember(std::size_t table, RecordId id) {
  return steps_.emplace_back(Step{table, id, state_.tables[table].nextId, {}, {}});
}

void MemoryCommit::countIn(std::size_t table, const MemoryRow& row) {
  const auto visit = [&](auto&& work) {
    for (std::size_t column = 0; column < row.cells.size(); ++column) {
      const auto* reference = std::get_if<MemoryReference>(&row.cells[column]);
      if (reference == nullptr) continue;
      work(state_.tables[state_.tables[table].columns[column].target].references, reference->id);
    }
  };
  // All places first: then nothing can fail half-way.
  visit([](auto& references, RecordId id) { references.try_emplace(id, 0); });
  visit([](auto& references, RecordId id) { ++references.find(id)->second; });
}

void MemoryCommit::countOut(std::size_t table, const MemoryRow& row) noexcept {
  for (std::size_t column = 0; column < row.cells.size(); ++column) {
    const auto* reference = std::get_if<MemoryReference>(&row.cells[column]);
    if (reference == nullptr) continue;
    MemoryTable& target = state_.tables[state_.tables[table].columns[column].target];
    --target.references.find(reference->id)->second;
  }
}

void MemoryCommit::takeBack(Step& step) noexcept {
  MemoryTable& table = state_.tables[step.table];
  table.indexes.clear();
  table.nextId = step.nextId;
  if (!step.removed.empty()) {
    const auto row = table.rows.insert(std::move(step.removed)).position;
    countIn(step.table, row->second);  // finds all its places: never fails
    return;
  }
  const auto row = table.rows.find(step.id);
  if (row == table.rows.end()) return;
  countOut(step.table, row->second);
  if (step.replaced) {
    row->second = std::move(*step.replaced);
    countIn(step.table, row->second);
  } else {
    table.rows.erase(row);
  }
}

}  // namespace bokfolio::internal
