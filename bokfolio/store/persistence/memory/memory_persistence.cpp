#include "bokfolio/store/persistence/memory/memory_persistence.hpp"

#include <limits>
#include <utility>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/internal/saved_questions.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_commit.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_finder.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_state.hpp"

namespace bokfolio {

using internal::Failure;
using internal::MemoryCell;
using internal::MemoryLayout;
using internal::MemoryRow;
using internal::MemoryState;
using internal::MemoryTable;

namespace {

class MemoryPersistence final : public Persistence {
 public:
  explicit MemoryPersistence(std::shared_ptr<MemoryDocument> document)
      : document_(std::move(document)) {}

  bool open(const Schema& schema, ErrorOut error) override {
    return internal::answering(error, [&] { fit(schema); });
  }
  bool load(const Entity& entity, RecordSink& sink, ErrorOut error) override {
    return internal::answering(error, [&] { read(layoutOf(entity), sink); });
  }
  bool find(const SavedQuestion& question, RecordSink& sink, ErrorOut error) override {
    return internal::answering(error, [&] {
      const MemoryLayout& layout = layoutOf(*question.entity);
      internal::MemoryFinder(state().tables[layout.table], layout, question)
          .visit([&](RecordId id, const MemoryRow& row) { give(layout, id, row, sink); });
    });
  }
  bool count(const SavedQuestion& question, std::size_t& count, ErrorOut error) override {
    return internal::answering(error, [&] {
      const MemoryLayout& layout = layoutOf(*question.entity);
      SavedQuestion plain = question;
      plain.skip = 0;
      std::size_t found = 0;
      internal::MemoryFinder(state().tables[layout.table], layout, plain)
          .visit([&](RecordId /*id*/, const MemoryRow& /*row*/) { ++found; });
      count = found;
    });
  }
  bool keepsSums(const Entity& entity, bool& kept, ErrorOut error) override {
    return internal::answering(error, [&] { kept = keeps(layoutOf(entity)); });
  }
  bool sums(const Entity& entity, const SumLineQuestion& question, SumLineSink& sink,
            ErrorOut error) override {
    return internal::answering(error, [&] {
      internal::checkSumsKept(entity, keeps(layoutOf(entity)), PersistenceError::Failed);
      readSums(state().tables[layoutOf(entity).table].sums, question, sink);
    });
  }
  bool nextId(const Entity& entity, RecordId& id, ErrorOut error) override {
    return internal::answering(error, [&] { id = state().tables[layoutOf(entity).table].nextId; });
  }
  bool commit(const ChangeSet& changes, ErrorOut error) override {
    return internal::answering(error, [&] { write(changes); });
  }
  bool backup(const std::string& path, ErrorOut error) override {
    return internal::answering(error, [&] { copyTo(path); });
  }
  bool verify(ErrorOut error) override {
    return internal::answering(error, [&] { check(); });
  }

 private:
  MemoryState& state() { return document_->state(); }
  const MemoryLayout& layoutOf(const Entity& entity) const {
    if (entity.ordinal() >= layouts_.size()) {
      throw Failure{PersistenceError::Failed, "The document in memory is not open."};
    }
    return layouts_[entity.ordinal()];
  }

  void fit(const Schema& schema);
  void checkFit(const Entity& entity);
  MemoryLayout layOut(const Entity& entity);
  void read(const MemoryLayout& layout, RecordSink& sink);
  static void give(const MemoryLayout& layout, RecordId id, const MemoryRow& row, RecordSink& sink);
  bool keeps(const MemoryLayout& layout) {
    return layout.sums && state().tables[layout.table].sums.layout == layout.sums->layout;
  }
  static void readSums(const internal::MemorySums& sums, const SumLineQuestion& question,
                       SumLineSink& sink);
  void forgetStrangers(internal::MemoryCommit& commit);
  void write(const ChangeSet& changes);
  void copyTo(const std::string& path);
  void check();
  void checkSums(const MemoryLayout& layout);

