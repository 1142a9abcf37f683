#include "bokfolio/store/context.hpp"

#include "bokfolio/store/internal/query.hpp"
#include "bokfolio/store/internal/saving.hpp"
#include "bokfolio/store/internal/store_parts.hpp"
#include "bokfolio/store/persistence/persistence.hpp"
#include "bokfolio/store/store_error.hpp"

namespace bokfolio {

std::unique_ptr<Context> Context::open(std::shared_ptr<const Schema> schema,
                                       std::unique_ptr<Persistence> persistence,
                                       Environment environment, ErrorOut error) {
  if (!persistence->open(*schema, error)) return nullptr;
  std::unique_ptr<Context> context(
      new Context(std::move(schema), std::move(persistence), std::move(environment)));
  return context->parts_->findSums(error) ? std::move(context) : nullptr;
}

Context::Context(std::shared_ptr<const Schema> schema, std::unique_ptr<Persistence> persistence,
                 Environment environment)
    : parts_(std::make_unique<StoreParts>(*this, std::move(schema), std::move(persistence),
                                          std::move(environment))) {}

Context::~Context() = default;

const Environment& Context::environment() const { return parts_->environment; }

const Schema& Context::schema() const { return *parts_->schema; }

const Entity* Context::entityForName(std::string_view name) const {
  return parts_->schema->find(name);
}

Persistence& Context::persistence() { return *parts_->persistence; }

// --- Records

Record* Context::insertNewObject(std::string_view entityName) {
  Record* record = parts_->make(parts_->schema->entity(entityName));
  try {
    record->awakeFromInsert();
  } catch (...) {
    parts_->journal.discard(*record);
    throw;
  }
  return record;
}

void Context::deleteObject(Record* record) {
  if (record == nullptr || record->isGone()) return;
  if (&record->managedObjectContext() != this)
    throw StoreError(record->description() + " is not a record of this context");
  parts_->journal.remove(*record);
}

Record* Context::find(std::string_view entityName, RecordId id) {
  return parts_->find(parts_->schema->entity(entityName), id);
}

// --- Fetching

namespace {

Query fetchQuery(StoreParts& store, std::string_view entityName,
                 const std::optional<Predicate>& predicate) {
  Query query;
  query.store = &store;
  query.entity = &store.schema->entity(entityName);
  if (predicate) query.conditions.push_back(*predicate);
  return query;
}

}  // namespace

std::optional<std::vector<Record*>> Context::fetchEntitiesWithName(
    std::string_view entityName, const std::optional<Predicate>& predicate,
    const std::optional<std::vector<SortDescriptor>>& sortDescriptors, std::ptrdiff_t fetchLimit) {
  Query query = fetchQuery(*parts_, entityName, predicate);
  if (sortDescriptors) query.order = *sortDescriptors;
  if (fetchLimit > 0) query.limit = static_cast<std::size_t>(fetchLimit);
  try {
    return run(query);
  } catch (const LoadError& failure) {
    parts_->fetchFailure = failure.what();
    return std::nullopt;
  }
}

const std::string& Context::fetchFailure() const { return parts_->fetchFailure; }

void Context::forgetFetchFailure() { parts_->fetchFailure.clear(); }

std::size_t Context::count(std::string_view entityName, const std::optional<Predicate>& predicate) {
  return countOf(fetchQuery(*parts_, entityName, predicate));
}

// --- Changes

bool Context::hasChanges() const { return internal::hasChanges(*parts_); }

std::vector<Record*> Context::insertedObjects() const {
  return parts_->journal.tracking().inserted();
}

std::vector<Record*> Context::updatedObjects() const {
  std::vector<Record*> updated;
  for (const auto& each : parts_->journal.tracking().touched())
    if (internal::isChanged(each)) updated.push_back(each.record);
  return updated;
}

std::vector<Record*> Context::deletedObjects() const {
  return parts_->journal.tracking().deleted();
}

bool Context::save(ErrorOut error) { return internal::save(*parts_, error); }

void Context::rollback() { parts_->journal.rollback(); }

bool Context::undo() { return parts_->journal.undo(); }

bool Context::redo() { return parts_->journal.redo(); }

bool Context::canUndo() const { return parts_->journal.canUndo(); }

bool Context::canRedo() const { return parts_->journal.canRedo(); }

void Context::closeUndoGroup() { parts_->journal.closeGroup(); }

void Context::setUndoEnabled(bool enabled) { parts_->journal.setUndoEnabled(enabled); }

// --- Observation

ObservationToken Context::observe(Record& record, std::string_view keyPath, Observer observer) {
  return parts_->observers.observe(record, keyPath, std::move(observer));
}

void Context::performAfterDelay(Record& record, std::int64_t microseconds,
                                std::function<void(Record&)> work) {
  std::weak_ptr<int> life = parts_->life;
  parts_->environment.runLoop().performAfter(
      microseconds, [this, life, &record, work = std::move(work)]() {
        if (life.expired() || !RecordAccess::isLive(record)) return;
        parts_->journal.asPartOfInsertion(record, [&]() { work(record); });
      });
}

Decimal Context::keptSum(std::string_view entityName, const KeptSumQuestion& question) {
  const Entity& entity = schema().entity(entityName);
  if (entity.keptSum() == nullptr) throw StoreError(entity.name() + " keeps no sum");
  return parts_->sums(entity).find(question).total();
}

bool Context::rebuildSums(ErrorOut error) {
  if (hasChanges()) throw StoreError("sums are rebuilt from what is saved; there are changes");
  return internal::rebuildSums(*parts_, error);
}

std::size_t Context::releaseUnused() { return parts_->release(); }

std::vector<std::string> Context::verify() { return internal::verify(*parts_); }

}  // namespace bokfolio
