#include "bokfolio/store/persistence/memory/memory_persistence.hpp"

#include <utility>

#include "bokfolio/store/persistence/internal/failure.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_commit.hpp"
#include "bokfolio/store/persistence/memory/internal/memory_state.hpp"

namespace bokfolio {

using internal::Failure;
using internal::MemoryCell;
using internal::MemoryLayout;
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
  void write(const ChangeSet& changes);
  void copyTo(const std::string& path);
  void check();

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
    if (state().find(entity.name()) == state().tables.size()) {
      state().tables.emplace_back().name = entity.name();
    }
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
  for (const auto& [id, row] : state().tables[layout.table].rows) {
    sink.begin(id, row.version);
    for (const auto& [ordinal, column] : layout.columns) {
      if (column < row.cells.size()) std::visit(CellWriter{sink, ordinal}, row.cells[column]);
    }
    sink.end();
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
  commit.checkReferences();
  commit.keep();
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
}

}  // namespace

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