  std::shared_ptr<MemoryDocument> document_;
  std::vector<MemoryLayout> layouts_;  // by entity ordinal
};

const internal::MemoryColumn* findColumn(const MemoryTable& table, const std::string& name) {
  for (const auto& column : table.columns)
    if (column.name == name) return &column;
  return nullptr;
}

void MemoryPersistence::fit(const Schema& schema) {
  for (const Entity& entity : schema.entities()) checkFit(entity);
  for (const Entity& entity : schema.entities()) {
    if (state().find(entity.name()) != state().tables.size()) continue;
    MemoryTable& table = state().tables.emplace_back();
    table.name = entity.name();
    if (entity.keptSum() != nullptr) table.sums.layout = internal::keptSumText(*entity.keptSum());
  }
  std::vector<MemoryLayout> layouts;
  for (const Entity& entity : schema.entities()) layouts.push_back(layOut(entity));
  layouts_ = std::move(layouts);
}

void MemoryPersistence::checkFit(const Entity& entity) {
  const std::size_t place = state().find(entity.name());
  if (place == state().tables.size()) return;
  for (const Property& property : entity.properties()) {
    if (!property.persistent()) continue;
    const auto* column = findColumn(state().tables[place], property.name());
    if (column == nullptr) continue;
    if (column->kind == property.kind() &&
        (!property.isToOne() || state().tables[column->target].name == property.target().name())) {
      continue;
    }
    throw Failure{PersistenceError::Refused, "The document holds " + entity.name() + "." +
                                                 property.name() +
                                                 " as another kind of value than the model."};
  }
}

MemoryLayout MemoryPersistence::layOut(const Entity& entity) {
  MemoryLayout layout;
  layout.table = state().find(entity.name());
  MemoryTable& table = state().tables[layout.table];
  for (const Property& property : entity.properties()) {
    if (!property.persistent()) continue;
    const auto* column = findColumn(table, property.name());
    if (column == nullptr) {
      auto& added = table.columns.emplace_back();
      added.name = property.name();
      added.kind = property.kind();
      if (property.isToOne()) added.target = state().find(property.target().name());
      column = &added;
    }
    layout.columns.emplace_back(property.ordinal(),
                                static_cast<std::size_t>(column - table.columns.data()));
  }
  if (const KeptSumLayout* sum = entity.keptSum()) {
    const auto tableOf = [&](const Property* toOne) {
      return state().find(toOne->target().name());
    };
    layout.sums = {internal::keptSumText(*sum), tableOf(sum->owner), tableOf(sum->mark),
                   tableOf(sum->period)};
  }
  return layout;
}

struct CellWriter {
  RecordSink& sink;
  std::uint16_t ordinal;

  void operator()(std::monostate) const {}
  void operator()(std::int64_t value) const { sink.integer(ordinal, value); }
  void operator()(double value) const { sink.real(ordinal, value); }
  void operator()(const Decimal& value) const { sink.decimal(ordinal, value); }
  void operator()(const std::string& value) const { sink.text(ordinal, value); }
  void operator()(Date value) const { sink.date(ordinal, value); }
  void operator()(const internal::MemoryBlob& value) const { sink.blob(ordinal, value.bytes); }
  void operator()(internal::MemoryReference value) const { sink.reference(ordinal, value.id); }
};

void MemoryPersistence::read(const MemoryLayout& layout, RecordSink& sink) {
  for (const auto& [id, row] : state().tables[layout.table].rows) give(layout, id, row, sink);
}

void MemoryPersistence::give(const MemoryLayout& layout, RecordId id, const MemoryRow& row,
                             RecordSink& sink) {
  sink.begin(id, row.version);
  for (const auto& [ordinal, column] : layout.columns) {
    std::visit(CellWriter{sink, ordinal}, row.cell(column));
  }
  sink.end();
}

void MemoryPersistence::readSums(const internal::MemorySums& sums, const SumLineQuestion& question,
                                 SumLineSink& sink) {
  using Kind = SumLineQuestion::Kind;
  using Instants = std::numeric_limits<std::int64_t>;
  const bool one = question.kind == Kind::One;
  SumLine from{question.period, 0, 0, {}, {}};
  if (question.kind != Kind::TotalsOfPeriod) from.owner = question.owner;
  if (one) {
    from.mark = question.mark;
    from.instant = question.instant;
  } else if (question.kind == Kind::InstantsOfOwner) {
    from.instant = Instants::min();
  }
  const auto wanted = [&](const internal::MemorySums::Key& key) {
    if (one) return key == internal::MemorySums::keyOf(from);
    const auto& [dated, period, owner, mark, instant] = key;
    return dated == from.instant.has_value() && period == from.period &&
           (!dated || owner == from.owner);
  };
  auto found = sums.lines.lower_bound(internal::MemorySums::keyOf(from));
  for (; found != sums.lines.end() && wanted(found->first); ++found) {
    const auto& [dated, period, owner, mark, instant] = found->first;
    const auto at = dated ? std::optional(instant) : std::nullopt;
    sink.line({period, owner, mark, at, found->second});
  }
}

void MemoryPersistence::write(const ChangeSet& changes) {
  internal::MemoryCommit commit(state());
  for (const RecordChange& change : changes.changes) {
    commit.apply(layoutOf(change.values.entity()), change);
  }
  for (const auto& [entity, nextId] : changes.nextIds) {
    commit.raiseNextId(layoutOf(*entity), nextId);
  }
  forgetStrangers(commit);
  for (const ChangeSet::Sums& sums : changes.sums) commit.apply(layoutOf(*sums.entity), sums);
  commit.checkReferences();
  commit.keep();
}

void MemoryPersistence::forgetStrangers(internal::MemoryCommit& commit) {
  std::vector<bool> own(state().tables.size());
  for (const MemoryLayout& layout : layouts_) own[layout.table] = keeps(layout);
  for (std::size_t table = 0; table < own.size(); ++table) {
    if (!own[table] && !state().tables[table].sums.layout.empty()) commit.forgetSums(table);
  }
}

void MemoryPersistence::copyTo(const std::string& path) {
  if (state().backups.count(path) != 0) {
    throw Failure{PersistenceError::AlreadyExists, "There is already something at " + path + "."};
  }
  auto copy = std::make_shared<MemoryDocument>();
  copy->state().tables = state().tables;
  state().backups.emplace(path, std::move(copy));
}

void MemoryPersistence::check() {
  for (const MemoryTable& table : state().tables) {
    if (!table.rows.empty() && table.rows.rbegin()->first >= table.nextId) {
      throw Failure{PersistenceError::Damaged, table.name + " would give an id a second time."};
    }
    for (const auto& [id, row] : table.rows) {
      for (std::size_t column = 0; column < row.cells.size(); ++column) {
        const auto* reference = std::get_if<internal::MemoryReference>(&row.cells[column]);
        if (reference == nullptr) continue;
        const MemoryTable& target = state().tables[table.columns[column].target];
        if (target.rows.count(reference->id) != 0) continue;
        throw Failure{PersistenceError::Damaged, table.name + " " + std::to_string(id) +
                                                     " refers to a record that does not exist."};
      }
    }
  }
  for (const MemoryLayout& layout : layouts_)
    if (keeps(layout)) checkSums(layout);
}

void MemoryPersistence::checkSums(const MemoryLayout& layout) {
  const MemoryTable& table = state().tables[layout.table];
  const auto has = [&](std::size_t target, RecordId id) {
    return state().tables[target].rows.count(id) != 0;
  };
  for (const auto& [key, amount] : table.sums.lines) {
    const auto& [dated, period, owner, mark, instant] = key;
    if (has(layout.sums->period, period) && (owner == 0 || has(layout.sums->owner, owner)) &&
        (mark == 0 || has(layout.sums->mark, mark)))
      continue;
    throw Failure{PersistenceError::Damaged, "A sum of " + table.name + " is about nothing."};
  }
}

}  // namespace

const internal::MemoryCell& internal::MemoryRow::cell(std::size_t column) const {
  static const MemoryCell nil;
  return column < cells.size() ? cells[column] : nil;
}

std::size_t internal::MemoryLayout::column(std::uint16_t ordinal) const {
  for (const auto& [known, column] : columns)
    if (known == ordinal) return column;
  return columns.size();
}

std::size_t internal::MemoryState::find(std::string_view name) const {
  std::size_t place = 0;
  while (place < tables.size() && tables[place].name != name) ++place;
  return place;
}

MemoryDocument::MemoryDocument() : state_(std::make_unique<MemoryState>()) {}

MemoryDocument::~MemoryDocument() = default;

std::shared_ptr<MemoryDocument> MemoryDocument::backup(const std::string& path) const {
  const auto found = state_->backups.find(path);
  return found == state_->backups.end() ? nullptr : found->second;
}

std::unique_ptr<Persistence> makeMemoryPersistence(std::shared_ptr<MemoryDocument> document) {
  if (!document) document = std::make_shared<MemoryDocument>();
  return std::make_unique<MemoryPersistence>(std::move(document));
}

}  // namespace bokfolio
